"""What is to be counted: the logs, cut into pieces, as one plan."""

from __future__ import annotations

from collections.abc import Callable

from .errands import Errands
from .logs import Logs
from .plan import Piece, fitting_size, pieces_of
from .settings import Settings
from .told import things
from .workers import Workers


class Planning:
    def __init__(
        self, errands: Errands, workers: Workers, logs: Logs, settings: Settings, local: Callable[..., bytes]
    ) -> None:
        self.errands = errands
        self.workers = workers
        self.logs = logs
        self.settings = settings
        self.local = local
        self.exact: set[str] = set()

    def plan(self) -> list[Piece]:
        links = {log.path: log.target for log in self.logs.by_path.values()}
        size = self.settings.piece_size or fitting_size(0, self.workers.threads())
        return pieces_of(self.local([f"plan={size}"], links).decode())

    def distrust(self, log: str) -> None:
        self.exact.add(log)

    def summary(self, pieces: list[Piece]) -> str:
        return f"{things(len(pieces), 'piece', 'pieces')}\n"
