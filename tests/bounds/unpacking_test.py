"""Compressed logs: a small file that becomes a large one, and many members."""

import bz2
import gzip
import json
import lzma
import shutil
import subprocess
import unittest

from bounds import BoundsCase, MIB, TIMES, GROWTH, log_line, main

LOG = "logs/a.log"

# What a child takes to unpack: the bytes that a format looks back to, a buffer and the chunks, and its library.
UNPACKING = 16 * MIB


def zstd(data):
    return subprocess.run(["zstd", "-qc"], input=data, stdout=subprocess.PIPE, check=True).stdout


class Unpacking(BoundsCase):
    """Memory does not grow with what comes out of a compressed log; neither process keeps it."""

    def check(self, pack, size, text_of, requests=2):
        def make(count):
            self.write(LOG, pack(text_of(count).encode()))

        run = self.check_growth(size, make, "edition=modern", "output=json", "requests=1", bytes_each=0, memory=UNPACKING)
        totals = json.loads(run.page)["totals"]
        self.assertEqual(totals["requests"], requests)
        self.assertEqual(totals["log_bytes"], len(text_of(size * TIMES * GROWTH)))

    @staticmethod
    def bomb(count):
        return log_line() + "\n" * count + log_line(1)

    def test_gzip(self):
        self.check(gzip.compress, 8 * MIB, self.bomb)

    def test_bzip2(self):
        self.check(bz2.compress, 4 * MIB, self.bomb)

    def test_xz(self):
        self.check(lzma.compress, 8 * MIB, self.bomb)

    @unittest.skipUnless(shutil.which("zstd"), "zstd is not installed")
    def test_zstd(self):
        self.check(zstd, 8 * MIB, self.bomb)

    def test_members(self):
        line = log_line()
        self.check(lambda text: gzip.compress(line.encode()) * (len(text) // len(line)), 5000,
                   lambda count: line * count, requests=5000 * TIMES * GROWTH)


main()
