"""What orvellis-report starts in place of orvellis, with the same arguments and in the same folder: it lets a cluster
count, and becomes the orvellis that adds the one part that comes back."""

from __future__ import annotations

import os
import signal
import subprocess
import threading
import uuid
from collections.abc import Callable
from functools import partial
from typing import Any, NoReturn

from . import tasks
from .cluster import connect
from .counting import Apart, Counting
from .errands import MORE_TRIES, Errands
from .logs import logs_in, path_of
from .plan import Piece
from .planning import Planning
from .progress import Progress
from .settings import Settings, take
from .told import Failure, harmless
from .workers import Workers

# Its own exit statuses, which orvellis-report knows.
REFUSED = 4
SHOWN = 10

# In the folder of the run.
SUM = "sum.part"
SENTENCES = "sentences"

# What orvellis-report tells orvellis of one machine.
OF_ONE_MACHINE = ("workers=", "totals=", "partcache=", "title=")

# What only the page needs, and what is true of this machine alone.
OF_THE_PAGE = ("OrvellisPath=", "Networks=", "ExtraHeader=", "CountryDatabase=")


class Interrupted(BaseException):
    def __init__(self, number: int) -> None:
        super().__init__(number)
        self.number = number


class Refused(Exception):
    """The arguments are refused as orvellis refuses them, which orvellis-report makes a sentence of."""

    def __init__(self, status: int, output: bytes, sentences: bytes) -> None:
        super().__init__(status)
        self.status = status
        self.output = output
        self.sentences = sentences


def interrupt(number: int, frame: object) -> NoReturn:
    for caught in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
        signal.signal(caught, signal.SIG_IGN)
    raise Interrupted(number)


def zone_of_machine() -> str:
    """The name of the zone by which this run tells days; empty when the machine has none by name."""
    if "TZ" in os.environ:
        return os.environ["TZ"] or "UTC"
    path = os.path.realpath("/etc/localtime")
    _, found, name = path.partition("/zoneinfo/")
    if found:
        return name
    try:
        with open("/etc/timezone", encoding="utf-8") as file:
            return file.read().strip()
    except OSError:
        return "" if os.path.exists("/etc/localtime") else "UTC"


def read_text(path: str) -> str:
    with open(path, encoding="utf-8", errors="surrogateescape") as file:
        return file.read()


def make_job(arguments: list[str]) -> tasks.Job:
    configuration = [
        line for line in read_text("orvellis.conf").splitlines(keepends=True) if not line.startswith(OF_THE_PAGE)
    ]
    files = {"orvellis.conf": "".join(configuration)}
    for name in ("layout", "agents"):
        if os.path.exists(name):
            files[name] = read_text(name)
    return {
        "name": uuid.uuid4().hex,
        "arguments": [word for word in arguments if not word.startswith(OF_ONE_MACHINE)],
        "files": files,
        "zone": zone_of_machine(),
        "empty": "",
    }


