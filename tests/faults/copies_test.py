"""64 copies at once on one account, over logs that change: each report is that of one run alone."""

import os
import shutil
import time

import faults

COPIES = 64


class CopiesTest(faults.FaultTest):
    def setUp(self):
        super().setUp()
        self.make_logs(files=6, lines=40)
        self.write("logs/current.log", faults.made_up_lines(7, 20 * faults.DAY, 600, 5))
        self.write("orvellis.conf", self.configuration("logs=logs/access*.log;AccessLog=logs/current.log"))

    def alone(self):
        """The report over the logs as they are, made beside them without a summary file."""
        shutil.copytree(self.path("logs"), self.path("alone/logs"),
                        ignore=lambda folder, names: [name for name in names if "ORV" in name])
        for name in "orvellis.conf", "names":
            shutil.copy(self.path(name), self.path("alone"))
        page = self.expect_report(self.run_once(cwd=self.path("alone")))
        shutil.rmtree(self.path("alone"))
        return page

    def start_copies(self):
        return [self.start() for _ in range(COPIES)]

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

    def rounds(self, may_know):
        for change in "first", *self.changes():
            expected = self.alone()
            for copy in self.start_copies():
                self.expect_same(expected, self.finish(copy), change)
            self.expect_same(expected, self.run_once(), f"later, {change}")
            summaries = [name for name in os.listdir(self.path("logs")) if "ORV" in name]
            self.assertEqual(summaries, ["accesss_log.ORV"] if may_know is not None else [])
            if may_know:
                self.assertIn(b"logs/access1.log", self.read("logs/accesss_log.ORV"))

    def test_with_a_summary_file(self):
        self.rounds(may_know=True)

    def test_with_a_summary_file_written_in_place(self):
        self.write("elsewhere", "")
        os.symlink("../elsewhere", self.path("logs/accesss_log.ORV"))
        self.rounds(may_know=True)

    def test_without_a_summary_file(self):
        os.mkdir(self.path("logs/accesss_log.ORV"))  # nothing can be kept there
        self.rounds(may_know=False)

    def test_while_the_current_log_grows(self):
        # Whole records arrive while the copies run: each report is that of the log at some moment.
        more = faults.made_up_lines(74, 20 * faults.DAY + 600, 600, 24).splitlines(keepends=True)
        pages = [self.alone()]
        before = self.read("logs/current.log").decode()
        for record in more:
            self.write("logs/current.log", record, "a")
            pages.append(self.alone())
        self.write("logs/current.log", before)
        seen = set()
        copies = []
        for number, record in enumerate(more):
            copies += [self.start() for _ in range(3)]
            self.write("logs/current.log", record, "a")
            if number % 8 == 7:
                time.sleep(0.02)
        for copy in copies:
            result = self.finish(copy)
            self.assertEqual(result.status, 0, result)
            self.assertIn(result.page, pages)
            seen.add(pages.index(result.page))
        self.assertGreater(len(seen), 1)
        self.expect_same(pages[-1], self.run_once())
        self.expect_same(pages[-1], self.run_once())
        print(f"{len(copies)} copies, {len(seen)} states seen")


if __name__ == "__main__":
    faults.main()
