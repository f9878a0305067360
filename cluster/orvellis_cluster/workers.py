"""The workers of a cluster: which there are, on which hosts, and which of them may count."""

from __future__ import annotations

import os
import threading
import time
from collections.abc import Callable
from dataclasses import dataclass
from typing import Any

from . import tasks
from .told import Failure

# How long the last worker, or the last one of a host, may be away before the run gives it up: a nanny starts
# another in less.
PATIENCE = float(os.environ.get("ORVELLIS_CLUSTER_PATIENCE", "30"))
LOOK_EVERY = 1.0  # seconds


@dataclass(frozen=True)
class Worker:
    address: str
    host: str  # by its address in the network
    name: str  # what the host calls itself
    threads: int
    against: str = ""  # the sentence that says why it may not count


def reason_of(sentence: str) -> str:
    """What orvellis has said of a worker's part, said of the worker."""
    for said, meant in (
        ("standard input was counted with ", "it counts with "),
        ("standard input ", "what it has counted "),
    ):
        if sentence.startswith(said):
            return meant + sentence[len(said) :]
    return sentence


class Workers:
    """Looks for workers, makes them know the run, and leaves out those that would count otherwise."""

    def __init__(self, client: Any, run: tasks.Run, changed: Callable[[], None]) -> None:
        self.client = client
        self.run = run
        self.changed = changed
        self.fit: dict[str, Worker] = {}
        self.unfit: dict[str, Worker] = {}
        self.notes: list[str] = []
        self.expected: bytes = b""  # the empty piece's part, of a worker that is fit
        self.last_seen: dict[str, float] = {}  # of hosts, by the clock of time.monotonic
        self.looked = 0.0  # for the first time; 0: not yet
        self.wanted = threading.Event()
        self.closed = False
        self.thread: threading.Thread | None = None

    # ---- Looking ----

    def look(self) -> bool:
        """Takes in who has come and who has gone; whether somebody has."""
        there = self.client.scheduler_info()["workers"]
        now = time.monotonic()
        gone = (set(self.fit) | set(self.unfit)) - set(there)
        for address in gone:
            self.fit.pop(address, None)
            self.unfit.pop(address, None)
        new = [address for address in there if address not in self.fit and address not in self.unfit]
        if new:
            answers = self.client.run(tasks.prepare, self.run["job"], workers=new, on_error="return")
            for address in new:
                self.take(address, there[address], answers.get(address))
        self.looked = self.looked or now
        for worker in list(self.fit.values()):
            self.last_seen[worker.host] = now
        return bool(gone or new)

    def take(self, address: str, told: dict[str, Any], answer: Any) -> None:
        if isinstance(answer, tuple):
            host, part, reason = answer
            reason = reason or self.reason_against(part)
        elif address in self.client.scheduler_info()["workers"]:
            host, reason = told["host"], f"it does not run what it is sent: {answer}"
        else:
            return  # gone meanwhile
        if reason:
            sentence = f"the worker {address} on {host} is left out: {reason}"
            self.notes.append(sentence)
            self.unfit[address] = Worker(address, told["host"], host, told["nthreads"], sentence)
        else:
            self.fit[address] = Worker(address, told["host"], host, told["nthreads"])

    def reason_against(self, part: bytes) -> str:
        """The sentence with which this machine's orvellis refuses what a worker's has counted; else nothing."""
        if part == self.expected:
            return ""
        try:
            tasks.run_program(self.run, ["merge=-", "part=-"], {}, [part])
        except RuntimeError as error:
            return reason_of(str(error.args[1]))
        self.expected = part
        return ""

    # ---- Beside the run ----

    def begin(self) -> None:
        self.thread = threading.Thread(target=self.keep_looking, daemon=True)
        self.thread.start()

    def keep_looking(self) -> None:
        while not self.closed:
            try:
                if self.look():
                    self.changed()
            except Exception:  # the scheduler is gone, which the run notices by itself
                if self.client.status != "running":
                    return
            self.wanted.wait(LOOK_EVERY)
            self.wanted.clear()

    def forget(self, address: str) -> None:
        """A worker does not know the run: it was started anew."""
        self.fit.pop(address, None)
        self.wanted.set()

    def end(self) -> None:
        self.closed = True
        self.wanted.set()

    # ---- Asking ----

    def of_host(self, host: str) -> set[str]:
        """Addresses; of all hosts where none is named."""
        return {worker.address for worker in list(self.fit.values()) if host in ("", worker.host)}

    @property
    def number(self) -> int:
        return len(self.fit)

    def threads(self, host: str = "") -> int:
        return sum(worker.threads for worker in list(self.fit.values()) if host in ("", worker.host))

    def hosts(self) -> dict[str, str]:
        """What each host is called in the report: by its name where only one bears it, else by its address."""
        names = {worker.host: worker.name for worker in self.fit.values()}
        called = list(names.values())
        return {host: name if called.count(name) == 1 else host for host, name in sorted(names.items())}

    def hosts_without(self) -> dict[str, Worker]:
        """Hosts on which no worker may count, each with one that may not."""
        fit = {worker.host for worker in self.fit.values()}
        return {worker.host: worker for worker in list(self.unfit.values()) if worker.host not in fit}

    def given_up(self, host: str) -> bool:
        """Whether a host (empty: every one) has been without a worker for too long."""
        if self.of_host(host) or not self.looked:
            return False
        seen = self.last_seen.get(host, self.looked) if host else max(self.last_seen.values(), default=self.looked)
        return time.monotonic() - seen > PATIENCE

    def why_none(self) -> str:
        for worker in list(self.unfit.values()):
            return f"no worker can count: {worker.against}"
        return "the scheduler has no worker"

    def need_some(self, wait: Callable[[], None]) -> None:
        """Waits for the first worker."""
        while not self.fit:
            if self.unfit or self.given_up(""):
                raise Failure(self.why_none())
            wait()
