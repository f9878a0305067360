"""Plans: what stands in their lines, and how large pieces are to be."""

from __future__ import annotations

from dataclasses import dataclass
from urllib.parse import unquote_to_bytes

# A size above that of every log: each of them is one piece.
WHOLE_LOGS = "plan=1024T"

LEAST_PIECE, MOST_PIECE = 64 << 20, 256 << 20
PIECES_A_PROCESSOR = 64
MOST_TASKS = 50_000


@dataclass(frozen=True, slots=True)
class Piece:
    token: str  # the line itself
    number: int  # from 1
    log: str  # its path in the folder of a run
    size: int  # of the whole log
    lead: int  # where what counting it takes begins
    begin: int
    end: int  # behind the piece; the size of the log where it goes up to there
    proof: str
    to_end: bool

    @property
    def weight(self) -> int:
        return max(0, self.end - self.begin)


def piece_of(line: str) -> Piece:
    """A line that orvellis has printed."""
    words = line.split(" ")
    fields = dict(word.partition("=")[::2] for word in words[1:])
    size = int(fields.get("size", "0"))
    return Piece(
        token=line,
        number=int(words[0].partition("/")[0]),
        log=unquote_to_bytes(fields.get("log", "")).decode(errors="surrogateescape"),
        size=size,
        lead=int(fields.get("lead", "0")),
        begin=int(fields.get("from", "0")),
        end=int(fields.get("to", size)),
        proof=fields.get("proof", ""),
        to_end="to" not in fields,
    )


def pieces_of(lines: str) -> list[Piece]:
    return [piece_of(line) for line in lines.splitlines()]


def tokens_of(pieces: list[Piece]) -> str:
    return "\n".join(piece.token for piece in pieces)


def fitting_size(total: int, processors: int) -> int:
    """Pieces of 64 to 256 MiB: so small that all processors end at nearly the same time. A task takes several
    where there are many."""
    return min(MOST_PIECE, max(LEAST_PIECE, total // (processors * PIECES_A_PROCESSOR)))


def largest_task(total: int) -> int:
    """What a task weighs at most: where there is very much, the one who sends them would not keep up otherwise."""
    return max(MOST_PIECE, total // MOST_TASKS)


def even_size(log: int, size: int) -> int:
    """Of pieces of a log, about as large as wanted, none of which is a small rest."""
    return -(-log // max(1, round(log / size)))
