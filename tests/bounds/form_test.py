"""Posted bodies: of any size, and declared to be of any other."""

from bounds import BoundsCase, MIB, PROGRAM_SIZE, REQUEST, log_line, main

WITHOUT_PAGE = b"Content-type: text/html\n\n"


class Body(BoundsCase):
    def setUp(self):
        super().setUp()
        self.write("logs/a.log", log_line())
        self.request = "&" + "&".join(REQUEST) + "&requests=1"

    def check(self, size, piece, end=None):
        def make(count):
            self.write("form", piece * count, self.request if end is None else end)

        run = self.check_growth(size, make, bytes_each=len(piece), form="form")
        self.assertTrue(run.is_complete() or end is not None)

    # Measured: 4,000,000 items in 1.21 s, 3.8 times the time of a quarter; 17.0 MiB.
    def test_fields(self):
        self.check(250000, "a=1&")

    # Measured: 8,000,000 items in 0.012 s; 17.1 MiB.
    def test_fields_without_value(self):
        self.check(500000, "a&", end="")

    # Measured: 8,000,000 items in 2.27 s, 4.1 times the time of a quarter; 17.0 MiB.
    def test_fields_of_nothing(self):
        self.check(500000, "=&")

    # Measured: 8,000,000 items in 0.007 s; 9.6 MiB.
    def test_marks(self):
        self.check(500000, "&")

    # Measured: 8,000,000 items in 0.007 s; 9.4 MiB.
    def test_equal_signs(self):
        self.check(500000, "=")

    # Measured: 480,000 items in 0.20 s, 4.1 times the time of a quarter; 26.2 MiB.
    def test_escapes(self):
        self.check(30000, "%41%3d=%25%%" + "%2" * 20 + "&")

    # Each replaces the one before it.
    # Measured: 160,000 items in 0.11 s, 3.9 times the time of a quarter; 41.1 MiB.
    def test_texts_of_their_own_memory(self):
        self.check(10000, "extraheader=" + "h" * 243 + "&")

    # Measured: 32,000 items in 0.07 s, 3.7 times the time of a quarter; 64.4 MiB.
    def test_values_of_full_length(self):
        self.check(2000, "title=" + "t" * 2041 + "&")

    # Measured: 64,000,000 items in 0.04 s, 3.6 times the time of a quarter; 62.8 MiB.
    def test_one_endless_value(self):
        self.check(4000000, "t", end=self.request + "&title=")


class Length(BoundsCase):
    """The memory of a run is that of what arrives, not of what was declared."""

    def setUp(self):
        super().setUp()
        self.write("logs/a.log", log_line())
        self.write("form", "&".join(REQUEST) + "&requests=1")

    def check_report(self, length, form="form"):
        run = self.run_program(form=form, length=length)
        self.assertTrue(run.is_complete(), run.page)
        self.assertIn(b"Top URLs Requested", run.page)
        self.assertLess(run.memory, PROGRAM_SIZE)

    def check_status_1(self, length):
        run = self.run_program(form="form", length=length)
        self.assertEqual((run.status, run.page), (1, WITHOUT_PAGE))
        self.assertLess(run.memory, PROGRAM_SIZE)

    def test_longest(self):
        self.check_report("2147483647")

    def test_longer_than_the_body(self):
        self.check_report("1000000000")

    def test_junk_behind(self):
        self.check_report("2000000000junk")

    def test_sign_and_blanks(self):
        self.check_report(" \t+1000000000")

    # 32 bits are kept of any number, 64 of one with more.
    def test_beyond_32_bits(self):
        self.check_report(str((1 << 32) + 2000000000))

    def test_31_bits(self):
        self.check_status_1("2147483648")

    def test_negative(self):
        self.check_status_1("-2")

    def test_negative_beyond_32_bits(self):
        self.check_status_1("-4294967298")

    def test_beyond_64_bits(self):
        run = self.run_program(form="form", length="9" * 90)
        self.assertIn(b"Orvellis Error #2:", run.page)
        self.assertLess(run.memory, PROGRAM_SIZE)

    def test_shorter_than_the_body(self):
        request = "&".join(REQUEST) + "&requests=1"
        self.write("long", request, "&" + "x" * (64 * MIB))
        self.check_report(str(len(request)), form="long")


main()
