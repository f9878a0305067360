"""Tasks that are sent to workers, and tried again elsewhere when they fail."""

from __future__ import annotations

import queue
import threading
import time
from collections.abc import Callable, Hashable
from dataclasses import dataclass, field
from typing import Any

from . import tasks
from .told import Failure
from .workers import Workers

MORE_TRIES = 3
TICK = 0.25  # seconds

# What becomes of a future that was finished, when the worker that has its result is gone.
LOST = ("lost", "error", "cancelled")


@dataclass
class Errand:
    key: Hashable
    step: str
    inputs: tuple[Any, ...]
    host: str = ""  # the only one on which it can be done; empty: anywhere
    priority: int = 0
    more_tries: int = MORE_TRIES
    tries: int = 0  # that have failed
    tried: set[str] = field(default_factory=set)  # addresses


@dataclass
class Outcome:
    errand: Errand
    future: Any = None
    kind: str = ""  # of a failure: "orvellis", which has refused, "gone", of what had come to a good end, or another
    reason: str = ""
    worker: str = ""

    def told(self, what: str) -> str:
        """Of a failure, the sentence: "piece 3 of 9 (access.log) failed on tcp://...: ..."."""
        times = f" {self.errand.tries} times, at last" if self.errand.tries > 1 else ""
        worker = f" on {self.worker}" if self.worker else ""
        return f"{what} failed{times}{worker}: {self.reason}"


