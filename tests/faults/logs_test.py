"""Logs that change while they are read, and names that are no logs at all."""

import fcntl
import os
import shlex
import socket
import struct
import subprocess
import termios
import time

import faults

# What a run reads of a log at once.
WINDOW = 1 << 16


class ChangingLogsTest(faults.FaultTest):
    """Every change is made before each call in turn that opens, reads or lists something."""

    def setUp(self):
        super().setUp()
        self.make_logs(files=3, lines=20)
        self.write("logs/access1.log", "".join(
            faults.log_line(faults.DAY + i, url=f"/page{i % 10}.html", host=f"h{i % 50}.example.com", size=100)
            for i in range(6000)))
        self.assertGreater(os.path.getsize(self.path("logs/access1.log")), 8 * WINDOW)
        self.undisturbed()
        subprocess.run(["cp", "-R", "logs", "before"], cwd=self.folder, check=True)
        self.beginnings = set()

    def put_back(self):
        subprocess.run("rm -rf logs && cp -R before logs", cwd=self.folder, shell=True, check=True)

    def pages_of_states(self, change):
        """What the reports of the logs before and after the change look like."""
        self.put_back()
        before = self.undisturbed()
        subprocess.run(change, cwd=self.folder, shell=True, check=True)
        after = self.run_once()
        self.put_back()
        return before, after.page

    def change_at_each_call(self, change, check):
        before, after = self.pages_of_states(change)
        calls = [number for number, name, *_ in self.system_calls() if name in ("open", "pread", "list")]
        seen = set()
        for call in calls:
            self.put_back()
            result = self.run_once(under=self.under("-a", str(call), f"cd {shlex.quote(self.folder)} && {change}"))
            self.assertEqual(result.status, 0, f"{change} at call {call}: {result}")
            self.assertTrue(result.is_complete(), result)
            kind = "before" if result.page == before else "after" if result.page == after else "between"
            if kind == "between":
                check(result, call)
            seen.add(kind)
            # What it found out about the logs does not mislead the next one.
            known, entries = self.run_once(), self.entries()
            self.forget_summaries()
            self.expect_same(self.run_once().page, known, f"after {change} at call {call}")
            self.assertEqual(self.entries(), entries, f"after {change} at call {call}")
        print(f"{change}: {len(calls)} moments, {sorted(seen)}")
        return seen

    def pages_of_beginnings(self):
        """The pages over so many windows of the log that changes, and over all of the other logs."""
        pages = set()
        self.put_back()
        log = self.read("logs/access1.log")
        for end in range(0, len(log), WINDOW):
            self.write("logs/access1.log", log[:end].decode())
            pages.add(self.undisturbed())
        return pages

    def expect_beginning(self, result, call):
        if result.page not in self.beginnings:
            self.fail(f"not the page of a beginning of the log, at call {call}: {result.hits()} requests")

    @faults.release_only
    def test_log_that_grows(self):
        # Whole records are added; each report holds all or none of them.
        self.write("more", "".join(
            faults.log_line(faults.DAY + 7000 + i, url="/added.html", size=100) for i in range(3000)))
        seen = self.change_at_each_call("cat more >>logs/access1.log", self.fail_between)
        self.assertEqual(seen, {"before", "after"})

    def fail_between(self, result, call):
        self.fail(f"a page of neither state at call {call}: {result}")

    @faults.release_only
    def test_log_that_is_rotated(self):
        # The file goes on under another name, and a new one takes its place. A run sees each file
        # under one name or both, or a name whose file has just gone; no record counts twice but by
        # its file's second name.
        self.write("new", "".join(faults.log_line(3 * faults.DAY + i, url="/new.html") for i in range(30)))
        whole, part = 6000, 30

        def check(result, call):
            hits = result.hits() if b"HTTP Requests" in result.page else 0
            self.assertIn(hits, {40 + a * whole + b * part for a in (0, 1) for b in (0, 1)}, f"call {call}")

        self.change_at_each_call("mv logs/access1.log logs/access1.log.1 && cp new logs/access1.log", check)

    @faults.release_only
    def test_log_that_is_cut_and_begun_anew(self):
        # A copy is rotated, and the server writes on into the file that was cut: nothing of what
        # it writes now is taken for the continuation of what was read before.
        self.write("new", "".join(faults.log_line(faults.DAY + i, url="/new.html") for i in range(20)))
        self.beginnings = self.pages_of_beginnings()
        seen = self.change_at_each_call("cat new >logs/access1.log", self.expect_beginning)
        self.assertIn("between", seen)

    @faults.release_only
    def test_log_that_is_emptied(self):
        self.beginnings = self.pages_of_beginnings()
        seen = self.change_at_each_call(": >logs/access1.log", self.expect_beginning)
        self.assertIn("between", seen)

    @faults.release_only
    def test_log_that_is_replaced(self):
        self.write("new", "".join(faults.log_line(i, url="/new.html") for i in range(50)))

        def check(result, call):
            self.assertIn(result.hits(), (40, 90, 6040), f"call {call}")

        seen = self.change_at_each_call("cp new logs/new.tmp && mv logs/new.tmp logs/access1.log", check)
        self.assertLessEqual({"before", "after"}, seen)

    @faults.release_only
    def test_log_that_is_deleted(self):
        def check(result, call):
            # Found and gone before it was opened: the probe says so.
            self.assertEqual(result.hits(), 40, call)

        seen = self.change_at_each_call("rm logs/access1.log", check)
        self.assertLessEqual({"before", "after"}, seen)

    @faults.release_only
    def test_logs_that_become_something_else(self):
        for change in ("rm logs/access1.log && mkfifo logs/access1.log",
                       "rm logs/access1.log && mkdir logs/access1.log",
                       "rm logs/access1.log && ln -s /dev/zero logs/access1.log",
                       "rm -r logs"):
            # Whatever is counted: the run ends with a whole page.
            self.change_at_each_call(change, lambda result, call: None)


