"""The logs of a run: where each lies, and what it is called."""

from __future__ import annotations

import os
import re
from dataclasses import dataclass
from typing import Any

from .addresses import Address
from .plan import Piece, even_size, tokens_of

ON_WORKERS = "workers://"

# What a log costs beside its bytes, and one of its bytes where it is compressed, in bytes of plain logs.
OPENING = 16 << 10
COST_OF_PACKED_BYTE = 8
PACKED = (".gz", ".zst", ".xz", ".bz2")

IN_SENTENCE = re.compile(r"\blogs/[0-9]{6,}\.log\b")


@dataclass(frozen=True)
class Log:
    path: str  # in the folder of a run: what orvellis knows it by
    target: str  # a path or an address
    host: str = ""  # on which the path is; empty: that of all machines
    label: str = ""  # of the host

    @property
    def name(self) -> str:
        """For a person."""
        return f"{self.label}:{self.target}" if self.host else self.target

    @property
    def is_address(self) -> bool:
        return not self.host and "://" in self.target


def path_of(number: int) -> str:
    """Of the log of a number from 1, as orvellis-report names them."""
    return f"logs/{number:06}.log"


class Logs:
    def __init__(self, logs: list[Log], patterns: list[str]) -> None:
        self.by_path = {log.path: log for log in logs}
        self.patterns = patterns  # of logs on the hosts
        self.addresses: dict[str, Address] = {}  # by the paths of logs, as far as they were looked at
        self.unread: set[str] = set()  # paths of those that nobody can look at, and that may be missing

    def of_host(self, host: str) -> list[Log]:
        return [log for log in self.by_path.values() if log.host == host]

    def add_of_host(self, host: str, label: str, paths: list[str]) -> None:
        for path in paths:
            log = Log(path_of(self.next_number), path, host, label)
            self.by_path[log.path] = log

    @property
    def next_number(self) -> int:
        return max((int(path[5:-4]) for path in self.by_path), default=0) + 1

    def host_of(self, path: str) -> str:
        return self.by_path[path].host if path in self.by_path else ""

    def name_of(self, path: str) -> str:
        return self.by_path[path].name if path in self.by_path else path

    def links_of(self, pieces: list[Piece]) -> dict[str, str]:
        """What has to stand in a folder so that orvellis finds their logs."""
        return {piece.log: self.by_path[piece.log].target for piece in pieces if piece.log in self.by_path}

    # ---- Steps of tasks, and what they need ----

    def weight(self, piece: Piece) -> int:
        """What a piece costs, in bytes of plain logs."""
        return OPENING + piece.weight * (COST_OF_PACKED_BYTE if self.name_of(piece.log).endswith(PACKED) else 1)

    def counting(self, pieces: list[Piece]) -> tuple[str, tuple[Any, ...]]:
        """Of several, which are of paths, as one."""
        if pieces[0].log in self.addresses:
            stretches = self.addresses[pieces[0].log].stretches(pieces[0])
            size = sum(end - begin for begin, end in stretches) or pieces[0].size
            return "count_address", (pieces[0].token, self.name_of(pieces[0].log), stretches, size)
        return "count", (tokens_of(pieces), self.links_of(pieces))

    def hashing(self, piece: Piece) -> tuple[str, tuple[Any, ...]]:
        return "hash", (self.by_path[piece.log].target, piece.log in self.addresses)

    def cutting(self, pieces: list[Piece], size: int, exact: bool) -> tuple[str, tuple[Any, ...]]:
        """Of several, which are of paths of one host, at once."""
        if pieces[0].log in self.addresses:
            even = even_size(pieces[0].size, size)
            return "cut_address", (pieces[0].token, pieces[0].log, self.name_of(pieces[0].log), pieces[0].size, even)
        return "plan", ([f"plan={size}{'' if exact else ',quick'}", "piece=-"], self.links_of(pieces), tokens_of(pieces))

    def told(self, sentence: str) -> str:
        """A sentence of orvellis with the names that the reader knows."""
        return IN_SENTENCE.sub(lambda found: self.name_of(found[0]), sentence)


def logs_in(folder: str) -> Logs:
    """What orvellis-report has linked."""
    logs, patterns = [], []
    for name in sorted(os.listdir(folder)):
        target = os.readlink(os.path.join(folder, name))
        if target.startswith(ON_WORKERS):
            patterns.append(target[len(ON_WORKERS) :])
            os.unlink(os.path.join(folder, name))
        else:
            logs.append(Log("logs/" + name, target))
    return Logs(logs, patterns)