class Errands:
    """What is under way. Not for several threads."""

    def __init__(self, client: Any, name: str, scheduler: str, watch: Callable[[], None]) -> None:
        self.client = client
        self.name = name
        self.scheduler = scheduler
        self.watch = watch  # called several times a second
        self.workers: Workers | None = None
        self.finished: queue.SimpleQueue[Any] = queue.SimpleQueue()
        self.under_way: dict[Any, tuple[Errand, set[str]]] = {}  # by future; only where, empty: anywhere
        self.held: list[Errand] = []  # until a worker is there, or knows the run
        self.kept: dict[Hashable, Any] = {}  # futures of what was brought and is needed still, by the keys of errands
        self.number = 0
        self.due = 0.0  # when to look after all again

    # ---- Sending ----

    def send(self, errand: Errand) -> None:
        assert self.workers is not None
        only: set[str] = set()
        if errand.host or errand.tried or self.workers.unfit or self.workers.asked or not self.workers.fit:
            possible = self.workers.of_host(errand.host)
            if not possible:
                self.held.append(errand)
                return
            only = possible - errand.tried or possible
        self.number += 1
        future = self.client.submit(
            tasks.perform,
            self.name,
            errand.step,
            *errand.inputs,
            key=f"orvellis_{errand.step}-{self.name}-{self.number}",
            workers=sorted(only) or None,
            priority=errand.priority,
            pure=False,
        )
        self.under_way[future] = (errand, only)
        future.add_done_callback(self.finished.put)

    def changed(self) -> None:
        """Workers have come or gone; from any thread."""
        self.finished.put(None)

    def send_again(self) -> None:
        """What waited for workers, or for those that are gone."""
        assert self.workers is not None
        held, self.held = self.held, []
        for future, (errand, only) in list(self.under_way.items()):
            if only and only.isdisjoint(self.workers.fit):
                del self.under_way[future]
                future.cancel()
                held.append(errand)
        for errand in held:
            self.send(errand)

    def futures(self) -> list[Any]:
        return list(self.under_way)

    def cancel(self, key: Hashable) -> None:
        """Gives up an errand, where it is under way."""
        self.held = [errand for errand in self.held if errand.key != key]
        for future, (errand, _) in list(self.under_way.items()):
            if errand.key == key:
                del self.under_way[future]
                future.cancel()

    def drop(self) -> None:
        """Gives up all that is under way."""
        for future in self.under_way:
            future.cancel()
        self.under_way.clear()
        self.held.clear()

    # ---- Waiting ----

    def pause(self) -> None:
        """A moment in which nothing is awaited."""
        time.sleep(TICK / 5)
        self.check()

    def check(self) -> None:
        if self.client.status != "running":
            raise Failure(f"the scheduler {self.scheduler} does not answer any more")
        self.watch()

    def next(self) -> Outcome:
        """The next that has come to an end, well or not."""
        assert self.workers is not None
        while True:
            if time.monotonic() >= self.due:
                outcome = self.look_after()
                if outcome is not None:
                    return outcome
            try:
                future = self.finished.get(timeout=TICK)
            except queue.Empty:
                continue
            if future is None:
                self.send_again()
            elif future in self.under_way:
                outcome = self.outcome_of(future)
                if outcome is not None:
                    return outcome

    def look_after(self) -> Outcome | None:
        """What has to be done several times a second; an errand that has no worker any more."""
        self.due = time.monotonic() + TICK
        self.check()
        if self.held:
            self.send_again()
        return self.gone() or self.given_up()

    def gone(self) -> Outcome | None:
        """What a worker has taken with it. Dask would have it done again, but only there where it was done before."""
        for key, future in self.kept.items():
            if future.status in LOST:
                return Outcome(Errand(key, "", ()), kind="gone", reason="it was lost")
        return None

    def given_up(self) -> Outcome | None:
        assert self.workers is not None
        if self.workers.given_up(""):
            raise Failure("no worker is left" if self.workers.last_seen else self.workers.why_none())
        for errand in self.held:
            if errand.host and self.workers.given_up(errand.host):
                self.held.remove(errand)
                errand.tries = 1
                return Outcome(errand, kind="host", reason=f"no worker is left on the host {errand.host}")
        return None

    def outcome_of(self, future: Any) -> Outcome | None:
        assert self.workers is not None
        errand, _ = self.under_way.pop(future)
        if future.status == "finished":
            return Outcome(errand, future)
        if future.status == "cancelled":
            self.check()
            raise Failure(f"the scheduler {self.scheduler} does not know its tasks any more")
        error = self.attend(future.exception)
        if isinstance(error, LookupError) and len(error.args) == 1:
            self.held.append(errand)
            self.workers.forget(str(error.args[0]))
            return None
        return self.failure_of(errand, error)

    def failure_of(self, errand: Errand, error: Any) -> Outcome | None:
        """Sends an errand again, or says how it has failed in the end."""
        outcome = Outcome(errand, kind="other")
        errand.tries += 1
        last = getattr(error, "last_worker", None)
        if last is not None:  # Dask has tried it on several workers, which have died
            outcome.kind, outcome.worker, outcome.reason = "lost", str(last.address), "the worker was lost"
        elif isinstance(error, RuntimeError) and len(error.args) == 3:
            outcome.kind, outcome.reason, outcome.worker = map(str, error.args)
        else:
            outcome.reason = f"{type(error).__name__}: {error}".splitlines()[0]
        about_inputs = outcome.kind == "orvellis" and outcome.reason.startswith("standard input")
        if outcome.kind == "lost" or about_inputs or errand.tries > errand.more_tries:
            return outcome
        errand.tried.add(outcome.worker)
        self.send(errand)
        return None

    def fetch(self, future: Any) -> Any:
        """What a finished task has brought; None: its worker is gone, and took it along."""
        return self.attend(future.result, lambda: future.status in LOST)

    def attend(self, function: Callable[[], Any], gone: Callable[[], bool] = lambda: False) -> Any:
        """What a function gives back that asks the cluster, and would wait for ever where that is gone; None where what
        it asks for is."""
        answers: queue.SimpleQueue[tuple[Any, Exception | None]] = queue.SimpleQueue()

        def ask() -> None:
            try:
                answers.put((function(), None))
            except Exception as error:
                answers.put((None, error))

        threading.Thread(target=ask, daemon=True).start()
        while True:
            try:
                answer, error = answers.get(timeout=TICK)
            except queue.Empty:
                self.check()
                if gone():
                    return None
                continue
            if error is not None:
                self.check()
                if gone():
                    return None
                raise error
            return answer
