#!/usr/bin/env python3
"""Makes the report of each end-to-end case once more from parts: each of its logs is counted by a run of its own,
the counts are merged, and the page must be the same bytes as that of one run.

    parts_check.py PROGRAM PROJECT [CASE...]

Every case of a shell that has logs is asked in both editions: with a part of each log; where it has one log, with that
cut into three; with the pieces of a plan, of which a run counts one, two or three; and with those of a plan that was made without reading the logs: in the modern
edition of one that names whole logs, which are cut one by one, and joined, and their bytes come by standard input. Such
a plan may not hold; then the other one does. Parts are merged one by one, through standard input, and as a tree. A run may refuse
to be divided, for one of the reasons below and never for another; then nothing may be printed. Parts of logs are added
in the order of names: cases whose summary file has another one are asked by the plan alone.
"""
import collections
import concurrent.futures
import fnmatch
import glob
import itertools
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import agreement  # pylint: disable=wrong-import-position
import moments  # pylint: disable=wrong-import-position
import piece_bytes  # pylint: disable=wrong-import-position

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
NO_PART = 4
LEAST_SAME = 1000  # pages that were made of several parts
PIECES = 3
SIZE_OF_PIECES = b"80"
SIZE_OF_LOGS = b"1G"
APART = rb"orvellis: .* does not go on as the piece before it has ended: .*\n"
REASONS = {
    "debug": rb"orvellis: the counts of a run with debug cannot be added to others\n",
    "look-ups": rb"orvellis: the counts of a run that looks up names while it counts \(dnslookupenabled\) "
                rb"cannot be added to others\n",
    "brackets": rb"orvellis: a pattern whose brackets do not match .*\n",
    "first day": rb"orvellis: from=first alone .*\n",
    "memory": rb"orvellis: the counts take more memory than they may have.*\n",
    "repeated hour": rb"orvellis: the first log begins within an hour that a clock change repeats.*\n",
    "copy": rb"orvellis: .* covers the log .*, which seems to be a copy of one in a part before it\n",
}


