"""Pieces are counted and their parts added, on the workers, until one part is left."""

from __future__ import annotations

import heapq
import re
from collections import Counter
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

from .adding import Node, Row
from .errands import MORE_TRIES, Errand, Errands, Outcome
from .logs import Logs
from .plan import Piece
from .told import Failure
from .workers import Workers

# So many tasks lie at a worker's thread, and one behind the oldest that is not counted: the
# parts that wait to be added stay few.
AHEAD = 2
WINDOW = 8
LEAST_WINDOW = 64

# A task takes such a part of what a thread still has to do, at most, so that all end at nearly the same time, but
# what costs more to send than to count is not divided; and so many pieces.
SHARE = 2 / 3
LEAST_TASK = 32 << 20
MOST_PIECES = 4096

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
    weights: list[int]  # of all pieces of the plan
    most: int  # that a task weighs, unless a piece does
    waiting: list[int] = field(default_factory=list)  # a heap of numbers in the plan, from 0
    weight: int = 0  # of those
    alone: set[int] = field(default_factory=set)  # pieces that are counted one by one
    open: dict[Node, int] = field(default_factory=dict)  # tasks under way, the oldest first, by their numbers
    tasks: int = 0

    def next(self, threads: int) -> Node | None:
        """The pieces of a task that is to be sent now: such as come one behind the other."""
        if not self.waiting or len(self.open) >= AHEAD * threads:
            return None
        if self.open and self.tasks - next(iter(self.open.values())) >= max(LEAST_WINDOW, WINDOW * threads):
            return None
        room = min(self.most, max(LEAST_TASK, int(self.weight * SHARE / threads)))
        first = behind = self.waiting[0]
        while self.fits(first, behind, room):
            heapq.heappop(self.waiting)
            room -= self.weights[behind]
            self.weight -= self.weights[behind]
            behind += 1
        self.open[first, behind] = self.tasks
        self.tasks += 1
        return first, behind

    def fits(self, first: int, piece: int, room: int) -> bool:
        if piece == first:
            return True
        if not self.waiting or self.waiting[0] != piece or piece - first >= MOST_PIECES:
            return False
        return self.weights[piece] <= room and self.alone.isdisjoint((first, piece))

    def again(self, pieces: range) -> None:
        for piece in pieces:
            heapq.heappush(self.waiting, piece)
            self.weight += self.weights[piece]


