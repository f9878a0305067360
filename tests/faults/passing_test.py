"""Faults that pass: one system call fails, and all others are made as ever."""

import errno
import os
import re
import shlex

import faults

HEAD = b"# Orvellis "  # how a summary file begins that is finished


class PagePartTest(faults.FaultTest):
    """A page of which one part is lost is no whole page, whichever part it is."""

    @faults.release_only
    def test_each_part_in_turn(self):
        self.write("logs/access0.log", "".join(
            faults.log_line(i, url=f"/{i}/" + "x" * 60) for i in range(400)))
        many = self.parameters("requests=1,400")
        whole = self.run_once(many)
        parts = [number for number, name, file, *_ in self.system_calls(many) if name == "write" and file == 1]
        self.assertGreater(len(parts), 2)
        for part in parts:
            result = self.run_once(many, under=self.under("-f", f"{part}:{errno.ENOSPC}"))
            self.assertEqual(result.status, 2, f"call {part}: {result}")
            self.assertTrue(result.errors.startswith(b"orvellis: the page could not be written"), result)
            self.assertLess(len(result.page), len(whole.page))
        self.expect_same(whole.page, self.run_once(many))
        print(f"{len(parts)} parts")


class LogReadTest(faults.FaultTest):
    """A read that a signal interrupts is made again."""

    SIZES = 1 << 12, 1 << 16  # of the pieces that lines are read from

    @faults.release_only
    def test_each_read_in_turn(self):
        self.make_logs(files=2)
        expected = self.undisturbed()
        reads = [number for number, name, _, size, _ in self.system_calls() if name == "pread" and size in self.SIZES]
        self.assertGreater(len(reads), 3)
        for read in reads:
            self.forget_summaries()
            self.expect_same(expected, self.run_once(under=self.under("-f", f"{read}:{errno.EINTR}")), f"call {read}")
            self.expect_same(expected, self.run_once(), f"after call {read}")


