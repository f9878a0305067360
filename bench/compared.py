#!/usr/bin/env python3
"""Which questions about web access Orvellis and other analysers answer, as the table of docs/compared.md.

    compared.py PROGRAM [--check | --keep FOLDER]

One made-up log is read by Orvellis, goaccess, awstats, webalizer, awffull and analog, as far as they are installed
(Debian's packages have these names), each set to tell all that it can. A question is answered where one row of what
came out holds the thing that was asked for and its figure, both known from the log; so nobody's word is taken for it.
--check compares the table with that of the manual, for those that are installed. --keep leaves the outputs in FOLDER.
"""
from __future__ import annotations

import datetime
import html
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
from collections.abc import Callable, Iterator

PROJECT = pathlib.Path(__file__).resolve().parents[1]
MANUAL = PROJECT / "docs" / "compared.md"
DATABASE = PROJECT / "tests" / "cli" / "bases" / "countries" / "countries.mmdb"
FIREFOX = "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0"
CHROME = "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/120.0.0.0 Safari/537.36"
ROBOT = "Mozilla/5.0 (compatible; Googlebot/2.1; +http://www.google.com/bot.html)"
FORUM, OLD = "http://forum.example.org/thread/9", "http://old.example.net/links.html"
SEARCH = "http://www.google.com/search?q=blue+kettle"

# How many requests, and how many minutes from one to the next; of what is not told, the usual.
Requests = dict[str, str | int]
USUAL: Requests = {"host": "192.0.2.1", "user": "-", "method": "GET", "url": "/", "protocol": "HTTP/1.1", "status": 200, "size": 1000,
                   "referrer": "-", "agent": FIREFOX, "minutes": 1}
MADE: list[tuple[int, Requests]] = [
    (41, {"url": "/top-page.html"}),
    (17, {"host": "198.51.100.7", "url": "/docs/guide.html", "referrer": FORUM, "agent": CHROME, "minutes": 2}),
    (13, {"host": "203.0.113.9", "url": "/gone.html", "status": 404, "referrer": OLD}),
    (11, {"url": "/broken.php", "status": 500, "agent": CHROME}),
    (9, {"url": "/private/", "user": "ann"}),
    (7, {"method": "POST", "url": "/form.php", "protocol": "HTTP/2.0"}),
    (5, {"url": "/logo.png", "size": 50000}),
    (4, {"url": "/manual.pdf", "size": 3000000, "agent": CHROME}),
    (19, {"host": "203.0.113.200", "url": "/crawled.html", "agent": ROBOT}),
    (6, {"host": "198.51.100.8", "url": "/found.html", "referrer": SEARCH, "agent": CHROME}),
    (3, {"url": "/old.html", "status": 301}),
    (8, {"host": "192.0.2.55", "url": "/visited.html", "minutes": 200}),
]
NO_REQUESTS = ["this is no request\n"] * 3
BEGIN = datetime.datetime(2024, 3, 4, 8)  # a Monday


def lines() -> Iterator[str]:
    moment = BEGIN
    for count, told in MADE:
        made = USUAL | told
        for _ in range(count):
            yield (f'{made["host"]} - {made["user"]} [{moment:%d/%b/%Y:%H:%M:%S} +0000] "{made["method"]} {made["url"]} {made["protocol"]}" '
                   f'{made["status"]} {made["size"]} "{made["referrer"]}" "{made["agent"]}"\n')
            moment += datetime.timedelta(minutes=int(made["minutes"]))
    yield from NO_REQUESTS


# ---- The analysers -------------------------------------------------------------------------------

def run(folder: pathlib.Path, *command: str, out: str = "") -> None:
    done = subprocess.run(command, cwd=folder, stdin=subprocess.DEVNULL, capture_output=True, check=False,
                          env={"PATH": "/usr/bin:/bin:/usr/lib/cgi-bin", "TZ": "UTC", "LC_ALL": "C.UTF-8", "HOME": str(folder)})
    if done.returncode != 0:
        sys.exit(f"compared.py: {command[0]} failed: {done.stderr.decode(errors='replace')}")
    if out:
        (folder / out).write_bytes(done.stdout)


def orvellis(folder: pathlib.Path) -> None:
    text = (PROJECT / "bin" / "orvellis-report").read_text(encoding="utf-8")
    sections = " ".join(re.search(rf"^{kind}_reports='([^']*)'", text, re.M)[1] for kind in ("ranked", "further", "timed"))  # type: ignore[index]
    os.environ["ORVELLIS"] = os.path.abspath(sys.argv[1])
    run(folder, "env", f"ORVELLIS={os.environ['ORVELLIS']}", str(PROJECT / "bin" / "orvellis-report"), "--quiet", "--json", "-o", "out.json",
        "--bytes", "--top", "0", "--from", "2024-03-04", "--to", "2024-03-05", "--compare", "previous", "--reports", sections.replace(" ", ","), "--country-database", str(DATABASE), "../access.log")


