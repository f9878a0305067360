"""What the tests of faults share: made-up sites, runs of the program, and pages to compare with.

Each test file runs with the program's path in ORVELLIS and the folder of the programs built
beside the tests in TOOLS. Nothing is written outside of the temporary folder of each test.
"""

import os
import random
import re
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

PROGRAM = os.environ["ORVELLIS"]
TOOLS = os.environ["TOOLS"]
SANITIZED = os.environ.get("SANITIZED") == "1"
FAILING_MALLOC = os.path.join(TOOLS, "libfailing_malloc.so")
AT_SYSTEM_CALL = os.path.join(TOOLS, "at_system_call")

# Longer than any run here takes by far: whoever is not done by then hangs.
HANG = 60

DAY = 86400
FIRST_DAY = 952300800  # 2000-03-06 00:00:00 UTC
RANGE = "date=03012000,03312000"
SECTIONS = [
    "requests=1,20", "referrers=1,20", "search=1,20", "browsers=1,20", "badurls=1,20,,1",
    "badreferrers=1,20", "domains=1,20", "domaintypes=1,20", "dailytotals=1", "hitsperdayofweek=1",
    "hitsperhour=1",
]
WARNING = b"required more memory than was available"
LONG_NAME = "access.of.www.example.com." + "x" * 190 + "."
NAMES = "com Commercial\nexample Examples\norg Organisations\ntest Tests\n"


def log_line(moment, host="www.example.com", url="/", status=200, size=1000, referrer="-", agent="Mozilla/4.0"):
    """A line of a combined log; moment counts from the first day's midnight, in seconds."""
    stamp = time.strftime("%d/%b/%Y:%H:%M:%S +0000", time.gmtime(FIRST_DAY + moment))
    return f'{host} - - [{stamp}] "GET {url} HTTP/1.0" {status} {size} "{referrer}" "{agent}"\n'


def made_up_lines(seed, first, seconds, count):
    """count lines of the span that begins at first, in order of time, the same for the same seed."""
    chance = random.Random(seed)
    lines = []
    for moment in sorted(chance.randrange(seconds) for _ in range(count)):
        page = chance.randrange(60)
        bad = chance.randrange(12) == 0
        lines.append(log_line(
            first + moment,
            host=chance.choice([f"host{chance.randrange(80)}.example.com", f"10.1.{chance.randrange(9)}.7",
                                f"pc{chance.randrange(30)}.example.org"]),
            url=f"/missing{page % 7}.html" if bad else f"/docs/page{page}.html",
            status=404 if bad else 200,
            size=500 + page,
            referrer=chance.choice(["-", f"http://www.example.org/links{page % 9}.html",
                                    f"http://search.yahoo.com/bin/search?p=words+{page}"]),
            agent=f"Mozilla/4.{page % 5} (compatible; MSIE {page % 4}.0)"))
    return "".join(lines)


def without_moment(page):
    """The page without what shows the present moment."""
    page = re.sub(rb'(<b>Date of Report:</b></td><td width="50%">)[^<]*', rb"\1NOW", page)
    return re.sub(rb"(Time required to generate report = )[0-9:]*", rb"\1MM:SS", page)


class Result:
    def __init__(self, status, page, errors=b""):
        self.status = status  # negative: the signal that ended the run
        self.page = without_moment(page)
        self.errors = errors

    def is_complete(self):
        return self.page.endswith(b"</html>\n")

    def hits(self):
        found = re.search(rb"HTTP Requests:</b></td><td[^>]*>([0-9,]+)", self.page)
        return None if found is None else int(found.group(1).replace(b",", b""))

    def __repr__(self):
        return f"status {self.status}, {len(self.page)} bytes {self.page[-200:]!r} {self.errors[-500:]!r}"


