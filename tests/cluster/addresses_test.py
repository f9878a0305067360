#!/usr/bin/python3
"""Logs behind addresses of a web server, which sends stretches, or does not, or not without packing."""

from __future__ import annotations

import gzip
import os
import shutil
import subprocess
import sys
import unittest
from pathlib import Path

from support import ENVIRONMENT, ClusterTest, wait_for

NGINX = shutil.which("nginx", path=ENVIRONMENT["PATH"])
for needed in ("fsspec", "aiohttp"):
    try:
        __import__(needed)
    except ImportError:
        print(f"skipped: python3-{needed} is not installed")
        sys.exit(77)
if NGINX is None:
    print("skipped: nginx is not installed")
    sys.exit(77)

# Of each way of sending a server of its own, at a socket that only this test knows.
CONFIGURATION = """
pid {folder}/pid;
error_log {folder}/error.log;
daemon off;
worker_processes 1;
events {{ }}
http {{
  access_log {folder}/asked.log;
  client_body_temp_path {folder}/body; proxy_temp_path {folder}/proxy; fastcgi_temp_path {folder}/fastcgi;
  uwsgi_temp_path {folder}/uwsgi; scgi_temp_path {folder}/scgi;
  default_type text/plain;
  root {folder}/served;
  server {{ listen 127.0.0.1:{port};
    location /whole/ {{ alias {folder}/served/; max_ranges 0; }}
    location /packing/ {{ alias {folder}/served/; gzip on; gzip_min_length 0; gzip_types *; gzip_http_version 1.0; }}
    location /secret/ {{ return 403; }}
  }}
}}
"""


def free_port() -> int:
    import socket

    with socket.create_server(("127.0.0.1", 0)) as server:
        return int(server.getsockname()[1])


class Addresses(ClusterTest):
    def setUp(self) -> None:
        super().setUp()
        self.log("served/large.log", 9000, 1)
        self.log("served/small.log", 50, 2, 9)
        packed = gzip.compress(self.log("packed.log", 3000, 3, 12).read_bytes(), mtime=0)
        (self.folder / "served" / "packed.log.gz").write_bytes(packed)
        self.port = free_port()
        (self.folder / "nginx.conf").write_text(CONFIGURATION.format(folder=self.folder, port=self.port))
        os.chmod(self.folder, 0o755)
        server = subprocess.Popen(
            [str(NGINX), "-c", str(self.folder / "nginx.conf"), "-p", str(self.folder), "-e", str(self.folder / "error.log")],
            stderr=subprocess.DEVNULL,
        )
        self.addCleanup(server.wait)
        self.addCleanup(server.terminate)
        wait_for("nginx", lambda: (self.folder / "pid").exists() and (self.folder / "pid").read_text())

    def at(self, way: str, name: str) -> str:
        return f"http://127.0.0.1:{self.port}{way}/{name}"

    def asked(self) -> list[str]:
        return (self.folder / "asked.log").read_text().splitlines()

    def test_stretches_of_a_large_log(self) -> None:
        names = ("large.log", "small.log", "packed.log.gz")
        wanted = self.plain(*(self.folder / "served" / name for name in names))
        self.expect_page(wanted, "--piece-size", "300K", *(self.at("", name) for name in names))
        # Two looks, windows at five places, five pieces with the beginning of the log for all but one.
        self.assertGreater(sum('"GET /large.log' in line and '" 206 ' in line for line in self.asked()), 10)

    def test_a_server_that_sends_no_stretches(self) -> None:
        wanted = self.plain(*(self.folder / "served" / name for name in ("large.log", "packed.log.gz")))
        logs = [self.at("/whole", name) for name in ("large.log", "packed.log.gz")]
        self.expect_page(wanted, "--piece-size", "300K", *logs)
        self.assertFalse(any('" 206 ' in line for line in self.asked()))
        # Each was looked at and counted, in one go.
        self.assertEqual(sum('"GET ' in line and "packed" in line for line in self.asked()), 2)

    def test_a_server_that_would_pack(self) -> None:
        wanted = self.plain(self.folder / "served" / "large.log")
        self.expect_page(wanted, "--piece-size", "300K", self.at("/packing", "large.log"))

    def test_beside_others_and_on_workers_of_a_cluster(self) -> None:
        cluster = self.cluster()
        cluster.add("one")
        cluster.ready("one")
        shared = self.log("shared.log", 2000, 4, 20)
        wanted = self.plain(shared, self.folder / "served" / "large.log")
        self.expect_page(
            wanted, "--scheduler", cluster.address, "--piece-size", "300K", self.at("", "large.log"), str(shared)
        )

    def test_one_log_behind_two_addresses_counts_once(self) -> None:
        shutil.copy(self.folder / "served" / "small.log", self.folder / "served" / "twin.log")
        wanted = self.plain(*(self.folder / "served" / name for name in ("small.log", "twin.log")))
        self.expect_page(wanted, self.at("", "small.log"), self.at("", "twin.log"))

    def test_what_cannot_be_read(self) -> None:
        for address, reason in (
            (self.at("", "absent.log"), "the server answers 404 Not Found$"),
            (self.at("/secret", "large.log"), "the server answers 403 Forbidden$"),
            ("http://127.0.0.1:1/x", "Connection refused$"),
            ("http://nowhere.invalid/x", "there is no such host$"),
            (f"file://{self.folder}/absent.log", "No such file or directory$"),
            ("nothing://x/y", "Protocol not known"),
        ):
            with self.subTest(address):
                self.expect_sentence(f"cannot read {address}: {reason}", address)

    def test_a_page_that_tells_which_could_not_be_read(self) -> None:
        absent, refused = self.at("", "absent.log"), "http://127.0.0.1:1/x.log"
        status, output, errors = self.run_cluster("--allow-missing", "--text", absent, self.at("", "small.log"), refused)
        self.assertEqual(status, 0, errors)
        self.assertRegex(output, r"Requests +50\n")
        told = " ".join(output.split())
        self.assertIn("absent.log is missing", told)
        self.assertIn("x.log is missing", told)
        self.assertIn(f"cannot read {absent}: the server answers 404", errors)
        self.assertIn(f"cannot read {refused}: Connection refused", errors)
        self.expect_nothing_left()

    def test_a_log_that_becomes_shorter(self) -> None:
        cluster = self.cluster()
        program = self.wrapper("cutting", f"case \" $* \" in *' stream=- '*) : >'{self.folder}/served/large.log' ;; esac")
        cluster.add("one", program=program)
        cluster.ready("one")
        address = self.at("", "large.log")
        self.expect_sentence(f"piece .*{address}.*", "--scheduler", cluster.address, "--piece-size", "300K", address)


if __name__ == "__main__":
    unittest.main()
