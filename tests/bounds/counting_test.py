"""Tables of as many items as there are records, with and without a budget for their memory."""

import re
import time

from bounds import ACCOUNT, BoundsCase, MIB, PROGRAM_SIZE, log_line, main

LOG = "logs/a.log"
WARNING = b"required more memory than was available"

# Where the system has no random bytes to give, the seed of the tables is one that everybody knows. A
# key's first four bytes take its first word back to zero, which multiplies the next four.
KNOWN_SEED = int.from_bytes(b"any ", "little")
WIPE_OUT = ((1 << 32) - KNOWN_SEED).to_bytes(4, "little").decode("latin-1")

ALL = ("requests=1,10", "referrers=1,10", "browsers=1,10", "badurls=1,10", "badurl_referrers=1",
       "badreferrers=1,10", "domains=1,10", "domaintypes=1,10", "search=1,10")


class Counting(BoundsCase):
    def check(self, size, lines, bytes_each, *arguments, memory=PROGRAM_SIZE, **options):
        def make(count):
            self.write(LOG, lines(count))

        run = self.check_growth(size, make, *(arguments or ("requests=1,10",)), bytes_each=bytes_each, memory=memory,
                                **options)
        self.assertTrue(run.is_complete())
        return run


class WithoutBudget(Counting):
    # Measured: 1,000,000 items in 0.28 s, 3.8 times the time of a quarter; 86.1 MiB.
    def test_urls(self):
        self.check(25000, lambda count: (log_line(url=f"/{i}") for i in range(count)), 150)

    # Measured: 200,000 items in 0.12 s, 4.2 times the time of a quarter; 68.3 MiB.
    def test_urls_of_full_length(self):
        self.check(5000, lambda count: (log_line(url=f"/{i:08}" + "u" * 230) for i in range(count)), 350)

    # Measured: 160,000 items in 0.34 s, 4.2 times the time of a quarter; 124.5 MiB.
    def test_all_that_a_record_can_tell(self):
        def lines(count):
            return (log_line(host=f"h{i}.d{i}.t{i}", url=f"/{i}", status=404, agent=f"A{i}",
                             referrer=f"http://www.yahoo.com/search?p={i}") for i in range(count))

        self.check(5000, lines, 1500, *ALL)

    # One bad URL, and the pages that lead to it.
    # Measured: 960,000 items in 0.62 s, 4.6 times the time of a quarter; 98.2 MiB.
    def test_referrers_of_one_bad_url(self):
        self.check(30000, lambda count: (log_line(status=404, referrer=f"http://{i}/") for i in range(count)), 200,
                   "badurls=1,10", "badurl_referrers=1")

    # Measured: 640,000 items in 0.27 s, 3.7 times the time of a quarter; 115.7 MiB.
    def test_a_referrer_of_each_bad_url(self):
        self.check(20000, lambda count: (log_line(status=404, url=f"/{i}", referrer=f"http://{i}/")
                                         for i in range(count)), 350, "badurls=1,10", "badurl_referrers=1")

    # Measured: 400,000 items in 0.14 s, 4.6 times the time of a quarter; 56.1 MiB.
    def test_keys_that_collide_under_a_known_seed(self):
        def lines(count):
            return (log_line(agent=f"{WIPE_OUT}{i:04x}the same to the end") for i in range(count))

        self.check(5000, lines, 200, "browsers=1,10")

    # Every count is another one, so that no two rows of the report are equal before they are sorted.
    # Measured: 800,000 items in 1.04 s, 4.5 times the time of a quarter; 86.0 MiB.
    def test_rows_of_the_report(self):
        self.check(20000, lambda count: (log_line(url=f"/{i * 7919 % count}") for i in range(count)), 200,
                   "requests=1")


class WithBudget(Counting):
    """A budget of 500 kilobytes, whatever the log: 2,000 items of 256 bytes."""

    def set_up(self, reclaim, keep=100):
        self.write("orvellis.conf", f"SmartMemoryMaxMemoryToAllocate=500\nSmartMemoryReclaimSize={reclaim}\n"
                                    f"SmartMemoryKeepEntries={keep}\n", ACCOUNT)

    def check_budget(self, size, lines, *arguments):
        run = self.check(size, lines, 0, *arguments, memory=PROGRAM_SIZE + MIB)
        self.assertIn(WARNING, run.page)

    # Measured: 400,000 items in 0.46 s, 4.1 times the time of a quarter; 2.3 MiB.
    def test_all_that_a_record_can_tell(self):
        self.set_up(reclaim=100)
        self.check_budget(5000, lambda count: (
            log_line(host=f"h{i}.d{i}.t{i}", url=f"/{i}", status=404, agent=f"A{i}",
                     referrer=f"http://www.yahoo.com/search?p={i}") for i in range(count)), *ALL)

    # Four items a reclaim, which is the least.
    # Measured: 600,000 items in 0.25 s, 4.3 times the time of a quarter; 2.3 MiB.
    def test_keys_in_rising_order(self):
        self.set_up(reclaim=1)
        self.check_budget(15000, lambda count: (log_line(url=f"/{i:09}") for i in range(count)))

    # Measured: 600,000 items in 0.15 s, 4.4 times the time of a quarter; 2.4 MiB.
    def test_keys_in_falling_order(self):
        self.set_up(reclaim=1)
        self.check_budget(15000, lambda count: (log_line(url=f"/{i:09}") for i in reversed(range(count))))

    # Measured: 600,000 items in 0.14 s, 3.6 times the time of a quarter; 2.2 MiB.
    def test_keys_in_no_order(self):
        self.set_up(reclaim=1)
        self.check_budget(15000, lambda count: (log_line(url=f"/{i * 0x9E3779B1 % (1 << 32)}")
                                                for i in range(count)))

    # Most items are counted again and again, and what a reclaim knows of their order with them.
    # Measured: 600,000 items in 0.33 s, 4.4 times the time of a quarter; 2.4 MiB.
    def test_counts_that_rise(self):
        self.set_up(reclaim=1)
        self.check_budget(15000, lambda count: (
            log_line(url=f"/{i * 7919 % 1900}") + log_line(url=f"/new{i}") for i in range(count)))

    # Measured: 600,000 items in 0.45 s, 3.5 times the time of a quarter; 2.5 MiB.
    def test_no_more_to_reclaim(self):
        self.set_up(reclaim=1, keep=1999)
        self.check_budget(15000, lambda count: (
            log_line(url=f"/{i}", agent=f"A{i}", referrer=f"http://{i}/") for i in range(count)),
            "requests=1,10", "browsers=1,10", "referrers=1,10")


