"""Real schedulers and workers, each a process, for tests; and logs whose reports are known from a plain run."""

from __future__ import annotations

import datetime
import json
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
COMMAND = str(SOURCE / "cluster" / "orvellis-cluster")
REPORT = str(SOURCE / "bin" / "orvellis-report")
PROGRAM = os.environ.get("ORVELLIS_TESTED", str(SOURCE / "build" / "release" / "orvellis"))
PATIENCE = 60  # seconds for what has to happen

sys.dont_write_bytecode = True
sys.path.insert(0, str(SOURCE / "cluster"))

try:
    import distributed
except ImportError:
    print("skipped: python3-distributed is not installed")
    sys.exit(77)

# Nothing of the machine's own configuration, no colours, and a zone that has clock changes.
ENVIRONMENT = {
    "PATH": "/usr/bin:/bin:/usr/sbin:/sbin",
    "LC_ALL": "C.UTF-8",
    "TZ": "Europe/Berlin",
    "ORVELLIS_CACHE": "",
    "ORVELLIS_CLUSTER_PATIENCE": "5",
    "DASK_DISTRIBUTED__COMM__TIMEOUTS__CONNECT": "5s",
}


def write_log(path: Path, records: int, seed: int, day: int = 1) -> None:
    """A combined log of made-up visits, in order of time."""
    chance = random.Random(seed)
    moment = datetime.datetime(2026, 3, day, tzinfo=datetime.timezone.utc)
    with open(path, "w", encoding="ascii") as log:
        for _ in range(records):
            moment += datetime.timedelta(seconds=chance.randrange(20))
            host = f"10.{chance.randrange(3)}.{chance.randrange(40)}.{chance.randrange(250)}"
            log.write(
                f'{host} - - [{moment.strftime("%d/%b/%Y:%H:%M:%S +0000")}] "GET /page{chance.randrange(900)}.html'
                f' HTTP/1.1" {chance.choice([200, 200, 200, 301, 404])} {chance.randrange(90000)}'
                f' "http://site{chance.randrange(90)}.example/" "Mozilla/5.0 (X11; Linux x86_64) Firefox/{chance.randrange(90, 99)}.0"\n'
            )


def wait_for(what: str, happened):  # type: ignore[no-untyped-def]
    """What it gives, as soon as that is something."""
    latest = time.monotonic() + PATIENCE
    while time.monotonic() < latest:
        found = happened()
        if found:
            return found
        time.sleep(0.02)
    raise AssertionError(f"waited in vain for {what}")


def page_of(path: Path) -> str:
    """A report without the moment at which it was made, and the time that took."""
    text = path.read_text(encoding="utf-8")
    text = re.sub(r"made [0-9T:+-]+ by", "made by", text)
    return re.sub(r"<time[^>]*>[^<]*</time>|in [0-9,.]+ s(econds?)?\b", "", text)


def with_own_folder(own: Path, shown: Path) -> tuple[str, ...]:
    """A command in front of another, which sees one folder in the place of another."""
    rights = () if os.geteuid() == 0 else ("--map-root-user",)
    return ("unshare", "--mount", *rights, "sh", "-c", 'mount --bind "$0" "$1" && shift && exec "$@"', str(own), str(shown))


def can_have_own_folders() -> bool:
    with tempfile.TemporaryDirectory() as folder:
        command = [*with_own_folder(Path(folder), Path("/mnt")), "true"]
        return subprocess.run(command, stderr=subprocess.DEVNULL).returncode == 0


# What a wrapper of the program does in one step of a run. Its worker is its parent.
# The first piece that a worker counts is the empty one, by which it is known.
HOLD = "mkdir $cd_to/probed 2>/dev/null || { touch $cd_to/holding; while [ ! -e $cd_to/go ]; do sleep 0.05; done; }"
ONCE = 'mkdir "$cd_to/once" 2>/dev/null &&'


def when(step: str, action: str) -> str:
    """In tasks with this argument, and no other."""
    return f'case " $* " in *" {step}"*) {action} ;; esac'


class Cluster:
    """A scheduler, and workers as they are wanted."""

    def __init__(self, folder: Path, *options: str, scheme: str = "tcp") -> None:
        self.folder = folder
        self.options = options
        self.processes: dict[str, subprocess.Popen[bytes]] = {}
        self.address = ""
        self.scheme = scheme
        self.begin()

    def start(self, name: str, command: list[str], environment: dict[str, str]) -> None:
        with open(self.folder / f"{name}.err", "wb") as errors:
            self.processes[name] = subprocess.Popen(
                command, env=environment, cwd=self.folder, stdin=subprocess.DEVNULL, stdout=errors, stderr=errors
            )

    def begin(self) -> None:
        file = self.folder / "scheduler.json"
        file.unlink(missing_ok=True)
        host = f"{self.scheme}://127.0.0.1" if self.scheme != "tcp" else "127.0.0.1"
        self.start(
            "scheduler",
            ["/usr/bin/dask-scheduler", "--host", host, "--port", "0", "--no-dashboard", "--no-show",
             "--scheduler-file", str(file), *self.options],
            ENVIRONMENT,
        )  # fmt: skip
        wait_for("the scheduler", lambda: file.exists() and file.read_text().endswith("}"))
        self.address = json.loads(file.read_text())["address"]

    def add(self, name: str, host: str = "127.0.0.1", threads: int = 1, before: tuple[str, ...] = (), **more: str) -> None:
        """Starts a worker, perhaps by another command, and does not wait for it."""
        folder = self.folder / name
        folder.mkdir(exist_ok=True)
        (folder / "tmp").mkdir(exist_ok=True)
        program = more.pop("program", PROGRAM)
        environment = {**ENVIRONMENT, "ORVELLIS": program, "TMPDIR": str(folder / "tmp"), **more}
        if not program:
            del environment["ORVELLIS"]
        self.start(
            name,
            [*before, "/usr/bin/dask-worker", self.address, "--nthreads", str(threads), "--no-nanny", "--no-dashboard",
             "--host", f"{self.scheme}://{host}" if self.scheme != "tcp" else host, "--name", name,
             "--local-directory", str(folder), "--memory-limit", "0", *self.options],
            environment,
        )  # fmt: skip

    def ready(self, *names: str) -> None:
        """Waits until workers can be given tasks."""
        for name in names:
            wait_for(f"worker {name}", lambda: b"Registered to" in (self.folder / f"{name}.err").read_bytes())

    def kill(self, name: str) -> None:
        process = self.processes.pop(name)
        process.kill()
        process.wait()

    def end(self) -> None:
        for name in list(self.processes):
            self.kill(name)


