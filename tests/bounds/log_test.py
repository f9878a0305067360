"""Logs: large files, long lines, and lines made to cost much."""

import os
import re
import sys

from bounds import BoundsCase, GROWTH, MIB, PROGRAM_SIZE, REQUEST, SUMMARY, TIMES, log_line, main

GIB = 1 << 30
LOG = "logs/a.log"
BLOCK = 8192
WINDOW = 8 * BLOCK


def byte_text(number):
    """A number of bytes as pages show it: what is behind the thousand millions goes without zeros in front."""
    billions, units = divmod(number, 1000000000)
    return f"{int(f'{billions}{units}'):,}"


class LogCase(BoundsCase):
    def check_head(self, run, hits, served=None, read=None):
        self.assertTrue(run.is_complete())
        for label, text in [("HTTP Requests", f"{hits:,}"), ("HTTP Bytes Served", served and byte_text(served)),
                            ("Log Bytes Read", read and byte_text(read))]:
            if text is not None:
                shown = run.page.partition(f'<b>{label}:</b></td><td width="50%">'.encode())[2]
                self.assertEqual(re.split(b"[ <]", shown, maxsplit=1)[0].decode(), text, label)


class Lines(LogCase):
    """Memory does not grow with the log, whatever its lines are."""

    def check(self, size, *parts, hits=2, arguments=("requests=1",)):
        def make(count):
            self.write(LOG, *(part(count) if callable(part) else part for part in parts))

        run = self.check_growth(size, make, *arguments, bytes_each=0)
        self.check_head(run, hits, read=os.path.getsize(LOG))
        return run

    # Measured: 800,000 items in 0.13 s, 4.0 times the time of a quarter; 2.1 MiB.
    def test_records(self):
        self.check(25000, lambda count: log_line() * count, hits=25000 * TIMES * GROWTH)

    # Measured: 160,000,000 items in 0.16 s, 3.4 times the time of a quarter; 2.1 MiB.
    def test_empty_lines(self):
        self.check(4000000, log_line(), lambda count: "\r\n" * count, log_line(1))

    # Measured: 8,000,000 items in 0.13 s, 4.4 times the time of a quarter; 2.2 MiB.
    def test_lines_of_one_character(self):
        self.check(250000, log_line(), lambda count: "x\n" * count, log_line(1))

    # Measured: 10,000,000 items in 0.13 s, 4.3 times the time of a quarter; 2.0 MiB.
    def test_lines_that_end_at_byte_255(self):
        self.check(250000, log_line(), lambda count: "x\xff" * count, "\n", log_line(1))

    # Measured: 8,000,000 items in 0.28 s, 4.1 times the time of a quarter; 2.1 MiB.
    def test_comments(self):
        self.check(250000, log_line(), lambda count: "#\n!!\n;\n" * count, log_line(1))

    # Measured: 160,000,000 items in 0.03 s, 2.9 times the time of a quarter; 2.1 MiB.
    def test_zeros(self):
        self.check(4000000, log_line(), lambda count: "\0" * count, "\n", log_line(1))

    # Every quote hides what ends a field, and no field ends.
    # Measured: 64,000 items in 0.03 s, 3.9 times the time of a quarter; 1.9 MiB.
    def test_quotes(self):
        self.check(2000, log_line(), lambda count: ('"' * 1535 + "\n") * count, log_line(1))

    # Measured: 64,000 items in 0.15 s, 3.6 times the time of a quarter; 2.2 MiB.
    def test_quotes_that_are_never_closed(self):
        line = "' \" [" * 300 + "\n"
        self.check(2000, log_line(), lambda count: line * count, log_line(1))

    # Measured: 64,000 items in 0.03 s, 3.7 times the time of a quarter; 2.0 MiB.
    def test_empty_fields(self):
        self.check(2000, log_line(), lambda count: (" " * 1535 + "\n") * count, log_line(1))

    # Measured: 64,000 items in 0.03 s, 3.2 times the time of a quarter; 2.2 MiB.
    def test_commas(self):
        self.check(2000, log_line(), lambda count: ("," * 1535 + "\n") * count, log_line(1))

    # Measured: 64,000 items in 1.07 s, 4.1 times the time of a quarter; 2.1 MiB.
    def test_numbers_and_letters_of_no_date(self):
        line = "1a" * 767 + "\n" + "1/1/1/1 " * 190 + "\n" + "a, 1 a " * 200 + "\n"
        self.check(2000, lambda count: line * count, log_line(), hits=1)

    # Measured: 32,000 items in 0.09 s, 2.1 times the time of a quarter; 2.2 MiB.
    def test_header_lines(self):
        names = "#Fields: " + "x " * 760 + "\n"
        self.check(1000, log_line(), "!!LOG_FORMAT DATE TIME\n", lambda count: names * count,
                   "!!LOG_FORMAT COMMON_LOG_FORMAT\n", log_line(1))

    # A label for each header line goes out while the log is read.
    # Measured: 640,000 items in 0.20 s, 4.8 times the time of a quarter; 2.0 MiB.
    def test_labels_of_a_debugging_run(self):
        header = "!!LOG_FORMAT COMMON_LOG_FORMAT\nformat=%Ses->client.ip%\n"
        self.write("orvellis.conf", "Debug=9\nuser=ann;logs=logs/*.log;url=http://www.example.com;password=*\n")

        def make(count):
            self.write(LOG, header * count, "!!LOG_FORMAT COMMON_LOG_FORMAT\n", log_line())

        run = self.check_growth(20000, make, "requests=1")
        self.assertLess(run.memory, PROGRAM_SIZE)
        self.assertLess(len(run.page), 60 * 20000 * TIMES * GROWTH + 20000)

    # Measured: 1,000,000 items in 0.11 s, 3.9 times the time of a quarter; 2.1 MiB.
    def test_spaces_to_the_server(self):
        run = self.check(25000, lambda count: log_line() * count, hits=25000 * TIMES * GROWTH,
                         arguments=("flushtoserver=1",))
        self.assertEqual(run.page.count(b" " * (25000 * TIMES * GROWTH // 1001)), 1)

    # Each record lies in another hour than the one before, whose cached times it replaces.
    # Measured: 640,000 items in 0.14 s, 3.8 times the time of a quarter; 2.2 MiB.
    def test_times_in_no_order(self):
        self.check(20000, lambda count: (log_line(i * 7919 * 3600 % 2678400) for i in range(count)),
                   hits=20000 * TIMES * GROWTH)

    # Measured: 320,000 items in 0.16 s, 3.6 times the time of a quarter; 1.9 MiB.
    def test_escapes(self):
        header = "#Software: Microsoft Internet Information Server 4.0\n#Fields: date time c-ip cs-uri-stem" \
                 " cs-uri-query cs(User-Agent)\n"
        line = "2000-03-06 10:00:00 192.0.2.1 /" + "%41" * 80 + " " + "%" * 243 + " " + "%%+" * 81 + "\n"
        self.check(10000, header, lambda count: line * count, hits=10000 * TIMES * GROWTH,
                   arguments=("browsers=1", "requests=1", "showquery=1"))

    # Measured: 320,000 items in 0.22 s, 2.6 times the time of a quarter; 2.1 MiB.
    def test_lines_of_full_length(self):
        line = log_line(host="h" * 243, url="/" + "u" * 242, referrer="http://www.example.org/" + "r" * 220,
                        agent="M" * 243)
        self.check(10000, lambda count: line * count, hits=10000 * TIMES * GROWTH,
                   arguments=("requests=1", "referrers=1", "browsers=1", "domains=1", "domaintypes=1"))

    # Measured: 1,073,741,824 items in 1.79 s, 4.0 times the time of a quarter; 2.1 MiB.
    def test_one_line_in_front(self):
        self.check(8 * MIB, lambda count: "x" * count, "\n", log_line(), hits=1)

    # Measured: 1,073,741,824 items in 0.69 s, 4.3 times the time of a quarter; 2.1 MiB.
    def test_one_line_at_the_end(self):
        self.check(8 * MIB, log_line(), lambda count: "x" * count, hits=1)


class LargeLogs(LogCase):
    """Logs with holes: as large as the file system allows, and on the disk next to nothing."""

    # Memory gives the zeros of a hole at once, which disks have to make.
    place = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None

    def lay_out(self, size, records):
        """A log of a given size that is all zeros but for records at offsets, on lines of their own."""
        with open(LOG, "wb") as log:
            log.truncate(size)
            for offset, text in records.items():
                log.seek(offset)
                log.write(text.encode())

    def check(self, size, records, hits, served):
        self.lay_out(size, records)
        run = self.run_program(*REQUEST, "requests=1", "dailytotals=1")
        print(f"{self.id()}: {size / GIB:.2f} GiB, {run.seconds:.3f} s, {run.memory / MIB:.1f} MiB", file=sys.stderr)
        self.check_head(run, hits, served, read=size)
        self.assertLess(run.memory, PROGRAM_SIZE)
        return run

    # Measured: 0.05 s, 2.1 MiB.
    def test_line_of_a_gibibyte(self):
        end = "\n" + log_line(1, size=7)
        self.check(GIB, {0: log_line(size=5), GIB - len(end): end}, hits=2, served=12)

    # The first date is behind the line: it is found by the reader that goes from the start.
    # Measured: 0.21 s, 2.2 MiB.
    def test_line_of_an_eighth_of_a_gibibyte_in_front(self):
        end = "\n" + log_line(1, size=7)
        self.check(GIB // 8, {GIB // 8 - len(end): end}, hits=1, served=7)

    # The last date is before the line: it is found by the one that goes back from the end.
    # Measured: 0.04 s, 2.0 MiB.
    def test_line_of_an_eighth_of_a_gibibyte_behind(self):
        self.check(GIB // 8, {0: log_line(size=5)}, hits=1, served=5)

    # Records on both sides of 4 GiB, across it, and across the ends of windows and blocks near it.
    # Measured: 0.20 s (10 s where the disk makes the zeros), 2.0 MiB.
    def test_log_beyond_4_gibibytes(self):
        records = {0: log_line(size=10, url="/first.html")}
        for number, place in enumerate([WINDOW, 4 * GIB - WINDOW, 4 * GIB - BLOCK, 4 * GIB, 4 * GIB + WINDOW]):
            records[place - 20] = "\n" + log_line(number + 1, size=100, url=f"/place{number}.html")
        size = 4 * GIB + 3 * WINDOW + 12345
        end = "\n" + log_line(99, size=999999000, url="/last.html")
        records[size - len(end)] = end
        run = self.check(size, records, hits=7, served=999999510)
        for url in ["/first.html", "/last.html", *(f"/place{i}.html" for i in range(5))]:
            self.assertIn(f">{url}</a>".encode(), run.page)
        # Sizes are kept modulo 2 to the power of 32.
        with open(SUMMARY, encoding="ascii") as summary:
            self.assertIn(f"\n{size % (1 << 32)},951868800,951868899,", summary.read())


main()
