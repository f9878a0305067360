#!/usr/bin/python3
"""A scheduler and workers that are processes of their own, and what fails on the way."""

from __future__ import annotations

import shutil
import signal
import subprocess
import unittest
from pathlib import Path

from support import ENVIRONMENT, HOLD, ONCE, PROGRAM, Cluster, ClusterTest, wait_for, when

class Shared(ClusterTest):
    """Paths that all workers see."""

    def setUp(self) -> None:
        super().setUp()
        self.logs = [self.log(f"logs/access.log.{n}", 3000, n, n) for n in (1, 2)]
        self.wanted = self.plain(*self.logs)

    def arguments(self, cluster: Cluster) -> list[str]:
        return ["--scheduler", cluster.address, "--piece-size", "64K", *map(str, self.logs)]


class Working(Shared):
    """Workers that come, go and differ."""

    def test_two_workers(self) -> None:
        cluster = self.cluster()
        cluster.add("one")
        cluster.add("two", threads=2)
        cluster.ready("one", "two")
        self.expect_page(self.wanted, *self.arguments(cluster))

    def test_the_configuration_goes_along(self) -> None:
        """A layout in words, search engines, days and a zone of its own: workers have none of it."""
        log = self.folder / "words.log"
        lines = [
            f"10.0.0.{n % 7} [{1 + n % 9:02}/Mar/2026:23:{n % 60:02}:00 +0000] /p{n % 30} 200 {n} http://find.example/?words=tea+{n % 5}\n"
            for n in range(2000)
        ]
        log.write_text("".join(lines))
        engines = self.folder / "engines"
        engines.write_text("search=Finder;domain=find.example;vars=words\n")
        options = (
            "--log-format", "$remote_addr [$time_local] $uri $status $bytes_sent $http_referer", "--timezone", "Asia/Tokyo",
            "--search-engines", str(engines), "--from", "2026-03-02", "--to", "2026-03-08", "--title", "a <b>", "--exclude-hosts", "10.0.0.3",
        )  # fmt: skip
        wanted = self.plain(log, options=options)
        self.assertIn("tea 4", wanted)
        cluster = self.cluster()
        cluster.add("one")
        cluster.ready("one")
        self.expect_page(wanted, "--scheduler", cluster.address, "--piece-size", "64K", *options, str(log))

    def lose_one(self, step: str) -> None:
        """One of two workers dies in a step; the other does its work."""
        self.workers_die = True
        cluster = self.cluster()
        program = self.wrapper("dying", when(step, f"{ONCE} kill -9 $PPID"))
        cluster.add("one", program=program)
        cluster.add("two", program=program)
        cluster.ready("one", "two")
        self.expect_page(self.wanted, *self.arguments(cluster))
        self.assertTrue((self.folder / "once").exists())

    def test_a_worker_dies_while_planning(self) -> None:
        # Of so many places that they are not looked at by the one who asks.
        self.logs.append(self.log("logs/access.log.3", 40000, 3, 3))
        self.wanted = self.plain(*self.logs)
        self.lose_one('plan="*",quick ')

    def test_a_worker_dies_while_counting(self) -> None:
        self.lose_one("piece=- part=- ")

    def test_a_worker_dies_while_adding(self) -> None:
        # With more pieces than are added at once.
        self.lose_one("merge=- part=- ")

    def test_a_slow_worker_keeps_no_other_from_work(self) -> None:
        cluster = self.cluster()
        # What it counts waits until much else is counted.
        slow = self.wrapper("slow", when("piece=- part=- ", HOLD))
        quick = self.wrapper("quick", when("piece=- part=- ", 'echo >>"$cd_to/counted"'))
        cluster.add("slow", program=slow)
        cluster.add("quick", program=quick)
        cluster.ready("slow", "quick")
        run = self.begin(*self.arguments(cluster), "-o", "cluster.html")
        counted = self.folder / "counted"
        wait_for("the quick one", lambda: counted.exists() and len(counted.read_text()) > 8)
        (self.folder / "go").touch()
        self.expect_finished(self.wanted, run)

    def test_a_worker_comes_late(self) -> None:
        cluster = self.cluster()
        # The first one counts nothing until the late one has counted some.
        program = self.wrapper("first", when("piece=- part=- ", HOLD))
        cluster.add("first", program=program)
        cluster.ready("first")
        run = self.begin(*self.arguments(cluster), "-o", "cluster.html")
        wait_for("the first piece", (self.folder / "holding").exists)
        late = self.wrapper("late", when("piece=- part=- ", "mkdir $cd_to/late-probed 2>/dev/null || touch $cd_to/go"))
        cluster.add("late", program=late)
        self.expect_finished(self.wanted, run)
        self.assertTrue((self.folder / "go").exists())

    def test_a_worker_that_does_not_answer(self) -> None:
        cluster = self.cluster()
        cluster.add("one")
        cluster.add("silent")
        cluster.ready("one", "silent")
        cluster.processes["silent"].send_signal(signal.SIGSTOP)
        self.expect_page(self.wanted, *self.arguments(cluster))

    def test_workers_that_would_count_otherwise_are_left_out(self) -> None:
        cluster = self.cluster()
        cluster.add("one")
        cluster.add("absent", program="/nonexistent/orvellis")
        cluster.add("older", program=self.wrapper("older", when("part=- ", 'exec "$cd_to/orvellis-1.4" "$@"')))
        self.make_other_version(self.folder / "orvellis-1.4")
        cluster.add("elsewhere", program=self.wrapper("elsewhere", "export TZ=America/New_York"))
        cluster.ready("one", "absent", "older", "elsewhere")
        told = self.expect_page(self.wanted, *self.arguments(cluster))
        worker = r"the worker tcp://127\.0\.0\.1:[0-9]+ on \S+ is left out: "
        self.assertRegex(told, worker + "the program /nonexistent/orvellis is not installed")
        self.assertRegex(told, worker + 'it counts with another program: "1.4", and not "1.5"')
        self.assertRegex(told, worker + "it counts with another time zone: ")

    def make_other_version(self, path: Path) -> None:
        """The program, as another version of it would be."""
        program = Path(PROGRAM).read_bytes()
        self.assertIn(b"1.5\x00", program)
        path.write_bytes(program.replace(b"1.5\x00", b"1.4\x00"))
        path.chmod(0o755)


