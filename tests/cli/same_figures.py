#!/usr/bin/env python3
"""Whatever the order of the lines, the files that they stand in, how these are packed, what is kept of them and
in which zones their times are written: a report in any zone has the figures that are counted here, with Python's
own zones.

    same_figures.py PROGRAM
"""

import bz2
import collections
import datetime
import gzip
import json
import lzma
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
import zoneinfo

SEED = 20240331
ZONES = ["UTC", "Europe/Berlin", "America/New_York", "Asia/Kolkata", "Australia/Lord_Howe", "America/Sao_Paulo",
         "America/Havana", "Pacific/Kiritimati"]
# Clocks change: in Europe and in the United States, in Cuba and Brazil at midnight, on Lord Howe by half an hour.
CHANGES = ["2017-10-15T03", "2018-02-18T02", "2017-10-01T15", "2018-03-31T15", "2018-03-11T05", "2018-03-11T07",
           "2018-03-25T01", "2017-10-29T01", "2017-11-05T05", "2017-11-05T06"]
OFFSETS = [0, 60, -420, 330, 630, 845, -210]  # minutes that stand beside times
MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
WEEKDAYS = "Monday Tuesday Wednesday Thursday Friday Saturday Sunday".split()
UTC = datetime.timezone.utc
PACKERS = [bytes, gzip.compress, bz2.compress, lzma.compress]

Record = collections.namedtuple("Record", "form moment offset page size")


def made_up_records(chance, count):
    """Most of them within hours of a clock change; moment is what a clock in Greenwich shows, or for the form
    "bare" one in the zone of whatever report."""
    for number in range(count):
        change = datetime.datetime.fromisoformat(chance.choice(CHANGES) + ":00:00")
        spread = chance.choice([3 * 3600, 3 * 3600, 40 * 86400])
        moment = change + datetime.timedelta(seconds=chance.randrange(-spread, spread))
        form = chance.choice(["common", "common", "common", "bare", "json", "epoch", "w3c"])
        yield Record(form, moment, chance.choice(OFFSETS), chance.randrange(9), number % 7919)


def common_time(moment):
    return f"{moment.day:02}/{MONTHS[moment.month - 1]}/{moment:%Y:%H:%M:%S}"


def zone_text(minutes, colon=""):
    return f"{'-' if minutes < 0 else '+'}{abs(minutes) // 60:02}{colon}{abs(minutes) % 60:02}"


def line_of(record):
    there = record.moment + datetime.timedelta(minutes=record.offset)
    request = f'"GET /page{record.page} HTTP/1.1" 200 {record.size}'
    if record.form == "common":
        return f"192.0.2.7 - - [{common_time(there)} {zone_text(record.offset)}] {request}"
    if record.form == "bare":
        return f"192.0.2.7 - - [{common_time(record.moment)}] {request}"
    if record.form == "w3c":
        return f"{record.moment:%Y-%m-%d %H:%M:%S} 192.0.2.7 GET /page{record.page} 200 {record.size}"
    if record.form == "json":
        moment = f"{there:%Y-%m-%dT%H:%M:%S}{zone_text(record.offset, ':')}"
    else:
        moment = record.moment.replace(tzinfo=UTC).timestamp()
    return json.dumps({"time": moment, "remote_addr": "192.0.2.7", "request": f"GET /page{record.page} HTTP/1.1",
                       "status": 200, "body_bytes_sent": record.size})


def shown(record, zone):
    """When the report says that it was. A time that the clocks leave out is moved by the hour that they go
    forward, as Python has it."""
    if record.form == "bare":
        return record.moment.replace(tzinfo=zone).astimezone(UTC).astimezone(zone)
    return record.moment.replace(tzinfo=UTC).astimezone(zone)


def figures_counted_here(records, zone, first, last):
    days, hours, pages = collections.Counter(), collections.Counter(), collections.Counter()
    size = 0
    for record in records:
        when = shown(record, zone)
        if first <= when.date() <= last:
            days[when.date().isoformat()] += 1
            hours[f"{WEEKDAYS[when.weekday()]} {when.hour:02}"] += 1
            pages[f"/page{record.page}"] += 1
            size += record.size
    return {"requests": sum(days.values()), "bytes": size, "days": days, "hours": hours, "pages": pages}


def figures_of_report(text):
    report = json.loads(text)
    assert "error" not in report, text
    counts = {name: collections.Counter({row["item"]: row["count"] for row in section["rows"] if row["count"]})
              for name, section in report["sections"].items()}
    return {"requests": report["totals"]["requests"], "bytes": report["totals"]["bytes"],
            "days": counts.get("dailytotals", {}), "hours": counts.get("hoursofweek", {}),
            "pages": counts.get("requests", {})}


