"""Limits of file descriptors, of time and of stack."""

import os
import resource
import signal

import faults


class LimitsTest(faults.FaultTest):
    def test_file_descriptors(self):
        self.make_logs(files=3)
        expected = self.undisturbed()
        self.run_once()
        known = self.entries()
        outcomes, written = {}, {}
        for limit in range(3, 12):
            self.forget_summaries()
            result = self.run_once(limits={resource.RLIMIT_NOFILE: limit})
            if result.status == 127:
                continue  # the system itself could not load the program's libraries
            self.assertEqual(result.status, 0, result)
            # No configuration without a descriptor for it; with two of them all is as ever.
            error = result.status == 0 and b"Error #9" in result.page
            outcomes[limit] = "error 9" if error else "correct"
            if not error:
                self.expect_same(expected, result, limit)
                written[limit] = self.entries() == known
            self.expect_same(expected, self.run_once(), limit)
        print(outcomes)
        self.assertTrue(all(outcomes[limit] == "correct" and written[limit] for limit in range(5, 12)),
                        (outcomes, written))

    def test_cpu_time(self):
        # A huge log of few bytes on the disk, which takes longer than a second. Its first and last dates
        # are found at once: the summary file has been written when the time is over.
        self.make_logs(files=2)
        expected = self.undisturbed()
        line = faults.log_line(9 * faults.DAY, url="/first.html")
        path = self.write("logs/access9.log", line)
        os.truncate(path, 1 << 37)
        self.write("logs/access9.log", "\n" + faults.log_line(20 * faults.DAY, url="/the/last.html"), "a")
        result = self.run_once(limits={resource.RLIMIT_CPU: 1})
        self.assertIn(result.status, (-signal.SIGXCPU, -signal.SIGKILL))
        self.assertFalse(result.is_complete())
        self.assertEqual([name for name in os.listdir(self.path("logs")) if name.startswith(".")], [])
        # What it has left does not mislead when the log is a small one again.
        self.assertIn("logs/access9.log", "".join(self.entries()))
        os.truncate(path, len(line))
        known, entries = self.run_once(), self.entries()
        self.forget_summaries()
        self.expect_same(self.expect_report(self.run_once()), known)
        self.assertEqual(self.entries(), entries)
        os.remove(path)
        self.expect_same(expected, self.run_once())

    def test_stack(self):
        # All that a run needs, and a list of 100,000 keys to sort besides.
        self.write("logs/access0.log", "".join(
            faults.log_line(i // 2, url=f"/{i * 7919 % 100003}", host=f"h{i}.example.com") for i in range(100000)))
        expected = self.undisturbed()
        smallest = None
        for kib in (4096, 1024, 512, 256, 192, 128, 96, 64):
            result = self.run_once(limits={resource.RLIMIT_STACK: kib << 10})
            if result.status != 0:
                break
            self.expect_same(expected, result, f"{kib} KiB")
            smallest = kib
        print(f"works with a stack of {smallest} KiB")
        self.assertLessEqual(smallest, 1024 if faults.SANITIZED else 256)


if __name__ == "__main__":
    faults.main()