class Failing(Shared):
    """What ends a run, or does not."""

    def test_no_worker_that_may_count(self) -> None:
        cluster = self.cluster()
        cluster.add("absent", program="/nonexistent/orvellis")
        cluster.ready("absent")
        self.expect_sentence("no worker can count: the worker .* is not installed", *self.arguments(cluster))

    def test_no_worker(self) -> None:
        self.expect_sentence("the scheduler has no worker$", *self.arguments(self.cluster()))

    def test_no_scheduler(self) -> None:
        arguments = ["--scheduler", "tcp://127.0.0.1:1", *map(str, self.logs)]
        self.expect_sentence(r"cannot reach the scheduler tcp://127\.0\.0\.1:1: ", *arguments)

    def test_a_piece_that_takes_its_workers_with_it(self) -> None:
        """Dask gives such a task up, here behind the first worker."""
        self.workers_die = True
        ENVIRONMENT["DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES"] = "0"
        self.addCleanup(ENVIRONMENT.pop, "DASK_DISTRIBUTED__SCHEDULER__ALLOWED_FAILURES")
        cluster = self.cluster()
        dying = self.wrapper("dying", when("piece=- part=- ", "mkdir $cd_to/probed 2>/dev/null || kill -9 $PPID"))
        cluster.add("one", program=dying)
        cluster.ready("one")
        sentence = r"piece [0-9]+ of [0-9]+ \(.*access.log.* failed on tcp://127\.0\.0\.1:[0-9]+: the worker was lost"
        self.expect_sentence(sentence, *self.arguments(cluster))

    def held_in_counting(self, cluster: Cluster) -> subprocess.Popen[str]:
        """A run whose pieces wait until there is a file named go."""
        program = self.wrapper("held", when("piece=- part=- ", HOLD))
        cluster.add("one", program=program)
        cluster.ready("one")
        run = self.begin(*self.arguments(cluster), "-o", "cluster.html")
        wait_for("the held piece", (self.folder / "holding").exists)
        return run

    def test_the_scheduler_dies(self) -> None:
        cluster = self.cluster()
        run = self.held_in_counting(cluster)
        cluster.kill("scheduler")
        (self.folder / "go").touch()
        self.expect_refused("the scheduler tcp://.* does not answer any more", run)

    def test_interruption_leaves_nothing(self) -> None:
        for number, status in ((signal.SIGTERM, 143), (signal.SIGINT, 130)):
            with self.subTest(number):
                cluster = self.cluster()
                run = self.held_in_counting(cluster)
                run.send_signal(number)
                found, output, errors = self.finish(run)
                self.assertEqual((found, output, errors), (status, "", ""))
                self.expect_nothing_left()
                cluster.end()
                shutil.rmtree(self.folder / "cluster")
                shutil.rmtree(self.folder / "probed")
                (self.folder / "holding").unlink()

    def test_a_log_is_rotated_meanwhile(self) -> None:
        cluster = self.cluster()
        run = self.held_in_counting(cluster)
        self.log("logs/access.log.2", 100, 7)
        (self.folder / "go").touch()
        told = self.expect_refused("piece ", run)
        self.assertIn(f"{self.logs[1]} is no longer the log of which the plan was made", told)

    def test_a_part_is_damaged_on_its_way(self) -> None:
        cluster = self.cluster()
        spoil = f'{ONCE} {{ "$ORVELLIS_TESTED" "$@" | tr \\\\000 \\\\001; exit; }}'
        program = self.wrapper("spoiling", "mkdir $cd_to/probed 2>/dev/null || " + when("piece=- part=- ", spoil))
        cluster.add("one", program=program)
        cluster.ready("one")
        self.expect_page(self.wanted, *self.arguments(cluster))
        self.assertTrue((self.folder / "once").exists())

    def test_the_only_part_is_damaged_on_its_way(self) -> None:
        cluster = self.cluster()
        spoil = f'{ONCE} {{ "$ORVELLIS_TESTED" "$@" | tr \\\\000 \\\\001; exit; }}'
        program = self.wrapper("spoiling", "mkdir $cd_to/probed 2>/dev/null || " + when("piece=- part=- ", spoil))
        cluster.add("one", program=program)
        cluster.ready("one")
        wanted = self.plain(self.logs[0])
        self.expect_page(wanted, "--scheduler", cluster.address, str(self.logs[0]))
        self.assertTrue((self.folder / "once").exists())


if __name__ == "__main__":
    unittest.main()
