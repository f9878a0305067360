"""What the command hands on to the engine, as a text in the environment."""

from __future__ import annotations

import json
import os
from dataclasses import asdict, dataclass

VARIABLE = "ORVELLIS_CLUSTER"


@dataclass
class Settings:
    program: str = ""  # the orvellis of this machine
    scheduler: str = ""  # its address; empty: a cluster on this machine
    processes: int = 0  # so many count at once on this machine; 0: one a processor
    piece_size: int = 0  # bytes; 0: by what there is to count
    allow_missing: bool = False
    dry_run: bool = False
    tls_ca: str = ""
    tls_cert: str = ""
    tls_key: str = ""
    output: int = -1  # the descriptor that was standard output
    terminal: int = -1  # the descriptor of a terminal that wants progress; -1: none does


def put(settings: Settings) -> None:
    os.environ[VARIABLE] = json.dumps(asdict(settings))


def take() -> Settings:
    """Takes it out of the environment: what the engine starts is not to see it."""
    return Settings(**json.loads(os.environ.pop(VARIABLE)))
