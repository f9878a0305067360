#!/usr/bin/env python3
"""Reads drawn charts in again and compares them with sums made by Python's calendar.

  charts_test.py DRAW

DRAW is the program draw.cpp. Counts are random, of every size, and hostile.
"""
import datetime
import random
import re
import subprocess
import sys
import unittest
import xml.etree.ElementTree as xml

EPOCH = datetime.date(1970, 1, 1).toordinal()
LARGEST = 2**63 - 1
MOST_MARKS = 124
MOST_FOCUSED = 62
WEEKDAYS = ["Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"]


def draw(*arguments, counts=()):
    run = subprocess.run([DRAW, *map(str, arguments)], input="\n".join(map(str, counts)), text=True,
                         capture_output=True, check=True, timeout=60)
    return run.stdout


def number(text):
    return int(text.replace(",", ""))


def classes(element):
    return element.get("class", "").split()


def texts(svg, group):
    return [text.text for text in svg.iterfind(f"g[@class='{group}']/text")]


def round_step(text):
    """The value of a figure beside a line."""
    match = re.fullmatch(r"([\d,]+)(?:\.(\d))?(?: ([MGTPE]))?", text)
    unit = 1000**(2 + "MGTPE".index(match[3])) if match[3] else 1
    return number(match[1]) * unit + int(match[2] or 0) * unit // 10


class Chart:
    def __init__(self, text):
        self.text = text
        self.figure = xml.fromstring(text)
        self.svg = self.figure.find("svg")
        self.caption = self.figure.find("figcaption").text
        self.marks = list(self.svg.iterfind("g[@class='marks']/g"))
        self.titles = [mark.find("title").text for mark in self.marks]
        self.counts = [number(re.search(r": ([\d,]+) requests?$", title)[1]) for title in self.titles]


# ---- The calendar by Python ----