class Case:
    def __init__(self, path, edition, folder, cut):
        self.files = agreement.files_of(path)
        self.edition = edition
        self.cut = cut
        self.folder = pathlib.Path(folder)
        self.env = dict(agreement.environment_of(self.files), COLUMNS="100")
        self.arguments = [line for line in self.files["args"].split(b"\n") if line] + [b"edition=" + edition]

    def make(self, name):
        """A fresh copy of what the case has."""
        folder = self.folder / name
        shutil.rmtree(folder, ignore_errors=True)
        folder.mkdir()
        for file, content in self.files.items():
            if file not in agreement.GIVEN:
                path = folder / file
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_bytes(content)
        if "setup" in self.files:
            subprocess.run(["sh", "-eu", "-c", self.files["setup"].decode("latin-1")], cwd=folder, env=self.env,
                           check=True, timeout=60)
        if self.cut:
            self.cut_log(folder)
        return folder

    def cut_log(self, folder):
        """The only log becomes several."""
        config = self.config(folder)
        text = config.read_bytes()
        log, = self.logs(folder)
        lines = (folder / log).read_bytes().splitlines(keepends=True)
        (folder / "cut").mkdir()
        for piece in range(PIECES):
            some = lines[len(lines) * piece // PIECES:len(lines) * (piece + 1) // PIECES]
            (folder / "cut" / f"{piece}.log").write_bytes(b"".join(some))
        config.write_bytes(b"\n".join(cut_account(line) if line.lower().startswith(b"user=") else line
                                      for line in text.split(b"\n")))

    def run(self, folder, words=(), given=b""):
        done = subprocess.run([PROGRAM.encode()] + self.arguments + list(words), cwd=folder, env=self.env,
                              input=given, capture_output=True, timeout=120)
        return done.returncode, moments.blank(done.stdout, moments.OF_PAGES), done.stderr

    def last(self, name, default):
        found = [a.split(b"=", 1)[1] for a in self.arguments if a.lower().startswith(name + b"=")]
        return found[-1] if found else default

    def config(self, folder):
        return folder / os.fsdecode(self.last(b"config", b"orvellis.conf"))

    def patterns(self, folder):
        """The account's logs, as the configuration has them."""
        config = self.config(folder)
        user = self.last(b"username", b"")
        text = config.read_bytes() if config.is_file() else b""
        patterns = []
        for line in text.replace(b"\r", b"\n").split(b"\n"):
            if line.lower().startswith(b"user=" + user.lower()):
                items = dict(item.split(b"=", 1) for item in line.split(b";") if b"=" in item)
                items = {name.strip().lower(): value for name, value in items.items()}
                patterns = [os.fsdecode(items[name].replace(b"%user%", user))
                            for name in (b"logs", b"accesslog") if name in items]
        return patterns

    def logs(self, folder):
        logs = []
        for pattern in self.patterns(folder):
            logs += [path for path in sorted(glob.glob(str(folder / pattern)))
                     if fnmatch.fnmatchcase(os.path.basename(path), os.path.basename(pattern))]
        return [os.path.relpath(path, folder) for path in dict.fromkeys(logs)]


def cut_account(line):
    """The line of an account, whose only log became several."""
    line = re.sub(rb"(?i)^(user=.*?;[ ]*logs=)[^;\r\n]*", rb"\1cut/*.log", line)
    return re.sub(rb"(?i)^(user=.*?);[ ]*accesslog=[^;\r\n]*", rb"\1", line)


def remove(path):
    if path.is_dir() and not path.is_symlink():
        shutil.rmtree(path)
    else:
        path.unlink()


def refused(done):
    status, out, said = done
    for name, pattern in REASONS.items():
        if status == NO_PART and out == b"" and re.fullmatch(pattern, said):
            return name
    return None


def count_parts(case, logs):
    """A part of each log, or why there is none."""
    parts = []
    for number, log in enumerate(logs):
        folder = case.make("counting")
        for other in logs:
            if other != log:
                remove(folder / other)
        part = case.folder / f"{number:03}.part"
        done = case.run(folder, [b"part=" + os.fsencode(part)])
        if done != (0, b"", b""):
            return None, refused(done) or f"counting {log}: {done}"
        parts.append(part)
    return parts, None


def plan_at_once(case):
    return case.run(case.make("planning"), [b"plan=" + SIZE_OF_PIECES])


def plan_in_steps(case):
    """A plan of whole logs, each of which is cut, without a look at its lines."""
    folder = case.make("planning")
    quick = b"plan=" + SIZE_OF_PIECES + b",quick"
    if case.edition == b"classic":
        done = case.run(folder, [quick])
        lines = done[1]
    else:
        done = case.run(folder, [b"plan=" + SIZE_OF_LOGS])
        lines = b""
        for log in done[1].splitlines():
            status, some, said = case.run(folder, [b"piece=" + log, quick])
            if status != 0 or said:
                return status, some, said
            lines += some
    return done if done[0] != 0 or done[2] else case.run(folder, [b"plan=-"], lines)


def count_some(case, pieces, part):
    """By standard input, in a folder that pieces share: they leave nothing there."""
    return case.run(case.folder / "counting", [b"piece=-", b"part=" + os.fsencode(part)], b"\n".join(pieces))


def count_piece(case, piece, part, by_stream):
    """A log that comes by a stream lies in another folder."""
    words = [b"piece=" + piece, b"part=" + os.fsencode(part)]
    path = os.fsdecode(piece_bytes.path_of(piece))
    log = case.folder / "planning" / path
    if not by_stream or not log.is_file():
        return case.run(case.folder / "counting", words)
    (case.folder / "counting" / path).unlink(missing_ok=True)
    return case.run(case.folder / "counting", words + [b"stream=-"], piece_bytes.stretch(piece, log.read_bytes()))


def count_pieces(case, make_plan):
    """A part of each piece of the plan, or why there is none."""
    status, plan, said = make_plan(case)
    if status != 0 or said:
        return None, refused((status, plan, said)) or f"planning: {status, said}"
    parts = []
    case.make("counting")
    left = plan.splitlines()
    at_once = itertools.cycle((1, 2, 3) if make_plan == plan_at_once else (1,))
    while left:
        part = case.folder / f"{len(parts):04}.part"
        number = next(at_once)
        some, left = left[:number], left[number:]
        if number > 1:
            done = count_some(case, some, part)
        else:
            done = count_piece(case, some[0], part, make_plan == plan_in_steps and case.edition == b"modern")
        if done != (0, b"", b""):
            return None, refused(done) or f"counting {some}: {done}"
        parts.append(part)
    return parts, None


PLANS = {"plan": plan_at_once, "steps": plan_in_steps}


def end_of(path, edition, way):
    try:
        return check(path, edition, way)
    except Exception as problem:  # pylint: disable=broad-except
        return f"{type(problem).__name__}: {problem}"


def merged_in_all_ways(case, parts):
    pattern = os.fsencode(case.folder / "*.part")
    everything = b"".join(part.read_bytes() for part in parts)
    folder = case.make("merging")
    yield case.run(folder, [b"merge=" + pattern])
    yield case.run(folder, [b"merge=-"], everything)
    half = len(parts) // 2
    if half > 0:
        halves = b""
        for some in (parts[:half], parts[half:]):
            given = b"".join(part.read_bytes() for part in some)
            status, out, said = case.run(folder, [b"merge=-", b"part=-"], given)
            if status != 0:
                yield status, out, said
            halves += out
        yield case.run(folder, [b"merge=-"], halves)


def is_of_a_shell(files):
    return "args" in files and not re.search(rb"(?m)^(CONTENT_LENGTH|GATEWAY_INTERFACE|REQUEST_METHOD)=",
                                             files.get("env", b""))


def has_one_plain_log(path):
    with tempfile.TemporaryDirectory() as folder:
        case = Case(path, b"classic", folder, False)
        made = case.make("made")
        logs = case.logs(made)
        return len(logs) == 1 and (made / logs[0]).is_file() and case.config(made).is_file()


def check(path, edition, way):
    """same, whole (a single log), no report, or a reason; anything else is a failure."""
    with tempfile.TemporaryDirectory() as folder:
        case = Case(path, edition, folder, way == "cut")
        plain_folder = case.make("plain")
        logs = case.logs(plain_folder)
        if way not in PLANS and len(logs) > 1 and any(name.endswith(".ORV") for name in case.files):
            return "another order"
        plain = case.run(plain_folder)
        if not logs or not is_report(plain):
            return "no report"
        parts, why = count_pieces(case, PLANS[way]) if way in PLANS else count_parts(case, logs)
        if parts is None:
            return why
        for done in merged_in_all_ways(case, parts):
            if refused(done):
                return refused(done)
            if way == "steps" and done[0] == NO_PART and done[1] == b"" and re.fullmatch(APART, done[2]):
                return "apart"
            if done != plain:
                return f"differs: {difference(plain, done)}"
        return "same" if len(parts) > 1 else "whole"


def is_report(plain):
    """A page, JSON, CSV or text, and no refusal."""
    marks = (b"Date of Report", b'<meta name="orvellis-report"', b'"totals"', b"section,", b"Requests")
    return plain[0] == 0 and any(mark in plain[1] for mark in marks)


def difference(plain, done):
    if done[0] != plain[0] or done[2] != plain[2]:
        return f"status {done[0]}, {done[2]!r}"
    for number, (a, b) in enumerate(zip(plain[1].split(b"\n"), done[1].split(b"\n"))):
        if a != b:
            return f"line {number + 1}: {a[:300]!r} became {b[:300]!r}"
    return f"{len(plain[1])} bytes became {len(done[1])}"


def main():
    names = sys.argv[3:]
    cases = [path for path in agreement.all_cases() if is_of_a_shell(agreement.files_of(path))
             and (not names or str(path.relative_to(agreement.CASES)) in names)]
    jobs = [(path, edition, way) for path in cases for edition in (b"classic", b"modern")
            for way in ("logs", "cut", *PLANS) if way != "cut" or has_one_plain_log(path)]
    ends, failures = collections.Counter(), 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for (path, edition, way), end in zip(jobs, pool.map(lambda job: end_of(*job), jobs)):
            known = end in ("same", "whole", "no report", "another order", "apart") or end in REASONS
            ends[end if known else "failed"] += 1
            if not known:
                failures += 1
                print(f"{path.relative_to(agreement.CASES)} ({edition.decode()}, {way}): {end}")
    print(", ".join(f"{count} {end}" for end, count in ends.most_common()))
    sys.exit(1 if failures or (not names and ends["same"] < LEAST_SAME) else 0)


if __name__ == "__main__":
    main()
