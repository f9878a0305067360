"""The workers of a cluster: which there are, on which hosts, and which of them may count."""

from __future__ import annotations

import os
import threading
import time
from collections import Counter
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from dataclasses import dataclass
from typing import Any

from . import tasks
from .told import Failure

LOOK_EVERY = 1.0  # seconds, for each hundred workers
AT_ONCE = 32  # so many are asked


def patience() -> float:
    """How long the last worker, or the last one of a host, may be away before the run gives it up, in seconds: a nanny
    starts another in less."""
    try:
        return max(0.0, float(os.environ.get("ORVELLIS_CLUSTER_PATIENCE", "30")))
    except ValueError:
        return 30.0


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
        self.changes = 0  # of those that are fit
        self.counts: Counter[str] = Counter()  # of threads, by host
        self.counted_at = -1
        self.asked: dict[str, str] = {}  # those that have not answered yet, and their hosts
        self.askers = ThreadPoolExecutor(AT_ONCE)
        self.patience = patience()
        self.notes: list[str] = []
        self.expected: bytes = b""  # the empty piece's part, of a worker that is fit
        self.last_seen: dict[str, float] = {}  # of hosts, by the clock of time.monotonic
        self.looked = 0.0  # for the first time; 0: not yet
        self.wanted = threading.Event()
        self.closed = False
        self.thread: threading.Thread | None = None

    # ---- Looking ----

    def look(self) -> None:
        """Takes note of who has come and who has gone; those who have come are asked beside."""
        there = self.client.scheduler_info()["workers"]
        now = time.monotonic()
        gone = (set(self.fit) | set(self.unfit)) - set(there)
        for address in gone:
            self.fit.pop(address, None)
            self.unfit.pop(address, None)
        for address, told in there.items():
            if address not in self.fit and address not in self.unfit and address not in self.asked:
                self.asked[address] = told["host"]
                self.askers.submit(self.ask, address, told)
        self.looked = self.looked or now
        for worker in list(self.fit.values()):
            self.last_seen[worker.host] = now
        if gone:
            self.tell()

    def ask(self, address: str, told: dict[str, Any]) -> None:
        try:
            answer = self.client.run(tasks.prepare, self.run["job"], workers=[address], on_error="return").get(address)
            self.take(address, told, answer)
        except Exception:
            pass  # it, or the scheduler, is gone: whoever comes back is asked again
        finally:
            self.asked.pop(address, None)
        self.tell()

    def tell(self) -> None:
        self.changes += 1
        self.changed()

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
                self.look()
            except Exception:  # the scheduler is gone, which the run notices by itself
                if self.client.status != "running":
                    return
            self.wanted.wait(LOOK_EVERY * (1 + len(self.fit) // 100))
            self.wanted.clear()

    def forget(self, address: str) -> None:
        """A worker does not know the run: it was started anew."""
        self.fit.pop(address, None)
        self.changes += 1
        self.wanted.set()

    def end(self) -> None:
        self.closed = True
        self.wanted.set()
        self.askers.shutdown(wait=False, cancel_futures=True)

    # ---- Asking ----

    def of_host(self, host: str) -> set[str]:
        """Addresses; of all hosts where none is named."""
        if not host:
            return set(list(self.fit))
        return {worker.address for worker in list(self.fit.values()) if worker.host == host}

    @property
    def number(self) -> int:
        return len(self.fit)

    def threads(self, host: str = "") -> int:
        """How many pieces are counted at once, on a host or on all."""
        if self.counted_at != self.changes:
            self.counted_at = self.changes
            counts: Counter[str] = Counter()
            for worker in list(self.fit.values()):
                counts.update({worker.host: worker.threads, "": worker.threads})
            self.counts = counts
        return self.counts[host]

    def hosts(self) -> dict[str, str]:
        """What each host is called in the report: by its name where only one bears it, else by its address."""
        names = {worker.host: worker.name for worker in list(self.fit.values())}
        called = list(names.values())
        return {host: name if called.count(name) == 1 else host for host, name in sorted(names.items())}

    def hosts_without(self) -> dict[str, str]:
        """Hosts on which no worker may count, each with the reason."""
        fit = {worker.host for worker in list(self.fit.values())}
        reasons = {host: f"the worker {address} does not answer" for address, host in list(self.asked.items())}
        reasons |= {worker.host: worker.against for worker in list(self.unfit.values())}
        return {host: reason for host, reason in reasons.items() if host not in fit}

    def given_up(self, host: str) -> bool:
        """Whether a host (empty: every one) has been without a worker for too long."""
        if self.of_host(host) or not self.looked:
            return False
        seen = self.last_seen.get(host, self.looked) if host else max(self.last_seen.values(), default=self.looked)
        return time.monotonic() - seen > self.patience

    def why_none(self) -> str:
        for worker in list(self.unfit.values()):
            return f"no worker can count: {worker.against}"
        return "no worker answers" if self.asked else "the scheduler has no worker"

    def need_some(self, wait: Callable[[], None]) -> None:
        """Waits until those that are there have answered, at least one of them."""
        began = time.monotonic()
        while not self.looked or not self.fit or (self.asked and time.monotonic() - began < self.patience):
            if (self.unfit and not self.asked and not self.fit) or self.given_up(""):
                raise Failure(self.why_none())
            wait()