class FaultTest(unittest.TestCase):
    """A folder of its own, with a configuration, a names file and logs."""

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="faults.")
        self.addCleanup(self.remove_folder)
        os.chmod(self.folder, 0o755)
        self.write("orvellis.conf", self.configuration())
        self.write("names", NAMES)

    def remove_folder(self):
        shutil.rmtree(self.folder, ignore_errors=True)

    def configuration(self, account="logs=logs/access*.log", keys=""):
        return f"Networks=names\nErrorLog=errors.log\n{keys}user=demo;url=http://www.example.com;{account};password=*\n"

    def path(self, name):
        return os.path.join(self.folder, name)

    def write(self, name, text, mode="w"):
        path = self.path(name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, mode, newline="") as file:
            file.write(text)
        return path

    def read(self, name):
        with open(self.path(name), "rb") as file:
            return file.read()

    def make_logs(self, files=5, lines=60, seed=1):
        """One log a day, access0.log and so on."""
        for day in range(files):
            self.write(f"logs/access{day}.log", made_up_lines(seed * 100 + day, day * DAY, DAY, lines))

    def make_many_logs(self):
        """Logs whose summary takes several writes: long names, and some that begin with others. Logs of
        one size but different days: half an entry could pass for a whole one of another log."""
        for number in range(20):
            self.write(f"logs/{LONG_NAME}{number}.log", made_up_lines(number, number * DAY, DAY, 3))
            if number < 6:
                self.write(f"logs/same.{'1' * number}", log_line(number * DAY, url=f"/{number:02}"))

    def parameters(self, *more):
        return ["config=orvellis.conf", "username=demo", "find=/", "subdirs=1", RANGE, *SECTIONS, *more]

    def start(self, parameters=None, under=(), environment=None, limits=None, stdout=subprocess.PIPE, cwd=None,
              stdin=subprocess.DEVNULL, program=PROGRAM):
        """Starts a run; under: a command that runs it; limits: resource limits; both optional."""
        parameters = self.parameters() if parameters is None else parameters

        def before():
            for limit, value in (limits or {}).items():
                resource.setrlimit(limit, (value, value))

        return subprocess.Popen(
            [*under, program, *parameters], cwd=cwd or self.folder, stdin=stdin, stdout=stdout,
            stderr=subprocess.PIPE, env={"TZ": "UTC", "LC_ALL": "C", "PATH": os.environ["PATH"], **(environment or {})},
            preexec_fn=before if limits else None)

    def finish(self, process):
        try:
            page, errors = process.communicate(timeout=HANG)
        except subprocess.TimeoutExpired:
            process.kill()
            process.communicate()
            self.fail(f"the run hangs: {process.args}")
        return Result(process.returncode, page or b"", errors)

    def run_once(self, *arguments, **options):
        return self.finish(self.start(*arguments, **options))

    def forget_summaries(self):
        for name in self.summaries():
            os.remove(self.path("logs/" + name))

    def expect_report(self, result):
        self.assertEqual(result.status, 0, result)
        self.assertTrue(result.is_complete(), result)
        self.assertNotIn(b"Error #", result.page)
        self.assertIsNotNone(result.hits(), result)
        return result.page

    def summaries(self, folder="logs"):
        """The names of summary files there, temporary ones too."""
        return [name for name in os.listdir(self.path(folder)) if ".ORV" in name] \
            if os.path.isdir(self.path(folder)) else []

    def entries(self, folder="logs"):
        """What the summary file there tells of the logs; None: there is none."""
        names = [name for name in self.summaries(folder) if name.endswith(".ORV")]
        if not names:
            return None
        lines = self.read(f"{folder}/{names[0]}").decode().splitlines()
        return sorted(line for line in lines if not line.startswith("#"))

    def undisturbed(self, parameters=None, **options):
        """The report of a run that nothing disturbs and that knows nothing from earlier ones."""
        self.forget_summaries()
        page = self.expect_report(self.run_once(parameters, **options))
        self.forget_summaries()
        return page

    def expect_same(self, expected, result, what=""):
        self.assertEqual(result.status, 0, f"{what}: {result}")
        if result.page != expected:
            self.fail(f"{what}: the page differs:\n" + difference(expected, result.page))

    def under(self, *options):
        """The command that lets things happen at system calls."""
        return [AT_SYSTEM_CALL, *options]

    def system_calls(self, parameters=None, **options):
        """The calls of a whole run: [(number, name, first, third, fourth argument)]."""
        listing = self.path("calls")
        self.expect_traced(self.run_once(parameters, under=self.under("-l", listing), **options))
        with open(listing, encoding="ascii") as file:
            rows = [line.split() for line in file]
        os.remove(listing)
        return [(int(row[0]), row[1], int(row[2]), int(row[3]), int(row[4])) for row in rows]

    def expect_traced(self, result):
        if result.status == 125:
            self.skipTest("processes may not be controlled here: " + result.errors.decode())


def difference(expected, actual):
    import difflib
    lines = difflib.unified_diff(expected.decode("latin-1").splitlines(), actual.decode("latin-1").splitlines(),
                                 "expected", "actual", lineterm="", n=0)
    return "\n".join(list(lines)[:30])


def release_only(test):
    """For what depends on each call that the program makes, to which the sanitizers add their own."""
    return unittest.skipIf(SANITIZED, "the sanitizers make calls of their own for memory and of the system")(test)


def main():
    # Ctrl-C and a reader that goes away end the tests as any program.
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    unittest.main(argv=[sys.argv[0], "-v", *sys.argv[1:]])
