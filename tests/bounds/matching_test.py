"""Patterns, filters and search engines made to cost much."""

from bounds import ACCOUNT, MIB, BoundsCase, log_line, main

LOG = "logs/a.log"
LONGEST = "/" + "a" * 238  # of a request that is cut to 243 characters with its "GET "


WORST = "(" + "*a|" * 79 + "x)b"  # the pattern that was seen to cost the most


class Matching(BoundsCase):
    def setUp(self):
        super().setUp()
        self.write(LOG, log_line())

    def check_records(self, size, lines, *arguments):
        def make(count):
            self.write(LOG, (lines(i) for i in range(count)))

        run = self.check_growth(size, make, *(arguments or ("requests=1,10",)), bytes_each=0)
        self.assertTrue(run.is_complete())


class Wildcards(Matching):
    """What a pattern can cost a record grows with its length, not with the choices that it leaves."""

    def check_pattern(self, stars, piece, *, end="", record_count=50, factor):
        """piece and end, repeated for a quarter of the stars and for all: factor times the work at most."""
        def make(count):
            self.write(LOG, log_line(url=LONGEST) * record_count)
            self.write("form", f"username=ann&date=03012000,03312000&requests=1&find_pattern=1&find="
                       f"{piece * count}{end * count}b")

        return self.check_growth(stars // 4, make, form="form", bytes_each=0, grown=factor)

    # Measured: 120 items in 0.001 s; 2.0 MiB.
    def test_stars(self):
        self.check_pattern(120, "*a", factor=10)

    # Measured: 120 items in 0.002 s; 2.2 MiB.
    def test_stars_and_any_character(self):
        self.check_pattern(120, "*?", factor=10)

    # Measured: 40 items in 0.002 s; 2.0 MiB.
    def test_stars_and_sets(self):
        self.check_pattern(40, "*[a-z]", factor=10)

    # Each place of the pattern is tried at each of the text, and there at each behind: a cube at worst.
    # Measured: 28 items in 0.03 s, 6.4 times the time of a quarter; 2.7 MiB.
    def test_groups_in_groups(self):
        self.check_pattern(28, "(*a|*?", end=")", factor=64)

    # Measured: 28 items in 0.011 s; 2.8 MiB.
    def test_groups_in_a_row(self):
        self.check_pattern(28, "*(a|?)", factor=64)

    # Measured: 24 items in 0.01 s, 3.1 times the time of a quarter; 3.0 MiB.
    def test_stars_in_both_alternatives(self):
        self.check_pattern(24, "*(*a|*?)", factor=64)

    # Measured: 1,000 items in 1.74 s, 4.0 times the time of a quarter; 3.1 MiB.
    def test_records_under_the_worst_pattern(self):
        self.check_records(25, lambda i: log_line(url=LONGEST), f"find={WORST}", "find_pattern=1",
                           "subdirs=0", "requests=1")


    # What it remembers, 24 bytes a place, stands beside what the program takes.
    # Measured: 20 records of 2,000 characters in 0.243 s, 4.1 times the time of a quarter; 9.7 MiB.
    def test_long_records_under_the_worst_pattern(self):
        def make(length):
            self.write(LOG, log_line(url="/" + "a" * length) * 20)

        run = self.check_growth(500, make, "edition=modern", f"find={WORST}", "find_pattern=1", "subdirs=0",
                                "requests=1", bytes_each=24 * 244)
        self.assertTrue(run.is_complete())

    def test_too_little_memory_for_the_worst_pattern(self):
        self.write(LOG, log_line(url="/" + "a" * 2000))
        for pattern, status in ("*a*a*b", 0), (WORST, 1):
            run = self.run_program("username=ann", "date=03012000,03312000", "edition=modern", f"find={pattern}",
                                   "find_pattern=1", "subdirs=0", "requests=1", address_space=8 * MIB)
            self.assertEqual((run.status, run.is_complete()), (status, status == 0))
            self.assertTrue(status == 0 or run.page == b"")


class Filters(Matching):
    # Measured: 60,000 items in 0.68 s, 4.0 times the time of a quarter; 1.9 MiB.
    def test_domains(self):
        filters = ",".join("a" * 20 + chr(ord("b") + i) for i in range(11))
        self.check_records(1500, lambda i: log_line(host="a" * 243), f"filter_domains={filters}", "domains=1")

    # Measured: 200,000 items in 0.14 s, 4.0 times the time of a quarter; 2.2 MiB.
    def test_many_domains(self):
        self.check_records(5000, lambda i: log_line(host="a" * 243), "filter_domains=" + "b," * 120 + "b",
                           "domains=1")

    # Measured: 200,000 items in 0.16 s, 3.5 times the time of a quarter; 2.1 MiB.
    def test_referrers(self):
        self.check_records(5000, lambda i: log_line(referrer="http://" + "a" * 236), "filter_referrers=1",
                           "filter_domains=" + "b," * 120 + "b", "referrers=1")

    # Measured: 200,000 items in 0.06 s, 3.7 times the time of a quarter; 2.1 MiB.
    def test_file_types(self):
        self.check_records(5000, lambda i: log_line(url="/a." + "a" * 240),
                           "filter_filetypes=" + ("a" * 20 + "b,") * 11 + "b", "requests=1")


class SearchEngines(Matching):
    """A referrer costs at most what all definitions take together, and allocates nothing."""

    def define(self, definition):
        self.write("orvellis.conf", "".join(f"search=Engine {i};{definition(i)}\n" for i in range(34)), ACCOUNT)

    # As many fragments as lines hold, all of which occur in the host, none with a variable in the query.
    # Measured: 2,400 items in 2.98 s, 4.0 times the time of a quarter; 2.3 MiB.
    def test_fragments_that_all_occur(self):
        self.define(lambda i: "domain=a;vars=b;" * 95)
        self.check_records(60, lambda i: log_line(referrer="http://" + "a" * 100 + "/?" + "c=&" * 40), "search=1")

    # Measured: 20,000 items in 0.02 s, 3.2 times the time of a quarter; 2.0 MiB.
    def test_fragments_that_nearly_occur(self):
        self.define(lambda i: ("domain=" + "a" * 20 + "ba;vars=b;") * 40)
        self.check_records(500, lambda i: log_line(referrer="http://" + "a" * 180 + "ba/?b=c"), "search=1")

    # Measured: 240 items in 4.16 s, 3.9 times the time of a quarter; 2.9 MiB.
    def test_variables(self):
        self.define(lambda i: "domain=a;vars=" + "b," * 750)
        self.check_records(6, lambda i: log_line(referrer="http://a/?" + "c=&" * 70), "search=1")

    # Measured: 200,000 items in 0.07 s, 3.7 times the time of a quarter; 2.0 MiB.
    def test_escapes(self):
        self.check_records(5000, lambda i: log_line(referrer="http://www.yahoo.com/?p=" + "%41%" * 50), "search=1")

    # Measured: 800,000 items in 0.28 s, 4.2 times the time of a quarter; 86.1 MiB.
    def test_phrases_of_one_engine(self):
        def make(count):
            self.write(LOG, (log_line(referrer=f"http://www.yahoo.com/?p={i}") for i in range(count)))

        self.check_growth(20000, make, "search=1,10", bytes_each=150)


main()
