"""Summary files: they lie beside the logs, where others than the administrator may write."""

import itertools
import os
import shutil

from bounds import ACCOUNT, SUMMARY, BoundsCase, log_line, main

WORD = (1 << 64) - 1

# The seed in place of a random one where the system has none to give: a seed that everybody knows.
KNOWN_START = 0x243F6A8885A308D3
KNOWN_FACTOR = 0x13198A2E03707344 | 1

HEAD = "!Version=1.5\n!Year0=1970\n"


def hash_on(value, word):
    product = (value ^ word) * KNOWN_FACTOR
    return (product ^ product >> 64) & WORD


def signed(word):
    return word - (1 << 64) if word >> 63 else word


class Summary(BoundsCase):
    def setUp(self):
        super().setUp()
        self.write("logs/a.log", log_line())

    def before_run(self):
        shutil.copyfile("summary", SUMMARY)  # each run writes it anew, without the logs that are gone

    def check(self, size, entries):
        def make(count):
            self.write("summary", HEAD, entries(count))

        run = self.check_growth(size, make, "requests=1", bytes_each=450)
        self.assertTrue(run.is_complete())
        self.assertIn(b'<b>HTTP Requests:</b></td><td width="50%">1</td>', run.page)

    # Measured: 1,000,000 items in 0.91 s, 6.4 times the time of a quarter; 346.0 MiB.
    def test_many_rotated_logs(self):
        self.check(25000, lambda count: (f"{i},{i + 1},{i + 2},logs/access.log.{i}\n" for i in range(count)))

    # Names of 16 characters, the second half of which takes the first one's hash back.
    # Measured: 400,000 items in 0.33 s, 5.7 times the time of a quarter; 140.9 MiB.
    def test_names_that_collide_under_a_known_seed(self):
        def entries(count):
            made = 0
            for number in itertools.count():
                first = b"%08d" % number
                hashed = hash_on(KNOWN_START, int.from_bytes(first, "little"))
                second = (hashed ^ 0x5A5A5A5A5A5A5A5A).to_bytes(8, "little")
                if any(byte in b"\0\r\n" for byte in second):
                    continue
                yield b"%d,%d,%d," % (made, made + 1, made + 2) + first + second + b"\n"
                made += 1
                if made == count:
                    return

        self.check(10000, entries)

    # The same by dates: the time of the last line takes back what the first one's did.
    # Measured: 400,000 items in 0.37 s, 5.5 times the time of a quarter; 141.1 MiB.
    def test_dates_that_collide_under_a_known_seed(self):
        def entries(count):
            for first in range(1, count + 1):
                last = hash_on(hash_on(KNOWN_START, 1), first) ^ 0x5A5A5A5A5A5A5A5A
                yield f"1,{first},{signed(last)},logs/a{first}\n"

        self.check(10000, entries)

    # Logs that all get the same size and dates, and lose them again, the one that got them first.
    # Measured: 400,000 items in 0.77 s, 4.7 times the time of a quarter; 141.1 MiB.
    def test_equal_dates_that_part_again(self):
        def entries(count):
            yield from (f"1,1,{i + 10},logs/a{i}\n" for i in range(count))
            yield from (f"1,1,5,logs/a{i}\n" for i in reversed(range(count)))
            yield from (f"2,2,{i + 10},logs/a{i}\n" for i in reversed(range(count)))

        self.check(10000, entries)

    # Measured: 40,000,000 items in 0.13 s, 3.7 times the time of a quarter; 2.1 MiB.
    def test_one_endless_line(self):
        def make(count):
            self.write("summary", HEAD, "1," * count)

        run = self.check_growth(1000000, make, "requests=1", bytes_each=0)
        self.assertTrue(run.is_complete())


class Folder(BoundsCase):
    """A folder of many files, all matched by the pattern."""

    def make(self, contents):
        def make(count):
            shutil.rmtree("logs")
            os.mkdir("logs")
            for i in range(count):
                self.write(f"logs/{i}.log", contents(i))

        return make

    # Measured: 40,000 items in 0.62 s, 4.3 times the time of a quarter; 17.7 MiB.
    def test_many_small_logs(self):
        run = self.check_growth(1000, self.make(log_line), "requests=1", bytes_each=1000)
        self.assertTrue(run.is_complete())

    # Without dates they are all copies of the first one.
    # Measured: 40,000 items in 0.17 s, 3.7 times the time of a quarter; 4.1 MiB.
    def test_many_empty_logs(self):
        self.check_growth(1000, self.make(lambda i: ""), "requests=1", bytes_each=1000)


class HurtfulPattern(BoundsCase):
    """Wildcards of the configuration, which the system's own matcher reads."""

    # Measured: 20,000 items in 0.03 s, 3.5 times the time of a quarter; 2.1 MiB.
    def test_many_stars(self):
        stars = "*a" * 100 + "*b"
        self.write("orvellis.conf", ACCOUNT.replace("*.log", stars))
        name = "a" * 240

        def make(count):
            for i in range(count):
                self.write(f"logs/{name}{i}", log_line(i))

        self.write("logs/" + "ab" * 110, log_line())
        run = self.check_growth(500, make, "requests=1", bytes_each=1000)
        self.assertTrue(run.is_complete())


main()
