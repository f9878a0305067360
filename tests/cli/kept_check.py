#!/usr/bin/env python3
"""Makes the report of each end-to-end case once more with counts that are kept: what it prints, what it says and its
exit status must be the same bytes as without, both of the run that keeps them and of the next one, which uses them.

    kept_check.py PROGRAM PROJECT [CASE...]

Every case is asked in the modern edition; what it prints changes from case to case. A shell asks by a parameter, a
form has the folder from the configuration; cases that are scripts are left out. Enough of the runs must really have
used counts that were kept.
"""
import concurrent.futures
import os
import pathlib
import sys
import tempfile
import time

sys.dont_write_bytecode = True
import agreement  # pylint: disable=wrong-import-position
import divided_runs  # pylint: disable=wrong-import-position
import parts_check  # pylint: disable=wrong-import-position
import workers_check  # pylint: disable=wrong-import-position

LEAST_USED = 150
SETTLED = 3  # seconds after which nobody can have changed a log unseen


class Case(workers_check.Case):
    def __init__(self, path, output, folder):
        super().__init__(path, b"modern", output, folder)
        folder = self.make("run")
        self.cache = self.folder / "cache"
        self.cache.mkdir(mode=0o700)
        self.env = dict(self.env, ORVELLIS_CACHE=str(self.cache))
        if "form" in self.files and self.config(folder).is_file():
            agreement.choose_edition(self.config(folder), self.edition)
        self.before = self.config(folder).read_bytes() if self.config(folder).is_file() else None

    def run_with(self, kept):
        folder = self.folder / "run"
        words = self.words + ([b"partcache=1"] if kept else [])
        if "form" in self.files:
            words = []
            if self.before is not None:
                self.config(folder).write_bytes((b"PartCache=1\n" if kept else b"") + self.before)
        done, _ = divided_runs.unwatched([parts_check.PROGRAM] + self.arguments + words, self.env, cwd=folder,
                                         input=self.given, timeout=120)
        return done.returncode, workers_check.without_moments(done.stdout), workers_check.without_moments(done.stderr)

    def end(self):
        """How the counts were used, or what differs."""
        try:
            plain = self.run_with(False)
            for turn in ("keeping", "used"):
                kept = list(self.cache.glob("*.counts"))
                for path in kept:
                    os.utime(path, (1, 1))
                done = self.run_with(True)
                if done != plain:
                    return f"{turn}: {parts_check.difference(plain, done)}"
            used = any(path.stat().st_mtime != 1 for path in kept if path.exists())
            return "divided" if used else "whole" if kept else "same"
        except Exception as problem:  # pylint: disable=broad-except
            return f"{type(problem).__name__}: {problem}"


def main():
    names = sys.argv[3:]
    cases = [path for path in agreement.all_cases() if not {"args", "form"}.isdisjoint(agreement.files_of(path))
             and (not names or str(path.relative_to(agreement.CASES)) in names)]
    with tempfile.TemporaryDirectory() as folder, concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        made = []
        for number, path in enumerate(cases):
            own = pathlib.Path(folder) / str(number)
            own.mkdir()
            made.append(Case(path, workers_check.OUTPUTS[number % len(workers_check.OUTPUTS)], own))
        time.sleep(SETTLED)
        found = [(str(path.relative_to(agreement.CASES)), end)
                 for path, end in zip(cases, pool.map(lambda case: case.end(), made))]
    sys.exit(divided_runs.tell(found, 0 if names else LEAST_USED))


if __name__ == "__main__":
    main()
