#!/usr/bin/python3
"""A cluster that lets in only whom its authority has signed."""

from __future__ import annotations

import shutil
import subprocess
import sys
import unittest

from support import ClusterTest

if shutil.which("openssl") is None:
    print("skipped: openssl is not installed")
    sys.exit(77)


class Tls(ClusterTest):
    def make_authority(self, name: str) -> None:
        """An authority, and a key with a certificate that it has signed."""
        at = self.folder / name
        at.mkdir()
        for command in (
            ["req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "2", "-subj", "/CN=authority", "-keyout", "ca.key", "-out", "ca.pem"],
            ["req", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=cluster", "-keyout", "key.pem", "-out", "request.pem"],
            ["x509", "-req", "-in", "request.pem", "-CA", "ca.pem", "-CAkey", "ca.key", "-CAcreateserial", "-days", "2", "-out", "cert.pem"],
        ):
            subprocess.run(["openssl", *command], cwd=at, check=True, capture_output=True)

    def files(self, name: str, *options: str) -> list[str]:
        at = self.folder / name
        words = []
        for option, file in zip(options, ("ca.pem", "cert.pem", "key.pem")):
            words += [option, str(at / file)]
        return words

    def test_with_its_certificate_and_without(self) -> None:
        self.make_authority("ours")
        self.make_authority("theirs")
        log = self.log("access.log", 3000, 1)
        wanted = self.plain(log)
        cluster = self.cluster(*self.files("ours", "--tls-ca-file", "--tls-cert", "--tls-key"), scheme="tls")
        cluster.add("one")
        cluster.ready("one")
        arguments = ["--scheduler", cluster.address, "--piece-size", "64K", str(log)]
        self.assertTrue(cluster.address.startswith("tls://"))
        self.expect_page(wanted, *self.files("ours", "--tls-ca", "--tls-cert", "--tls-key"), *arguments)
        refused = "cannot reach the scheduler tls://"
        self.expect_sentence(refused, *self.files("theirs", "--tls-ca", "--tls-cert", "--tls-key"), *arguments)
        self.expect_sentence(refused, *arguments)


if __name__ == "__main__":
    unittest.main()
