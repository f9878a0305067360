"""What workers do: run orvellis in a folder of its own, and hand back what it has written.

These functions are sent by value: a worker needs Dask and orvellis, and nothing of this package. What all tasks
of a run share, its job, is sent to each worker once, and held under the run's name.
"""

from __future__ import annotations

import asyncio
import glob
import hashlib
import os
import shutil
import socket
import subprocess
import sys
import tempfile
import threading
import time
from collections.abc import Callable, Iterable, Iterator
from types import ModuleType
from typing import Any, TypedDict

import cloudpickle

from . import streams

# Where a process keeps its runs: these functions, sent by value, share no variables.
KEPT = "_orvellis_cluster_runs"

# How long a worker that is told to stop waits for its last task.
LAST_SECONDS = 10.0


class Job(TypedDict):
    name: str  # of the run
    arguments: list[str]  # of orvellis
    files: dict[str, str]  # name -> contents: the configuration
    zone: str  # TZ; empty: that of the machine
    empty: str  # a piece with nothing in it


class Run(TypedDict):
    job: Job
    perform: Callable[..., Any]
    lock: Any  # of the two below
    children: set[subprocess.Popen[bytes]]
    active: int  # how many are at work
    ended: bool


def start(job: Job) -> Run:
    return {"job": job, "perform": perform_step, "lock": threading.Lock(), "children": set(), "active": 0, "ended": False}


def runs() -> dict[str, Run]:
    """Of this process."""
    module = sys.modules.setdefault(KEPT, ModuleType(KEPT))
    held: dict[str, Run] = module.__dict__.setdefault("runs", {})
    return held


# ---- Running orvellis ----


def find_program() -> str:
    program = os.environ.get("ORVELLIS") or shutil.which("orvellis")
    if not program or not os.access(program, os.X_OK):
        raise RuntimeError("worker", f"the program {program or 'orvellis'} is not installed")
    return program


def make_folder(run: Run, links: dict[str, str]) -> str:
    folder = tempfile.mkdtemp(prefix="orvellis-cluster.")
    os.mkdir(os.path.join(folder, "logs"))
    for name, contents in run["job"]["files"].items():
        with open(os.path.join(folder, name), "w", encoding="utf-8", errors="surrogateescape") as file:
            file.write(contents)
    for name, target in links.items():
        os.symlink(target, os.path.join(folder, name))
    return folder


def launch(
    run: Run, command: list[str], folder: str, scratch: str, out: int, errors: int
) -> subprocess.Popen[bytes]:
    """Starts the program so that stop() finds it."""
    environment = {name: value for name, value in os.environ.items() if name != "TZ"}
    environment.update({"LC_ALL": "C"}, **({"TZ": run["job"]["zone"]} if run["job"]["zone"] else {}))
    if scratch:
        environment["TMPDIR"] = scratch
    for name in ("REQUEST_METHOD", "QUERY_STRING", "CONTENT_LENGTH", "SERVER_NAME", "SCRIPT_NAME", "SERVER_ADMIN"):
        environment.pop(name, None)  # what a web server would have set
    with run["lock"]:
        if run["ended"]:
            raise RuntimeError("ended", "the run has ended")
        child = subprocess.Popen(
            command, cwd=folder, env=environment, stdin=subprocess.PIPE, stdout=out, stderr=errors
        )
        run["children"].add(child)
    return child


def contents_of(descriptor: int) -> bytes:
    os.lseek(descriptor, 0, os.SEEK_SET)
    with open(descriptor, "rb", closefd=False) as file:
        return file.read()


def attend(
    run: Run, command: list[str], folder: str, scratch: str, given: Iterable[bytes]
) -> tuple[int, bytes, bytes]:
    """Status, output and sentences of a program that reads what is given. Its output grows in memory, so that it
    never waits for somebody to read it."""
    out, errors = os.memfd_create("output"), os.memfd_create("errors")
    try:
        child = launch(run, command, folder, scratch, out, errors)
        try:
            assert child.stdin is not None
            try:
                with child.stdin as pipe:
                    for piece in given:
                        pipe.write(piece)
            except BrokenPipeError:
                pass  # it has ended, and says why
            status = child.wait()
        finally:
            if child.poll() is None:  # what is given has ended by a failure
                child.kill()
                child.wait()
            with run["lock"]:
                run["children"].discard(child)
        return status, contents_of(out), contents_of(errors)
    finally:
        os.close(out)
        os.close(errors)


def sentence_of(status: int, errors: bytes) -> str:
    lines = [line for line in errors.decode(errors="replace").splitlines() if line]
    if status < 0:
        return f"orvellis was ended by signal {-status}"
    if status == 4 and lines:
        return lines[-1].removeprefix("orvellis: ")
    if status == 1:
        return "orvellis ran out of memory"
    return f"orvellis failed with status {status}"


def try_program(
    run: Run, arguments: list[str], links: dict[str, str], given: Iterable[bytes], scratch: str = ""
) -> tuple[int, bytes, bytes]:
    """Status, output and sentences of orvellis, which keeps in the folder scratch what it has to keep."""
    with run["lock"]:
        if run["ended"]:
            raise RuntimeError("ended", "the run has ended")
        run["active"] += 1
    folder = ""
    try:
        folder = make_folder(run, links)
        command = [find_program(), *run["job"]["arguments"], *arguments]
        return attend(run, command, folder, scratch, given)
    except OSError as error:
        raise RuntimeError("worker", f"cannot run orvellis: {error}") from None
    finally:
        if folder:
            shutil.rmtree(folder, ignore_errors=True)
        with run["lock"]:
            run["active"] -= 1