def goaccess(folder: pathlib.Path) -> None:
    run(folder, "goaccess", "../access.log", '--log-format=%h %^ %e [%d:%t %^] "%r" %s %b "%R" "%u"', "--date-format=%d/%b/%Y",
        "--time-format=%T", "--no-global-config", "-o", "out.json", f"--geoip-database={DATABASE}", "--enable-panel=REFERRERS",
        "--enable-panel=REMOTE_USER", "--enable-panel=GEO_LOCATION")


AWSTATS = """LogFile="../access.log"
LogType=W
LogFormat=1
SiteDomain="example.com"
DNSLookup=0
DirData="{folder}"
ShowAuthenticatedUsers=PHBL
"""
OF_AWSTATS = ("alldomains allhosts allrobots urldetail urlentry urlexit browserdetail osdetail refererpages refererse keyphrases keywords "
              "errors404 alllogins").split()


def awstats(folder: pathlib.Path) -> None:
    (folder / "awstats.made.conf").write_text(AWSTATS.format(folder=folder), encoding="ascii")
    command = ["awstats.pl", "-config=made", f"-configdir={folder}"]
    run(folder, *command, "-update", out="out.txt")
    for output in ["", *OF_AWSTATS]:
        run(folder, *command, f"-output={output}" if output else "-output", "-month=03", "-year=2024", "-staticlinks", out=f"out{output}.html")


def webalizer(folder: pathlib.Path) -> None:
    run(folder, "webalizer", "-N", "0", "-n", "example.com", "-o", ".", "../access.log", out="out.txt")


def awffull(folder: pathlib.Path) -> None:
    (folder / "awffull.conf").write_text("Top404Errors 10\nAll404Errors yes\n", encoding="ascii")
    run(folder, "awffull", "-c", "awffull.conf", "-n", "example.com", "-o", ".", "../access.log", out="out.txt")


# Rows however few, and files that are no pages.
OF_ANALOG = ["ALL ON", "OUTPUT ASCII", "REQINCLUDE *", "REQFLOOR 1r", "REQCOLS RbD", "HOSTCOLS RbD", *(f"{report}FLOOR 1r" for report in (
    "REF REFSITE SEARCHQUERY SEARCHWORD HOST FAILREF BROWREP BROWSUM OS DIR TYPE USER FAIL REDIR STATUS").split())]


def analog(folder: pathlib.Path) -> None:
    run(folder, "analog", "+COUTFILE out.txt", "../access.log", *(f"+C{command}" for command in OF_ANALOG))


ANALYSERS: dict[str, tuple[Callable[[pathlib.Path], None], str]] = {
    "Orvellis": (orvellis, ""), "goaccess": (goaccess, "goaccess"), "awstats": (awstats, "awstats.pl"), "webalizer": (webalizer, "webalizer"),
    "awffull": (awffull, "awffull"), "analog": (analog, "analog"),
}


# ---- What came out -------------------------------------------------------------------------------

def rows_of_json(value: object, name: str = "") -> Iterator[str]:
    """Each object with no other ones in it but small ones, as a row that its place begins."""
    if isinstance(value, dict):
        figures = [f"{key} {inner}" for key, inner in value.items() if not isinstance(inner, (dict, list))]
        figures += [f"{key} {inner['count']}" for key, inner in value.items() if isinstance(inner, dict) and "count" in inner]
        yield f"{name} " + " ".join(figures)
        for key, inner in value.items():
            yield from rows_of_json(inner, f"{name} {key}")
            if key == "referrers" and isinstance(inner, list):  # beside what they led to
                yield from (f"{name} {value.get('item')} led by {row['item']} {row['count']}" for row in inner)
    elif isinstance(value, list):
        for inner in value:
            yield from rows_of_json(inner, name)


def rows_of_html(text: str) -> Iterator[str]:
    """Rows of tables, each with the heading above its table; and lines of other text."""
    text = re.sub(r"(?is)<(script|style).*?</\1>", "", text)
    for row in re.split(r"(?i)</tr>|<br ?/?>|</p>|</h\d>", text):
        yield re.sub(r"\s+", " ", html.unescape(re.sub(r"<[^>]*>", " ", row))).strip()


def rows(folder: pathlib.Path) -> list[str]:
    found: list[str] = []
    for path in sorted(folder.iterdir()):
        if path.suffix == ".json":
            found += rows_of_json(json.loads(path.read_text(encoding="utf-8")))
        elif path.suffix == ".html":
            found += rows_of_html(path.read_text(encoding="utf-8", errors="replace"))
        elif path.name == "out.txt":
            found += path.read_text(encoding="utf-8", errors="replace").splitlines()
    return found


