"""Reading what an address names, whatever the installed fsspec reads. Sent to workers by value, as tasks are."""

from __future__ import annotations

import os
import socket
import tempfile
from collections.abc import Iterable, Iterator
from typing import Any

# What is asked for at once.
BLOCK = 8 << 20

# What stands at the beginning of a log decides how its lines are read.
HEAD = 64 << 10

# What has to be at hand at each place where a log may be cut.
WINDOW = 128 << 10

# Where files are kept in memory.
MEMORY = "/dev/shm"
MOST_IN_MEMORY = 1 << 30


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


def reason_of(address: str, error: BaseException | None) -> str:
    """What libraries say of the network, or of the file, down to where it began; some say no more than the address."""
    told = ""
    while error is not None:
        lines = [line for line in str(error).splitlines() if line and address not in line]
        status, cause = getattr(error, "status", 0), getattr(error, "os_error", error)
        if isinstance(status, int) and status >= 400:
            return f"the server answers {status} {getattr(error, 'message', '')}".rstrip()
        if isinstance(cause, socket.gaierror):
            return "there is no such host"
        if isinstance(cause, OSError) and cause.errno:
            return os.strerror(cause.errno)
        if isinstance(error, FileNotFoundError):
            lines = lines or ["there is no such log"]
        told = lines[0] if lines else told or type(error).__name__
        error = error.__cause__ or error.__context__
    return told


def why(address: str, error: Exception) -> RuntimeError:
    return RuntimeError("orvellis", f"cannot read {address}: {reason_of(address, error)}")


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


def memory_folder(size: int) -> str:
    """A folder in memory that has room for so many bytes twice; empty where there is none, or for too many."""
    if size > MOST_IN_MEMORY:
        return ""
    try:
        room = os.statvfs(MEMORY)
    except OSError:
        return ""
    return MEMORY if room.f_bavail * room.f_frsize > 2 * size and os.access(MEMORY, os.W_OK) else ""


def sparse_file(size: int, stretches: Iterable[tuple[int, bytes]]) -> str:
    """The path of a file that looks like a log of this size, and holds of it what is given and else a hole. Whoever
    gets it takes it away."""
    descriptor, path = tempfile.mkstemp(prefix="orvellis-cluster.", dir=memory_folder(1 << 20) or None)
    try:
        os.truncate(descriptor, size)
        for at, block in stretches:
            os.pwrite(descriptor, block, at)
    except BaseException:
        os.unlink(path)
        raise
    finally:
        os.close(descriptor)
    return path


def windows(address: str, size: int, every: int) -> Iterator[tuple[int, bytes]]:
    """The beginning of a log, and what is behind each multiple of a size, with where it stands."""
    for begin in range(0, size, every):
        at = begin
        for block in stretch(address, begin, min(size, begin + WINDOW)):
            yield at, block
            at += len(block)
