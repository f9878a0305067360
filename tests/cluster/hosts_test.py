#!/usr/bin/python3
"""Logs that lie on the hosts of the workers, one folder for each."""

from __future__ import annotations

import gzip
import shutil
import subprocess
import unittest

from support import HOLD, ClusterTest, can_have_own_folders, wait_for, when, with_own_folder


@unittest.skipUnless(can_have_own_folders(), "no folder can be put in the place of another here")
class OnHosts(ClusterTest):
    """Logs that lie on the hosts of the workers."""

    def setUp(self) -> None:
        super().setUp()
        self.shown = self.folder / "var-log"
        self.shown.mkdir()
        (self.folder / "named").mkdir()
        self.running = self.cluster()

    def add_host(self, number: int, **more: str) -> None:
        """The first worker of a host, which sees only what lies there."""
        self.add_worker(number, f"web{number}", **more)

    def add_worker(self, number: int, name: str, **more: str) -> None:
        before = with_own_folder(self.folder / f"web{number}", self.shown)
        self.running.add(name, host=f"127.0.0.{number}", before=before, **more)
        self.running.ready(name)

    def log_of(self, number: int, name: str, records: int, seed: int) -> None:
        path = self.log(f"web{number}/{name}", records, seed, number)
        (self.folder / "named" / f"127.0.0.{number}:{name}").symlink_to(path)

    def pattern(self) -> str:
        return str(self.shown / "access.log*")

    def run_of(self) -> list[str]:
        return ["--scheduler", self.running.address, "--piece-size", "64K", "--on-workers", self.pattern()]

    def test_one_plan_a_host(self) -> None:
        for number in (2, 3, 4):
            self.log_of(number, "access.log", 1500, number)
            self.log_of(number, "access.log.1", 1000, 10 + number)
            self.add_host(number)
        self.add_worker(3, "web3-too")
        wanted = self.plain(self.folder / "named")
        self.expect_page(wanted, *self.run_of())
        # As it is told where it lies.
        status, output, errors = self.run_cluster("--dry-run", *self.run_of())
        self.assertEqual((status, errors), (0, ""))
        self.assertEqual(output.count(f"127.0.0.3:{self.shown}/access.log\n"), 1)
        self.assertRegex(output, r"\b2 workers .* on 127\.0\.0\.3\n")
        self.assertRegex(output, r"\n[0-9]+ pieces of about 65,536 bytes, 6 logs, [0-9,]+ bytes, 3 hosts, 4 workers\n$")

    def test_a_log_that_two_hosts_have_counts_once(self) -> None:
        for number in (2, 3):
            self.log_of(number, "access.log", 1500, 1)
            # As large, with the same beginning, and not the same.
            self.log_of(number, "access.log.1", 1000, 5)
            self.add_host(number)
        for name in ("access.log", "access.log.1"):
            shutil.copy(self.folder / "web2" / name, self.folder / "web3" / name)
        with open(self.folder / "web3" / "access.log.1", "r+b") as log:
            log.seek(-12, 2)
            log.write(b"x")
        wanted = self.plain(self.folder / "named")
        self.assertIn("requests=3500 ", wanted)
        self.expect_page(wanted, *self.run_of())

    def test_a_log_that_one_host_has_packed_counts_twice(self) -> None:
        for number in (2, 3):
            self.log_of(number, "access.log", 500, 1)
            self.add_host(number)
        log = self.folder / "web3" / "access.log"
        log.with_name("access.log.gz").write_bytes(gzip.compress(log.read_bytes(), mtime=0))
        log.unlink()
        status, output, errors = self.run_cluster("--text", *self.run_of())
        self.assertEqual(status, 0, errors)
        self.assertRegex(output, r"Requests +1,000\n")

    def test_the_only_worker_of_a_host_dies(self) -> None:
        self.workers_die = True
        dying = self.wrapper("dying", when("piece=- part=- ", "mkdir $cd_to/probed 2>/dev/null || kill -9 $PPID"))
        for number, program in ((2, ""), (3, dying)):
            self.log_of(number, "access.log", 1500, number)
            self.add_host(number, **({"program": program} if program else {}))
        self.expect_sentence("piece [0-9]+ of [0-9]+ .127.0.0.3:.* no worker is left on the host 127.0.0.3", *self.run_of())

    def lose_what_was_counted(self) -> subprocess.Popen[str]:
        """The one worker of a host dies when its log is counted, and another host's are not."""
        self.workers_die = True
        slow = self.wrapper("slow", when("piece=- part=- ", HOLD))
        done = self.wrapper("done", when("piece=- part=- ", '{ "$ORVELLIS_TESTED" "$@"; s=$?; echo >>"$cd_to/counted"; exit $s; }'))
        for number, program in ((2, slow), (3, done)):
            self.log_of(number, "access.log", 300, number)
            self.add_host(number, program=program)
        run = self.begin(*self.run_of(), "-o", "cluster.html")
        counted = self.folder / "counted"
        wait_for("the empty piece and that of the host", lambda: counted.exists() and len(counted.read_text()) == 2)
        wait_for("the other host", (self.folder / "holding").exists)
        self.running.kill("web3")
        return run

    def test_what_a_host_has_counted_is_counted_again_there(self) -> None:
        run = self.lose_what_was_counted()
        self.add_worker(3, "web3-again")
        (self.folder / "go").touch()
        self.expect_finished(self.plain(self.folder / "named"), run)

    def test_what_a_host_has_counted_is_lost_with_it(self) -> None:
        run = self.lose_what_was_counted()
        (self.folder / "go").touch()
        self.expect_refused("piece 2 of 2 .127.0.0.3:.* failed: no worker is left on the host 127.0.0.3", run)

    def test_a_page_that_tells_what_is_missing(self) -> None:
        failing = self.wrapper("failing", when("piece=- part=- ", "mkdir $cd_to/probed 2>/dev/null || exit 9"))
        for number, program in ((2, ""), (3, failing)):
            self.log_of(number, "access.log", 1500, number)
            self.add_host(number, **({"program": program} if program else {}))
        self.expect_sentence("piece .*access.log.* failed 4 times, at last on .*: orvellis failed with status 9", *self.run_of())
        (self.folder / "probed").rmdir()
        status, output, errors = self.run_cluster("--allow-missing", "--text", *self.run_of())
        self.assertEqual(status, 0, errors)
        self.assertIn("127.0.0.3:access.log is missing", output.replace("\n", " "), errors)
        self.assertRegex(output, r"Requests +1,500\n")
        self.expect_nothing_left()

    def test_a_host_whose_only_worker_is_left_out(self) -> None:
        for number, program in ((2, ""), (3, "/nonexistent/orvellis")):
            self.log_of(number, "access.log", 500, number)
            self.add_host(number, **({"program": program} if program else {}))
        self.expect_sentence("the logs on .* cannot be counted: the worker tcp://127.0.0.3:.* is left out: ", *self.run_of())

    def test_no_host_has_such_a_log(self) -> None:
        self.log_of(2, "error.log", 10, 2)
        self.add_host(2)
        self.expect_sentence("there is no file .*/access.log. on a host of the workers", *self.run_of())


if __name__ == "__main__":
    unittest.main()
