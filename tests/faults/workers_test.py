"""Processes that count the shares of a run: what ends them, what the system refuses them, and that the run
prints the same bytes all the same, leaves none of them behind, and no file."""

import contextlib
import os
import pathlib
import resource
import signal
import subprocess
import sys
import time
import unittest

import faults

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "cli"))
import divided_runs  # pylint: disable=wrong-import-position,wrong-import-order

WORKERS = 4
SHARE = f"workers={WORKERS},1000"
# Calls of a process that has just been started, and of one that hands its counts on; and how many workers come there when
# nobody goes on from there: of four the third waits for the counts of the fourth.
MOMENTS = {"getppid": WORKERS - 1, "write": WORKERS // 2}
# Who is killed.
CHOICES = (lambda counting, _: [counting], lambda _, workers: workers[:1], lambda _, workers: workers[-1:],
           lambda counting, workers: [*workers, counting])


def children_of(process):
    """Processes that one has started, in the order in which they were started; none when it has gone."""
    try:
        return [int(child) for child in pathlib.Path(f"/proc/{process}/task/{process}/children").read_text().split()]
    except OSError:
        return []


def is_running(process):
    """Neither gone nor a zombie."""
    try:
        stat = pathlib.Path(f"/proc/{process}/stat").read_text(encoding="latin-1")
    except OSError:
        return False
    return stat.rpartition(")")[2].split()[0] != "Z"


def wait_until(holds, what):
    end = time.monotonic() + faults.HANG
    while not holds():
        if time.monotonic() > end:
            raise AssertionError(f"never: {what}")
        time.sleep(0.002)


class WorkersTest(faults.FaultTest):
    """Both editions."""

    def setUp(self):
        super().setUp()
        self.make_logs(files=5, lines=200)

    def parameters(self, *more):
        return super().parameters("edition=classic", *more)

    def in_both_editions(self):
        return [(edition, self.parameters(f"edition={edition}", "output=json")) for edition in ("classic", "modern")]

    def plain(self, parameters):
        result = self.run_once([*parameters, "workers=1"], environment=self.moment())
        self.assertEqual((result.status, result.errors), (0, b""), result)
        self.forget_summaries()
        return result.page

    @staticmethod
    def moment():
        """And no search for leaks, which cannot be looked for in what is watched."""
        return {"SOURCE_DATE_EPOCH": "954547200", "ORVELLIS_CACHE": "", "ASAN_OPTIONS": "detect_leaks=0"}

    def expect_plain(self, plain, result, what=""):
        self.expect_same(plain, result, what)
        self.assertEqual(result.errors, b"", what)

    def by_workers(self, parameters, **options):
        self.forget_summaries()
        return self.run_once([*parameters, SHARE], environment=self.moment(), **options)

    # ---- What divides a run at all ----

    @unittest.skipIf(divided_runs.STRACE is None, "strace is not installed")
    def test_runs_are_divided(self):
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            done, division = self.watched(parameters)
            self.assertEqual(division, "divided")
            self.assertEqual(faults.without_moment(done.stdout), plain, edition)

    @unittest.skipIf(divided_runs.STRACE is None, "strace is not installed")
    def test_compressed_logs_are_divided(self):
        subprocess.run("gzip -n logs/*.log", shell=True, cwd=self.folder, check=True)
        self.write("orvellis.conf", self.configuration("logs=logs/*"))
        parameters = self.parameters("edition=modern", "output=json")
        plain = self.plain(parameters)
        done, division = self.watched(parameters)
        self.assertEqual(division, "divided")
        self.assertEqual(faults.without_moment(done.stdout), plain)

    def watched(self, parameters):
        env = {"TZ": "UTC", "LC_ALL": "C", "PATH": os.environ["PATH"], **self.moment()}
        return divided_runs.watched([faults.PROGRAM, *parameters, SHARE], env, cwd=self.folder, timeout=faults.HANG)

    # ---- Processes that are killed ----

    def hold(self, parameters, call):
        """A run under a tracer, each of whose further processes is stopped when it makes its first such call: the
        tracer, the run, the process that counts, and its workers. Only workers stay stopped."""
        self.forget_summaries()
        trace = pathlib.Path(self.path("trace"))
        trace.write_text("")
        tracer = self.start([*parameters, SHARE], environment=self.moment(),
                            under=[divided_runs.STRACE, "-f", "-qq", "-o", str(trace), "-e", f"trace={call}",
                                   "-e", f"inject={call}:signal=SIGSTOP:when=1"])

        def stopped():
            return [int(line.split()[0]) for line in trace.read_text().splitlines() if "stopped by SIGSTOP" in line]

        wait_until(stopped, "a process that was stopped")
        run, = children_of(tracer.pid)
        found = []

        def workers():
            found[:] = children_of(run)
            others = {run, *found}
            for process in others.intersection(stopped()):
                os.kill(process, signal.SIGCONT)
            return len(set(stopped()) - others) == MOMENTS[call]

        wait_until(workers, "workers that were stopped")
        return tracer, run, found[0], sorted(children_of(found[0]))

    def let_go(self, tracer, processes):
        """Until all has ended."""
        while tracer.poll() is None:
            for process in processes:
                with contextlib.suppress(ProcessLookupError):
                    os.kill(process, signal.SIGCONT)
            time.sleep(0.01)
        return self.finish(tracer)

    def expect_none_left(self, processes):
        wait_until(lambda: not any(map(is_running, processes)), "the end of all processes")
        left = os.listdir(self.path("logs")) + os.listdir(self.folder)
        self.assertEqual([name for name in left if name.startswith(".")], [])

    @unittest.skipIf(divided_runs.STRACE is None, "strace is not installed")
    def test_none_outlives_the_run(self):
        for edition, parameters in self.in_both_editions():
            for call in MOMENTS:
                for number in (signal.SIGTERM, signal.SIGKILL, signal.SIGINT, signal.SIGHUP, signal.SIGXCPU):
                    tracer, run, counting, workers = self.hold(parameters, call)
                    os.kill(run, number)
                    self.expect_none_left([run, counting, *workers])  # though nobody lets them go on
                    result = self.finish(tracer)
                    self.assertEqual((result.status, result.page), (-number, b""), edition)

    @unittest.skipIf(divided_runs.STRACE is None, "strace is not installed")
    def test_a_killed_process_costs_no_figure(self):
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            for call in MOMENTS:
                for number in (signal.SIGKILL, signal.SIGTERM):
                    for choose in CHOICES:
                        tracer, run, counting, workers = self.hold(parameters, call)
                        for victim in choose(counting, workers):
                            with contextlib.suppress(ProcessLookupError):  # its parent may have gone before
                                os.kill(victim, number)
                        result = self.let_go(tracer, [run, counting, *workers])
                        self.expect_plain(plain, result, f"{edition} {call} {number}")
                        self.expect_none_left([run, counting, *workers])

    # ---- Logs that change meanwhile ----

    @unittest.skipIf(divided_runs.STRACE is None, "strace is not installed")
    def test_a_log_that_another_takes_the_place_of(self):
        """All is counted of one of them, or all of the other."""
        for edition, parameters in self.in_both_editions():
            self.write_only_log("old")
            old = self.plain(parameters)
            for call in MOMENTS:
                self.write_only_log("old")
                tracer, run, counting, workers = self.hold(parameters, call)
                os.rename(self.path("logs/access0.log"), self.path("rotated"))
                self.write_only_log("new")
                result = self.let_go(tracer, [run, counting, *workers])
                if b"could not be opened" not in result.page:  # as a run that may open what was there before alone says
                    self.assertIn(result.page, (old, self.plain(parameters)), f"{edition} {call}")

    def write_only_log(self, page):
        for name in os.listdir(self.path("logs")):
            os.remove(self.path("logs/" + name))
        self.write("logs/access0.log", "".join(faults.log_line(i, url=f"/{page}") for i in range(600)))

    # ---- What the system refuses ----

    @unittest.skipIf(divided_runs.STRACE is None, "strace is not installed")
    def test_refused_calls(self):
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            for call, error in (("clone", "EAGAIN"), ("pipe2", "EMFILE"), ("pipe2", "EPERM"), ("getppid", "EPERM")):
                for when in range(1, WORKERS):
                    self.forget_summaries()
                    done = self.traced(parameters, f"inject={call}:error={error}:when={when}")
                    what = f"{edition} {call} {when}"
                    self.assertEqual((done.returncode, done.stderr), (0, b""), what)
                    self.assertEqual(faults.without_moment(done.stdout), plain, what)

    @unittest.skipIf(divided_runs.STRACE is None, "strace is not installed")
    def test_killed_at_once(self):
        """When it looks for its parent."""
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            for number in ("SIGKILL", "SIGTERM"):
                self.forget_summaries()
                done = self.traced(parameters, f"inject=getppid:signal={number}:when=1")
                self.assertEqual((done.returncode, done.stderr), (0, b""), edition)
                self.assertEqual(faults.without_moment(done.stdout), plain, edition)

    def traced(self, parameters, inject):
        env = {"TZ": "UTC", "LC_ALL": "C", "PATH": os.environ["PATH"], **self.moment()}
        return subprocess.run([divided_runs.STRACE, "-f", "-qq", "-o", "/dev/null", "-e", inject, faults.PROGRAM, *parameters,
                               SHARE], env=env, cwd=self.folder, capture_output=True, timeout=faults.HANG, check=False)

    def test_no_room_in_files(self):
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            for size in (0, 100, 4096):
                self.expect_plain(plain, self.by_workers(parameters, limits={resource.RLIMIT_FSIZE: size}), edition)

    @faults.release_only
    def test_little_memory(self):
        seen = set()
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            for mib in (*range(8, 24), 32, 64):
                result = self.by_workers(parameters, limits={resource.RLIMIT_AS: mib << 20})
                outcome = "refused" if result.status != 0 else "correct" if result.page == plain else "warned"
                self.assertTrue(outcome != "warned" or b"memory" in result.page, f"{edition} {mib} MiB: {result}")
                self.assertIn(result.status, (0, 1, 127), f"{edition} {mib} MiB: {result}")
                seen.add(outcome)
        self.assertIn("correct", seen)

    def test_descriptors(self):
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            for limit in range(8, 14):
                self.expect_plain(plain, self.by_workers(parameters, limits={resource.RLIMIT_NOFILE: limit}), edition)

    @faults.release_only
    def test_no_process_files(self):
        """Where /proc is empty."""
        under = ["unshare", "-m", "sh", "-c", 'mount -t tmpfs none /proc && exec "$@"', "sh"]
        if subprocess.run([*under, "true"], capture_output=True, check=False).returncode != 0:
            self.skipTest("no name spaces of mounts here")
        for edition, parameters in self.in_both_editions():
            plain = self.plain(parameters)
            self.expect_plain(plain, self.by_workers(parameters, under=under), edition)

    # ---- What cannot be printed ----

    def test_outputs_that_take_nothing(self):
        for edition, parameters in self.in_both_editions():
            for shell in ('exec "$@" >/dev/full', 'exec "$@" >&-', 'exec "$@" <&-', 'exec "$@" 2>&-', 'exec "$@" <&- 2>&-',
                          'exec "$@" <&- >&- 2>&-', 'exec "$@" 2>/dev/full'):
                ends = []
                for workers in ("workers=1", SHARE):
                    self.forget_summaries()
                    result = self.run_once([*parameters, "totals=1", workers], under=["sh", "-c", shell, "sh"],
                                           environment=self.moment())
                    ends.append((result.status, result.page, result.errors))
                self.assertEqual(*ends, f"{edition}: {shell}")

    def test_reader_that_goes_away(self):
        """The run ends as by the signal that one process would have got."""
        self.write("logs/access0.log", "".join(faults.log_line(i, url=f"/{i}") for i in range(20000)))
        for edition, parameters in self.in_both_editions():
            ends = []
            for workers in ("workers=1", SHARE):
                self.forget_summaries()
                process = self.start([*parameters, "requests=1,0", workers], environment=self.moment())
                process.stdout.read(1)
                process.stdout.close()
                process.stderr.read()
                ends.append(process.wait(faults.HANG))
                process.stderr.close()
            self.assertEqual(*ends, edition)


if __name__ == "__main__":
    faults.main()
