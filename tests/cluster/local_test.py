#!/usr/bin/python3
"""The first try: no scheduler, this machine's processors."""

from __future__ import annotations

import gzip
import os
import pty
import re
import signal
import socket
import subprocess
import unittest

from support import COMMAND, HOLD, REPORT, ClusterTest, wait_for, when


class LocalRun(ClusterTest):
    def test_one_large_log_in_pieces(self) -> None:
        log = self.log("access.log", 9000, 1)
        self.expect_page(self.plain(log), "--piece-size", "64K", "--workers", "2", str(log))

    def test_several_and_compressed_ones(self) -> None:
        logs = [self.log(f"logs/access.log.{n}", 3000, n, n) for n in (1, 2, 3)]
        packed = logs[0].with_suffix(".gz")
        packed.write_bytes(gzip.compress(self.log("other.log", 2000, 9, 9).read_bytes(), mtime=0))
        self.expect_page(self.plain(self.folder / "logs"), "--piece-size", "128K", str(self.folder / "logs"))

    def test_logs_of_this_machine_as_those_of_a_worker(self) -> None:
        log = self.log("access.log", 3000, 1)
        named = self.folder / f"{socket.gethostname()}:access.log"
        named.symlink_to(log)
        self.expect_page(self.plain(named), "--piece-size", "64K", "--on-workers", str(log))

    def test_a_thousand_small_logs(self) -> None:
        lines = self.log("all.log", 3000, 5).read_text().splitlines(keepends=True)
        small = self.folder / "small"
        small.mkdir()
        for number in range(1000):
            (small / f"{number:04}.log").write_text("".join(lines[3 * number : 3 * number + 3]))
        self.expect_page(self.plain(small), str(small))

    def test_standard_input_is_no_log_of_a_cluster(self) -> None:
        cluster = self.cluster()
        self.expect_sentence("standard input and pipes are of this machine", "--scheduler", cluster.address, "-")

    def test_where_there_is_nothing_to_report(self) -> None:
        log = self.folder / "headers.log"
        log.write_text("#Fields: date time c-ip\n")
        status, output, errors = self.run_cluster(str(log))
        self.assertEqual((status, output), (1, ""))
        self.assertRegex(errors, "^orvellis-cluster: nothing to report")

    def test_other_outputs_and_quiet(self) -> None:
        log = self.log("access.log", 500, 1)
        status, output, errors = self.run_cluster("--quiet", "--csv", str(log))
        self.assertEqual((status, errors), (0, ""))
        command = [REPORT, "--quiet", "--csv", str(log)]
        self.assertEqual(output, subprocess.run(command, env=self.environment(), capture_output=True, text=True).stdout)

    def held(self) -> subprocess.Popen[str]:
        """A run whose pieces wait for ever, in a group of processes as a shell makes them."""
        log = self.log("access.log", 3000, 1)
        program = self.wrapper("held", when("piece=- part=- ", HOLD))
        run = self.begin("--piece-size", "64K", str(log), "-o", "cluster.html", program=program, group=True)
        wait_for("a piece", (self.folder / "holding").exists)
        return run

    def test_interruption_by_the_keyboard(self) -> None:
        run = self.held()
        os.killpg(run.pid, signal.SIGINT)
        self.assertEqual(self.finish(run), (130, "", ""))
        self.expect_nothing_left()

    def test_whoever_has_started_it_is_killed(self) -> None:
        self.workers_die = True  # what has made the private folder, here
        run = self.held()
        run.kill()
        run.communicate()
        wait_for("the end of the pieces", lambda: not self.left_processes())

    def on_terminal(self, *arguments: str) -> tuple[int, bytes]:
        """Status, and what a terminal gets that is standard error."""
        master, terminal = pty.openpty()
        command = [COMMAND, *arguments, "-o", "cluster.html"]
        environment = {**self.environment(), "TERM": "xterm"}
        run = subprocess.Popen(command, env=environment, cwd=self.folder, stdin=subprocess.DEVNULL, stderr=terminal)
        os.close(terminal)
        shown = b""
        with open(master, "rb", buffering=0) as screen:
            try:
                while block := screen.read(4096):
                    shown += block
            except OSError:
                pass  # nobody has the terminal open any more
        return run.wait(), shown

    def test_progress_on_a_terminal(self) -> None:
        log = self.log("access.log", 9000, 1)
        status, shown = self.on_terminal("--piece-size", "64K", "--workers", "1", str(log))
        self.assertEqual(status, 0)
        self.assertRegex(shown, rb"\r\x1b\[Kcounting +[0-9]+ %  [0-9]+ of 2[0-9] pieces  .* 1 worker\r\x1b\[K")
        self.assertRegex(shown, rb"\r\x1b\[Kcluster.html: 9,000 records [^\r]*\r\n$")
        status, shown = self.on_terminal("--quiet", str(log))
        self.assertEqual((status, shown), (0, b""))

    def test_names_with_dangerous_characters(self) -> None:
        log = self.log("a\x1b[31m\u202eb.log", 100, 1)
        log.chmod(0o644)
        status, output, errors = self.run_cluster("--dry-run", str(log))
        self.assertEqual(status, 0)
        self.assertNotRegex(output + errors, "[\x1b\u202e]")
        self.expect_page(self.plain(log), str(log))


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
        asked = self.folder / "asked"
        program = self.wrapper("asking", f'echo "$*" >>"{asked}"')
        arguments = ["--piece-size", "64K", str(other), str(log), "-o", "cluster.html"]
        self.expect_finished(self.plain(other, log), self.begin(*arguments, program=program))
        # The one log was read to cut it again, and the other was not.
        self.assertEqual(len(re.findall(r" plan=[0-9]+ piece=-$", asked.read_text(), re.MULTILINE)), 1)


if __name__ == "__main__":
    unittest.main()