class SummaryCallTest(faults.FaultTest):
    """Each call that the writing of a summary file makes fails in turn: the file that is found afterwards is
    the old one, or the new one, or one that says that it is not finished."""

    NAMED = "open", "read", "pread", "write", "pwrite", "close", "rename", "truncate", "lock", "chmod", "chown", "sync"
    ERRORS = errno.ENOSPC, errno.EIO, errno.EPERM

    def setUp(self):
        super().setUp()
        self.make_many_logs()
        self.write("orvellis.conf", self.configuration("logs=logs/[as]*;summary=0"))
        self.summary = self.path("logs/0.ORV")

    def read_summary(self):
        with open(self.summary, "rb") as file:
            return file.read()

    def lines_of(self, content):
        """In any order, as entries may stand, and without what shows the present moment."""
        return sorted(line for line in content.splitlines() if not line.startswith(b"# Last updated"))

    def kind_of(self, found, old, new):
        if not found.startswith(HEAD):
            return "unfinished"
        lines = self.lines_of(found)
        return "new" if lines == self.lines_of(new) else "old" if lines == self.lines_of(old) else "damaged"

    def put_back(self, content):
        with open(self.summary, "wb") as file:
            file.write(content)

    def writing_calls(self):
        """The calls from the one that opens a file to write it to the last that closes it."""
        calls = self.system_calls()
        creating = os.O_WRONLY | os.O_CREAT
        first = next(number for number, name, _, flags, _ in calls
                     if name == "open" and flags & creating == creating)
        finished = next(number for number, name, *_ in calls if number > first and name in ("rename", "pwrite"))
        last = next(number for number, name, *_ in calls if number > finished and name == "close")
        return [(number, name) for number, name, *_ in calls if first <= number <= last and name in self.NAMED]

    def make_states(self):
        expected = self.expect_report(self.run_once())
        new = self.read_summary()
        old = new + b"1,1,1,logs/gone\n"  # makes each run write
        self.put_back(old)
        return expected, old, new

    def fail_each_call(self, allowed):
        expected, old, new = self.make_states()
        kinds = set()
        calls = self.writing_calls()
        for call, name in calls:
            for error in self.ERRORS:
                what = f"{name}, call {call}, error {error}"
                self.put_back(old)
                result = self.run_once(under=self.under("-f", f"{call}:{error}"))
                self.expect_same(expected, result, what)
                kind = self.kind_of(self.read_summary(), old, new)
                kinds.add(kind)
                self.assertIn(kind, allowed, f"{what}: {self.read_summary()[-300:]!r}")
                left = [hidden for hidden in os.listdir(self.path("logs")) if hidden.startswith(".")]
                # One that could not even be emptied is left to the next run that writes.
                self.assertTrue(left == [] or name == "truncate", f"{what}: {left}")
                self.expect_same(expected, self.run_once(), f"after {what}")
                self.assertEqual(self.kind_of(self.read_summary(), old, new), "new", f"after {what}")
                self.remove_left(left)
        print(f"{len(calls)} calls")
        self.assertEqual(kinds, allowed)

    def remove_left(self, names):
        for name in names:
            if os.path.exists(self.path("logs/" + name)):
                os.remove(self.path("logs/" + name))

    @faults.release_only
    def test_new_file_in_its_place(self):
        self.fail_each_call({"old", "new"})

    @faults.release_only
    def test_in_place(self):
        self.write("elsewhere", "")
        os.symlink("../elsewhere", self.summary)
        self.fail_each_call({"old", "new", "unfinished"})

    @faults.release_only
    def test_where_files_cannot_be_locked(self):
        # There is nobody to wait for: the file is written, and read, all the same.
        expected, old, new = self.make_states()
        reading, writing = [number for number, name, *_ in self.system_calls() if name == "lock"]
        for lock in reading, writing:
            self.put_back(old)
            self.expect_same(expected, self.run_once(under=self.under("-f", f"{lock}:{errno.ENOLCK}")), f"call {lock}")
            self.assertEqual(self.kind_of(self.read_summary(), old, new), "new", f"call {lock}")
        # A log that is said to be outside of the range is left out.
        self.put_back(re.sub(rb"\n([0-9]+),[0-9]+,[0-9]+,", rb"\n\1,1,1,", new, count=1))
        misled = self.run_once()
        self.assertNotEqual(misled.page, expected)
        self.expect_same(misled.page, self.run_once(under=self.under("-f", f"{reading}:{errno.ENOLCK}")))

    @faults.release_only
    def test_temporary_file_that_is_renamed_meanwhile(self):
        # Between opening and locking it: what was opened is the summary file by then, and another run has
        # begun a temporary file of its own.
        expected, old, new = self.make_states()
        writing = [number for number, name, *_ in self.system_calls() if name == "lock"][-1]
        self.put_back(new)
        os.rename(self.summary, self.path("finished"))
        self.put_back(old)
        others = "cat finished >logs/.0.ORV.new && mv logs/.0.ORV.new logs/0.ORV && : >logs/.0.ORV.new"
        meanwhile = f"cd {shlex.quote(self.folder)} && {others}"
        self.expect_same(expected, self.run_once(under=self.under("-a", str(writing), meanwhile)))
        self.assertEqual(self.kind_of(self.read_summary(), old, new), "new")

    @faults.release_only
    def test_another_run_is_killed_before_the_rename(self):
        # Who is about to give the temporary file its name is alone with it to the end.
        expected, old, new = self.make_states()
        calls = self.writing_calls()
        rename = next(number for number, name in calls if name == "rename")
        program = shlex.join([faults.PROGRAM, *self.parameters()])
        for call, _ in calls:
            self.put_back(old)
            killed = shlex.join(self.under("-k", str(call)))
            other = f"cd {shlex.quote(self.folder)} && {{ {killed} {program} >other; true; }}"
            self.expect_same(expected, self.run_once(under=self.under("-a", str(rename), other)), f"call {call}")
            self.assertEqual(self.kind_of(self.read_summary(), old, new), "new", f"killed at call {call}")
        print(f"{len(calls)} moments")


if __name__ == "__main__":
    faults.main()