# ---- The questions -------------------------------------------------------------------------------

# A question, what a row holds that answers it, and what it is for analysers that say it in another way, count by rules of
# their own, or hold it in a row that says something else ("": that is no answer).
QUESTIONS: list[tuple[str, str, dict[str, str]]] = [
    ("Which pages were asked for most?", r"/top-page\.html.*\b41\b|\b41\b.*/top-page\.html", {}),
    ("… and which took most bytes?", r"/manual\.pdf.*(12000000|11\.44)|(12000000|11719|12\.00 MB|1[12][,.]?\d* ?MB|96\.\d+%).*/manual\.pdf", {"analog": r"97\.\d+%:.*/manual\.pdf"}),
    ("How much was there on each day?", r"dailytotals rows item 2024-03-04 count \d", {
        "goaccess": r"20240304.*\bhits \d", "awstats": r"^04 Mar 2024 .*\d", "webalizer": r"^4 1\d\d ", "awffull": r"^4 1\d\d ", "analog": r"^ *4/Mar/24: +\d"}),
    ("… at each hour?", r"hitsperhour rows item 08 count \d", {
        "goaccess": r"visit_time.*\b08 hits \d", "awstats": r"^08 \d", "webalizer": r"^8 \d+ 51", "awffull": r"^8 \d+.* 51\b", "analog": r"^ *8: +\d"}),
    ("… on each weekday?", r"hitsperdayofweek rows item Monday count \d", {"awstats": r"^Mon \d+ \d", "analog": r"^ *Mon: +\d"}),
    ("… at each hour of each weekday?", r"hoursofweek rows item Monday 08 count \d", {"analog": r"^ *Mon 08:00-09:00: +\d"}),
    ("… in each quarter of an hour?", r"\b08:15 count", {"analog": r"08:15-08:30: +\d"}),
    ("… and what was it before?", r"compared", {}),
    ("Who asked most?", r"\b198\.51\.100\.7\b.*\b17\b|\b17\b.*\b198\.51\.100\.7\b", {}),
    ("… and when last?", r"hosts.*last_seen", {"awstats": r"192\.0\.2\.55 .*05 Mar 2024 - 09:52", "analog": r"4/Mar/24 \d\d:\d\d.*198\.51\.100\.7"}),
    ("Which countries are they in?", r"\b(DE|FR|SE)\b.*\b\d", {"awstats": "", "webalizer": "", "awffull": "", "analog": ""}),
    ("Who signed on?", r"\bann\b.*\b9\b|\b9\b.*\bann\b", {}),
    ("How many visitors were there?", r"visitors.* Visitors \d|visitors figures visitors \d|visitors \d", {
        "awstats": r"^Mar 2024 \d", "webalizer": r"Total Unique Sites \d", "awffull": r"Total Unique Sites \d", "analog": r"Distinct hosts served: \d"}),
    ("How many visits?", r"visits \d", {"goaccess": "", "awstats": r"Number of visits", "webalizer": r"Total Visits \d", "awffull": r"^Visits \d", "analog": ""}),
    ("… and how long were they?", r"average_seconds|Average length|seconds \d", {"awstats": r"^0s-30s \d", "goaccess": ""}),
    ("Where did they begin?", r"entrypages.*/visited\.html.*\b8\b", {
        "awstats": r"^/visited\.html 8 1000 Bytes 8 7", "webalizer": r"8 66\.67% /visited\.html", "awffull": r"8 66\.67% 8 .*/visited\.html"}),
    ("… and end?", r"exitpages.*/visited\.html.*\b8\b", {
        "awstats": r"^/visited\.html 8 1000 Bytes 8 7", "webalizer": r"7 58\.33% /visited\.html", "awffull": r"8 61\.54% .*/visited\.html"}),
    ("Which pages link here?", r"forum\.example\.org/thread/9.*\b17\b|\b17\b.*forum\.example\.org/thread/9", {}),
    ("Which sites send visitors?", r"referring.*\bforum\.example\.org( |$).*\b17\b", {"analog": r"\b17: http://forum\.example\.org/$"}),
    ("What did they search for?", r"blue kettle.*\b6\b|\b6\b.*blue kettle", {}),
    ("… by single words?", r"item kettle count", {"awstats": r"^kettle \d", "analog": r"\b6: kettle$"}),
    ("Which URLs are missing?", r"/gone\.html.*\b13\b|\b13\b.*/gone\.html", {"webalizer": ""}),
    ("… and who links to them?", r"(?=.*/gone\.html)(?=.*old\.example\.net)", {"analog": r"\b13: http://old\.example\.net/links\.html"}),
    ("Which URLs fail otherwise?", r"servererrors.*/broken\.php.*\b11\b", {"analog": r"^ *11: /broken\.php"}),
    ("Which URLs lead elsewhere?", r"redirects rows item 301 /old\.html count 3", {"analog": r"^ *3: /old\.html"}),
    ("How did the server answer?", r"\b(301|3xx).*\b3\b|\b3: 301\b", {"awstats": r"^301 .*\b3\b"}),
    ("Which browsers?", r"\bFirefox\b.*\b86\b|\b86\b.*\bFirefox\b", {"awstats": r"^Firefox .*\d", "awffull": r"Browser: Firefox", "analog": r"^ *1: +\d+: .*Firefox"}),
    ("Which systems?", r"\bLinux\b(?! x86).*\b86\b|\b86\b.*\bLinux\b(?! x86)", {"awstats": r"^Linux \d", "webalizer": "", "awffull": "", "analog": r": +\d+: +(Linux|Unix)"}),
    ("Which kinds of device?", r"devices rows item Desktop count \d", {}),
    ("Which robots, by name?", r"robots rows item Googlebot count 19", {
        "goaccess": r"items data Googlebot", "awstats": r"Google.*bot.*\b19\b", "awffull": r"(?i)robot.*google|google.*robot"}),
    ("… and what are they for?", r"robots rows item Googlebot count 19.*name [A-Z]", {}),
    ("Which directories?", r"directories rows item /docs/ count 17", {"analog": r": +/docs/$"}),
    ("Which kinds of files?", r"filetypes rows item \.pdf count 4", {"awstats": r"^pdf .*\b4\b", "analog": r"\b4: .*\.pdf\b"}),
    ("How large were the answers?", r"sizes rows item 10 kB to 100 kB count 5", {"analog": r"10kB-100kB: +5:"}),
    ("How many lines are no requests?", r"lines_not_understood 3", {
        "goaccess": r"failed_requests 3", "awstats": r"3 corrupted records", "webalizer": r"3 bad", "awffull": r"3 bad",
        "analog": r"(?i)corrupt logfile lines: 3"}),
    ("… of which log, and why?", r"unknown rows item access\.log: .* count 3", {}),
    ("Which methods?", r"\bPOST\b.*\b7\b", {}),
    ("Which protocols?", r"\bHTTP/2\b.*\b7\b", {}),
]