class Visits(Counting):
    """Visitors, visits and the pages that they begin with, in the orders that cost most."""

    SECTIONS = ("edition=modern", "days=all", "visitors=1,10", "entrypages=1,10", "exitpages=1,10")

    @staticmethod
    def line(moment, **fields):
        stamp = time.strftime("%d/%b/%Y:%H:%M:%S", time.gmtime(moment))
        return re.sub(r"\[[^ ]+", f"[{stamp}", log_line(agent="Lynx/2.8", **fields), count=1)

    # Each hour of one visitor is a visit, and none stands where the next one is looked for.
    def test_visits_of_one_visitor_backwards(self):
        self.check(25000, lambda count: (self.line(3_000_000_000 - i * 3600) for i in range(count)), 150, *self.SECTIONS)

    def test_visits_of_one_visitor_in_no_order(self):
        self.check(25000, lambda count: (self.line(i * 0x9E3779B1 % (1 << 32) // 1800 * 1800) for i in range(count)), 150,
                   *self.SECTIONS)

    # Between each two visits one request comes last that makes them one.
    def test_visits_that_are_joined(self):
        self.check(25000, lambda count: (self.line(10**9 + (i * 2 if 2 * i < count else i * 2 - count | 1) * 1700)
                                         for i in range(count)), 150, *self.SECTIONS)

    def test_visitors_and_pages(self):
        self.check(25000, lambda count: (log_line(host=f"h{i}", url=f"/{i}", agent="Lynx/2.8") for i in range(count)), 700, *self.SECTIONS)

    def test_visitors_and_pages_with_a_budget(self):
        self.write("orvellis.conf", "SmartMemoryMaxMemoryToAllocate=500\n", ACCOUNT)
        run = self.check(15000, lambda count: (log_line(host=f"h{i}", url=f"/{i}", agent="Lynx/2.8") for i in range(count)), 0, *self.SECTIONS,
                         memory=PROGRAM_SIZE + 2 * MIB)
        self.assertIn(b"Figures of visits are estimated", run.page)


class WithinAddressSpace(Counting):
    """No budget, but less memory than the tables want: the system refuses it again and again."""

    # Where the next size of an index just fails to fit, each try to get it costs page faults: about three
    # times the time of a little more or less room, whatever the number of records.
    SPACE = 9 * MIB

    def check_space(self, size, lines):
        run = self.check(size, lines, 0, *ALL, memory=self.SPACE, address_space=self.SPACE)
        self.assertIn(WARNING, run.page)

    # Measured: 600,000 records in 1.6 s, 4.3 times the time of a quarter; 7.7 MiB.
    def test_keys_of_one_length(self):
        self.check_space(30000, lambda count: (
            log_line(host=f"h{i:07}.d{i:07}.org", url=f"/{i:07}", agent=f"A{i:07}", referrer=f"http://{i:07}/")
            for i in range(count)))

    # What one table gives up is too short for the next.
    # Measured: 600,000 records in 1.4 s, 2.6 times the time of a quarter; 7.7 MiB.
    def test_keys_of_all_lengths(self):
        self.check_space(30000, lambda count: (
            log_line(host=f"h{i}.d{i}.org", url=f"/{i}" + "u" * (i % 230), status=404 if i % 7 == 0 else 200,
                     agent=f"A{i}" + "a" * (i % 60), referrer=f"http://{i}/" + "r" * (i % 130))
            for i in range(count)))

    # The memory is taken when its first item comes, and given up in small pieces, here and there.
    # Measured: 2,400,000 records in 3.2 s, 3.7 times the time of a quarter; 7.6 MiB.
    def test_table_that_begins_late(self):
        self.check_space(120000, lambda count: (
            log_line(url=f"/{i * 0x9E3779B1 % (1 << 32)}" + "u" * (i % 61)) if i < count * 4 // 5
            else log_line(referrer=f"http://{i}/") for i in range(count)))

    # Four items a reclaim, which is the least.
    # Measured: 600,000 records in 2.3 s, 3.7 times the time of a quarter; 7.6 MiB.
    def test_small_reclaims(self):
        self.write("orvellis.conf", "SmartMemoryReclaimSize=1\n", ACCOUNT)
        self.check_space(30000, lambda count: (
            log_line(host=f"h{i}.d{i}.org", url=f"/{i}" + "u" * (i % 230), agent=f"A{i}" + "a" * (i % 60),
                     referrer=f"http://{i}/" + "r" * (i % 130))
            for i in range(count)))


main()
