"""The tree in which parts are added: sixteen neighbours at a time, in the order of the plan."""

from __future__ import annotations

FAN_IN = 16

# A level, from 0 for the pieces themselves, and a number within it, from 0.
Node = tuple[int, int]


class Tree:
    """Which sums can be made, when parts come in any order."""

    def __init__(self, pieces: int, fan_in: int = FAN_IN) -> None:
        self.fan_in = fan_in
        self.widths = [pieces]  # of each level
        while self.widths[-1] > 1:
            self.widths.append(-(-self.widths[-1] // fan_in))
        self.there: set[Node] = set()

    @property
    def root(self) -> Node:
        return len(self.widths) - 1, 0

    def parent(self, node: Node) -> Node:
        return node[0] + 1, node[1] // self.fan_in

    def children(self, node: Node) -> list[Node]:
        """In the order of the plan; none of a piece."""
        level, number = node
        if level == 0:
            return []
        first = number * self.fan_in
        return [(level - 1, n) for n in range(first, min(first + self.fan_in, self.widths[level - 1]))]

    def leaves(self, node: Node) -> range:
        """The numbers of the pieces that a node is the sum of."""
        width = self.fan_in ** node[0]
        return range(node[1] * width, min((node[1] + 1) * width, self.widths[0]))

    def finished(self, node: Node) -> Node | None:
        """A part is there: the sum that can be made now."""
        self.there.add(node)
        if node == self.root:
            return None
        parent = self.parent(node)
        return parent if self.there.issuperset(self.children(parent)) else None

    def used(self, node: Node) -> list[Node]:
        """A sum was made: the parts that are not needed any more."""
        children = self.children(node)
        self.there.difference_update(children)
        return children

    def lost(self, node: Node) -> None:
        self.there.discard(node)
