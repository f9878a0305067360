"""What is to be counted: the logs of this machine's view, of addresses and of hosts, cut into pieces, as one plan."""

from __future__ import annotations

from collections import defaultdict
from collections.abc import Callable, Hashable
from functools import partial
from typing import Any

from .addresses import Address, look_at
from .errands import Errand, Errands
from .logs import Log, Logs
from .plan import WHOLE_LOGS, Piece, fitting_size, largest_task, pieces_of
from .settings import Settings
from .told import Failure, things
from .workers import Workers


# Where logs may be cut: so many places one task looks at.
PLACES_AT_ONCE = 64


class Planning:
    def __init__(
        self, errands: Errands, workers: Workers, logs: Logs, settings: Settings, local: Callable[..., bytes]
    ) -> None:
        self.errands = errands
        self.workers = workers
        self.logs = logs
        self.settings = settings
        self.local = local  # runs orvellis here
        self.notes: list[str] = []
        self.whole: list[Piece] = []  # each log as one piece, of the plan of where it lies
        self.copies: set[str] = set()  # lines of logs that hold the same as one before
        self.distrusted: set[str] = set()  # logs that must be read to be cut
        self.size = 0  # of pieces
        self.most = 0  # that a task weighs

    def plan(self) -> list[Piece]:
        if not self.whole:
            self.whole = self.plan_shared() + self.plan_addresses() + self.plan_hosts()
            self.copies = self.find_copies()
            total = sum(piece.weight for piece in self.whole)
            self.size = self.settings.piece_size or fitting_size(total, self.workers.threads())
            self.most = self.settings.piece_size or largest_task(total)
        cut = self.cut()
        lines = [self.line_of(cut, piece) for piece in self.whole]
        return pieces_of(self.local(["plan=-"], {}, "".join(lines).encode()).decode())

    def line_of(self, cut: dict[str, str], piece: Piece) -> str:
        if piece.token in self.copies:
            return f"copy {piece.token}\n"
        return cut.get(piece.log, piece.token + "\n")

    def distrust(self, log: str) -> None:
        """A cut of this log does not hold. The second such log is one too many to trust the others."""
        self.distrusted.update([log] if not self.distrusted else self.logs.by_path)

    # ---- Whole logs ----

    def plan_shared(self) -> list[Piece]:
        links = {log.path: log.target for log in self.logs.by_path.values() if not log.is_address and not log.host}
        return pieces_of(self.local([WHOLE_LOGS], links).decode()) if links else []

    def plan_addresses(self) -> list[Piece]:
        """One by one: of logs of one size orvellis would compare what is not at hand."""
        pieces = []
        for log in self.logs.by_path.values():
            if log.is_address:
                address = self.look_at(log)
                self.logs.addresses[log.path] = address
                with address.as_file() as path:
                    pieces += pieces_of(self.local([WHOLE_LOGS], {log.path: path}).decode())
        return pieces

    def look_at(self, log: Log) -> Address:
        """Of one that cannot be read and may be missing, an empty one."""
        try:
            address: Address = self.errands.attend(partial(look_at, log.target))
            return address
        except Failure as failure:
            if not self.settings.allow_missing:
                raise
            self.notes.append(str(failure))
            self.logs.unread.add(log.path)
            return Address(0, b"", False)

    def plan_hosts(self) -> list[Piece]:
        if not self.logs.patterns:
            return []
        for host, reason in self.workers.hosts_without().items():
            sentence = f"the logs on {host} cannot be counted: {reason}"
            if not self.settings.allow_missing:
                raise Failure(sentence)
            self.notes.append(sentence)
        labels = self.workers.hosts()
        hosts = sorted(labels, key=lambda host: labels[host])
        found = self.collect(
            [Errand(host, "find", (self.logs.patterns,), host) for host in hosts],
            lambda key: f"looking for logs on {labels[str(key)]}",
        )
        for host in hosts:
            paths = [path for path, size in found[host]]
            self.logs.add_of_host(host, labels[host], paths)
            if not paths:
                self.notes.append(f"there is no log {' '.join(self.logs.patterns)} on {labels[host]}")
        links = {host: {log.path: log.target for log in self.logs.of_host(host)} for host in hosts}
        if not any(links.values()):
            raise Failure(f"there is no file {' '.join(self.logs.patterns)} on a host of the workers")
        planned = self.collect(
            [Errand(host, "plan", ([WHOLE_LOGS], links[host], ""), host) for host in hosts if links[host]],
            lambda key: f"planning the logs of {labels[str(key)]}",
        )
        return [piece for host in hosts if host in planned for piece in pieces_of(planned[host])]

    # ---- Copies ----

    def find_copies(self) -> set[str]:
        """Logs that lie at several places, each of which has looked for copies among its own."""
        alike: dict[tuple[int, str], list[Piece]] = defaultdict(list)
        for piece in self.whole:
            if piece.proof.strip("0") and piece.log and piece.log not in self.logs.unread:
                alike[piece.size, piece.proof].append(piece)
        twins = [group for group in alike.values() if len({self.place_of(piece) for piece in group}) > 1]
        hashes = self.collect(
            [
                Errand(piece.token, *self.logs.hashing(piece), self.logs.host_of(piece.log))
                for group in twins
                for piece in group
            ],
            lambda key: f"comparing {self.logs.name_of(pieces_of(str(key))[0].log)} with another",
        )
        return {
            piece.token
            for first, *others in twins
            for piece in others
            if hashes[piece.token] == hashes[first.token]
        }

    def place_of(self, piece: Piece) -> str:
        return piece.log if piece.log in self.logs.addresses else self.logs.host_of(piece.log)

    # ---- Cutting ----

    def cut(self) -> dict[str, str]:
        """Lines of the pieces of each large log, by its path."""
        groups = self.groups()
        cut: list[Piece] = []
        errands = []
        for group in groups:
            host, exact = self.logs.host_of(group[0].log), group[0].log in self.distrusted
            step, inputs = self.logs.cutting(group, self.size, exact)
            if step == "plan" and not host and not exact and len(groups) == 1:
                cut += pieces_of(self.local(inputs[0], inputs[1], inputs[2].encode()).decode())
            else:
                errands.append(Errand(group[0].token, step, inputs, host))
        found = self.collect(errands, lambda key: f"planning {self.logs.name_of(pieces_of(str(key))[0].log)}")
        for lines in found.values():
            cut += pieces_of(lines)
        by_path: dict[str, str] = defaultdict(str)
        for piece in cut:
            by_path[piece.log] += piece.token + "\n"
        return by_path

    def groups(self) -> list[list[Piece]]:
        """Logs that are to be cut, those of one host together, as long as the places to look at are few."""
        groups: list[list[Piece]] = []
        room: dict[str, int] = {}  # in the last group of a host
        last: dict[str, list[Piece]] = {}
        for piece in self.whole:
            if piece.weight <= self.size or piece.token in self.copies:
                continue
            address = self.logs.addresses.get(piece.log)
            exact = piece.log in self.distrusted
            if address is not None and (exact or not address.divisible):
                continue  # read as a whole it would have been sent, and could as well be counted
            if address is not None or exact:
                groups.append([piece])
                continue
            host, places = self.logs.host_of(piece.log), piece.size // self.size
            if room.get(host, 0) < places:
                room[host], last[host] = max(PLACES_AT_ONCE, places), []
                groups.append(last[host])
            room[host] -= places
            last[host].append(piece)
        return groups

    # ---- Tasks ----

    def collect(self, errands: list[Errand], what: Callable[[Hashable], str]) -> dict[Hashable, Any]:
        """What all of them bring, by their keys."""
        for errand in errands:
            self.errands.send(errand)
        found: dict[Hashable, Any] = {}
        while len(found) < len(errands):
            outcome = self.errands.next()
            if outcome.future is None:
                raise Failure(outcome.told(what(outcome.errand.key)))
            result = self.errands.fetch(outcome.future)
            if result is None:
                self.errands.send(outcome.errand)
            else:
                found[outcome.errand.key] = result
        return found

    # ---- Showing ----

    def summary(self, pieces: list[Piece]) -> list[str]:
        """What a dry run prints: a table of logs, and what it comes to."""
        labels = self.workers.hosts()
        numbers: dict[str, int] = defaultdict(int)
        sizes: dict[str, int] = {}
        for piece in pieces:
            numbers[piece.log] += 1
            sizes[piece.log] = piece.size
        lines = [
            f"{things(numbers[log], 'piece', 'pieces'):>12}  {sizes[log]:>19,} bytes  {self.logs.name_of(log)}"
            for log in numbers
            if log
        ]
        lines += [
            f"a copy of another  {piece.size:>13,} bytes  {self.logs.name_of(piece.log)}"
            for piece in self.whole
            if piece.token in self.copies
        ]
        lines += [
            f"{things(len(self.workers.of_host(host)), 'worker', 'workers'):>12}  "
            f"{things(self.workers.threads(host), 'task', 'tasks')} at once  on {label}"
            for host, label in labels.items()
        ]
        lines.append(
            f"{things(len(pieces), 'piece', 'pieces')} of about {self.size:,} bytes,"
            f" {things(len(sizes), 'log', 'logs')},"
            f" {sum(piece.weight for piece in pieces):,} bytes, {things(len(labels), 'host', 'hosts')},"
            f" {things(self.workers.number, 'worker', 'workers')}"
        )
        return lines
