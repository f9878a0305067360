"""64 copies at once on one account, over logs that change: each report is that of one run alone."""

import os
import shlex
import shutil

import faults

COPIES = 64


class CopiesTest(faults.FaultTest):
    def alone(self):
        """The report over the logs as they are, and what a summary file tells of them: both made beside
        them by a run that knows nothing from earlier ones."""
        shutil.copytree(self.path("logs"), self.path("alone/logs"),
                        ignore=lambda folder, names: [name for name in names if "ORV" in name])
        for name in "orvellis.conf", "names":
            shutil.copy(self.path(name), self.path("alone"))
        page = self.expect_report(self.run_once(cwd=self.path("alone")))
        entries = self.entries("alone/logs")
        shutil.rmtree(self.path("alone"))
        return page, entries


class ManyCopiesTest(CopiesTest):
    def setUp(self):
        super().setUp()
        self.make_logs(files=6, lines=40)
        self.write("logs/current.log", faults.made_up_lines(7, 20 * faults.DAY, 600, 5))
        self.write("orvellis.conf", self.configuration("logs=logs/access*.log;AccessLog=logs/current.log"))

    def changes(self):
        """What happens to the logs from one round to the next."""
        self.write("logs/access7.log", faults.made_up_lines(70, 7 * faults.DAY, faults.DAY, 30))  # a new one
        yield "new"
        self.write("logs/access2.log", faults.made_up_lines(71, 3 * faults.DAY, faults.DAY // 2, 9), "a")
        yield "grown"
        os.rename(self.path("logs/current.log"), self.path("logs/access8.log"))
        self.write("logs/current.log", faults.made_up_lines(72, 21 * faults.DAY, 600, 8))
        yield "rotated"
        os.remove(self.path("logs/access0.log"))
        yield "deleted"
        self.write("logs/access3.log", faults.made_up_lines(73, 4 * faults.DAY, faults.DAY, 11))
        yield "replaced"

    def rounds(self, with_summary=True):
        for change in "first", *self.changes():
            expected, entries = self.alone()
            for copy in [self.start() for _ in range(COPIES)]:
                self.expect_same(expected, self.finish(copy), change)
            self.assertEqual(self.summaries(), ["accesss_log.ORV"], change)
            if with_summary:
                self.assertEqual(self.entries(), entries, change)
            self.expect_same(expected, self.run_once(), f"later, {change}")

    def test_with_a_summary_file(self):
        self.rounds()

    def test_with_a_summary_file_written_in_place(self):
        self.write("elsewhere", "")
        os.symlink("../elsewhere", self.path("logs/accesss_log.ORV"))
        self.rounds()

    def test_without_a_summary_file(self):
        os.mkdir(self.path("logs/accesss_log.ORV"))  # nothing can be kept there
        self.rounds(with_summary=False)

    def test_while_the_current_log_grows(self):
        # Whole records arrive while the copies run: each report is that of the log at some moment.
        more = faults.made_up_lines(74, 20 * faults.DAY + 600, 600, 24).splitlines(keepends=True)
        pages = [self.alone()[0]]
        before = self.read("logs/current.log").decode()
        for record in more:
            self.write("logs/current.log", record, "a")
            pages.append(self.alone()[0])
        self.write("logs/current.log", before)
        results = []
        copies = []
        for record in more:
            copies += [self.start() for _ in range(3)]
            self.write("logs/current.log", record, "a")
            if len(copies) > 24:
                results.append(self.finish(copies.pop(0)))
        results += [self.finish(copy) for copy in copies]
        for result in results:
            self.assertEqual(result.status, 0, result)
            self.assertIn(result.page, pages)
        seen = {pages.index(result.page) for result in results}
        self.assertGreater(len(seen), 1)
        self.expect_same(pages[-1], self.run_once())
        self.expect_same(pages[-1], self.run_once())
        print(f"{len(results)} copies, {len(seen)} states seen")


class TwoCopiesTest(CopiesTest):
    """While one run waits at each moment in turn of reading and writing the summary file, a log grows and
    another run begins and ends."""

    GROWN = f"logs/{faults.LONG_NAME}3.log"
    CALLS = "open", "read", "pread", "write", "close", "lock", "truncate", "rename"

    def setUp(self):
        super().setUp()
        self.make_many_logs()
        self.write("orvellis.conf", self.configuration("logs=logs/[as]*;summary=0"))
        self.small = self.read(self.GROWN)

    def put_back(self):
        with open(self.path(self.GROWN), "wb") as log:
            log.write(self.small)
        with open(self.summary, "wb") as summary:
            summary.write(self.known)

    def moments(self):
        """The calls up to the last that touches the summary file, less those that look at logs."""
        self.put_back()
        calls = self.system_calls()
        creating = os.O_WRONLY | os.O_CREAT
        first = next(number for number, name, _, flags, _ in calls
                     if name == "open" and flags & creating == creating)
        return [number for number, name, *_ in calls if name in self.CALLS and number < first + 20]

    def two_at_once(self):
        before = self.alone()[0]
        self.expect_same(before, self.run_once())
        with open(self.summary, "rb") as summary:
            self.known = summary.read() + b"1,1,1,logs/gone\n"  # makes each run write
        moments = self.moments()
        self.write("grown", faults.made_up_lines(5, 25 * faults.DAY, faults.DAY, 40))
        run = shlex.join([faults.PROGRAM, *self.parameters()])
        grow_and_run = f"cd {shlex.quote(self.folder)} && cat grown >>{self.GROWN} && exec {run} >other"
        self.put_back()
        self.write(self.GROWN, self.read("grown").decode(), "a")
        after = self.alone()
        for moment in moments:
            self.put_back()
            one = self.run_once(under=self.under("-a", str(moment), grow_and_run))
            self.assertEqual(one.status, 0, one)
            self.assertIn(one.page, (before, after[0]), f"the one, at call {moment}")
            self.expect_same(after[0], faults.Result(0, self.read("other")), f"the other, at call {moment}")
            self.expect_same(after[0], self.run_once(), f"a later one, at call {moment}")
            self.assertEqual(self.entries(), after[1], f"at call {moment}")
        print(f"{len(moments)} moments")

    @faults.release_only
    def test_with_a_summary_file(self):
        self.summary = self.path("logs/0.ORV")
        self.two_at_once()

    @faults.release_only
    def test_with_a_summary_file_written_in_place(self):
        self.summary = self.path("elsewhere")
        self.write("elsewhere", "")
        os.symlink("../elsewhere", self.path("logs/0.ORV"))
        self.two_at_once()


if __name__ == "__main__":
    faults.main()
