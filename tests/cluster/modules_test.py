#!/usr/bin/python3
"""The modules one by one, with stand-ins for the cluster."""

from __future__ import annotations

import os
import random
import re
import subprocess
import sys
import tempfile
import time
import types
import unittest
from collections import Counter
from pathlib import Path

from support import PROGRAM, SOURCE

from orvellis_cluster import command, logs, plan, progress, settings, streams, tasks, told
from orvellis_cluster.adding import Node, Row
from orvellis_cluster.addresses import Address, look_at
from orvellis_cluster.counting import Counting, Line
from orvellis_cluster.errands import MORE_TRIES, Errand, Errands, Outcome
from orvellis_cluster.workers import Worker, Workers, reason_of


class Options(unittest.TestCase):
    def refused(self, *arguments: str) -> str:
        with self.assertRaises(told.Failure) as caught:
            command.take_options(list(arguments))
        return str(caught.exception)

    def test_own_options_are_taken_out(self) -> None:
        taken, others = command.take_options(
            ["--scheduler", "tcp://a:1", "--text", "--piece-size=2M", "--on-workers", "/l/*", "x.log", "--dry-run", "a=b"]
        )
        self.assertEqual((taken.scheduler, taken.piece_size, taken.dry_run), ("tcp://a:1", 2 << 20, True))
        self.assertEqual(others, ["--text", "workers:///l/*", "x.log", "a=b"])

    def test_values_of_others_are_no_options(self) -> None:
        taken, others = command.take_options(["--title", "--dry-run", "--", "--scheduler"])
        self.assertFalse(taken.dry_run)
        self.assertEqual(others, ["--title", "--dry-run", "--", "--scheduler"])

    def test_what_is_refused(self) -> None:
        for arguments, sentence in (
            (["--classic"], "--classic is of one machine"),
            (["--cache=/x"], "--cache is of one machine"),
            (["--scheduler"], "--scheduler needs a value"),
            (["--dry-run=1"], "--dry-run takes no value"),
            (["--piece-size", "1K"], "from 64K on"),
            (["--piece-size", "many"], 'not "many"'),
            (["--workers", "0"], "--workers takes 1 to 256"),
            (["--workers", "2", "--scheduler", "tcp://a:1"], "without --scheduler"),
            (["--scheduler", "10.0.0.1"], "--scheduler takes an address"),
            (["--on-workers", "log"], 'begins with "/"'),
            (["--tls-ca", "x", "--scheduler", "tls://a:1"], "go together"),
            (["merge=x"], "merge= is set by"),
        ):
            with self.subTest(arguments):
                self.assertIn(sentence, self.refused(*arguments))

    def test_every_option_is_told_everywhere(self) -> None:
        own = {*command.OWN_VALUED, *command.FLAGS}
        manual = (SOURCE / "man/orvellis-cluster.1").read_text().replace("\\-", "-")
        for option in own:
            self.assertIn(option, command.USAGE)
            self.assertIn(f"Fl {option[1:]}", manual)
            for file in ("orvellis-cluster.bash", "_orvellis-cluster"):
                self.assertIn(option, (SOURCE / "completions" / file).read_text())

    def test_options_of_the_report_command_that_take_a_value(self) -> None:
        text = (SOURCE / "bin/orvellis-report").read_text()
        body = text[text.index("take_option() {") : text.index("check_options() {")]
        valued = set()
        for case in re.finditer(r"^    (-[-a-z |]+)\)(.*?)(?=^    -|\Z)", body, re.DOTALL | re.MULTILINE):
            if re.search(r"need_(plain_)?value", case[2]):
                valued.update(case[1].split(" | "))
        self.assertEqual(valued, command.VALUED | {"--workers"})


