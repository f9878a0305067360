"""What the tests of bounds share: made-up input of any size, runs of the program, and what they took.

Work is never measured against a clock's limit, which would tell more of the machine than of the
program. Each input is made twice, the second time four times as large, and the processor time of
the two is compared: work in proportion takes about 4 times as much, a square 16 times. Memory is
the largest resident set, held against a bound in bytes for each item of the input.

The sizes are small enough for every build. BOUNDS_TIMES=10 in the environment makes all of them
ten times as large; the figures in the tests' comments are those of such runs.
"""

import contextlib
import os
import resource
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM = os.environ["ORVELLIS"]
MEASURED = os.environ["MEASURED"]
TIMES = int(os.environ.get("BOUNDS_TIMES", "1"))

GROWTH = 4  # how much larger the larger input is
FACTOR = 10  # how much longer it may take: 4 times, and what caches add
RUNS = 2  # of which the fastest counts: a busy machine only ever makes a run slower
RETRIES = 3  # for the larger input, when even its fastest run took too long
MIB = 1 << 20
HANG = 300  # seconds, longer than any run takes by far

# What a run takes before it has read anything, the windows of the readers included.
PROGRAM_SIZE = 5 * MIB

ACCOUNT = "user=ann;logs=logs/*.log;url=http://www.example.com;password=*\n"
SUMMARY = "logs/s_log.ORV"
REQUEST = ["username=ann", "date=03012000,03312000", "find=/", "subdirs=1"]


def log_line(moment=0, host="192.0.2.1", url="/", status=200, size=1000, referrer="-", agent="Mozilla/4.0"):
    """A line of a combined log; moment counts from the first second of March, up to its last."""
    hour, second = divmod(moment, 3600)
    stamp = f"{hour // 24 + 1:02}/Mar/2000:{hour % 24:02}:{second // 60:02}:{second % 60:02} +0000"
    return f'{host} - - [{stamp}] "GET {url} HTTP/1.0" {status} {size} "{referrer}" "{agent}"\n'


class Run:
    """A finished run: its status, its page, and what it took."""

    def __init__(self, status, page, seconds, memory):
        self.status = status
        self.page = page
        self.seconds = seconds  # of the processor
        self.memory = memory  # bytes

    def is_complete(self):
        return self.status == 0 and self.page.endswith(b"</html>\n")


class BoundsCase(unittest.TestCase):
    place = None  # of the folder that each test works in; None: that of temporary files

    def setUp(self):
        self.folder = tempfile.mkdtemp(prefix="bounds", dir=self.place)
        self.addCleanup(shutil.rmtree, self.folder)
        os.chdir(self.folder)
        os.mkdir("logs")
        self.write("orvellis.conf", ACCOUNT)

    def write(self, name, *parts):
        """Writes texts and bytes, and what generators yield, to a file."""
        with open(name, "wb") as file:
            for part in parts:
                for piece in [part] if isinstance(part, (str, bytes)) else part:
                    file.write(piece if isinstance(piece, bytes) else piece.encode("latin-1"))

    def run_program(self, *arguments, form=None, length=None, address_space=None):
        """A run from a shell, or behind a web server with the form's file posted."""
        def limit():
            resource.setrlimit(resource.RLIMIT_AS, (address_space, address_space))

        environment = {"TZ": "UTC", "LC_ALL": "C", "PATH": "/usr/bin:/bin"}
        if form is not None:
            environment["REQUEST_METHOD"] = "POST"
            environment["CONTENT_LENGTH"] = str(os.path.getsize(form) if length is None else length)
        with open(form or os.devnull, "rb") as body, open("page", "wb") as page:
            status = subprocess.run([MEASURED, "figures", PROGRAM, *arguments], stdin=body, stdout=page,
                                    env=environment, timeout=HANG,
                                    preexec_fn=limit if address_space else None).returncode
        with open("page", "rb") as page, open("figures", encoding="ascii") as figures:
            microseconds, kibibytes = (int(figure) for figure in figures.read().split())
            return Run(status, page.read(), microseconds / 1e6, kibibytes * 1024)

    def before_run(self):
        """Puts back what a run changes: here the dates of logs, which the next one would not look for."""
        with contextlib.suppress(FileNotFoundError):
            os.remove(SUMMARY)

    def fastest(self, size, make, arguments, options):
        make(size)
        best = None
        for _ in range(RUNS):
            self.before_run()
            run = self.run_program(*arguments, **options)
            self.assertEqual(run.status, 0)
            if best is None or run.seconds < best.seconds:
                best = run
        return best

    def check_growth(self, size, make, *arguments, bytes_each=None, memory=PROGRAM_SIZE, grown=FACTOR,
                     **options):
        """Runs over what make(size) and make(4 * size) lay out; the larger one's run comes back.

        bytes_each is what each item may take, beside what the program itself takes; grown is how many
        times as long the larger run may take.
        """
        size *= TIMES
        arguments = [*(REQUEST if "form" not in options else []), *arguments]
        small = self.fastest(size, make, arguments, options)
        large = self.fastest(size * GROWTH, make, arguments, options)
        for _ in range(RETRIES):
            if large.seconds < grown * small.seconds:
                break
            large = min(large, self.fastest(size * GROWTH, make, arguments, options), key=lambda run: run.seconds)
        factor = large.seconds / small.seconds
        print(f"{self.id()}: {size} and {size * GROWTH} items, {small.seconds:.3f} and {large.seconds:.3f} s,"
              f" {factor:.1f} times; {large.memory / MIB:.1f} MiB,"
              f" {(large.memory - small.memory) / (size * (GROWTH - 1)):.1f} bytes each", file=sys.stderr)
        self.assertLess(factor, grown)
        if bytes_each is not None:
            self.assertLess(large.memory, memory + bytes_each * size * GROWTH)
        return large


def main():
    unittest.main(verbosity=0)