class Counting:
    """One plan, from its pieces to their sum."""

    def __init__(
        self,
        errands: Errands,
        workers: Workers,
        logs: Logs,
        pieces: list[Piece],
        most: int,
        allow_missing: bool,
        counted: Callable[[Piece], None],
    ) -> None:
        self.errands = errands
        self.workers = workers
        self.logs = logs
        self.pieces = pieces
        self.allow_missing = allow_missing
        self.counted = counted
        self.row = Row(len(pieces))
        self.parts: dict[Node, Any] = {}  # futures
        errands.kept = self.parts  # type: ignore[assignment]
        self.done: set[int] = set()  # pieces of which was told
        self.missing: set[int] = set()
        self.known = -1  # the workers for whom pieces were sent
        self.faults: Counter[Node] = Counter()  # of parts that could not be added
        self.left = len(pieces)  # those that wait, and tasks under way
        self.lines: dict[str, Line] = {}
        weights = [logs.weight(piece) for piece in pieces]
        for index, piece in enumerate(pieces):
            host = logs.host_of(piece.log)
            line = self.lines.setdefault(host, Line(host, weights, most))
            line.again(range(index, index + 1))
            if piece.log in logs.addresses:
                line.alone.add(index)
            if piece.log in logs.unread:
                self.missing.add(index)

    def run(self) -> Any:
        """The future of the one part."""
        self.send_pieces()
        while self.row.whole not in self.parts:
            line = self.take(self.errands.next())
            if self.known != self.workers.changes:
                self.send_pieces()
            elif line is not None:
                self.send_pieces_of(line)
        return self.parts[self.row.whole]

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
        while (node := line.next(threads)) is not None:
            self.left -= node[1] - node[0] - 1
            self.send_task(node)

    def send_task(self, node: Node) -> None:
        pieces = self.pieces[node[0] : node[1]]
        if node[0] in self.missing:
            self.errands.send(Errand(node, "missing", (pieces[0].token,)))
            return
        step, inputs = self.logs.counting(pieces)
        # What several of them fail for is one's fault.
        tries = MORE_TRIES if len(pieces) == 1 else 0
        self.errands.send(Errand(node, step, inputs, self.logs.host_of(pieces[0].log), COUNT_PRIORITY, tries))

    def send_sum(self, children: list[Node]) -> None:
        parts = tuple(self.parts[child] for child in children)
        self.errands.send(Errand(self.row.begin_sum(children), "add", parts, priority=ADD_PRIORITY))

    # ---- Taking ----

    def line_of(self, index: int) -> Line:
        return self.lines[self.logs.host_of(self.pieces[index].log)]

    def take(self, outcome: Outcome) -> Line | None:
        """The line that has room now; None where any may have."""
        node: Node = outcome.errand.key  # type: ignore[assignment]
        if outcome.future is None:
            self.failed(node, outcome)
            self.known = -1
            return None
        line = None
        if node in self.row.sums:
            for child in self.row.sums[node]:
                self.parts.pop(child).release()
        else:
            line = self.line_of(node[0])
            self.close(line, node)
        self.parts[node] = outcome.future
        ready = self.row.came(node, self.left)
        if ready:
            self.send_sum(ready)
        return line

    def close(self, line: Line, node: Node) -> None:
        """A task was done."""
        del line.open[node]
        self.left -= 1
        for index in range(*node):
            if index not in self.done:
                self.done.add(index)
                self.counted(self.pieces[index])

    def failed(self, node: Node, outcome: Outcome) -> None:
        if outcome.kind == "gone":
            used = self.row.sum_of(node)
            if used is not None:
                self.errands.cancel(used)
                self.row.give_up_sum(used)
            self.count_again(node)
        elif node in self.row.sums:
            self.sum_failed(node, outcome)
        elif node[1] - node[0] > 1:
            self.count_one_by_one(node)
        elif self.allow_missing and node[0] not in self.missing:
            self.missing.add(node[0])
            self.line_of(node[0]).alone.add(node[0])
            self.send_task(node)
        else:
            raise Failure(outcome.told(self.name_of(self.pieces[node[0]])))

    def count_one_by_one(self, node: Node) -> None:
        line = self.line_of(node[0])
        del line.open[node]
        line.alone.update(range(*node))
        line.again(range(*node))
        self.left += node[1] - node[0] - 1

    def sum_failed(self, node: Node, outcome: Outcome) -> None:
        children = self.row.sums[node]
        self.row.give_up_sum(node)
        found = PART_AT_FAULT.fullmatch(outcome.reason) if outcome.kind == "orvellis" else None
        at_fault = children[min(int(found[1] or 1), len(children)) - 1] if found else None
        if found and at_fault and "does not go on as" in found[2]:
            raise Apart(self.pieces[at_fault[0]].log)
        lost = [child for child in children if self.parts[child].status != "finished"]
        again = [at_fault] if at_fault else lost
        for child in again:
            self.faults[child] += 1
        if not again or self.faults[again[0]] > MORE_TRIES:
            what = self.name_of(self.pieces[(at_fault or node)[0]])
            raise Failure(outcome.told(f"adding what was counted from {what} on"))
        for child in again:
            self.count_again(child)

    def count_again(self, node: Node) -> None:
        """What a part holds has gone on its way."""
        self.parts.pop(node).release()
        self.row.lost(node)
        for index in range(*node):
            self.line_of(index).again(range(index, index + 1))
        self.left += node[1] - node[0]

    def name_of(self, piece: Piece) -> str:
        stretch = "" if piece.begin == 0 and piece.to_end else f", bytes {piece.begin:,} to {piece.end:,}"
        return f"piece {piece.number:,} of {len(self.pieces):,} ({self.logs.name_of(piece.log)}{stretch})"