class Texts(unittest.TestCase):
    def test_harmless(self) -> None:
        self.assertEqual(told.harmless("a\x1b[31m\u202eb\u2028c\udcffd\x85"), "a?[31m?b?c?d?")

    def test_settings_come_through_the_environment_and_are_gone(self) -> None:
        given = settings.Settings(scheduler="tcp://a:1", piece_size=5, allow_missing=True)
        settings.put(given)
        self.assertEqual(settings.take(), given)
        self.assertNotIn(settings.VARIABLE, os.environ)

    def test_progress(self) -> None:
        line = progress.line_of(3, 10, 50_000_000, 200_000_000, 2.0, 4)
        self.assertEqual(line, "counting  25 %  3 of 10 pieces  50.0 of 200.0 MB  25.0 MB/s  6 s left  4 workers")
        self.assertIn("100 %", progress.line_of(0, 0, 0, 0, 0.0, 1))

    def test_progress_on_a_terminal_alone(self) -> None:
        reader, writer = os.pipe()
        clock = [0.0]
        shown = progress.Progress(writer, lambda: clock[0])
        shown.begin(2, 100)
        shown.count(50)
        clock[0] = 1.0
        shown.show(1)
        shown.erase()
        os.close(writer)
        with open(reader, "rb") as output:
            self.assertRegex(output.read(), rb"^\r\x1b\[Kcounting  50 %.* 1 worker\r\x1b\[K$")
        nowhere = progress.Progress(-1)
        nowhere.say("x")
        self.assertFalse(nowhere.is_there)