def run_program(
    run: Run, arguments: list[str], links: dict[str, str], given: Iterable[bytes], scratch: str = ""
) -> bytes:
    """What orvellis writes. What it refuses is RuntimeError("orvellis", SENTENCE)."""
    status, output, errors = try_program(run, arguments, links, given, scratch)
    if run["ended"]:
        raise RuntimeError("ended", "the run has ended")
    if status != 0:
        raise RuntimeError("orvellis", sentence_of(status, errors))
    return output


# ---- Steps ----


def find(run: Run, patterns: list[str]) -> list[tuple[str, int]]:
    """The files of this host that match, in the order of patterns and names, with their sizes; empty ones hold
    nothing to count."""
    found: dict[str, int] = {}
    for pattern in patterns:
        for path in sorted(glob.glob(pattern), key=os.fsencode):
            if os.path.isfile(path) and path not in found and not path.endswith(".ORV"):
                found[path] = os.stat(path).st_size
    return [(path, size) for path, size in found.items() if size > 0]


def plan(run: Run, arguments: list[str], links: dict[str, str], token: str) -> str:
    """Lines of a plan; with a token, of one that cuts this piece further."""
    given = [token.encode() + b"\n"] if token else []
    return run_program(run, arguments, links, given).decode()


def count(run: Run, token: str, links: dict[str, str]) -> bytes:
    """The part of a piece."""
    return run_program(run, ["piece=-", "part=-"], links, [token.encode() + b"\n"])


def count_address(run: Run, token: str, address: str, stretches: list[tuple[int, int]], size: int) -> bytes:
    """The part of a piece whose bytes come from an address: about so many, which orvellis keeps while it counts. That
    is in memory, unless they are more than that is for."""

    def given() -> Iterator[bytes]:
        yield token.encode() + b"\n"
        if not stretches:
            yield from streams.whole(address)
        for begin, end in stretches:
            yield from streams.stretch(address, begin, end)

    return run_program(run, ["piece=-", "stream=-", "part=-"], {}, given(), streams.memory_folder(size))


def cut_address(run: Run, token: str, path: str, address: str, size: int, every: int) -> str:
    """Lines of a plan that cuts what an address names. Of this only what is around the cuts is asked for."""
    log = streams.sparse_file(size, streams.windows(address, size, every))
    try:
        return plan(run, [f"plan={every},quick", "piece=-"], {path: log}, token)
    finally:
        os.unlink(log)


def blocks_of(path: str) -> Iterator[bytes]:
    try:
        with open(path, "rb") as file:
            while block := file.read(1 << 20):
                yield block
    except OSError as error:
        raise RuntimeError("orvellis", f"cannot read {path}: {error.strerror}") from None


def hash_log(run: Run, target: str, is_address: bool) -> str:
    """Of all bytes of a log."""
    found = hashlib.sha256()
    for block in streams.whole(target) if is_address else blocks_of(target):
        if run["ended"]:
            break
        found.update(block)
    return found.hexdigest()


def count_missing(run: Run, token: str) -> bytes:
    """The part of a piece that nobody could count."""
    return run_program(run, ["piece=-", "missing=1", "part=-"], {}, [token.encode() + b"\n"])


def add(run: Run, *parts: bytes) -> bytes:
    """The sum of parts."""
    return run_program(run, ["merge=-", "part=-"], {}, parts)


def perform_step(run: Run, step: str, inputs: tuple[Any, ...], address: str) -> Any:
    """What fails is RuntimeError(KIND, SENTENCE, ADDRESS)."""
    steps: dict[str, Callable[..., Any]] = {
        "find": find,
        "hash": hash_log,
        "plan": plan,
        "cut_address": cut_address,
        "count": count,
        "count_address": count_address,
        "missing": count_missing,
        "add": add,
    }
    try:
        return steps[step](run, *inputs)
    except RuntimeError as error:
        raise RuntimeError(*error.args[:2], address) from None


# ---- What is sent ----


def perform(name: str, step: str, *inputs: Any) -> Any:
    """A task. A worker that does not know the run says so: LookupError(ADDRESS). Small, for it is sent each time."""
    import sys

    from distributed import get_worker

    run = getattr(sys.modules.get("_orvellis_cluster_runs"), "runs", {}).get(name)
    address = get_worker().address
    if run is None:
        raise LookupError(address)
    return run["perform"](run, step, inputs, address)


async def prepare(job: Job) -> tuple[str, bytes, str]:
    """Makes a worker know the run: its host's name, and the part of the empty piece or why there is none."""
    run = runs().setdefault(job["name"], start(job))
    host = socket.gethostname()
    try:
        return host, await asyncio.to_thread(count, run, job["empty"], {}), ""
    except RuntimeError as error:
        return host, b"", str(error.args[-1])


async def stop(name: str) -> None:
    """Ends what a worker does for the run, and forgets it. When this comes back nothing is left of it."""
    run = runs().pop(name, None)
    if run is None:
        return
    with run["lock"]:
        run["ended"] = True
        for child in run["children"]:
            child.kill()
    latest = time.monotonic() + LAST_SECONDS
    while run["active"] > 0 and time.monotonic() < latest:
        await asyncio.sleep(0.02)


def send_by_value() -> None:
    """Has this module and what it uses sent whole, and not by name."""
    cloudpickle.register_pickle_by_value(sys.modules[__name__])
    cloudpickle.register_pickle_by_value(streams)
