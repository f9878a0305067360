"""Parts in the order of the plan, and which of them are added when: sixteen neighbours at a time while many are to
come, fewer when they run out, so that little is left to be added behind the last one."""

from __future__ import annotations

MOST_AT_ONCE = 16
LEAST_AT_ONCE = 8  # while others are to come: each sum costs a task

# A stretch of the plan: its first piece, from 0, and the one behind its last.
Node = tuple[int, int]


class Row:
    """The parts that are there, when they come in any order."""

    def __init__(self, pieces: int) -> None:
        self.whole: Node = (0, pieces)
        self.begins: dict[int, Node] = {}  # parts that nobody adds yet, by their first piece
        self.ends: dict[int, Node] = {}  # and by the one behind their last
        self.levels: dict[Node, int] = {}  # of all: how many sums, one of the other, are in it
        self.sums: dict[Node, list[Node]] = {}  # under way, and of what
        self.highest = 0

    def put(self, node: Node) -> None:
        self.begins[node[0]] = self.ends[node[1]] = node

    def take(self, node: Node) -> None:
        if self.begins.get(node[0]) == node:
            del self.begins[node[0]], self.ends[node[1]]

    def neighbours(self, node: Node, level: int) -> list[Node]:
        """What stands without a gap around a part, of that level at most; in its order."""
        found = [node]
        while (before := self.ends.get(found[0][0])) is not None and self.levels[before] <= level:
            found.insert(0, before)
        while (behind := self.begins.get(found[-1][1])) is not None and self.levels[behind] <= level:
            found.append(behind)
        return found

    def came(self, node: Node, left: int) -> list[Node]:
        """A part is there, and so many tasks are left to be counted: what is to be added now, or nothing."""
        children = self.sums.pop(node, [])
        self.levels[node] = 1 + max((self.levels.pop(child) for child in children), default=-1)
        self.highest = max(self.highest, self.levels[node])
        self.put(node)
        enough = min(MOST_AT_ONCE, max(LEAST_AT_ONCE, left)) if left > 0 else 2
        # In the end a sum that waits for another one costs more time than adding a large part once more.
        least_level = self.levels[node] if left > 0 or self.sums else self.highest
        for level in range(least_level, self.highest + 1):
            found = self.neighbours(node, level)
            if len(found) >= enough:
                return found[:MOST_AT_ONCE]
        return []

    def begin_sum(self, children: list[Node]) -> Node:
        """They are being added."""
        for child in children:
            self.take(child)
        node = children[0][0], children[-1][1]
        self.sums[node] = children
        return node

    def give_up_sum(self, node: Node) -> None:
        """Its parts are there still."""
        for child in self.sums.pop(node):
            self.put(child)

    def sum_of(self, node: Node) -> Node | None:
        """The sum under way that a part is added to."""
        return next((found for found, children in self.sums.items() if node in children), None)

    def lost(self, node: Node) -> None:
        """A part that nobody adds is gone."""
        self.take(node)
        del self.levels[node]