class NoLogsTest(faults.FaultTest):
    """No run waits for anything that a name may stand for."""

    def setUp(self):
        super().setUp()
        self.make_logs(files=2)
        self.expected = self.undisturbed()
        self.held = []

    def tearDown(self):
        for file in self.held:
            os.close(file)

    def make_strange_files(self, folder):
        """One of each kind; returns their paths."""
        os.makedirs(self.path(folder), exist_ok=True)
        names = {kind: f"{folder}/access.{kind}.log" for kind in (
            "folder", "pipe", "silent", "half", "socket", "zero", "full", "terminal", "random", "loop", "nowhere",
            "locked")}
        os.mkdir(self.path(names["folder"]))
        for kind in "pipe", "silent", "half":
            os.mkfifo(self.path(names[kind]))
        # A writer that says nothing, and one that stops in the middle of a line.
        for kind, text in ("silent", b""), ("half", faults.log_line(5, url="/pipe").encode()[:-9]):
            file = os.open(self.path(names[kind]), os.O_RDWR)
            os.write(file, text)
            self.held.append(file)
        server = socket.socket(socket.AF_UNIX)
        self.addCleanup(server.close)
        here = os.getcwd()
        os.chdir(self.path(folder))
        server.bind("access.socket.log")
        os.chdir(here)
        server.listen()
        master, slave = os.openpty()
        self.held += [master, slave]
        for kind, target in (("zero", "/dev/zero"), ("full", "/dev/full"), ("terminal", os.ttyname(slave)),
                             ("random", "/dev/urandom"), ("loop", "access.loop.log"), ("nowhere", "no/such/file")):
            os.symlink(target, self.path(names[kind]))
        self.write(names["locked"], faults.log_line(5, url="/locked"))
        os.chmod(self.path(names["locked"]), 0)
        return names

    def test_matched_by_the_pattern(self):
        names = self.make_strange_files("logs")
        os.remove(self.path(names["locked"]))  # which root may read
        for account in "logs=logs/access*.log", "logs=logs/access*.log;AccessLog=logs/access*.log":
            self.write("orvellis.conf", self.configuration(account))
            result = self.run_once()
            self.expect_report(result)
            # What cannot be opened is named above a report that is otherwise the same.
            page = b"".join(line for line in result.page.splitlines(keepends=True)
                            if not line.startswith(b"ERROR: couldn't open log file"))
            self.assertEqual(page.replace(b'text="#000000">\n', b'text="#000000">'), self.expected.replace(
                b'text="#000000">\n', b'text="#000000">'))
            for kind in "socket", "loop", "nowhere":
                self.assertIn(f"ERROR: couldn't open log file {names[kind]}.<p>".encode(), result.page)

    def test_log_that_may_not_be_read(self):
        self.write("logs/access9.log", faults.log_line(5, url="/locked"))
        os.chmod(self.path("logs/access9.log"), 0)
        user = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
        done = subprocess.run([faults.PROGRAM, *self.parameters()], cwd=self.folder, env={"TZ": "UTC"},
                              capture_output=True, timeout=faults.HANG, check=False, **user)
        page = faults.Result(done.returncode, done.stdout).page
        error = b"ERROR: couldn't open log file logs/access9.log.<p>\n"
        self.assertIn(error, page)
        self.assertEqual(page.replace(error, b""), self.expected)

    def each_of_the_strange(self, use):
        """Puts each strange file where use(path, kind) wants it; the run must end and be complete."""
        for kind, path in self.make_strange_files("strange").items():
            self.forget_summaries()
            result = use(path, kind)
            self.assertIn(result.status, (0,), (kind, result))
            self.assertTrue(result.is_complete(), (kind, result))

    def test_as_configuration(self):
        def posted(path, kind):
            form = f"config={path}&username=demo".encode()
            self.write("form", form.decode())
            with open(self.path("form"), "rb") as stream:
                return self.run_once([], stdin=stream, environment={
                    "REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(form))})

        self.each_of_the_strange(posted)

    def test_as_configuration_shown(self):
        self.write("orvellis.conf", self.configuration(keys="RemoteDebugEnabled=1\n"))

        def shown(path, kind):
            form = f"config={path}".encode()
            self.write("form", form.decode())
            with open(self.path("form"), "rb") as stream:
                return self.run_once([], stdin=stream, environment={
                    "REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(form)), "QUERY_STRING": "remotedebug"})

        for kind, path in self.make_strange_files("strange").items():
            result = shown(path, kind)
            self.assertEqual(result.status, 0, (kind, result))

    def test_as_password_file(self):
        def use(path, kind):
            self.write("orvellis.conf", f"UserPasswords={path}\n"
                       "user=demo;url=http://www.example.com;logs=logs/access*.log\n")
            result = self.run_once(self.parameters("password=x"))
            self.assertRegex(result.page, b"Error #(2|10)", kind)
            return result

        self.each_of_the_strange(use)

    def test_as_names_file(self):
        self.write("names", "")
        expected = self.undisturbed()

        def use(path, kind):
            self.write("orvellis.conf", self.configuration().replace("Networks=names", f"Networks={path}"))
            result = self.run_once()
            if kind != "locked":
                self.expect_same(expected, result, kind)
            return result

        self.each_of_the_strange(use)

    def test_as_error_log(self):
        def use(path, kind):
            if kind == "half":  # a pipe that is full
                os.set_blocking(self.held[1], False)
                try:
                    while True:
                        os.write(self.held[1], b"x" * 4096)
                except BlockingIOError:
                    pass
            self.write("orvellis.conf", self.configuration().replace("ErrorLog=errors.log", f"ErrorLog={path}"))
            result = self.run_once(["username=nobody"])
            self.assertIn(b"Error #2", result.page, kind)
            return result

        self.each_of_the_strange(use)

    def test_as_summary_file(self):
        def use(path, kind):
            os.symlink(self.path(path), self.path("logs/accesss_log.ORV"))
            for _ in range(2):
                result = self.run_once()
                self.expect_same(self.expected, result, kind)
            return result

        self.each_of_the_strange(use)

    def test_summary_file_itself_strange(self):
        # The file, and the one that is written to take its place.
        names = self.make_strange_files("strange")
        for place in "logs/accesss_log.ORV", "logs/.accesss_log.ORV.new":
            for kind, path in names.items():
                if kind not in ("loop", "locked"):
                    self.forget_summaries()
                    os.rename(self.path(path), self.path(place))
                    for _ in range(2):
                        self.expect_same(self.expected, self.run_once(), f"{kind} as {place}")
                    os.rename(self.path(place), self.path(path))

    @staticmethod
    def unread(pipe):
        return struct.unpack("i", fcntl.ioctl(pipe, termios.FIONREAD, bytes(4)))[0]

    def test_configuration_that_is_being_written(self):
        # From a shell a pipe is a configuration, and whoever writes it is waited for.
        os.mkfifo(self.path("pipe.conf"))
        pipe = os.open(self.path("pipe.conf"), os.O_RDWR)
        run = self.start(["config=pipe.conf", *self.parameters()[1:]])
        for line in self.read("orvellis.conf").splitlines(keepends=True):
            os.write(pipe, line)
            while run.poll() is None and self.unread(pipe) > 0:
                time.sleep(0.01)
        os.close(pipe)
        self.expect_same(self.expected, self.finish(run))


if __name__ == "__main__":
    faults.main()