class Engine:
    def __init__(self, settings: Settings, arguments: list[str], told: int) -> None:
        self.settings = settings
        self.told = told  # the descriptor of the run's sentences
        self.arguments = arguments
        self.progress = Progress(settings.terminal)
        self.logs = logs_in("logs")
        self.run = tasks.start(make_job(arguments))
        self.client: Any = None
        self.workers: Workers | None = None
        self.errands: Errands | None = None
        self.planning: Planning | None = None
        self.parent = os.getppid()

    def watch(self) -> None:
        """Several times a second."""
        if os.getppid() != self.parent:
            raise Interrupted(signal.SIGTERM)  # whoever has started this was killed
        self.progress.show(len(self.workers.fit) if self.workers else 0)

    # ---- The steps ----

    def begin(self) -> None:
        self.progress.say("starting")
        self.check_logs()
        self.run["job"]["empty"] = self.plan_nothing()
        self.client = connect(self.settings)
        tasks.send_by_value()
        self.errands = Errands(self.client, self.run["job"]["name"], self.settings.scheduler, self.watch)
        self.workers = Workers(self.client, self.run, self.errands.changed)
        self.errands.workers = self.workers
        self.workers.begin()
        self.workers.need_some(self.errands.pause)

    def plan_nothing(self) -> str:
        """The line of a plan in which there is nothing to read. Where orvellis refuses the arguments, or the
        configuration, it does so here."""
        status, output, sentences = tasks.try_program(self.run, ["plan=1K"], {path_of(1): "nothing"}, [])
        if status == 0 and output.startswith(b"1/1 "):
            return output.decode().strip()
        if status == REFUSED:
            raise Failure(tasks.sentence_of(status, sentences))
        raise Refused(status, output, sentences)

    def local(self, arguments: list[str], links: dict[str, str], given: bytes = b"") -> bytes:
        """What orvellis writes on this machine."""
        try:
            return tasks.run_program(self.run, arguments, links, [given])
        except RuntimeError as error:
            raise Failure(str(error.args[1])) from None

    def check_logs(self) -> None:
        copies = os.path.realpath("copies") + "/"
        for log in self.logs.by_path.values():
            if self.settings.scheduler and log.target.startswith(copies):
                raise Failure("standard input and pipes are of this machine, where no worker reads: name files")

    def report(self) -> int:
        """Counts, and writes the page. A log that was cut where it must not be is planned again, reading it."""
        assert self.workers is not None and self.errands is not None
        planning = self.planning = Planning(self.errands, self.workers, self.logs, self.settings, self.local)
        while True:
            self.progress.say("planning")
            pieces = planning.plan()
            if self.settings.dry_run:
                self.show(planning.summary(pieces))
                return SHOWN
            self.progress.begin(len(pieces), sum(piece.weight for piece in pieces))
            self.watch()
            counted = partial(tell_weight, self.progress)
            missing = self.settings.allow_missing
            counting = Counting(self.errands, self.workers, self.logs, pieces, planning.most, missing, counted)
            try:
                return self.write_page(counting)
            except Apart as apart:
                counting.drop()
                planning.distrust(apart.log)

    def show(self, lines: list[str]) -> None:
        self.progress.erase()
        try:
            with open(self.settings.output, "w", encoding="utf-8", errors="replace", closefd=False) as output:
                output.writelines(harmless(line) + "\n" for line in lines)
        except OSError as error:
            raise Failure(f"cannot write to standard output: {error.strerror}") from None

    def write_page(self, counting: Counting) -> int:
        """Adds the one part; what this prints, and its status, are those of the run."""
        assert self.errands is not None
        status, told = 0, b""
        for _ in range(1 + MORE_TRIES):
            contents = self.errands.fetch(counting.run())
            if contents is None:
                counting.count_again(counting.row.whole)
                continue
            with open(SUM, "wb") as file:
                file.write(contents)
            del contents  # which may be large
            self.progress.say("writing")
            self.put_names()
            with open(SENTENCES, "w+b") as sentences:
                command = [self.settings.program, *self.arguments, "merge=" + SUM]
                status = subprocess.call(command, stdin=subprocess.DEVNULL, stderr=sentences)
                sentences.seek(0)
                told = sentences.read()
            if status != REFUSED:
                os.write(self.told, told)
                return status
            # Nothing was printed: what has come is not what a worker has sent.
            counting.count_again(counting.row.whole)
        lost = "what was counted was lost on its way here, again and again"
        raise Failure(tasks.sentence_of(status, told) if told else lost)

    def put_names(self) -> None:
        """The page asks links what the logs are called."""
        for log in self.logs.by_path.values():
            if log.host and not os.path.lexists(log.path):
                os.symlink(f"{log.label}:{os.path.basename(log.target)}", log.path)

    def notes(self) -> list[str]:
        found = (self.workers.notes if self.workers else []) + (self.planning.notes if self.planning else [])
        return [self.logs.told(note) for note in found]

    # ---- The end ----

    def end(self) -> None:
        """Leaves nothing on the workers."""
        name = self.run["job"]["name"]
        with self.run["lock"]:
            self.run["ended"] = True
            for child in self.run["children"]:
                child.kill()
        if self.workers is not None:
            self.workers.end()
        if self.errands is not None and self.workers is not None and self.client.status == "running":
            futures, knowing = self.errands.futures(), [*self.workers.fit, *self.workers.unfit]
            self.patiently(lambda: self.client.cancel(futures, force=True))
            self.patiently(lambda: self.client.run(tasks.stop, name, workers=knowing, on_error="ignore"))

    def patiently(self, function: Callable[[], Any]) -> None:
        """Nothing that the cluster answers, or does not, keeps the run from ending."""
        thread = threading.Thread(target=lambda: quietly(function), daemon=True)
        thread.start()
        thread.join(tasks.LAST_SECONDS + 2)


def tell_weight(progress: Progress, piece: Piece) -> None:
    progress.count(piece.weight)


def quietly(function: Callable[[], Any]) -> None:
    try:
        function()
    except Exception:
        pass


def take_streams() -> int:
    """The descriptor for the run's own sentences: what libraries write to standard error is none."""
    told = os.dup(2)
    nothing = os.open(os.devnull, os.O_WRONLY)
    os.dup2(nothing, 2)
    os.close(nothing)
    return told


def run(arguments: list[str]) -> int:
    settings = take()
    os.environ["ORVELLIS"] = settings.program
    for caught in (signal.SIGHUP, signal.SIGINT, signal.SIGTERM):
        signal.signal(caught, interrupt)
    engine = Engine(settings, arguments, take_streams())
    status, sentences = REFUSED, []
    try:
        engine.begin()
        status = engine.report()
    except Failure as failure:
        sentences = [engine.logs.told(str(failure))]
    except Refused as refused:
        status = refused.status
        os.write(1, refused.output)
        os.write(engine.told, refused.sentences)
    except Interrupted as interrupted:
        status = 128 + interrupted.number
    except Exception as error:
        sentences = [f"the run has failed: {type(error).__name__}: {error}".splitlines()[0]]
    finally:
        engine.progress.erase()
        engine.end()
    for line in [*engine.notes(), *sentences]:
        os.write(engine.told, (harmless(line) + "\n").encode(errors="replace"))
    # Threads may still wait for a cluster that is gone.
    os._exit(status)