def periods(first, days):
    """What the days may be summed up by, from the finest on: names, and a number for each day."""
    dates = [datetime.date.fromordinal(EPOCH + first + i) for i in range(days)]
    yield "day", dates, list(range(days))
    yield "week", dates, [d.isocalendar()[:2] for d in dates]
    yield "month", dates, [(d.year, d.month) for d in dates]
    yield "year", dates, [d.year for d in dates]
    yield "ten years", dates, [d.year // 10 for d in dates]
    yield "a hundred years", dates, [d.year // 100 for d in dates]


def sums(dates, keys, counts):
    bars = []
    for i, key in enumerate(keys):
        if not bars or bars[-1]["key"] != key:
            bars.append({"key": key, "first": dates[i], "count": 0})
        bars[-1]["last"] = dates[i]
        bars[-1]["count"] = min(bars[-1]["count"] + counts[i], LARGEST)
    return bars


def name_of(bar):
    if bar["first"] == bar["last"]:
        return f"{WEEKDAYS[bar['first'].weekday()]} {bar['first'].isoformat()}"
    return f"{bar['first'].isoformat()} to {bar['last'].isoformat()}"


def is_whole(period, bar):
    before = bar["first"] - datetime.timedelta(1)
    after = bar["last"] + datetime.timedelta(1)
    for date, outside in ((bar["first"], before), (bar["last"], after)):
        inside, beyond = ([keys for name, _, keys in periods(d.toordinal() - EPOCH, 1) if name == period]
                          for d in (date, outside))
        if inside == beyond and period != "day":
            return False
    return True


# ---- The axis by the calendar ----

LABELLINGS = [("day", 1, "month"), ("week", 1, "month"), ("month", 1, "year"), ("month", 3, "year"), ("month", 6, "year"),
              *(("year", every, None) for every in (1, 2, 5, 10, 20, 50, 100, 200, 500, 1000))]
NUMBERS = {"day": lambda d: d.toordinal(), "week": lambda d: (d.toordinal() - datetime.date(1, 1, 1).toordinal()) // 7,
           "month": lambda d: 12 * d.year + d.month - 1, "year": lambda d: d.year}
MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
NAMES = {"day": lambda d: str(d.day), "week": lambda d: str(d.day), "month": lambda d: MONTHS[d.month - 1],
         "year": lambda d: str(d.year), "month and year": lambda d: f"{MONTHS[d.month - 1]} {d.year}"}


def begins(unit, every, bar):
    """Whether such a unit begins within a bar. The first day of Python's calendar was a Monday."""
    before, number = NUMBERS[unit](bar["first"] - datetime.timedelta(1)), NUMBERS[unit](bar["last"])
    return before // every != number // every


def bar_at(label, bars):
    return int(float(label.get("x").removesuffix("%")) / 100 * len(bars))


class ChartsTest(unittest.TestCase):
    def check_heights(self, chart):
        """Bars stand on the line and are as high as their counts say, by the figures beside the lines."""
        lines = chart.svg.findall("g[@class='grid']/line")
        figures = [round_step(text) for text in texts(chart.svg, "grid")]
        self.assertLessEqual(len(lines), 5)
        self.assertEqual(len(figures), len(lines) + 1)
        self.assertEqual(figures[0], 0)
        largest = max(chart.counts, default=0)
        if largest:
            self.assertGreaterEqual(figures[-1], largest)
            self.assertLess(figures[-2], largest)
            self.assertRegex(str(figures[1]), "^[125]0*$")
            self.assertEqual(figures, [i * figures[1] for i in range(len(figures))])
        for i, line in enumerate(lines):
            self.assertAlmostEqual(float(line.get("y1")), 230 - 200 * (i + 1) / len(lines), delta=0.06)
        for mark, count in zip(chart.marks, chart.counts):
            answering, bar = mark.findall("rect")
            height = float(bar.get("height"))
            if count == 0:
                self.assertEqual(classes(bar), ["none"])
                self.assertEqual(bar.get("y"), "231")
            else:
                self.assertAlmostEqual(height, max(200 * count / figures[-1], 2), delta=0.06)
                self.assertAlmostEqual(float(bar.get("y")) + height, 230, delta=0.001)

    def check_places(self, chart):
        """Bars lie side by side in order, each within what answers for it."""
        end = 0
        for mark in chart.marks:
            (left, width), (bar_left, bar_width) = (
                [float(rect.get(name).removesuffix("%")) for name in ("x", "width")] for rect in mark.findall("rect"))
            self.assertAlmostEqual(left, end, delta=0.001)
            end = left + width
            self.assertGreater(bar_width, 0.5)
            self.assertGreaterEqual(bar_left, left)
            self.assertLessEqual(bar_left + bar_width, end + 0.001)
        if chart.marks:
            self.assertAlmostEqual(end, 100, delta=0.001)

    def check_bars(self, chart):
        self.assertLessEqual(len(chart.marks), MOST_MARKS)
        self.assertNotRegex(chart.text, r"nan|inf|e[+-]\d|\"-\d\d")
        self.assertLess(len(chart.text), 25000)
        focused = len(chart.marks) <= MOST_FOCUSED
        self.assertEqual(chart.svg.get("role"), "group" if focused else "img")
        for mark, title in zip(chart.marks, chart.titles):
            self.assertEqual(mark.get("tabindex"), "0" if focused else None)
            tip = mark.find("text[@class='tip']")
            self.assertEqual(None if tip is None else tip.text, title if focused else None)
        self.assertEqual("A mark below the line" in chart.caption, 0 in chart.counts)
        if max(chart.counts, default=0):
            self.assertIn(chart.titles[chart.counts.index(max(chart.counts))], chart.svg.get("aria-label"))
        self.check_heights(chart)
        self.check_places(chart)

    def check_axis(self, chart, bars):
        """Labels by the calendar, as many as fit: which unit begins within which bar."""
        for unit, every, below in LABELLINGS:
            begun = [i for i, bar in enumerate(bars) if begins(unit, every, bar)]
            if len(begun) <= 14:
                break
        labels = chart.svg.findall("g[@class='axis']/text")
        upper = [x for x in labels if classes(x) in ([], ["wide"])]
        self.assertEqual([bar_at(x, bars) for x in upper], begun)
        self.assertEqual([x.text for x in upper], [NAMES[unit](bars[i]["last"]) for i in begun])
        self.assertLessEqual(len([x for x in upper if not classes(x)]), 7)
        self.assertTrue(len(begun) > 7 or not any(classes(x) for x in upper))
        lower = [x for x in labels if x not in upper]
        if below is None:
            self.assertEqual(lower, [])
            return
        begun = [i for i in range(1, len(bars)) if begins(below, 1, bars[i])]
        name = "month and year" if below == "month" else "year"
        wanted = [NAMES[name](bars[i]["last"]) for i in begun]
        first = [] if len(lower) == len(begun) else [NAMES[name](bars[0]["last"])]
        self.assertEqual([x.text for x in lower], first + wanted)
        if begun:  # it is left out only where it would reach the next one
            self.assertEqual(bool(first), begun[0] * 100 >= len(bars) * {"month": 18, "year": 13}[below])

    def check_days(self, first, counts):
        with self.subTest(first=first, days=len(counts)):
            chart = Chart(draw("days", first, counts=counts))
            self.check_bars(chart)
            coarser = list(periods(first, len(counts)))
            for period, dates, keys in coarser:
                bars = sums(dates, keys, counts)
                if len(bars) == len(chart.marks):
                    break
                # As many would nearly be too many, however the days lie.
                self.assertGreater(len(bars), MOST_MARKS - 5)
            self.assertIn(f"Requests by {period}.".split(".")[0], chart.svg.get("aria-label"))
            self.assertEqual(chart.titles, [f"{name_of(bar)}: {bar['count']:,} request{'s' * (bar['count'] != 1)}"
                                            for bar in bars])
            for bar, mark in zip(bars, chart.marks):
                weekend = period == "day" and bar["first"].weekday() >= 5
                expected = ["w"] if weekend else [] if is_whole(period, bar) else ["p"]
                self.assertEqual(classes(mark), expected, name_of(bar))
            self.assertEqual("outlined" in chart.caption, not all(is_whole(period, bar) for bar in bars))
            self.check_axis(chart, bars)

    # ---- Days ----

    def test_random_days(self):
        for seed in range(150):
            rng = random.Random(seed)
            days = int(2**rng.uniform(0, 13.5))
            size = 2**rng.uniform(0, 62)
            counts = [0 if rng.random() < 0.2 else int(rng.uniform(0, size)) for _ in range(days)]
            first = rng.randrange(datetime.date(2, 1, 1).toordinal(), datetime.date(9900, 1, 1).toordinal())
            self.check_days(first - EPOCH, counts)

    def test_every_length_near_a_change_of_the_period(self):
        for days in (*range(1, 16), 61, 62, 63, 123, 124, 125, 126, 853, 854, 855, 3415, 3416, 3417):
            self.check_days(datetime.date(2023, 10, 4).toordinal() - EPOCH, [3] * days)

    def test_hostile_days(self):
        first = datetime.date(2026, 2, 1).toordinal() - EPOCH
        self.check_days(first, [0] * 40)
        self.check_days(first, [LARGEST])
        self.check_days(first, [LARGEST] * 400)
        self.check_days(first, [1] * 20 + [10**12] + [1] * 20)
        self.check_days(first, [7] * 90)

    def test_no_day_at_all(self):
        chart = Chart(draw("days", 0))
        self.assertEqual(chart.marks, [])
        self.check_bars(chart)

    def test_ten_thousand_years(self):
        first = datetime.date(1, 1, 1).toordinal()
        days = datetime.date(9999, 12, 31).toordinal() - first + 1
        counts = [0] * days
        counts[datetime.date(2026, 11, 22).toordinal() - first] = 5
        counts[0] = counts[-1] = 2
        chart = Chart(draw("days", first - EPOCH, counts=counts))
        self.check_bars(chart)
        self.assertEqual(len(chart.marks), 100)
        self.assertEqual(chart.titles[0], "0001-01-01 to 0099-12-31: 2 requests")
        self.assertEqual(chart.titles[20], "2000-01-01 to 2099-12-31: 5 requests")
        self.assertEqual(chart.titles[99], "9900-01-01 to 9999-12-31: 2 requests")
        self.assertEqual(sum(chart.counts), 9)

    # ---- Weekdays, hours, the week ----

    def test_weekdays_and_hours(self):
        for seed in range(20):
            rng = random.Random(seed)
            counts = [rng.randrange(-1, int(10**rng.uniform(0, 18)) + 1) for _ in range(24)]
            chart = Chart(draw("hours", counts=counts))
            self.check_bars(chart)
            self.assertEqual(chart.counts, [max(count, 0) for count in counts])
            self.assertEqual(chart.titles[7].split(": ")[0], "07:00 to 07:59")
            chart = Chart(draw("weekdays", counts=counts[:7]))
            self.check_bars(chart)
            self.assertEqual(chart.counts, [max(count, 0) for count in counts[1:7] + counts[:1]])
            self.assertEqual([title.split(":")[0] for title in chart.titles], WEEKDAYS)
            self.assertEqual([classes(mark) for mark in chart.marks], [[]] * 5 + [["w"]] * 2)

    def check_week(self, counts):
        figure = xml.fromstring(draw("hours-of-week", counts=counts))
        cells = figure.findall("svg/svg/path")
        keys = [item.find("svg/rect").get("class") for item in figure.iterfind("ul/li")]
        bounds = [0] + [round_step(item.find("svg").tail.removeprefix("to ")) for item in figure.findall("ul/li")[1:]]
        self.assertEqual(keys, [f"c{i}" for i in range(len(keys))])
        self.assertLessEqual(len(keys), 7)
        self.assertEqual(bounds, [bounds[-1] // max(len(bounds) - 1, 1) * i for i in range(len(bounds))])
        self.assertEqual(len(cells), 168)
        for i, cell in enumerate(cells):
            row, hour = divmod(i, 24)
            count = max(counts[(row + 1) % 7 * 24 + hour], 0)
            self.assertEqual(cell.find("title").text, f"{WEEKDAYS[row]} {hour:02}:00: {count:,}")
            self.assertEqual(cell.get("d"), f"M{hour} {row}h1v1h-1z")
            grade = int(cell.get("class")[1:])
            self.assertLessEqual(count, bounds[grade])
            self.assertTrue(grade == 0 or count > bounds[grade - 1])
        return keys

    def test_week(self):
        self.assertEqual(self.check_week([0] * 168), ["c0"])
        self.check_week([LARGEST] * 168)
        self.check_week([1] * 100 + [10**12] + [1] * 67)
        for seed in range(40):
            rng = random.Random(seed)
            size = 10**rng.uniform(0.7, 18)
            counts = [rng.randrange(-1, int(size)) for _ in range(168)]
            keys = self.check_week(counts)
            self.assertTrue(len(keys) >= 5 or max(counts) < 5, keys)

    # ---- Small drawings ----

    def steps(self, text):
        svg = xml.fromstring(text)
        path = re.fullmatch(r"M0 20((?:V\d+h1)*)V20z", svg.find("path").get("d"))[1]
        heights = [20 - int(y) for y in re.findall(r"V(\d+)h1", path)]
        self.assertEqual(svg.get("viewBox"), f"0 0 {max(len(heights), 1)} 20")
        return heights

    def test_sparks(self):
        self.assertEqual(self.steps(draw("spark")), [])
        self.assertEqual(self.steps(draw("spark", counts=[0, 0])), [0, 0])
        self.assertEqual(self.steps(draw("spark", counts=[1, 2, 0, -5, 4])), [5, 10, 0, 0, 20])
        self.assertEqual(self.steps(draw("spark", counts=[1, 10**12])), [1, 20])
        self.assertEqual(self.steps(draw("spark", counts=[LARGEST] * 200)), [20] * 50)
        self.assertEqual(self.steps(draw("spark", counts=[1, 1, 1] * 40 + [1])), [20] * 40 + [7])

    def test_shares(self):
        for share, width in ((0, "0%"), (1, "100%"), (0.375, "37.5%"), (2, "100%"), (-1, "0%"), ("nan", "0%"),
                             ("inf", "100%"), (1e-9, "0.5%")):
            self.assertEqual(xml.fromstring(draw("share", share)).find("rect").get("width"), width)


DRAW = sys.argv.pop(1)
unittest.main()
