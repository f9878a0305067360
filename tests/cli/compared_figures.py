#!/usr/bin/env python3
"""What reports tell of the days that theirs are compared with, against figures counted here: requests, statuses, errors
and bytes, in all and by day, with and without filters, of logs in any order, by one process, by three, and by parts.

    compared_figures.py PROGRAM PROJECT
"""
import csv
import datetime
import io
import json
import pathlib
import random
import sys
import tempfile

sys.dont_write_bytecode = True
import dimension_figures as made  # pylint: disable=wrong-import-position

ROUNDS = 25
DAY = datetime.timedelta(days=1)
FIRST = datetime.date(2003, 12, 1)  # behind which a year has a 29th of February


def year_before(day, years):
    try:
        return day.replace(year=day.year - years)
    except ValueError:
        return datetime.date(day.year - years, 2, 28)


def compared_days(way, first, last):
    length = (last - first).days + 1
    if way == "year":
        years = next(years for years in range(1, 9) if year_before(last, years) < first)
        return year_before(first, years), year_before(last, years)
    back = next(back for back in range(length, length + 7) if way == "previous" or back % 7 == 0) * DAY
    return first - back, last - back


def line(chance, day):
    moment = f"{day:%d/%b/%Y}:{chance.randrange(24):02}:{chance.randrange(60):02}:00 +0000"
    url, status, size = chance.choice(["/", "/docs/a", "/logo.gif"]), chance.choice([200, 200, 304, 404, 500]), chance.randrange(10**6)
    text = f'192.0.2.{chance.randrange(9)} - - [{moment}] "GET {url} HTTP/1.1" {status} {size}\n'
    return text, (day, url, status, size)


def figures(requests, first, last):
    inside = [request for request in requests if first <= request[0] <= last]
    return {"from": str(first), "to": str(last), "requests": len(inside), "bytes": sum(request[3] for request in inside),
            "with_status": len(inside), "errors": sum(request[2] >= 400 for request in inside)}


def check(folder, chance):
    days = chance.choice([20, 120, 800])
    lines, requests = zip(*(line(chance, FIRST + chance.randrange(days) * DAY) for _ in range(chance.randrange(1, 2000))))
    lines = list(lines)
    chance.shuffle(lines)
    half = chance.randrange(len(lines) + 1)
    pathlib.Path(folder, "0.log").write_text("".join(lines[:half]), encoding="ascii")
    pathlib.Path(folder, "1.log").write_text("".join(lines[half:]), encoding="ascii")
    first = FIRST + chance.randrange(days) * DAY
    last = first + chance.choice([0, 1, 6, 7, 30, 90, 400]) * DAY
    way = chance.choice(["previous", "weekdays", "year", "Previous"])
    kinds = {"": lambda request: True, "only_statuses=2xx": lambda request: request[2] == 200,
             "filter_filetypes=gif": lambda request: not request[1].endswith(".gif"),
             "find=/docs/": lambda request: request[1].startswith("/docs/")}
    narrowed = chance.choice(list(kinds))
    left = [request for request in requests if kinds[narrowed](request)]
    before = compared_days(way.lower(), first, last)
    asked = [word for word in ("output=json", "days=", f"from={first}", f"to={last}", f"compare={way}", "subdirs=1", "dailytotals=1", narrowed) if word]
    text = made.run(folder, *asked)
    report = json.loads(text)
    assert report["compared"] == figures(left, *before), (asked, report["compared"], figures(left, *before))
    assert report["totals"]["requests"] == figures(left, first, last)["requests"]
    rows = report["sections"]["dailytotals"]["rows"]
    for number, row in enumerate(rows):
        day = before[0] + number * DAY
        want = sum(request[0] == day for request in left) if day <= before[1] else None
        assert row.get("before") == want, (row, day, want)
    table = csv.DictReader(io.StringIO(made.run(folder, *asked, "output=csv", "section=dailytotals").decode()))
    assert [row["before"] for row in table] == [str(row.get("before", "")) for row in rows]
    assert made.run(folder, *asked, "workers=3,100") == text
    parts = b"".join(made.run(folder, *asked, "part=-", b"piece=" + piece) for piece in made.run(folder, *asked, "plan=4K").splitlines())
    assert made.run(folder, *asked, "merge=-", given=parts) == text


def main():
    for number in range(ROUNDS):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "orvellis.conf").write_text("user=ann;logs=*.log;password=*\n", encoding="ascii")
            check(folder, random.Random(number))
    print(f"{ROUNDS} comparisons")


main()