class Plans(unittest.TestCase):
    LINE = (
        "2/3 plan=8e1dbfd54ddca1c0 place=4 log=logs/00%20%31.log size=797 first=0 last=0 proof=63fd0123c6a13b1c before=0"
        " from=353 lead=95 to=575 check=2bfb94cdacb0d071"
    )

    def test_fields(self) -> None:
        piece = plan.piece_of(self.LINE)
        self.assertEqual((piece.number, piece.log, piece.begin, piece.end, piece.lead), (2, "logs/00 1.log", 353, 575, 95))
        self.assertEqual((piece.weight, piece.to_end), (222, False))
        last = plan.piece_of(self.LINE.replace(" to=575", ""))
        self.assertEqual((last.end, last.to_end), (797, True))

    def test_sizes_of_pieces(self) -> None:
        self.assertEqual(plan.fitting_size(1 << 20, 4), 64 << 20)
        self.assertEqual(plan.fitting_size(32 << 30, 4), 128 << 20)
        self.assertEqual(plan.fitting_size(1 << 46, 4), 256 << 20)
        self.assertEqual([plan.largest_task(total) for total in (1, 1 << 40, 10**14)], [256 << 20, 256 << 20, 2 * 10**9])

    def test_pieces_of_a_log_are_even(self) -> None:
        for log, size, pieces in ((430, 215, 2), (431, 215, 2), (500, 215, 2), (560, 215, 3), (300, 215, 1), (100, 215, 1)):
            every = plan.even_size(log, size)
            self.assertEqual(-(-log // every), pieces, log)
            self.assertGreater(every * pieces, log - 1)

    def test_what_is_streamed_of_an_address(self) -> None:
        address = Address(1 << 30, b"", True)

        def stretches(fields: str) -> list[tuple[int, int]]:
            return address.stretches(plan.piece_of(f"2/3 log=l size={1 << 30} {fields}"))

        self.assertEqual(stretches(f"from={5 << 20} lead={4 << 20} to={9 << 20}"), [(0, 2 << 20), ((4 << 20) - 4096, 10 << 20)])
        self.assertEqual(stretches("from=9000 lead=8192 to=20000"), [(0, 4096), (4096, 20000 + (1 << 20))])
        self.assertEqual(stretches("from=900 lead=800 to=20000"), [(0, 20000 + (1 << 20))])
        self.assertEqual(stretches(f"from={5 << 20} lead={4 << 20}"), [(0, 2 << 20), ((4 << 20) - 4096, 1 << 30)])
        self.assertEqual(stretches("from=0 lead=0"), [])


class Names(unittest.TestCase):
    def test_links_are_taken_apart(self) -> None:
        with tempfile.TemporaryDirectory() as folder:
            for number, target in enumerate(("/var/log/a.log", "workers:///l/*", "http://h/b.log"), 1):
                os.symlink(target, f"{folder}/{number:06}.log")
            found = logs.logs_in(folder)
            self.assertEqual(found.patterns, ["/l/*"])
            self.assertEqual([log.is_address for log in found.by_path.values()], [False, True])
            self.assertEqual(sorted(os.listdir(folder)), ["000001.log", "000003.log"])
        found.add_of_host("10.0.0.2", "web2", ["/l/x"])
        self.assertEqual(found.host_of("logs/000004.log"), "10.0.0.2")
        self.assertEqual(found.told("logs/000004.log is gone, not logs/000009.log"), "web2:/l/x is gone, not logs/000009.log")


class Rows(unittest.TestCase):
    def add_all(self, came: list[Node], chance: random.Random) -> tuple[int, int, int]:
        """Adds parts that come in this order, sums at any time; how many sums there were, how many parts waited at
        most, and how many were added behind the last one that came."""
        row, parts, ready = Row(max(node[1] for node in came)), {}, []
        left, sums, waited, last = len(came), 0, 0, 0
        while came or ready:
            if ready and (not came or chance.randrange(2)):
                node = ready.pop(chance.randrange(len(ready)))
                parts[node] = [leaf for child in row.sums[node] for leaf in parts.pop(child)]
                sums += 1
            else:
                node, left = came.pop(0), left - 1
                parts[node] = list(range(*node))
            children = row.came(node, left)
            if children:
                self.assertLessEqual(len(children), 16)
                ready.append(row.begin_sum(children))
                last = len(children) if left == 0 else 0
            waited = max(waited, len(parts))
        self.assertEqual(parts, {row.whole: list(range(*row.whole))})
        return sums, waited, last

    def stretches(self, tasks: int, chance: random.Random) -> list[Node]:
        ends = sorted(chance.sample(range(1, 3 * tasks), tasks - 1)) + [3 * tasks]
        return list(zip([0, *ends], ends))

    def test_every_piece_is_added_once_and_in_order(self) -> None:
        for tasks in (1, 2, 3, 16, 17, 255, 256, 257, 1000):
            chance = random.Random(tasks)
            came = self.stretches(tasks, chance)
            chance.shuffle(came)
            self.add_all(came, chance)

    def test_few_parts_wait_when_they_come_nearly_in_order(self) -> None:
        chance = random.Random(1)
        came = self.stretches(10_000, chance)
        for _ in range(3000):
            at = chance.randrange(9_990)
            came[at], came[at + 9] = came[at + 9], came[at]
        sums, waited, last = self.add_all(came, chance)
        self.assertLess(waited, 250)
        self.assertLess(sums, 900)

    def test_one_sum_of_few_is_left_behind_the_last_one(self) -> None:
        for tasks in range(2, 200):
            row = Row(tasks)
            for number in range(tasks):
                added = []
                children = row.came((number, number + 1), tasks - 1 - number)
                while children:
                    added.append(len(children))
                    children = row.came(row.begin_sum(children), tasks - 1 - number)
            self.assertEqual(list(row.begins.values()), [row.whole])
            self.assertEqual(len(added), 1, tasks)
            self.assertLessEqual(added[0], 16, tasks)

    def test_a_lost_part_is_waited_for(self) -> None:
        row = Row(2)
        self.assertEqual(row.came((0, 1), 1), [])
        row.lost((0, 1))
        self.assertEqual(row.came((1, 2), 1), [])
        self.assertEqual(row.came((0, 1), 0), [(0, 1), (1, 2)])

    def test_parts_of_a_sum_that_is_given_up_are_there(self) -> None:
        row = Row(2)
        row.came((0, 1), 1)
        node = row.begin_sum(row.came((1, 2), 0))
        self.assertEqual((node, row.sum_of((1, 2)), row.begins), ((0, 2), (0, 2), {}))
        row.give_up_sum(node)
        self.assertIsNone(row.sum_of((1, 2)))
        row.lost((1, 2))
        self.assertEqual(row.came((1, 2), 0), [(0, 1), (1, 2)])


class Lines(unittest.TestCase):
    def line(self, weights: list[int], most: int) -> Line:
        line = Line("", weights, most)
        line.again(range(len(weights)))
        return line

    def test_no_more_than_fits_is_under_way(self) -> None:
        line = self.line([1] * 1000, 1)
        sent = [line.next(2) for _ in range(10)]
        self.assertEqual(sent, [(0, 1), (1, 2), (2, 3), (3, 4)] + [None] * 6)

    def test_the_oldest_is_waited_for(self) -> None:
        line = self.line([1] * 1000, 1)
        self.assertEqual(line.next(1), (0, 1))
        last = None
        while (node := line.next(1)) is not None:
            last = node
            del line.open[node]
        self.assertEqual(last, (63, 64))
        del line.open[0, 1]
        line.again(range(1))
        self.assertEqual(line.next(1), (0, 1))
        self.assertEqual(line.next(1), (64, 65))

    def take_all(self, line: Line, threads: int) -> list[Node]:
        taken = []
        while (node := line.next(threads)) is not None:
            taken.append(node)
            del line.open[node]
        return taken

    def test_small_pieces_are_counted_together(self) -> None:
        megabyte = 1 << 20
        line = self.line([megabyte] * 100 + [300 * megabyte] + [megabyte] * 10, 64 * megabyte)
        self.assertEqual(self.take_all(line, 1), [(0, 64), (64, 100), (100, 101), (101, 111)])
        self.assertEqual(line.weight, 0)
        self.assertEqual(self.take_all(self.line([1] * 10_000, 64 * megabyte), 1), [(0, 4096), (4096, 8192), (8192, 10_000)])

    def test_tasks_become_smaller_towards_the_end(self) -> None:
        line = self.line([16 << 20] * 1000, 256 << 20)
        sizes = [behind - first for first, behind in self.take_all(line, 8)]
        self.assertEqual(sizes, sorted(sizes, reverse=True))
        self.assertEqual((sizes[0], sizes[-1], sum(sizes)), (16, 2, 1000))

    def test_what_is_counted_alone(self) -> None:
        line = self.line([1] * 8, 100)
        line.alone.update((0, 3, 4))
        self.assertEqual(self.take_all(line, 1), [(0, 1), (1, 3), (3, 4), (4, 5), (5, 8)])
        line.again(range(1, 3))
        line.again(range(6, 8))
        self.assertEqual(self.take_all(line, 1), [(1, 3), (6, 8)])


class FakeFuture:
    def __init__(self, client: FakeClient, inputs: tuple[object, ...], where: list[str] | None) -> None:
        self.status, self.where, self.inputs, self.client = "pending", where, inputs, client
        self.error: Exception | None = None
        self.callback = lambda future: None

    def add_done_callback(self, callback) -> None:  # type: ignore[no-untyped-def]
        self.callback = callback

    def end(self, error: Exception | None = None) -> None:
        self.status, self.error = ("error", error) if error else ("finished", None)
        self.callback(self)

    def exception(self) -> Exception | None:
        return self.error

    def cancel(self) -> None:
        self.status = "cancelled"

    release = cancel


class FakeClient:
    status = "running"

    def __init__(self) -> None:
        self.sent: list[FakeFuture] = []
        self.act = lambda future: future.end()

    def submit(self, function, *inputs, workers=None, **more) -> FakeFuture:  # type: ignore[no-untyped-def]
        self.sent.append(FakeFuture(self, inputs, workers))
        return self.sent[-1]


class Sending(unittest.TestCase):
    def setUp(self) -> None:
        self.client = FakeClient()
        self.errands = Errands(self.client, "run", "tcp://s:1", lambda: None)
        self.workers = Workers(self.client, tasks.start({"name": "run", "arguments": [], "files": {}, "zone": "", "empty": ""}), self.errands.changed)
        self.errands.workers = self.workers
        self.join("a:1", "host-a")
        self.join("b:1", "host-b")

    def join(self, address: str, host: str) -> None:
        self.workers.fit[address] = Worker(address, host, host, 1)
        self.workers.changes += 1
        self.workers.last_seen[host] = time.monotonic()

    def fails(self, address: str) -> RuntimeError:
        return RuntimeError("orvellis", "it is so", address)

    def next_after(self, *endings: Exception | None) -> Outcome:
        """What comes of an errand whose tries end so."""
        for number, ending in enumerate(endings):
            self.client.sent[number].end(ending)
            if number + 1 < len(endings):
                while len(self.client.sent) == number + 1:
                    outcome = self.errands.outcome_of(self.errands.finished.get())
                    self.assertIsNone(outcome)
        return self.errands.next()

    def test_it_is_tried_elsewhere(self) -> None:
        self.errands.send(Errand("x", "count", ()))
        self.assertIsNone(self.client.sent[0].where)
        outcome = self.next_after(self.fails("a:1"), None)
        self.assertEqual(self.client.sent[1].where, ["b:1"])
        self.assertIs(outcome.future, self.client.sent[1])

    def test_it_is_tried_again_thrice(self) -> None:
        self.errands.send(Errand("x", "count", ()))
        outcome = self.next_after(*[self.fails("a:1")] * (1 + MORE_TRIES))
        self.assertEqual(outcome.told("piece 1"), "piece 1 failed 4 times, at last on a:1: it is so")
        self.assertEqual(len(self.client.sent), 4)

    def test_logs_of_a_host_are_tried_there_alone(self) -> None:
        self.errands.send(Errand("x", "count", (), "host-a"))
        self.next_after(*[self.fails("a:1")] * (1 + MORE_TRIES))
        self.assertEqual([future.where for future in self.client.sent], [["a:1"]] * 4)

    def test_a_worker_that_does_not_know_the_run_costs_no_try(self) -> None:
        errand = Errand("x", "count", ())
        self.errands.send(errand)
        self.client.sent[0].end(LookupError("a:1"))
        self.assertIsNone(self.errands.outcome_of(self.errands.finished.get()))
        self.assertNotIn("a:1", self.workers.fit)
        self.assertTrue(self.workers.wanted.is_set())
        self.errands.changed()
        self.assertIsNone(self.errands.finished.get())
        self.errands.send_again()
        self.client.sent[1].end()
        self.assertIs(self.errands.next().errand, errand)
        self.assertEqual(errand.tries, 0)

    def test_what_was_sent_to_workers_that_are_gone_is_sent_again(self) -> None:
        self.errands.send(Errand("x", "count", (), "host-a"))
        del self.workers.fit["a:1"]
        self.join("a:2", "host-a")
        self.errands.send_again()
        self.assertEqual(self.client.sent[0].status, "cancelled")
        self.assertEqual(self.client.sent[1].where, ["a:2"])

    def test_refused_inputs_are_no_reason_to_try_elsewhere(self) -> None:
        self.errands.send(Errand("x", "add", ()))
        outcome = self.next_after(RuntimeError("orvellis", "standard input, part 3 is damaged", "a:1"))
        self.assertEqual((outcome.kind, outcome.errand.tries), ("orvellis", 1))

    def test_workers_that_are_left_out_get_nothing(self) -> None:
        self.workers.unfit["c:1"] = Worker("c:1", "host-c", "host-c", 1, "it counts otherwise")
        self.errands.send(Errand("x", "count", ()))
        self.assertEqual(self.client.sent[0].where, ["a:1", "b:1"])

    def test_a_scheduler_that_is_gone(self) -> None:
        self.client.status = "closed"
        self.errands.send(Errand("x", "count", ()))
        with self.assertRaisesRegex(told.Failure, "tcp://s:1 does not answer"):
            self.errands.next()

    def test_hosts_are_called_by_names_that_tell_them_apart(self) -> None:
        self.assertEqual(self.workers.hosts(), {"host-a": "host-a", "host-b": "host-b"})
        self.workers.fit["c:1"] = Worker("c:1", "10.0.0.3", "host-a", 1)
        self.assertEqual(self.workers.hosts(), {"10.0.0.3": "10.0.0.3", "host-a": "host-a", "host-b": "host-b"} | {"host-a": "host-a"})

    def count_all(self, number: int, act, together: int = 1, missing: bool = False) -> Counting:  # type: ignore[no-untyped-def]
        told_of: list[plan.Piece] = []
        lines = [plan.piece_of(f"{n + 1}/{number} log=logs/000001.log size=100 from={n} to={n + 1}") for n in range(number)]
        paths = logs.Logs([logs.Log("logs/000001.log", "/l")], [])
        counting = Counting(self.errands, self.workers, paths, lines, together * (logs.OPENING + 1), missing, told_of.append)
        sent = 0
        while counting.row.whole not in counting.parts:
            counting.send_pieces()
            for future in self.client.sent[sent:]:
                act(future)
            sent = len(self.client.sent)
            counting.take(self.errands.next())
        self.assertEqual(sorted(piece.number for piece in told_of), list(range(1, number + 1)))
        self.assertEqual(counting.left, 0)
        return counting

    def steps(self) -> Counter[str]:
        return Counter(str(future.inputs[1]) for future in self.client.sent)

    def test_pieces_are_counted_and_added(self) -> None:
        counting = self.count_all(40, lambda future: future.end())
        self.assertEqual(self.steps(), {"count": 40, "add": 4})
        self.assertEqual(list(counting.parts), [counting.row.whole])

    def test_a_damaged_part_is_counted_again(self) -> None:
        damaged = [RuntimeError("orvellis", "standard input, part 2 is damaged", "a:1")]

        def act(future: FakeFuture) -> None:
            future.end(damaged.pop() if future.inputs[1] == "add" and damaged else None)

        self.count_all(20, act)
        self.assertEqual(self.steps(), {"count": 21, "add": 4})

    def pieces_of(self, future: FakeFuture) -> list[int]:
        return [plan.piece_of(line).number for line in str(future.inputs[2]).splitlines()] if future.inputs[1] != "add" else []

    def refuse_thirteen(self, future: FakeFuture) -> None:
        refuses = future.inputs[1] == "count" and 13 in self.pieces_of(future)
        future.end(RuntimeError("orvellis", "the log is gone", "a:1") if refuses else None)

    def test_several_that_fail_are_tried_one_by_one(self) -> None:
        with self.assertRaisesRegex(told.Failure, r"piece 13 of 40 \(/l, bytes 12 to 13\) failed 4 times, .*the log is gone"):
            self.count_all(40, self.refuse_thirteen, together=10)
        tried = [pieces for future in self.client.sent if 13 in (pieces := self.pieces_of(future))]
        self.assertEqual(tried, [list(range(11, 21)), *[[13]] * 4])

    def test_only_the_one_that_fails_is_missing(self) -> None:
        self.count_all(40, self.refuse_thirteen, together=10, missing=True)
        self.assertEqual([self.pieces_of(future) for future in self.client.sent if future.inputs[1] == "missing"], [[13]])
        self.assertEqual(self.steps()["count"], 4 + 10 + MORE_TRIES)

    def test_a_part_that_is_always_damaged_ends_the_run(self) -> None:
        def act(future: FakeFuture) -> None:
            damaged = RuntimeError("orvellis", "standard input is damaged", "a:1")
            future.end(damaged if future.inputs[1] == "add" else None)

        with self.assertRaisesRegex(told.Failure, "piece 1 of 2 .*is damaged"):
            self.count_all(2, act)

    def test_what_a_worker_is_told_of_itself(self) -> None:
        self.assertEqual(
            reason_of('standard input was counted with another program: "1", and not "2"'),
            'it counts with another program: "1", and not "2"',
        )


class Programs(unittest.TestCase):
    """Running the program in a folder of its own."""

    def setUp(self) -> None:
        os.environ["ORVELLIS"] = PROGRAM
        self.run_of = tasks.start(
            {"name": "x", "arguments": ["config=orvellis.conf", "username=report", "edition=modern", "days=all", "find=*", "requests=1"],
             "files": {"orvellis.conf": "user=report;logs=logs/*.log;password=*\n"}, "zone": "UTC", "empty": ""}
        )  # fmt: skip

    def test_a_refusal_is_its_sentence(self) -> None:
        with self.assertRaises(RuntimeError) as caught:
            tasks.run_program(self.run_of, ["merge=-"], {}, [b"no part"])
        self.assertEqual(caught.exception.args, ("orvellis", "standard input is no part"))
        self.assertEqual((self.run_of["active"], self.run_of["children"]), (0, set()))

    def test_nothing_is_started_for_a_run_that_has_ended(self) -> None:
        self.run_of["ended"] = True
        with self.assertRaisesRegex(RuntimeError, "ended"):
            tasks.run_program(self.run_of, ["plan=1K"], {}, [])

    def test_a_worker_needs_nothing_of_this_package(self) -> None:
        """What is sent can be unpacked and done where the package is not."""
        script = (
            "import sys; sys.path.insert(0, %r); import cloudpickle\n"
            "from orvellis_cluster import tasks; tasks.send_by_value()\n"
            "sys.stdout.buffer.write(cloudpickle.dumps((tasks.prepare, tasks.perform)))" % str(SOURCE / "cluster")
        )
        sent = subprocess.run([sys.executable, "-c", script], check=True, capture_output=True).stdout
        receiver = (
            "import sys, pickle; prepare, perform = pickle.load(sys.stdin.buffer)\n"
            "assert 'orvellis_cluster' not in sys.modules and prepare.__name__ == 'prepare'\n"
        )
        subprocess.run([sys.executable, "-c", receiver], input=sent, check=True)
        self.assertLess(len(sent), 64 << 10)


class Streams(unittest.TestCase):
    """With the file system of this machine behind an address."""

    def setUp(self) -> None:
        try:
            import fsspec  # noqa: F401
        except ImportError:
            self.skipTest("python3-fsspec is not installed")
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.path = Path(folder.name) / "log"
        chance = random.Random(1)
        self.path.write_bytes(bytes(chance.randrange(256) for _ in range(300_000)))
        self.bytes = self.path.read_bytes()

    def test_what_is_read(self) -> None:
        address = f"file://{self.path}"
        self.assertEqual(b"".join(streams.whole(address)), self.bytes)
        self.assertEqual(b"".join(streams.whole(address, 1000)), self.bytes[:1000])
        self.assertEqual(b"".join(streams.stretch(address, 777, 200_001)), self.bytes[777:200_001])
        seen = look_at(address)
        self.assertEqual((seen.size, seen.head, seen.divisible), (300_000, self.bytes[: 64 << 10], True))

    def test_windows(self) -> None:
        path = streams.sparse_file(300_000, streams.windows(f"file://{self.path}", 300_000, 150_000))
        try:
            seen = Path(path).read_bytes()
        finally:
            os.unlink(path)
        self.assertEqual(len(seen), 300_000)
        self.assertEqual(seen[:131_072], self.bytes[:131_072])
        self.assertEqual(seen[131_072:150_000], bytes(150_000 - 131_072))
        self.assertEqual(seen[150_000:281_072], self.bytes[150_000:281_072])

    def test_what_is_not_there(self) -> None:
        with self.assertRaisesRegex(told.Failure, f"^cannot read file://{self.path}x: "):
            look_at(f"file://{self.path}x")
        with self.assertRaisesRegex(told.Failure, "^cannot read nothing://x: "):
            look_at("nothing://x")


if __name__ == "__main__":
    unittest.main()
