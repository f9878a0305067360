"""Addresses, as this machine sees them before anything is counted."""

from __future__ import annotations

import os
from collections.abc import Iterator
from contextlib import contextmanager
from dataclasses import dataclass

from . import streams
from .plan import Piece
from .told import Failure

PROBE = 16  # bytes

# What is looked at of a log beside a piece, so that its lines are recognised as in the whole log.
BEGINNING = 2 << 20
BEFORE_LEAD = 4 << 10
BEHIND = 1 << 20


@dataclass(frozen=True)
class Address:
    size: int  # as it is told; else of what was read
    head: bytes  # at most 64 KiB
    divisible: bool  # whether its bytes can be had from any place on

    def stretches(self, piece: Piece) -> list[tuple[int, int]]:
        """The bytes that orvellis wants to come for a piece, from and to; none: all, to wherever the end is."""
        if piece.begin == 0 and piece.to_end:
            return []
        begin = max(0, piece.lead - BEFORE_LEAD)
        end = piece.size if piece.to_end else min(piece.size, piece.end + BEHIND)
        return [(0, min(BEGINNING, begin)), (begin, end)] if begin > 0 else [(0, end)]

    @contextmanager
    def as_file(self) -> Iterator[str]:
        """A path under which it seems to be a file of its size, of which only the beginning is there."""
        path = streams.sparse_file(max(self.size, len(self.head)), [(0, self.head)])
        try:
            yield path
        finally:
            os.unlink(path)


def sends_stretches(address: str, head: bytes) -> bool:
    """Whether bytes from within come when they are asked for: some servers send the beginning all the same."""
    for at in range(1, len(head) - PROBE):
        if head[at : at + PROBE] != head[:PROBE]:
            try:
                return b"".join(streams.stretch(address, at, at + PROBE)) == head[at : at + PROBE]
            except RuntimeError:
                return False
    return False


def look_at(address: str) -> Address:
    try:
        system, path = streams.file_system(address)
        try:
            told = system.info(path).get("size")
        except Exception as error:
            raise streams.why(address, error) from None
        head = b"".join(streams.whole(address, streams.HEAD))
        size = int(told) if isinstance(told, int) else 0
        # What is packed on its way has another size than is told.
        known = size >= len(head) and (size == len(head) or len(head) == streams.HEAD)
        divisible = known and size > len(head) and sends_stretches(address, head)
        return Address(size if known else len(head), head, divisible)
    except RuntimeError as error:
        raise Failure(str(error.args[1])) from None