class Site:
    """A folder of logs, and another one of what is kept of them."""

    def __init__(self, program, folder):
        self.program = program
        self.folder = folder
        self.packers = {}
        self.store = os.path.join(folder, "store")
        os.makedirs(os.path.join(folder, "logs"))
        os.mkdir(self.store, 0o700)
        with open(os.path.join(folder, "orvellis.conf"), "w") as conf:
            conf.write("Edition=modern\nuser=ann;logs=logs/access.log*;url=http://www.example.com;password=*\n")

    def add(self, name, lines):
        """Packed by itself, as are pieces that are there already: a file of several members."""
        with open(os.path.join(self.folder, "logs", name), "ab") as log:
            log.write(self.packers[name]("".join(line + "\n" for line in lines).encode()))

    def write_all(self, records, chance):
        """In the order of time from file to file, or in none; in any case in none within a file."""
        if chance.randrange(4):
            records = sorted(records, key=lambda record: record.moment)
        else:
            records = chance.sample(records, len(records))
        files = chance.randrange(1, 9)
        for part in range(files):
            mine = records[len(records) * part // files:len(records) * (part + 1) // files]
            self.write(part, chance.sample(mine, len(mine)), chance)

    def write(self, number, records, chance):
        for kind, head in ("other", []), ("w3c", ["#Fields: date time c-ip cs-method cs-uri-stem sc-status sc-bytes"]):
            name = f"access.log.{number}{kind}"
            lines = [line_of(record) for record in records if (record.form == "w3c") == (kind == "w3c")]
            self.packers[name] = chance.choice(PACKERS)
            middle = chance.randrange(len(lines) + 1)
            self.add(name, head + lines[:middle])
            self.add(name, lines[middle:])

    def grow(self, records, chance):
        for record in records:
            kind = "w3c" if record.form == "w3c" else "other"
            name = chance.choice(sorted(name for name in self.packers if name.endswith(kind)))
            self.add(name, [line_of(record)])

    def damage(self, chance):
        for name in sorted(os.listdir(self.store)):
            path = os.path.join(self.store, name)
            with open(path, "rb") as entry:
                text = bytearray(entry.read())
            for _ in range(chance.randrange(1, 4)):
                text[chance.randrange(len(text))] = chance.randrange(256)
            with open(path, "wb") as entry:
                entry.write(text[:chance.randrange(len(text)) if chance.randrange(2) else len(text)])

    def report(self, zone, by_parameter, days, store=True):
        arguments = ["username=ann", "requests=1,0", "dailytotals=1", "hoursofweek=1", "output=json", *days]
        environment = {"LC_ALL": "C", "SOURCE_DATE_EPOCH": "1709700000",
                       "ORVELLIS_CACHE": self.store if store else ""}
        if by_parameter:
            environment["TZ"] = "<+0123>-1:23"
            arguments.append(f"timezone={zone}")
        else:
            environment["TZ"] = zone
        run = subprocess.run([self.program, *arguments], cwd=self.folder, env=environment, capture_output=True)
        assert run.returncode == 0 and not run.stderr, run
        return run.stdout.decode()


def some_days(chance, records, zone):
    dates = sorted(shown(record, zone).date() for record in records)
    if chance.randrange(5) == 0:
        return ["days=all"], dates[0], dates[-1]
    change = datetime.datetime.fromisoformat(chance.choice(CHANGES) + ":00:00").replace(tzinfo=UTC)
    first = chance.choice([change.astimezone(zone).date(), chance.choice(dates)])
    first += datetime.timedelta(days=chance.choice([0, 0, -1]))
    last = first + datetime.timedelta(days=chance.choice([0, 0, 0, 1, 20]))
    return [f"from={first}", f"to={last}"], first, last


def expect_figures(expected, text, what):
    found = figures_of_report(text)
    if found != expected:
        for name in expected:
            if found[name] != expected[name]:
                print(f"{what}: {name}\n  counted here {expected[name]}\n  reported     {found[name]}")
        sys.exit(1)


def check(site, records, chance, state):
    for number in range(12):
        name = chance.choice(ZONES)
        zone = zoneinfo.ZoneInfo(name)
        days, first, last = some_days(chance, records, zone)
        by_parameter = number % 2 == 0
        text = site.report(name, by_parameter, days)
        expect_figures(figures_counted_here(records, zone, first, last), text, f"{state}, {name}, {days}")
        if site.report(name, by_parameter, days, store=False) != text:
            sys.exit(f"{state}, {name}, {days}: differs without a store")


def wait_until_kept():
    """Of a file that is younger than two seconds nothing is kept."""
    time.sleep(3.1)


def try_all(program, folder):
    chance = random.Random(SEED)
    records = list(made_up_records(chance, 900))
    sites = [Site(program, os.path.join(folder, str(number))) for number in range(6)]
    for site in sites:
        site.write_all(records, chance)
    wait_until_kept()
    for site in sites:
        check(site, records, chance, "empty")
        check(site, records, chance, "filled")
        if not os.listdir(site.store):
            sys.exit("nothing is kept")
        site.damage(chance)
        check(site, records, chance, "damaged")
        check(site, records, chance, "filled again")
        more = list(made_up_records(chance, 40))
        site.grow(more, chance)
        check(site, records + more, chance, "outdated")


try:
    for zone_name in ZONES:
        zoneinfo.ZoneInfo(zone_name)
except zoneinfo.ZoneInfoNotFoundError:
    sys.exit(77)
work = tempfile.mkdtemp()
try:
    try_all(os.path.abspath(sys.argv[1]), work)
finally:
    shutil.rmtree(work)
