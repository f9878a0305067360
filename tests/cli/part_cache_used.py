#!/usr/bin/env python3
"""Fails unless kept counts are used: a run reads nothing of a log whose counts are kept, and only what is new otherwise.

    part_cache_used.py PROGRAM PROJECT

What is read of each log is seen from outside, by strace; it is skipped (77) where that is not installed. Plain logs and
compressed ones stand in folders of their own: together, their beginnings are read to see which are copies.
"""
import collections
import datetime
import gzip
import os
import pathlib
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
import divided_runs  # pylint: disable=wrong-import-position
import workers_check  # pylint: disable=wrong-import-position

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
SETTLED = 3.1  # seconds, in which nobody changes a log
WORKERS = "workers=3,4096"  # of which each may take as little as 4 KiB
FIRST_DAY = datetime.date(2000, 2, 20)
# How logs are packed, of how many lines they are, and how many bytes of one are looked at in any case: whether it is
# compressed; if it is, whether others begin likewise, beyond which up to 2.25 MiB are unpacked ahead.
PACKERS = ((bytes, 1500, lambda size: 12), (gzip.compress, 30000, lambda size: size * 0.7))
SECTIONS = [f"{name}=1,0" for name in ("requests", "referrers", "browsers", "badurls", "domains")] + ["dailytotals=1", "hoursofweek=1"]
READ = re.compile(r'\b(?:read|pread64)\(\d+<[^>]*/logs/([^>/]+)>.*\) = (\d+)')
MAPPED = re.compile(r'\bmmap\(\w+, (\d+), [^<]*<[^>]*/logs/([^>/]+)>')


def log_of(day, lines):
    """No two of the same size: such are read anyway, to see whether they are copies."""
    chance, date = random.Random(day), FIRST_DAY + datetime.timedelta(days=day)
    return "".join(f'10.0.{day}.{n % 256} - - [{date:%d/%b/%Y}:{n % 24:02}:30:00 +0000] "GET /page{n % 7}.html?{chance.getrandbits(256):x} HTTP/1.0" 200 {n} '
                   f'"http://www.example.net/{day}" "Agent/{n % 3}"\n' for n in range(lines + day)).encode()


class Account:
    def __init__(self, folder, probed, packed):
        self.folder, self.probed, self.packed, self.failures = pathlib.Path(folder), probed, packed, []
        (self.folder / "logs").mkdir()
        (self.folder / "orvellis.conf").write_text("user=all;logs=logs/*;url=http://www.example.com;password=*\n")

    def write(self, name, content):
        (self.folder / "logs" / name).write_bytes(content)

    def size_of(self, name):
        return (self.folder / "logs" / name).stat().st_size

    def run(self, words, under=()):
        env = {"TZ": "UTC", "LC_ALL": "C", "PATH": "/usr/bin:/bin", "SOURCE_DATE_EPOCH": "954547200", "ORVELLIS_CACHE": "",
               "ASAN_OPTIONS": "detect_leaks=0"}
        done = subprocess.run([*under, PROGRAM, "edition=modern", "username=all", "find=/", "subdirs=1", *SECTIONS, *words],
                              cwd=self.folder, env=env, capture_output=True, timeout=120, check=False)
        return done.returncode, workers_check.without_moments(done.stdout), done.stderr

    def read_by(self, words):
        """The page, and which logs each of its processes has read."""
        traces = self.folder / "traces"
        traces.mkdir()
        done = self.run(words, [divided_runs.STRACE, "-ff", "-y", "-qq", "-o", str(traces / "of"), "-e", "trace=read,pread64,mmap", "--"])
        read = []
        for trace in traces.iterdir():
            text, sizes = trace.read_text(errors="replace"), collections.Counter()
            for name, size in READ.findall(text) + [found[::-1] for found in MAPPED.findall(text)]:
                sizes[name] += int(size)
            read.append({name for name, size in sizes.items() if size > self.probed(self.size_of(name))})
        shutil.rmtree(traces)
        return done, [names for names in read if names]

    def expect_read(self, what, expected, *words, processes=1):
        """Nothing but these logs is read, plain ones each once, by so many processes, and the page is that of a run without
        counts. What reads compressed ones are processes that serve others."""
        plain = self.run(words)
        done, read = self.read_by([*words, "partcache=counts"])
        if plain[0] != 0 or done != plain:
            self.failures.append(f"{what}: another report than without counts")
        once = sum(map(len, read)) == len(expected) and len(read) == (processes if expected else 0)
        if set().union(*read) != set(expected) or not (once or self.packed):
            self.failures.append(f"{what}: read is {[sorted(names) for names in read]}, and not {sorted(expected)}")


def check(account, pack, lines):
    """Reports over a folder to which days come."""
    names = [f"access.log-{day:02}" for day in range(8)]
    for day, name in enumerate(names):
        account.write(name, pack(log_of(day, lines)))
    time.sleep(SETTLED)
    account.expect_read("the first report", names, "days=all")
    counts = list(account.folder.glob("counts/*.counts"))
    if not any(re.fullmatch("[0-9a-f]{32}[.]counts", path.name) for path in counts):
        account.failures.append("no counts are kept")
    if any(path.stat().st_mode & 0o777 != 0o600 for path in counts):
        account.failures.append("counts are not their owner's alone")
    account.expect_read("the same again", [], "days=all")
    account.expect_read("another page", [], "days=all", "output=json", "title=x", "requests=1,3")
    account.expect_read("a range of days", [], "from=2000-02-21", "to=2000-02-25")
    account.expect_read("another range", [], "from=2000-02-24", "to=2000-03-01")
    account.expect_read("days of none", [], "from=1999-02-27", "to=1999-03-01")
    account.expect_read("another path", names, "days=all", "find=/page1")
    account.expect_read("that path again", [], "days=all", "find=/page1")
    account.expect_read("a third path, by workers", names, "days=all", "find=/page2", WORKERS, processes=3)
    account.expect_read("that path again, by workers", [], "days=all", "find=/page2", WORKERS)
    account.write("access.log-08", pack(log_of(8, lines)))
    (account.folder / "logs" / names[5]).rename(account.folder / "logs/access.log.5")
    time.sleep(SETTLED)
    account.run(["from=2000-02-25", "to=2000-02-25", "partcache=counts"])  # reads what was called anew, and finds it the same
    account.expect_read("a new day", ["access.log-08"], "days=all")
    account.expect_read("it is known, too", [], "days=all")
    account.expect_read("a new day of the third path, by workers", ["access.log-08"], "days=all", "find=/page2", WORKERS)


def main():
    if divided_runs.STRACE is None:
        sys.exit(77)
    failures = []
    for pack, lines, probed in PACKERS:
        with tempfile.TemporaryDirectory() as folder:
            account = Account(folder, probed, pack is not bytes)
            check(account, pack, lines)
            failures += [f"{pack.__name__}: {failure}" for failure in account.failures]
    print(*failures, sep="\n")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
