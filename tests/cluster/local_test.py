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


if __name__ == "__main__":
    unittest.main()
