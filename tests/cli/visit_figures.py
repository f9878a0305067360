#!/usr/bin/env python3
"""The figures of visits against figures counted here, where all requests of a visitor are put into order first: of logs in
one file or in several, in any order, read by one process or by three, kept, or as parts that are added.

    visit_figures.py PROGRAM
"""
import collections
import json
import math
import os
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import time

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
ROUNDS = 12
BEGIN = 985_392_000  # 24th of March 2001, a day before clocks change
VISIT_ENDS = 1800
SETTLED = 3.1  # seconds in which no log is changed before counts of it are kept
SECTIONS = ["visitors=1", "entrypages=1", "exitpages=1"]
Request = collections.namedtuple("Request", "time host url status agent")

HOSTS = ["192.0.2.1", "192.0.2.77", "2001:db8::1", "crawl.example.com", "10.0.0.1"]
AGENTS = {  # whether it is a robot
    "Mozilla/5.0 (X11; Linux x86_64; rv:109.0) Gecko/20100101 Firefox/115.0": False,
    "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/120.0.0.0 Safari/537.36": False,
    "Mozilla/5.0 (compatible; Googlebot/2.1; +http://www.google.com/bot.html)": True,
    "curl/8.5.0": True,
    "-": False,
}
URLS = {  # whether it is a page
    "/": True, "/index.html": True, "/docs/": True, "/docs/a.HTML": True, "/page.php?id=1": True, "/page.php?id=2": True,
    "/guide.pdf": True, "/none": True, "/a.css/b": True, "/caf%C3%A9": True, "/docs/a.html?x=1.png": True,
    "/logo.PNG": False, "/style.css?v=3": False, "/app.js": False, "/font.woff2": False, "/data.json": False, "/feed.xml": False, "/robots.txt": False,
    "/.well-known/x": False, "/docs/robots.txt": True,
}
IS_PAGE = {url.split("?")[0]: page for url, page in URLS.items()}
STATUSES = {200: True, 304: True, 203: True, 204: False, 206: False, 301: False, 302: False, 403: False, 404: False, 500: False}
GAPS = [0, 0, 1, 7, 60, 600, VISIT_ENDS - 1, VISIT_ENDS, VISIT_ENDS + 1, 5000, 40_000, 90_000]


def made_up(chance):
    """Requests of some visitors, and of each those that come soon one after the other, or long after."""
    requests = []
    for host in chance.sample(HOSTS, chance.randrange(1, len(HOSTS) + 1)):
        for agent in chance.sample(list(AGENTS), chance.randrange(1, len(AGENTS) + 1)):
            now = BEGIN + chance.randrange(3 * 86_400)
            for _ in range(chance.randrange(1, 40)):
                now += chance.choice(GAPS)
                status = chance.choice([200] * 8 + list(STATUSES))
                requests.append(Request(now, host, chance.choice(list(URLS)), status, agent))
    return requests


def line_of(request):
    date = time.strftime("%d/%b/%Y:%H:%M:%S +0000", time.gmtime(request.time))
    return f'{request.host} - - [{date}] "GET {request.url} HTTP/1.1" {request.status} 10 "-" "{request.agent}"\n'


# ---- The other way of counting ------------------------------------------------------------------

def visits_of(requests):
    """Lists of requests of one visitor each, without the visits on which no page was seen."""
    visits = []
    by_visitor = collections.defaultdict(list)
    for request in requests:
        if not AGENTS[request.agent]:
            by_visitor[request.host, request.agent].append(request)
    for of_visitor in by_visitor.values():
        of_visitor.sort(key=lambda request: (request.time, request.url))
        visit = []
        for request in of_visitor:
            if visit and request.time - visit[-1].time >= VISIT_ENDS:
                visits.append(visit)
                visit = []
            visit.append(request)
        visits.append(visit)
    return [visit for visit in visits if pages_of(visit)]