def answered(pattern: str, found: list[str]) -> bool:
    return pattern != "" and any(re.search(pattern, row) for row in found)


def table(folder: pathlib.Path) -> dict[str, dict[str, bool]]:
    (folder / "access.log").write_text("".join(lines()), encoding="ascii")
    answers: dict[str, dict[str, bool]] = {}
    for name, (start, program) in ANALYSERS.items():
        if program and not shutil.which(program, path="/usr/bin:/usr/lib/cgi-bin"):
            print(f"compared.py: {name} is not installed", file=sys.stderr)
            continue
        (folder / name).mkdir()
        start(folder / name)
        found = rows(folder / name)
        answers[name] = {text: answered(other.get(name, pattern), found) for text, pattern, other in QUESTIONS}
    return answers


def written(answers: dict[str, dict[str, bool]]) -> list[str]:
    text = [f"| | {' | '.join(answers)} |", "| --- |" + " --- |" * len(answers)]
    return text + [f"| {question} | {' | '.join('yes' if answers[name][question] else '' for name in answers)} |" for question, _, _ in QUESTIONS]


def cells(table_lines: list[str]) -> dict[str, list[str]]:
    """Each column, by its heading."""
    rows_of_cells = [[cell.strip() for cell in line.strip("|\n").split("|")] for line in table_lines]
    return {column[0]: list(column[1:]) for column in zip(*rows_of_cells)}


def check(answers: dict[str, dict[str, bool]]) -> None:
    first_table = re.search(r"(?m)(^\|.*\n)+", MANUAL.read_text(encoding="utf-8"))
    manual = first_table[0].splitlines() if first_table else []
    told, found = cells(manual), cells(written(answers))
    wrong = [name for name, column in found.items() if told.get(name) != column]
    if wrong:
        sys.exit(f"compared.py: docs/compared.md tells something else of {', '.join(name or 'the questions' for name in wrong)}")


def main() -> None:
    with tempfile.TemporaryDirectory() as made:
        folder = pathlib.Path(sys.argv[3]).resolve() if sys.argv[2:3] == ["--keep"] else pathlib.Path(made)
        folder.mkdir(exist_ok=True)
        answers = table(folder)
    if sys.argv[2:3] == ["--check"]:
        check(answers)
    else:
        print("\n".join(written(answers)))


if __name__ == "__main__":
    main()