class ClusterTest(unittest.TestCase):
    """Each test has a folder, and ends what it has started."""

    workers_die = False

    def setUp(self) -> None:
        self.folder = Path(tempfile.mkdtemp(prefix="orvellis-cluster-test."))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)
        (self.folder / "tmp").mkdir()

    def cluster(self, *options: str, scheme: str = "tcp") -> Cluster:
        folder = self.folder / "cluster"
        folder.mkdir()
        cluster = Cluster(folder, *options, scheme=scheme)
        self.addCleanup(cluster.end)
        return cluster

    def log(self, name: str, records: int, seed: int, day: int = 1) -> Path:
        path = self.folder / name
        path.parent.mkdir(exist_ok=True, parents=True)
        write_log(path, records, seed, day)
        return path

    def wrapper(self, name: str, text: str) -> str:
        """A shell script that stands for the program, which is $ORVELLIS_TESTED in it."""
        path = self.folder / name
        path.write_text(f"#!/bin/sh\nORVELLIS_TESTED='{PROGRAM}'\ncd_to='{self.folder}'\n{text}\nexec '{PROGRAM}' \"$@\"\n")
        path.chmod(0o755)
        return str(path)

    def environment(self) -> dict[str, str]:
        return {**ENVIRONMENT, "ORVELLIS": PROGRAM, "TMPDIR": str(self.folder / "tmp")}

    def begin(self, *arguments: str, program: str = PROGRAM, group: bool = False) -> subprocess.Popen[str]:
        return subprocess.Popen(
            [COMMAND, *arguments], env={**self.environment(), "ORVELLIS": program}, cwd=self.folder, text=True,
            stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=group,
        )  # fmt: skip

    def finish(self, process: subprocess.Popen[str]) -> tuple[int, str, str]:
        output, errors = process.communicate(timeout=PATIENCE)
        return process.returncode, output, errors

    def run_cluster(self, *arguments: str) -> tuple[int, str, str]:
        return self.finish(self.begin(*arguments))

    def plain(self, *logs: object, options: tuple[str, ...] = ()) -> str:
        """The page of one run on one machine."""
        path = self.folder / "plain.html"
        path.unlink(missing_ok=True)
        command = [REPORT, "--quiet", *options, "-o", str(path), *map(str, logs)]
        subprocess.run(command, env=self.environment(), cwd=self.folder, check=True, timeout=PATIENCE)
        return page_of(path)

    def expect_page(self, wanted: str, *arguments: str) -> str:
        """Runs the command, and expects this page; what it has told."""
        return self.expect_finished(wanted, self.begin(*arguments, "-o", "cluster.html"))

    def expect_finished(self, wanted: str, process: subprocess.Popen[str]) -> str:
        status, output, errors = self.finish(process)
        self.assertEqual((status, output), (0, ""), errors)
        self.assertEqual(page_of(self.folder / "cluster.html"), wanted)
        (self.folder / "cluster.html").unlink()
        self.expect_nothing_left()
        return errors

    def expect_sentence(self, pattern: str, *arguments: str) -> str:
        """Runs the command, and expects no page and one sentence."""
        return self.expect_refused(pattern, self.begin(*arguments, "-o", "cluster.html"))

    def expect_refused(self, pattern: str, process: subprocess.Popen[str]) -> str:
        status, output, errors = self.finish(process)
        self.assertEqual((status, output), (2, ""), errors)
        last = errors.splitlines()[-1]
        self.assertRegex(last, "^orvellis-cluster: " + pattern)
        self.assertFalse((self.folder / "cluster.html").exists())
        self.expect_nothing_left()
        return errors

    def left_files(self) -> list[str]:
        return [str(path) for path in self.folder.glob("**/tmp/*")]

    def left_processes(self) -> list[str]:
        """Programs that were started in folders of this test."""
        left = []
        for process in Path("/proc").glob("[0-9]*"):
            try:
                folder = os.readlink(process / "cwd")
                command = (process / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
            except OSError:
                continue
            if "/tmp/" in folder.partition(str(self.folder))[2]:
                left.append(command)
        return left

    def expect_nothing_left(self) -> None:
        # What a wrapper has started ends a moment behind it.
        wait_for("the end of all programs", lambda: not self.left_processes())
        # A worker that was killed could take nothing away.
        wait_for("the end of all files", lambda: self.workers_die or not self.left_files())
