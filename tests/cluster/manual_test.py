#!/usr/bin/python3
"""The manual's page on many machines, word by word: three web servers, each a namespace with a network, a name and logs of
its own."""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from support import ENVIRONMENT, PROGRAM, SOURCE, ClusterTest, page_of, wait_for

DOCUMENT = SOURCE / "docs" / "beyond-one-machine.md"
HUB = f"orvellis-{os.getpid()}-hub"

if os.geteuid() != 0:
    print("skipped: not root, which may make networks")
    sys.exit(77)
if not shutil.which("ip") or not shutil.which("openssl"):
    print("skipped: iproute2 or openssl is not installed")
    sys.exit(77)
if subprocess.run(["ip", "netns", "add", HUB], stderr=subprocess.DEVNULL).returncode != 0:
    print("skipped: no network can be made here")
    sys.exit(77)
subprocess.run(["ip", "netns", "delete", HUB], check=True)


def blocks(heading: str) -> list[str]:
    """The commands below a heading of the manual."""
    section = re.search(rf"^## {re.escape(heading)}\n(.*?)(?=^## |\Z)", DOCUMENT.read_text(), re.M | re.S)
    assert section, heading
    return re.findall(r"^```sh\n(.*?)^```$", section[1], re.M | re.S)


def command_of(name: str, heading: str) -> str:
    """The one block that begins with a command."""
    (found,) = [block for block in blocks(heading) if block.startswith(name)]
    return found


class Manual(ClusterTest):
    def setUp(self) -> None:
        super().setUp()
        self.bin = self.folder / "bin"
        self.bin.mkdir()
        for name, target in (
            ("orvellis", PROGRAM),
            ("orvellis-report", SOURCE / "bin/orvellis-report"),
            ("orvellis-cluster", SOURCE / "cluster/orvellis-cluster"),
        ):
            (self.bin / name).symlink_to(target)
        self.variables = {**ENVIRONMENT, "PATH": f"{self.bin}:{ENVIRONMENT['PATH']}", "TMPDIR": str(self.folder / "tmp")}
        self.make_network()
        (self.folder / "named").mkdir()
        for number in (1, 2, 3):
            self.log(f"web{number}/nginx/access.log", 2000, number, number)
            self.log(f"web{number}/nginx/access.log.1", 1000, 10 + number, 20)
            for name in ("access.log", "access.log.1"):
                (self.folder / "named" / f"web{number}:{name}").symlink_to(self.folder / f"web{number}/nginx/{name}")

    def ip(self, *words: str) -> None:
        subprocess.run(["ip", *words], check=True)

    def make_network(self) -> None:
        self.spaces = [HUB] + [f"orvellis-{os.getpid()}-web{number}" for number in (1, 2, 3)]
        for space in self.spaces:
            self.ip("netns", "add", space)
            self.addCleanup(subprocess.run, ["ip", "netns", "delete", space])
        self.ip("-n", HUB, "link", "add", "br0", "type", "bridge")
        self.ip("-n", HUB, "address", "add", "10.0.0.1/24", "dev", "br0")
        for interface in ("lo", "br0"):
            self.ip("-n", HUB, "link", "set", interface, "up")
        for number, space in enumerate(self.spaces[1:], 1):
            self.ip("-n", HUB, "link", "add", f"to{number}", "type", "veth", "peer", "name", "eth0", "netns", space)
            self.ip("-n", HUB, "link", "set", f"to{number}", "master", "br0", "up")
            self.ip("-n", space, "address", "add", f"10.0.0.{number + 1}/24", "dev", "eth0")
            for interface in ("lo", "eth0"):
                self.ip("-n", space, "link", "set", interface, "up")

    def on(self, number: int, commands: str, name: str) -> Path:
        """Starts what the manual shows on a machine, 0 being the one that asks; its output."""
        folder = self.folder / f"at{number}"
        folder.mkdir(exist_ok=True)
        output = self.folder / f"{name}.out"
        own = f"hostname web{number} && mount --bind {self.folder}/web{number} /var/log && " if number else ""
        words = ["ip", "netns", "exec", self.spaces[number], "unshare", "--mount", "--uts", "sh", "-c", f"{own}exec {commands}"]
        with open(output, "wb") as file:
            process = subprocess.Popen(words, cwd=folder, env=self.variables, stdin=subprocess.DEVNULL, stdout=file, stderr=file)
        self.addCleanup(process.wait)
        self.addCleanup(process.terminate)
        return output

    def begin_cluster(self, heading: str) -> None:
        scheduler = self.on(0, command_of("dask-scheduler", heading), "scheduler")
        wait_for("the scheduler", lambda: b"Scheduler at" in scheduler.read_bytes())
        for number in (1, 2, 3):
            self.on(number, command_of("dask-worker", heading), f"worker{number}")
        for number in (1, 2, 3):
            worker = self.folder / f"worker{number}.out"
            wait_for(f"worker {number}", lambda: b"Registered to" in worker.read_bytes())

    def ask(self, commands: str) -> subprocess.CompletedProcess[str]:
        return subprocess.run(
            ["ip", "netns", "exec", HUB, "sh", "-ec", commands], cwd=self.folder / "at0", env=self.variables, text=True,
            stdin=subprocess.DEVNULL, capture_output=True, timeout=60,
        )  # fmt: skip

    def expect_report(self, commands: str) -> str:
        answer = self.ask(commands)
        self.assertEqual(answer.returncode, 0, answer.stderr)
        self.assertEqual(page_of(self.folder / "at0" / "report.html"), self.plain(self.folder / "named"))
        return answer.stdout

    def test_three_web_servers(self) -> None:
        heading = "The logs of three web servers"
        self.begin_cluster(heading)
        shown = self.expect_report(command_of("orvellis-cluster", heading))
        self.assertEqual(shown.count("web2:/var/log/nginx/access.log"), 2)
        self.assertIn("6 logs", shown)

    def test_who_is_let_in(self) -> None:
        heading = "Who is let in"
        for number in range(4):
            (self.folder / f"at{number}").mkdir()
        made = self.ask(command_of("openssl", heading))
        self.assertEqual(made.returncode, 0, made.stderr)
        for number in (1, 2, 3):
            for name in ("ca.pem", "cert.pem", "key.pem"):
                shutil.copy(self.folder / "at0" / name, self.folder / f"at{number}" / name)
        self.begin_cluster(heading)
        command = command_of("orvellis-cluster", heading)
        self.expect_report(command)
        refused = self.ask(re.sub(r"--tls-\S+ \S+ ", "", command))
        self.assertEqual(refused.returncode, 2)
        self.assertIn("cannot reach the scheduler", refused.stderr)


if __name__ == "__main__":
    unittest.main()
