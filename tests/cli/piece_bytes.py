"""Which bytes of a log come by standard input when a run counts a piece of it with stream=-."""
import re
import urllib.parse

FIRST = 2 << 20
BEFORE = 4096
BEHIND = 1 << 20


def field(piece: bytes, name: str, default: int) -> int:
    found = re.search(rf" {name}=(\d+)".encode(), piece)
    return int(found.group(1)) if found else default


def path_of(piece: bytes) -> bytes:
    found = re.search(rb" log=(\S*)", piece)
    assert found is not None
    return urllib.parse.unquote_to_bytes(found.group(1))


def stretch(piece: bytes, log: bytes) -> bytes:
    begin = max(field(piece, "lead", 0) - BEFORE, 0)
    size = field(piece, "size", 0) if b" to=" in piece else len(log)
    end = min(field(piece, "to", size) + BEHIND, size)
    return log[:min(FIRST, begin)] + log[begin:end]