def pages_of(visit):
    return [request.url for request in visit if IS_PAGE[cut(request.url, False)] and STATUSES[request.status]]


def day_of(moment):
    return time.strftime("%Y-%m-%d", time.localtime(moment))


def cut(url, query):
    return url if query else url.split("?")[0]


def figures_here(requests, query):
    requests = [request._replace(url=cut(request.url, query)) for request in requests]
    visits = visits_of(requests)
    days = collections.defaultdict(set)
    begun = collections.Counter()
    for visit in visits:
        for request in visit:
            days[day_of(request.time)].add((request.host, request.agent))
        begun[day_of(visit[0].time)] += 1
    single = [visit for visit in visits if len(pages_of(visit)) == 1]
    bounced = collections.Counter(pages_of(visit)[0] for visit in single)
    entries = collections.Counter(pages_of(visit)[0] for visit in visits)
    return {
        "visitors": {day: (len(those), begun[day]) for day, those in days.items()},
        "entrypages": {url: (count, bounced[url]) for url, count in entries.items()},
        "exitpages": {url: (count, None) for url, count in collections.Counter(pages_of(visit)[-1] for visit in visits).items()},
        "totals": {"visitors": len({visit[0][1:2] + visit[0][4:5] for visit in visits}), "visits": len(visits),
                   "pages": sum(len(pages_of(visit)) for visit in visits), "single_page_visits": len(single),
                   "seconds": sum(visit[-1].time - visit[0].time for visit in visits)},
    }


# ---- The program's --------------------------------------------------------------------------------

def run(folder, *words, given=b"", status=0):
    done = subprocess.run([PROGRAM, "edition=modern", "username=ann", "days=all", *words], cwd=folder, input=given,
                          env={"TZ": os.environ["TZ"], "LC_ALL": "C", "SOURCE_DATE_EPOCH": "984225600"}, capture_output=True, check=False)
    assert done.returncode == status, done
    assert status or not done.stderr, done
    return done.stdout


def figures_of(text):
    sections = json.loads(text)["sections"]
    figures = {}
    for name, section in sections.items():
        second = {"visitors": "visits", "entrypages": "single_page_visits", "exitpages": ""}[name]
        figures[name] = {row["item"]: (row["count"], row.get(second)) for row in section["rows"]}
        assert section["distinct"] == len(section["rows"])
        for row in section["rows"]:
            assert abs(row["share"] - row["count"] / section["total"]) < 1e-6, row
        if name == "visitors":
            figures["totals"] = section["totals"]
            assert section["total"] == section["totals"]["visitors"]
            assert [row["item"] for row in section["rows"]] == sorted(row["item"] for row in section["rows"])
        else:
            counts = [row["count"] for row in section["rows"]]
            assert sum(counts) == section["total"] and counts == sorted(counts, reverse=True)
    return figures


