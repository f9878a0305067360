#!/usr/bin/python3
"""A scheduler and workers that are processes of their own: shared logs, those of hosts, and what fails on the way."""

from __future__ import annotations

import os
import shutil
import signal
import unittest

from support import Cluster, ClusterTest, can_have_own_folders, wait_for, with_own_folder

# What a wrapper of the program does in one step of a run. Its worker is its parent.
# The first piece that a worker counts is the empty one, by which it is known.
HOLD = "mkdir $cd_to/probed 2>/dev/null || { touch $cd_to/holding; while [ ! -e $cd_to/go ]; do sleep 0.05; done; }"
ONCE = 'mkdir "$cd_to/once" 2>/dev/null &&'


def when(step: str, action: str) -> str:
    """In tasks with this argument, and no other."""
    return f'case " $* " in *" {step}"*) {action} ;; esac'


class Shared(ClusterTest):
    """Paths that all workers see."""

    def setUp(self) -> None:
        super().setUp()
        self.logs = [self.log(f"logs/access.log.{n}", 3000, n, n) for n in (1, 2)]
        self.wanted = self.plain(*self.logs)

    def arguments(self, cluster: Cluster) -> list[str]:
        return ["--scheduler", cluster.address, "--piece-size", "64K", *map(str, self.logs)]

    def test_two_workers(self) -> None:
        cluster = self.cluster()
        cluster.add("one")
        cluster.add("two", threads=2)
        cluster.ready("one", "two")
        self.expect_page(self.wanted, *self.arguments(cluster))

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
        self.lose_one("plan=65536,quick ")

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

    def test_workers_that_would_count_otherwise_are_left_out(self) -> None:
        cluster = self.cluster()
        cluster.add("one")
        cluster.add("absent", program="/nonexistent/orvellis")
        cluster.add("older", program=self.wrapper("older", when("part=- ", 'exec "$cd_to/orvellis-1.4" "$@"')))
        binary = (self.folder / "orvellis-1.4")
        self.make_other_version(binary)
        cluster.add("elsewhere", program=self.wrapper("elsewhere", "export TZ=America/New_York"))
        cluster.ready("one", "absent", "older", "elsewhere")
        told = self.expect_page(self.wanted, *self.arguments(cluster))
        worker = r"the worker tcp://127\.0\.0\.1:[0-9]+ on \S+ is left out: "
        self.assertRegex(told, worker + "the program /nonexistent/orvellis is not installed")
        self.assertRegex(told, worker + 'it counts with another program: "1.4", and not "1.5"')
        self.assertRegex(told, worker + "it counts with another time zone: ")

    def make_other_version(self, path: object) -> None:
        """The program, as another version of it would be."""
        with open(os.environ.get("ORVELLIS_TESTED", "") or __import__("support").PROGRAM, "rb") as program:
            changed = program.read().replace(b"\x001.5\x00", b"\x001.4\x00")
        with open(path, "wb") as other:  # type: ignore[call-overload]
            other.write(changed)
        os.chmod(path, 0o755)  # type: ignore[call-overload]

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

    def held_in_counting(self, cluster: Cluster):  # type: ignore[no-untyped-def]
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
        with open(self.folder / "web3" / "access.log.1", "r+b") as log:
            log.seek(-12, 2)
            log.write(b"x")
        self.expect_page(self.plain(self.folder / "named"), *self.run_of())

    def test_the_only_worker_of_a_host_dies(self) -> None:
        self.workers_die = True
        dying = self.wrapper("dying", when("piece=- part=- ", "mkdir $cd_to/probed 2>/dev/null || kill -9 $PPID"))
        for number, program in ((2, ""), (3, dying)):
            self.log_of(number, "access.log", 1500, number)
            self.add_host(number, **({"program": program} if program else {}))
        self.expect_sentence("piece [0-9]+ of [0-9]+ .127.0.0.3:.* no worker is left on the host 127.0.0.3", *self.run_of())

    def test_no_host_has_such_a_log(self) -> None:
        self.log_of(2, "error.log", 10, 2)
        self.add_host(2)
        self.expect_sentence("there is no file .*/access.log. on a host of the workers", *self.run_of())


if __name__ == "__main__":
    unittest.main()
