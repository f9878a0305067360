"""One line on a terminal that says how the run gets on."""

from __future__ import annotations

import os
import time
from collections.abc import Callable

EVERY = 0.2  # seconds


def line_of(pieces: int, all_pieces: int, counted: int, total: int, seconds: float, workers: int) -> str:
    share = counted * 100 // total if total else 100
    line = f"counting {share:3d} %  {pieces:,} of {all_pieces:,} pieces  {counted / 1e6:,.1f} of {total / 1e6:,.1f} MB"
    if seconds > 0 and counted > 0:
        line += f"  {counted / seconds / 1e6:,.1f} MB/s  {(total - counted) * seconds / counted:,.0f} s left"
    return line + f"  {workers:,} worker{'' if workers == 1 else 's'}"


class Progress:
    """Nothing of it where there is no terminal (-1)."""

    def __init__(self, terminal: int, clock: Callable[[], float] = time.monotonic) -> None:
        self.terminal = terminal
        self.clock = clock
        self.began = self.shown = clock()
        self.pieces = self.all_pieces = self.counted = self.total = 0
        self.is_there = False

    def begin(self, pieces: int, total: int) -> None:
        self.began = self.clock()
        self.shown = self.began - EVERY  # at once
        self.pieces = self.counted = 0
        self.all_pieces, self.total = pieces, total

    def count(self, weight: int) -> None:
        self.pieces += 1
        self.counted += weight

    def write(self, text: str) -> None:
        try:
            os.write(self.terminal, text.encode())
        except OSError:
            self.terminal = -1

    def say(self, text: str) -> None:
        if self.terminal >= 0:
            self.is_there = True
            self.write(f"\r\033[K{text}")

    def show(self, workers: int) -> None:
        now = self.clock()
        if self.all_pieces and now - self.shown >= EVERY:
            self.shown = now
            self.say(line_of(self.pieces, self.all_pieces, self.counted, self.total, now - self.began, workers))

    def erase(self) -> None:
        if self.is_there:
            self.write("\r\033[K")
        self.is_there = False
