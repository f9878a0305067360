#!/usr/bin/python3
"""The first try: no scheduler, this machine's processors."""

from __future__ import annotations

import gzip
import socket
import unittest

from support import ClusterTest


class LocalRun(ClusterTest):
    def test_one_large_log_in_pieces(self) -> None:
        log = self.log("access.log", 9000, 1)
        self.expect_page(self.plain(log), "--piece-size", "64K", "--workers", "2", str(log))

    def test_several_and_compressed_ones(self) -> None:
        logs = [self.log(f"logs/access.log.{n}", 3000, n, n) for n in (1, 2, 3)]
        packed = logs[0].with_suffix(".gz")
        packed.write_bytes(gzip.compress(self.log("other.log", 2000, 9, 9).read_bytes(), mtime=0))
        self.expect_page(self.plain(self.folder / "logs"), "--piece-size", "128K", str(self.folder / "logs"))

    def test_logs_of_this_machine_as_those_of_a_worker(self) -> None:
        log = self.log("access.log", 3000, 1)
        named = self.folder / f"{socket.gethostname()}:access.log"
        named.symlink_to(log)
        self.expect_page(self.plain(named), "--piece-size", "64K", "--on-workers", str(log))


class Cuts(ClusterTest):
    def test_a_cut_that_does_not_hold_is_looked_for_again(self) -> None:
        """Another header line within the log decides how the lines behind it are read."""
        log = self.folder / "w3c.log"
        with open(log, "w", encoding="ascii") as file:
            file.write("#Fields: date time c-ip cs-method cs-uri-stem sc-status sc-bytes\n")
            file.writelines(f"2026-03-01 10:{n // 60 % 60:02}:{n % 60:02} 10.0.0.{n % 9} GET /a{n % 50} 200 100\n" for n in range(3000))
            file.write("#Fields: date time c-ip cs-method cs-uri-stem sc-bytes sc-status\n")
            file.writelines(f"2026-03-02 10:{n // 60 % 60:02}:{n % 60:02} 10.0.0.{n % 9} GET /b{n % 50} 100 404\n" for n in range(3000))
        other = self.log("other.log", 2000, 3, 3)
        self.expect_page(self.plain(other, log), "--piece-size", "64K", str(other), str(log))


if __name__ == "__main__":
    unittest.main()