def write(folder, lines, files, more=""):
    pathlib.Path(folder, "orvellis.conf").write_text(f"{more}user=ann;logs=*.log;url=http://www.example.com;password=*\n", encoding="ascii")
    for number in range(files):
        some = lines[len(lines) * number // files:len(lines) * (number + 1) // files]
        pathlib.Path(folder, f"{number}.log").write_text("".join(some), encoding="ascii")


Site = collections.namedtuple("Site", "folder zone order words want")


def take_zone(zone):
    os.environ["TZ"] = zone
    time.tzset()


def make_site(folder, chance):
    zone = chance.choice(["UTC0", "CET-1CEST,M3.5.0,M10.5.0/3", "XST+11"])
    take_zone(zone)
    requests = made_up(chance)
    lines = [line_of(request) for request in requests]
    order = chance.choice(["by visitor", "by time", "backwards", "shuffled"])
    if order == "shuffled":
        chance.shuffle(lines)
    elif order != "by visitor":
        lines = [line_of(request) for request in sorted(requests, reverse=order == "backwards")]
    write(folder, lines, chance.randrange(1, 5))
    query = chance.random() < 0.5
    words = ["output=json", f"showquery={int(query)}"]
    if chance.random() < 0.3:
        words += ["exclude_hosts=10.*"]
        requests = [request for request in requests if not request.host.startswith("10.")]
    return Site(folder, zone, order, words, figures_here(requests, query))


def check(site):
    take_zone(site.zone)
    folder = site.folder
    asked = [*site.words, *SECTIONS]
    ways = {"one process": run(folder, *asked), "three": run(folder, *asked, "workers=3,100")}
    parts = b""
    for piece in run(folder, *asked, "plan=4K").splitlines():
        parts += run(folder, *asked, "part=-", b"piece=" + piece)
    ways["parts"] = run(folder, *asked, "merge=-", given=parts)
    ways["parts of parts"] = run(folder, *asked, "merge=-", given=run(folder, *asked, "merge=-", "part=-", given=parts))
    ways["beside others"] = run(folder, *asked, "bytes=1", "order=bytes")
    os.mkdir(folder + "/kept", mode=0o700)
    ways |= {f"kept, {turn}": run(folder, *asked, "partcache=kept") for turn in ("first", "second")}
    assert list(pathlib.Path(folder, "kept").glob("*.counts"))
    for name, text in ways.items():
        assert text == ways["one process"], name
    ways |= {section: run(folder, *site.words, section) for section in SECTIONS}
    for name, text in ways.items():
        for section, figures in figures_of(text).items():
            assert figures == site.want[section], \
                f"{site.order}, {name}: {section}\n  counted here {site.want[section]}\n  reported     {figures}"


# ---- Too many for the memory ------------------------------------------------------------------------

def check_sample(folder):
    """Without room for all visitors, figures are about what they are, and the report says how far they may be off."""
    take_zone("UTC0")
    visitors = 30_000
    lines = [f'{n >> 16}.1.{n >> 8 & 255}.{n & 255} - - [05/Mar/2001:10:{n // 60 % 60:02}:{n % 60:02} +0000] "GET / HTTP/1.1" 200 1 "-" "-"\n'
             for n in range(visitors)]
    write(folder, lines, 3, "SmartMemoryEnabled=1\nSmartMemoryMaxMemoryToAllocate=1000\n")
    text = run(folder, "output=json", *SECTIONS)
    report = json.loads(text)
    notes = {note["code"]: note for note in report["notes"]}
    assert set(notes) == {"visitors_sampled"}, notes
    one_in = int(re.search(r"one visitor in (\d+)", notes["visitors_sampled"]["text"])[1])
    assert one_in > 1 and one_in & (one_in - 1) == 0, one_in
    estimate = report["sections"]["visitors"]["totals"]["visitors"]
    assert estimate % one_in == 0
    error = 1 / math.sqrt(estimate / one_in)
    assert f"number of visitors with an error of about {math.ceil(100 * error)} %; visits" in notes["visitors_sampled"]["text"], notes
    assert "averages and lengths, and figures of single days and URLs may be further off." in notes["visitors_sampled"]["text"], notes
    assert abs(estimate - visitors) < 3 * error * visitors, estimate
    assert report["sections"]["entrypages"]["rows"][0]["count"] == estimate
    assert run(folder, "output=json", *SECTIONS, "workers=3,100") == text
    assert run(folder, "output=json", *SECTIONS, "part=-", status=4) == b""


def main():
    with tempfile.TemporaryDirectory() as folder:
        sites = []
        for number in range(ROUNDS):
            of_site = f"{folder}/{number}"
            os.mkdir(of_site)
            sites.append(make_site(of_site, random.Random(number)))
        time.sleep(SETTLED)
        for site in sites:
            check(site)
    with tempfile.TemporaryDirectory() as folder:
        check_sample(folder)
    print(f"{ROUNDS} sites")


if __name__ == "__main__":
    main()
