"""Reading what an address names, whatever the installed fsspec reads. Sent to workers by value, as tasks are."""

from __future__ import annotations

import os
from collections.abc import Iterator
from typing import Any

# What is asked for at once.
BLOCK = 8 << 20

# What stands at the beginning of a log decides how its lines are read.
HEAD = 64 << 10

# What has to be at hand at each place where a log may be cut.
WINDOW = 128 << 10


def file_system(address: str) -> tuple[Any, str]:
    """And the path in it."""
    try:
        import fsspec
    except ImportError:
        raise RuntimeError("worker", "python3-fsspec is not installed, which reads addresses") from None
    # As it lies there: a packed answer to one question would not fit the next.
    options = {"headers": {"Accept-Encoding": "identity"}} if address.startswith(("http://", "https://")) else {}
    try:
        system, path = fsspec.core.url_to_fs(address, **options)
    except (ImportError, ValueError) as error:
        raise RuntimeError("worker", f"cannot read {address}: {error}") from None
    return system, path


def why(address: str, error: Exception) -> RuntimeError:
    told = str(error).splitlines()[:1]
    return RuntimeError("orvellis", f"cannot read {address}: {told[0] if told and told[0] else type(error).__name__}")


def whole(address: str, most: int = 1 << 62) -> Iterator[bytes]:
    """From its beginning, in one stream."""
    system, path = file_system(address)
    try:
        # For http a block size of 0 means one request for all.
        with system.open(path, "rb", **({"block_size": 0} if address.startswith("http") else {})) as file:
            while most > 0 and (block := file.read(min(BLOCK, most))):
                most -= len(block)
                yield block
    except RuntimeError:
        raise
    except Exception as error:
        raise why(address, error) from None


def stretch(address: str, begin: int, end: int) -> Iterator[bytes]:
    """Some of its bytes, for a server that knows how to send them."""
    system, path = file_system(address)
    try:
        with system.open(path, "rb", block_size=BLOCK, cache_type="none") as file:
            while begin < end:
                file.seek(begin)
                block = file.read(min(BLOCK, end - begin))
                if not block:
                    return
                begin += len(block)
                yield block
    except RuntimeError:
        raise
    except Exception as error:
        raise why(address, error) from None


def windows(address: str, size: int, every: int) -> int:
    """A descriptor of a file in memory that looks like the log, and holds of it its beginning and what is behind each
    multiple of a size; the rest is a hole."""
    descriptor = os.memfd_create("log")
    try:
        os.truncate(descriptor, size)
        for begin in range(0, size, every):
            at = begin
            for block in stretch(address, begin, min(size, begin + WINDOW)):
                os.pwrite(descriptor, block, at)
                at += len(block)
    except BaseException:
        os.close(descriptor)
        raise
    return descriptor
