#!/usr/bin/env python3
"""Makes the report of each end-to-end case once more by several processes: what it prints, what it says, its exit
status and the files that it leaves behind must be the same bytes as those of one process.

    workers_check.py PROGRAM PROJECT [CASE...]

Every case is asked in both editions; what the modern one prints changes from case to case. A shell asks for workers
by a parameter, a form has them from the configuration; cases that are scripts are left out. Where strace is
installed, enough of the runs must really have been divided, and not have given up.
"""
import concurrent.futures
import os
import pathlib
import sys
import tempfile

sys.dont_write_bytecode = True
import agreement  # pylint: disable=wrong-import-position
import divided_runs  # pylint: disable=wrong-import-position
import moments  # pylint: disable=wrong-import-position
import parts_check  # pylint: disable=wrong-import-position

WORKERS = (b"2,300", b"6,64")
OUTPUTS = (b"json", b"csv", b"text", b"modern", None)
LEAST_DIVIDED = 400


def without_moments(content):
    return moments.blank(content, moments.OF_FILES)


class Case(parts_check.Case):
    def __init__(self, path, edition, output, folder):  # pylint: disable=super-init-not-called
        self.files = agreement.files_of(path)
        self.cut = False
        self.folder = pathlib.Path(folder)
        self.env = dict(agreement.environment_of(self.files), COLUMNS="100")
        self.edition = edition
        self.words = [b"edition=" + edition] + ([b"output=" + output] if output else [])
        self.given = b""
        self.arguments = [line for line in self.files.get("args", b"").split(b"\n") if line]
        if "form" in self.files:
            self.given = self.files["form"] + (b"&output=" + output if output else b"")
            length = self.env.get("CONTENT_LENGTH", str(len(self.given)))
            self.env = dict(self.env, REQUEST_METHOD="POST", CONTENT_LENGTH=length)

    def configure(self, folder, workers):
        config = self.config(folder)
        if config.is_file():
            agreement.choose_edition(config, self.edition)
            config.write_bytes(b"Workers=" + workers + b"\n" + config.read_bytes())

    def run_by(self, workers, watched):
        """What the run came to, and what became of the division."""
        folder = self.make("run")
        words = self.words + [b"workers=" + workers]
        if "form" in self.files:
            self.configure(folder, workers)
            words = []
        before = files_in(folder)
        run = divided_runs.watched if watched else divided_runs.unwatched
        done, division = run([parts_check.PROGRAM] + self.arguments + words, self.env, cwd=folder, input=self.given,
                             timeout=120)
        files = {name: content for name, content in files_in(folder).items() if before.get(name) != content}
        return (done.returncode, without_moments(done.stdout), without_moments(done.stderr), files), division


def files_in(folder):
    return {str(path.relative_to(folder)): without_moments(path.read_bytes())
            for path in sorted(folder.rglob("*")) if path.is_file() and os.access(path, os.R_OK)}


def difference(plain, done):
    if plain[:3] != done[:3]:
        return parts_check.difference(plain, done)
    names = [name for name in sorted(set(plain[3]) | set(done[3])) if plain[3].get(name) != done[3].get(name)]
    return f"files {names}"


def check(path, edition, output):
    """What became of each division; whatever differs is a failure."""
    try:
        with tempfile.TemporaryDirectory() as folder:
            case = Case(path, edition, output, folder)
            plain, _ = case.run_by(b"1", False)
            divisions = []
            for workers in WORKERS:
                done, division = case.run_by(workers, True)
                if done != plain:
                    return [f"{workers.decode()}: {difference(plain, done)}"]
                divisions.append(division or "same")
            return divisions
    except Exception as problem:  # pylint: disable=broad-except
        return [f"{type(problem).__name__}: {problem}"]


def main():
    names = sys.argv[3:]
    cases = [path for path in agreement.all_cases() if not {"args", "form"}.isdisjoint(agreement.files_of(path))
             and (not names or str(path.relative_to(agreement.CASES)) in names)]
    jobs = [(path, edition, OUTPUTS[number % len(OUTPUTS)] if edition == b"modern" else None)
            for number, path in enumerate(cases) for edition in (b"classic", b"modern")]
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        found = [(f"{path.relative_to(agreement.CASES)} ({edition.decode()})", end)
                 for (path, edition, _), divisions in zip(jobs, pool.map(lambda job: check(*job), jobs))
                 for end in divisions]
    sys.exit(divided_runs.tell(found, 0 if names else LEAST_DIVIDED))


if __name__ == "__main__":
    main()
