"""Configurations, and the files that they name: passwords and names of domains."""

import itertools

from bounds import ACCOUNT, BoundsCase, log_line, main

LETTERS = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"


def code(number):
    """A text of five letters, another for each number."""
    digits = []
    for _ in range(5):
        number, digit = divmod(number, len(LETTERS))
        digits.append(LETTERS[digit])
    return "".join(digits)


class Configuration(BoundsCase):
    def setUp(self):
        super().setUp()
        self.write("logs/a.log", log_line())

    def check(self, size, *parts, bytes_each=0):
        """Each part is a text, or makes the texts of a number of items."""
        def make(count):
            self.write("orvellis.conf", *(part(count) if callable(part) else part for part in parts))

        run = self.check_growth(size, make, "requests=1", bytes_each=bytes_each)
        self.assertTrue(run.is_complete())

    # Measured: 5,000,000 items in 0.27 s, 3.9 times the time of a quarter; 2.0 MiB.
    def test_unknown_keys(self):
        self.check(50000, lambda count: "key=value of no meaning\n" * count, ACCOUNT)

    # Measured: 1,000,000 items in 0.14 s, 3.8 times the time of a quarter; 2.0 MiB.
    def test_known_keys(self):
        self.check(25000, lambda count: "ExtraHeader=a text\nLogFormat=Shlurc\nLogFormat=S\n" * count,
                   "LogFormat=\n", ACCOUNT)

    # Measured: 40,000,000 items in 0.04 s, 3.5 times the time of a quarter; 2.1 MiB.
    def test_empty_lines(self):
        self.check(1000000, lambda count: "\r\n" * count, ACCOUNT)

    # Measured: 104,000,000 items in 0.05 s, 3.9 times the time of a quarter; 2.1 MiB.
    def test_one_endless_line(self):
        self.check(2000000, ACCOUNT, lambda count: "x" * count)

    # Measured: 104,000,000 items in 0.10 s, 3.9 times the time of a quarter; 2.1 MiB.
    def test_one_endless_line_before_the_account(self):
        self.check(2000000, lambda count: "x=" * count, "\n" + ACCOUNT)

    # Measured: 80,000,000 items in 0.04 s, 3.8 times the time of a quarter; 2.1 MiB.
    def test_zeros(self):
        self.check(2000000, lambda count: "\0" * count, "\n" + ACCOUNT)

    # Measured: 52,000,000 items in 0.51 s, 4.0 times the time of a quarter; 2.1 MiB.
    def test_lines_without_end_of_line(self):
        self.check(1000000, lambda count: "a\xff" * count, "\n" + ACCOUNT)

    # Measured: 2,500,000 items in 0.09 s, 3.9 times the time of a quarter; 2.0 MiB.
    def test_accounts(self):
        self.check(25000, lambda count: (f"user=user{i};logs=logs/{i}\n" for i in range(count)), ACCOUNT)

    # Measured: 800,000 items in 0.65 s, 4.2 times the time of a quarter; 2.1 MiB.
    def test_lines_of_one_account(self):
        self.check(20000, lambda count: "user=ann;extraheader=%user%;extrafooter=%user%\n" * count, ACCOUNT)

    # Measured: 10,000 items in 3.37 s, 4.0 times the time of a quarter; 1.9 MiB.
    def test_items_of_an_account(self):
        self.check(250, lambda count: ("user=ann;" + ";" * 1500 + "\n") * count, ACCOUNT)

    # Each engine keeps its name, its page and the title of its table at full size.
    # Measured: 200,000 items in 0.25 s, 3.9 times the time of a quarter; 383.4 MiB.
    def test_search_engines(self):
        self.check(10000, lambda count: (f"search=E{i};domain=e{i}.example;vars=q\n" for i in range(count)),
                   ACCOUNT, bytes_each=2500)

    # One of as many pairs as a line holds, then one of as many variables.
    # Measured: 4,000 items in 0.15 s, 3.6 times the time of a quarter; 143.6 MiB.
    def test_long_definitions(self):
        pairs = "search=E;" + "domain=a;vars=b;" * 95 + "\n"
        variables = "search=E;domain=a;vars=" + "b," * 755 + "\n"
        self.check(100, lambda count: (pairs + variables) * count, ACCOUNT, bytes_each=60000)


class Passwords(BoundsCase):
    def setUp(self):
        super().setUp()
        self.write("logs/a.log", log_line())
        self.write("orvellis.conf", "UserPasswords=passwords\n", ACCOUNT.replace("password=*", ""))

    def check(self, size, *parts):
        def make(count):
            self.write("passwords", *(part(count) if callable(part) else part for part in parts))

        run = self.check_growth(size, make, "requests=1", "password=secret", bytes_each=0)
        self.assertTrue(run.is_complete())

    # Measured: 4,800,000 items in 0.11 s, 4.0 times the time of a quarter; 2.1 MiB.
    def test_users(self):
        self.check(100000, lambda count: (f"user{i}:password{i}\n" for i in range(count)), "ann:secret\n")

    # Measured: 96,000,000 items in 0.03 s, 3.1 times the time of a quarter; 1.9 MiB.
    def test_one_endless_line(self):
        self.check(2000000, lambda count: "x" * count, "\nann:secret\n")


class Names(BoundsCase):
    def setUp(self):
        super().setUp()
        self.write("orvellis.conf", "Networks=names\n", ACCOUNT)

    def check(self, size, names, hosts, bytes_each):
        def make(count):
            self.write("names", names(count))
            self.write("logs/a.log", (log_line(host=f"www.{host.lower()}") for host in hosts(count)))

        run = self.check_growth(size, make, "domaintypes=1", bytes_each=bytes_each)
        self.assertTrue(run.is_complete())

    # Measured: 1,200,000 items in 0.39 s, 4.3 times the time of a quarter; 157.8 MiB.
    def test_names(self):
        self.check(25000, lambda count: (f"{code(i)} {i}\n" for i in reversed(range(count))),
                   lambda count: map(code, range(100)), bytes_each=350)

    # Measured: 40,000,000 items in 0.06 s, 4.8 times the time of a quarter; 46.1 MiB.
    def test_one_endless_line(self):
        self.check(1000000, lambda count: "x" * count, lambda count: map(code, range(100)), bytes_each=4)

    # Measured: 1,200,000 items in 0.13 s, 3.6 times the time of a quarter; 157.8 MiB.
    def test_names_of_one_code(self):
        self.check(25000, lambda count: (f"AAAAA {i}\n" for i in range(count)),
                   lambda count: map(code, range(100)), bytes_each=350)

    # Each description is the next one's code, and each code a domain of the log.
    # Measured: 240,000 items in 0.65 s, 4.5 times the time of a quarter; 54.5 MiB.
    def test_chain_of_names(self):
        self.check(5000, lambda count: (f"{code(i)} {code(i + 1)}\n" for i in range(count)),
                   lambda count: map(code, range(count)), bytes_each=500)

    # All ways lead to one chain, and come to it at each of its places.
    # Measured: 480,000 items in 0.79 s, 4.9 times the time of a quarter; 85.5 MiB.
    def test_ways_into_a_chain(self):
        def names(count):
            half = count // 2
            yield from (f"X{code(i)} {code(i)}\n" for i in range(half))
            yield from (f"{code(i)} {code(i + 1)}\n" for i in range(half))

        self.check(10000, names, lambda count: (f"X{code(i)}" for i in range(count // 2)), bytes_each=500)


main()
