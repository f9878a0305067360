"""Pieces are counted and their parts added, on the workers, until one part is left."""

from __future__ import annotations

import heapq
import re
from collections import Counter
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

from .adding import Node, Tree
from .errands import MORE_TRIES, Errand, Errands, Outcome
from .logs import Logs
from .plan import Piece
from .told import Failure
from .workers import Workers

# So many pieces lie at a worker's thread, and one behind the oldest that is not counted: the
# parts that wait to be added stay few.
AHEAD = 2
WINDOW = 8
LEAST_WINDOW = 64

# Adding goes before counting, so that parts do not pile up.
COUNT_PRIORITY, ADD_PRIORITY = 0, 10

PART_AT_FAULT = re.compile(r"standard input(?:, part ([0-9]+))? (.*)")


class Apart(Exception):
    """A log was cut where a line before decides how the next ones are read."""

    def __init__(self, log: str) -> None:
        super().__init__(log)
        self.log = log


@dataclass
class Line:
    """The pieces that are counted on one host, or anywhere, in their order."""

    host: str
    pieces: list[int] = field(default_factory=list)  # indexes of the plan
    waiting: list[int] = field(default_factory=list)  # a heap of places in this list
    under_way: int = 0
    counted: set[int] = field(default_factory=set)  # places behind the oldest
    oldest: int = 0  # the first place that is not counted

    def next(self, threads: int) -> int | None:
        """The index of a piece that is to be sent now."""
        if not self.waiting or self.under_way >= AHEAD * threads:
            return None
        if self.waiting[0] >= self.oldest + max(LEAST_WINDOW, WINDOW * threads):
            return None
        self.under_way += 1
        return self.pieces[heapq.heappop(self.waiting)]

    def done(self, place: int) -> None:
        self.under_way -= 1
        self.counted.add(place)
        while self.oldest in self.counted:
            self.counted.discard(self.oldest)
            self.oldest += 1

    def again(self, place: int) -> None:
        heapq.heappush(self.waiting, place)


class Counting:
    """One plan, from its pieces to their sum."""

    def __init__(
        self,
        errands: Errands,
        workers: Workers,
        logs: Logs,
        pieces: list[Piece],
        allow_missing: bool,
        counted: Callable[[Piece], None],
    ) -> None:
        self.errands = errands
        self.workers = workers
        self.logs = logs
        self.pieces = pieces
        self.allow_missing = allow_missing
        self.counted = counted
        self.tree = Tree(len(pieces))
        self.parts: dict[Node, Any] = {}  # futures
        errands.kept = self.parts  # type: ignore[assignment]
        self.done: set[int] = set()  # pieces of which was told
        self.missing: set[int] = set()
        self.known = -1  # the workers for whom pieces were sent
        self.faults: Counter[Node] = Counter()  # of parts that could not be added
        self.lines: dict[str, Line] = {}
        self.places: list[tuple[Line, int]] = []
        for index, piece in enumerate(pieces):
            host = logs.host_of(piece.log)
            line = self.lines.setdefault(host, Line(host))
            self.places.append((line, len(line.pieces)))
            line.waiting.append(len(line.pieces))
            line.pieces.append(index)

    def run(self) -> Any:
        """The future of the one part."""
        self.send_pieces()
        while self.tree.root not in self.parts:
            line = self.take(self.errands.next())
            if self.known != self.workers.changes:
                self.send_pieces()
            elif line is not None:
                self.send_pieces_of(line)
        return self.parts[self.tree.root]

    def drop(self) -> None:
        """Gives up what is under way."""
        self.errands.drop()
        for part in self.parts.values():
            part.release()
        self.parts.clear()

    # ---- Sending ----

    def send_pieces(self) -> None:
        self.known = self.workers.changes
        for line in self.lines.values():
            self.send_pieces_of(line)

    def send_pieces_of(self, line: Line) -> None:
        threads = max(1, self.workers.threads(line.host))
        while (index := line.next(threads)) is not None:
            self.send_piece(index)

    def send_piece(self, index: int) -> None:
        piece = self.pieces[index]
        if index in self.missing:
            self.errands.send(Errand((0, index), "missing", (piece.token,)))
        else:
            step, inputs = self.logs.counting(piece)
            self.errands.send(Errand((0, index), step, inputs, self.logs.host_of(piece.log), COUNT_PRIORITY))

    def send_sum(self, node: Node) -> None:
        parts = tuple(self.parts[child] for child in self.tree.children(node))
        self.errands.send(Errand(node, "add", parts, priority=ADD_PRIORITY))

    # ---- Taking ----

    def take(self, outcome: Outcome) -> Line | None:
        """The line that has room now; None where any may have."""
        node: Node = outcome.errand.key  # type: ignore[assignment]
        if outcome.future is None:
            self.failed(node, outcome)
            self.known = -1
            return None
        if node[0] == 0:
            line, place = self.places[node[1]]
            line.done(place)
            if node[1] not in self.done:
                self.done.add(node[1])
                self.counted(self.pieces[node[1]])
        self.parts[node] = outcome.future
        for child in self.tree.used(node):
            self.parts.pop(child).release()
        ready = self.tree.finished(node)
        if ready is not None:
            self.send_sum(ready)
        return self.places[node[1]][0] if node[0] == 0 else None

    def failed(self, node: Node, outcome: Outcome) -> None:
        if outcome.kind == "gone":
            self.errands.cancel(self.tree.parent(node))
            self.count_again(node)
        elif node[0] > 0:
            self.sum_failed(node, outcome)
        elif self.allow_missing and node[1] not in self.missing:
            self.missing.add(node[1])
            self.send_piece(node[1])
        else:
            raise Failure(outcome.told(self.name_of(self.pieces[node[1]])))

    def sum_failed(self, node: Node, outcome: Outcome) -> None:
        children = self.tree.children(node)
        found = PART_AT_FAULT.fullmatch(outcome.reason) if outcome.kind == "orvellis" else None
        at_fault = children[min(int(found[1] or 1), len(children)) - 1] if found else None
        if found and at_fault and "does not go on as" in found[2]:
            raise Apart(self.pieces[self.tree.leaves(at_fault)[0]].log)
        lost = [child for child in children if self.parts[child].status != "finished"]
        again = [at_fault] if at_fault else lost
        for child in again:
            self.faults[child] += 1
        if not again or self.faults[again[0]] > MORE_TRIES:
            leaves = self.tree.leaves(at_fault or node)
            what = self.name_of(self.pieces[leaves[0]])
            raise Failure(outcome.told(f"adding what was counted from {what} on"))
        for child in again:
            self.count_again(child)

    def count_again(self, node: Node) -> None:
        """What a part holds has gone on its way."""
        self.parts.pop(node).release()
        self.tree.lost(node)
        for index in self.tree.leaves(node):
            line, place = self.places[index]
            line.again(place)

    def name_of(self, piece: Piece) -> str:
        stretch = "" if piece.begin == 0 and piece.to_end else f", bytes {piece.begin:,} to {piece.end:,}"
        return f"piece {piece.number:,} of {len(self.pieces):,} ({self.logs.name_of(piece.log)}{stretch})"
