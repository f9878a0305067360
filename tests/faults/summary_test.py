"""Killed at any moment of writing the summary file: the next run's report is right all the same.

1,000 moments, drawn by chance but the same in every run: before each system call from the first
that touches the summary file on, and after any number of bytes of each write.
"""

import os
import random

import faults

MOMENTS = 1000


class SummaryTest(faults.FaultTest):
    def setUp(self):
        super().setUp()
        self.make_many_logs()
        self.write("orvellis.conf", self.configuration("logs=logs/*"))
        self.chance = random.Random(2000)

    def write_stages(self):
        """The folder as successive runs find it: all logs new, one grown, two gone and one new."""
        name = f"logs/{faults.LONG_NAME}7.log"

        def grow():
            self.write(name, faults.log_line(25 * faults.DAY, url="/grown.html"), "a")

        def rotate():
            os.remove(self.path("logs/same.1"))
            os.remove(self.path(f"logs/{faults.LONG_NAME}3.log"))
            self.write("logs/same.new", faults.log_line(26 * faults.DAY, url="/1x"))

        return [lambda: None, grow, rotate]

    def moments(self):
        """[(number of a call, bytes of it or None)] of a run that writes the summary file."""
        calls = self.system_calls(cwd=self.folder)
        creating = os.O_WRONLY | os.O_CREAT
        first = next(number for number, name, _, flags, _ in calls
                     if name == "open" and flags & creating == creating)
        moments = []
        for number, name, file, size, _ in calls:
            if number >= first:
                moments.append((number, None))
                if name == "write" and file > 2:
                    moments.extend((number, count) for count in range(1, size + 1))
        return moments, calls[-1][0]

    def put_back(self, content):
        """Makes the summary file what it was; None: none."""
        if content is None:
            self.forget_summaries()
        else:
            with open(self.summary, "wb") as file:
                file.write(content)

    def kill_at_moments(self, count):
        kinds = set()
        for stage in self.write_stages():
            before = self.read_summary()
            stage()
            known = self.read_summary()
            self.put_back(None)
            expected = self.expect_report(self.run_once())
            after = self.read_summary()
            self.put_back(known)
            moments, _ = self.moments()
            self.assertNotEqual(self.read_summary(), before)
            for number in range(count // 3 + 1):
                self.put_back(self.chance.choice([known, known, after]) if number % 9 == 8 else known)
                call, size = self.chance.choice(moments)
                # Half of the moments between the calls, which are few beside the bytes written.
                if self.chance.random() < 0.5:
                    call, size = self.chance.choice([moment for moment in moments if moment[1] is None])
                at = f"{call}" if size is None else f"{call}:{size}"
                killed = self.run_once(under=self.under("-k", at))
                self.assertIn(killed.status, (0, 137), killed)
                kinds.add(killed.status)
                self.kills += killed.status == 137
                left = os.listdir(self.path("logs"))
                self.assertLessEqual(sum(name.startswith(".") for name in left), 1, left)
                self.expect_same(expected, self.run_once(), f"killed at {at}")
            self.put_back(None)
            self.run_once()
            left = [name for name in os.listdir(self.path("logs")) if name.startswith(".")]
            self.assertEqual(left, [])
        self.assertIn(137, kinds)

    def read_summary(self):
        try:
            with open(self.summary, "rb") as file:
                return file.read()
        except FileNotFoundError:
            return None

    def forget_summaries(self):
        super().forget_summaries()
        if os.path.islink(self.path("logs/s.ORV")):
            os.remove(self.path("logs/s.ORV"))

    def put_summary(self, path):
        self.summary = self.path(path)
        self.kills = 0

    @faults.release_only
    def test_new_file_in_its_place(self):
        self.put_summary("logs/s.ORV")
        self.kill_at_moments(MOMENTS // 2)
        print(f"{self.kills} kills")
        self.assertGreater(self.kills, MOMENTS * 2 // 5)

    @faults.release_only
    def test_in_place(self):
        # A link stays a link: what it points to is written where it is.
        self.put_summary("elsewhere")
        os.symlink("../elsewhere", self.path("logs/s.ORV"))
        self.forget_summaries = lambda: self.write("elsewhere", "")
        self.kill_at_moments(MOMENTS // 2)
        print(f"{self.kills} kills")
        self.assertGreater(self.kills, MOMENTS * 2 // 5)

    @faults.release_only
    def test_killed_again_and_again(self):
        # What killed runs leave behind does not pile up, nor is it in the way of those that live.
        self.put_summary("logs/s.ORV")
        expected = self.undisturbed()
        moments, _ = self.moments()
        self.put_back(None)
        for _ in range(40):
            call, size = self.chance.choice(moments)
            self.run_once(under=self.under("-k", f"{call}" if size is None else f"{call}:{size}"))
            hidden = [name for name in os.listdir(self.path("logs")) if name.startswith(".")]
            self.assertLessEqual(len(hidden), 1, hidden)
        self.expect_same(expected, self.run_once())


if __name__ == "__main__":
    faults.main()
