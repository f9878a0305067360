#!/usr/bin/env python3
"""The figures of the sections that requests are summed up in, against figures counted here, line by line: of logs in
one file or in several, in any order, read by one process or by three, or as parts that are added.

    dimension_figures.py PROGRAM PROJECT

Every row of the table of dimensions must have its way of counting below, but for those of visits, and the times that
requests took (slow_figures.py), and those of lines that are none (unknown_figures.py).
"""
import collections
import json
import pathlib
import random
import re
import subprocess
import sys
import tempfile

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
PROJECT = pathlib.Path(sys.argv[2])
ROUNDS = 12
Request = collections.namedtuple("Request", "site host user url status bytes referrer agent method protocol tls")

SITES = ["www.example.com:443", "WWW.Example.com", "www.example.com.", "shop.example.com:80", "[2001:db8::9]:8080", "192.0.2.9"]
HOSTS = ["192.0.2.1", "192.0.2.77", "2001:db8::1", "2001:db8:0:0:0:0:0:2", "crawl.example.com", "Shop.Example.ORG", "10.0.0.1"]
USERS = ["-", "-", "ann", "Bob", "o'neill", "ann@example.org"]
PATHS = ["/", "/index.html", "/docs/", "/docs/a.HTML", "/docs/deep/er/b.tar.gz", "/images/logo.png", "/images", "/a.b/c", "/.profile",
         "/x.", "/download.a-b", "/toolongtype.abcdefghijklm", "/docs/a.html?x=1/2.gif", "/caf%C3%A9/men%C3%BC.pdf", "//double.js",
         "/page.php/extra", "/robots.txt", "/robots.txt?now", "/robots.txt.old", "/docs/robots.txt"]
PAGES = ["-", "-", "http://www.other.example/a", "https://other.example:8443/b?c=d", "http://OTHER.example", "http://user@third.example/",
         "https://third.example#top", "android-app://com.example.app/", "ftp://files.example/x", "just words", "http:///none",
         "http://[2001:db8::7]:80/x", "http://www.example.com/own", "https://example.com/own"]
# What is written, and what is counted for it.
METHODS = {"GET": "GET", "POST": "POST", "HEAD": "HEAD", "get": "get", "M-SEARCH": "M-SEARCH", "abcdefghijklmnopqrst": "abcdefghijklmnopqrst",
           "abcdefghijklmnopqrstu": "(other)", "\\x16\\x03\\x01": "(other)", "G3T": "(other)"}
PROTOCOLS = {"HTTP/1.0": "HTTP/1.0", "HTTP/1.1": "HTTP/1.1", "HTTP/2": "HTTP/2", "HTTP/2.0": "HTTP/2", "HTTP/3.0": "HTTP/3",
             "RTSP/1.0": "(other)", "HTTP/7": "(other)", "": None}
TLS_VERSIONS = {None: None, "TLSv1.3": "TLSv1.3", "TLSv1.2": "TLSv1.2", "TLSv1": "TLSv1", "-": None, "1.3": "TLSv1.3", "TLSv9": "(other)"}
# What people see in them: browser, system, device; or robot.
AGENTS = {
    "Mozilla/5.0 (X11; Linux x86_64; rv:109.0) Gecko/20100101 Firefox/115.0": ("Firefox", "Linux", "Desktop", None),
    "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/120.0.0.0 Safari/537.36":
        ("Chrome", "Windows", "Desktop", None),
    "Mozilla/5.0 (Windows NT 10.0; Win64; x64) AppleWebKit/537.36 (KHTML, like Gecko) Chrome/120.0.0.0 Safari/537.36 Edg/120.0.0.0":
        ("Edge", "Windows", "Desktop", None),
    "Mozilla/5.0 (iPhone; CPU iPhone OS 17_1 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/17.1 Mobile/15E148 Safari/604.1":
        ("Safari", "iOS", "Phone", None),
    "Mozilla/5.0 (X11; Linux x86_64; rv:128.0) Gecko/20100101 Firefox/128.0": ("Firefox", "Linux", "Desktop", None),
    "Mozilla/5.0 (Windows NT 10.0; rv:128.0) Gecko/20100101 Firefox/128.5": ("Firefox", "Windows", "Desktop", None),
    "Mozilla/5.0 (compatible; Googlebot/2.1; +http://www.google.com/bot.html)": (None, None, None, "Googlebot"),
    "curl/8.5.0": (None, None, None, "curl"),
    "-": (None, None, None, None),
}


def made_up(chance, sites, tls_versions=(None,)):
    return Request(chance.choice(sites), chance.choice(HOSTS), chance.choice(USERS), chance.choice(PATHS),
                   chance.choice([200, 200, 200, 206, 301, 304, 404, 404, 403, 500, 503, 599]), chance.randrange(100000),
                   chance.choice(PAGES), chance.choice(list(AGENTS)), chance.choice(list(METHODS)), chance.choice(list(PROTOCOLS)),
                   chance.choice(tls_versions))


def line_of(request, second):
    site = f"{request.site} " if request.site else ""
    protocol = f" {request.protocol}" if request.protocol else ""
    return (f'{site}{request.host} - {request.user} [05/Mar/2001:10:{second // 60 % 60:02}:{second % 60:02} +0000] '
            f'"{request.method} {request.url}{protocol}" {request.status} {request.bytes} "{request.referrer}" "{request.agent}"\n')


def json_line_of(request, second):
    keys = {"time": f"2001-03-05T10:{second // 60 % 60:02}:{second % 60:02}Z", "client_ip": request.host, "user": request.user,
            "vhost": request.site, "request": f"{request.method} {request.url} {request.protocol}".strip(), "status": request.status,
            "bytes": request.bytes, "referer": request.referrer, "user_agent": request.agent, "ssl_protocol": request.tls}
    return json.dumps({name: value for name, value in keys.items() if value}) + "\n"


# ---- The other way of counting ------------------------------------------------------------------

def path_of(request):
    return re.split(r"[?#]", request.url)[0]


def directory(request, depth=1):
    *names, _ = path_of(request).split("/")
    return "/".join(names[:depth + 1]) + "/"


DEPTHS = {"2": 2, "3": 3, "20": 20, "0": 1, "-1": 1, "99999999999999999999": 20, "4294967297": 20, "x": 1, "": 1}


def file_type(request):
    name = path_of(request).split("/")[-1]
    if name == "":
        return "(directory)"
    found = re.fullmatch(r".+(\.[A-Za-z0-9]{1,11})", name)
    return found[1].lower() if found else "(none)"


def referring_site(request):
    found = re.match(r"[^/]+://(?:[^/?#]*@)?(\[[^\]/?#]*\]|[^:/?#]*)", request.referrer)
    site = re.sub(r"^www\.", "", found[1].lower()) if found else ""
    if request.referrer == "-" or site == "example.com":
        return None
    return site or "(no address)"


def size_class(request):
    names = ["nothing", "below 1 kB", "1 kB to 10 kB", "10 kB to 100 kB", "100 kB to 1 MB", "1 MB to 10 MB"]
    return names[len(str(request.bytes)) - 2 if request.bytes >= 1000 else request.bytes > 0]


def vhost(request):
    return re.sub(r":\d+$|\.$", "", request.site.lower())


def error(request):
    return f"{request.status} {path_of(request)}" if request.status >= 400 and request.status != 404 else None


# What tests/countries/networks says of the hosts above.
COUNTRIES = {"192.0.2.1": "DE", "192.0.2.77": "FR", "2001:db8::1": "SE", "2001:db8:0:0:0:0:0:2": "SE", "10.0.0.1": "(private network)"}
DATABASE = PROJECT / "tests" / "cli" / "bases" / "countries" / "countries.mmdb"
CONFIGURATION = f"CountryDatabase={DATABASE.resolve()}\nuser=ann;logs=*.log;url=http://www.example.com;password=*\n"


def country(request):
    return COUNTRIES.get(request.host, "(no address)")


def normal_host(request):
    return {"2001:db8:0:0:0:0:0:2": "2001:db8::2"}.get(request.host, request.host)


NAMED = {
    "requests": path_of,
    "browsers": lambda request: None if request.agent == "-" else request.agent,
    "badurls": lambda request: request.url if request.status == 404 else None,
}
OF_VISITS = {"visitors", "entrypages", "exitpages"}  # counted in visit_figures.py
COUNTED_HERE = {
    **NAMED,
    "statuses": lambda request: str(request.status),
    "servererrors": error,
    "hosts": normal_host,
    "users": lambda request: None if request.user == "-" else request.user,
    "vhosts": vhost,
    "referringsites": referring_site,
    "directories": directory,
    "filetypes": file_type,
    "browserfamilies": lambda request: AGENTS[request.agent][0],
    "systems": lambda request: AGENTS[request.agent][1],
    "devices": lambda request: AGENTS[request.agent][2],
    "robots": lambda request: AGENTS[request.agent][3],
    "countries": country,
    "methods": lambda request: METHODS[request.method],
    "protocols": lambda request: PROTOCOLS[request.protocol],
    "tlsversions": lambda request: TLS_VERSIONS[request.tls],
    "redirects": lambda request: f"{request.status} {path_of(request)}" if 300 <= request.status < 400 and request.status != 304 else None,
    "sizes": size_class,
}


def figures_here(requests):
    """Requests and bytes of each item."""
    figures = {}
    for name, item in COUNTED_HERE.items():
        figures[name] = collections.defaultdict(lambda: (0, 0))
        for request in requests:
            if item(request):
                count, size = figures[name][item(request)]
                figures[name][item(request)] = count + 1, size + request.bytes
    return figures


# ---- The program's --------------------------------------------------------------------------------

def run(folder, *words, given=b""):
    done = subprocess.run([PROGRAM, "edition=modern", "username=ann", "days=all", *words], cwd=folder, input=given,
                          env={"TZ": "UTC", "LC_ALL": "C", "SOURCE_DATE_EPOCH": "984225600"}, capture_output=True, check=False)
    assert done.returncode == 0 and not done.stderr, done
    return done.stdout


def figures_of(text, by_bytes):
    report = json.loads(text)
    figures = {}
    for name, section in report["sections"].items():
        figures[name] = {row["item"]: (row["count"], row["bytes"]) for row in section["rows"]}
        assert section["distinct"] == len(section["rows"])
        assert name == "badurls" or section["total"] == sum(row["count"] for row in section["rows"]), (name, section)
        ranks = [(row["bytes"], row["count"]) if by_bytes else row["count"] for row in section["rows"]]
        assert ranks == sorted(ranks, reverse=True), (name, section)
        for row in section["rows"]:
            part, whole = (row["bytes"], report["totals"]["bytes"]) if by_bytes else (row["count"], section["total"])
            assert abs(row["share"] - part / whole) < 1e-6, row
    return figures


def pages_here(requests):
    """Of each error, the pages that led there."""
    pages = collections.defaultdict(collections.Counter)
    for request in requests:
        if error(request) and request.referrer != "-":
            pages[error(request)][request.referrer] += 1
    return pages


def pages_of(text):
    rows = json.loads(text)["sections"]["servererrors"]["rows"]
    return {row["item"]: {page["item"]: page["count"] for page in row["referrers"]} for row in rows if row["referrers"]}


CLASSES = {"1xx": "Information", "2xx": "Success", "3xx": "Redirection", "4xx": "Client error", "5xx": "Server error"}


def classes_here(requests, by_bytes):
    """Of each class of statuses that has requests: what it means, requests and bytes, and its share."""
    classes = []
    served = sum(request.bytes for request in requests)
    for name, meaning in CLASSES.items():
        some = [request for request in requests if str(request.status)[0] == name[0]]
        if some:
            bytes_of_some = sum(request.bytes for request in some)
            share = bytes_of_some / served if by_bytes else len(some) / len(requests)
            classes.append((name, meaning, len(some), bytes_of_some, round(share, 6)))
    return classes


def classes_of(text):
    rows = json.loads(text)["sections"]["statuses"]["classes"]
    return [(row["item"], row["name"], row["count"], row["bytes"], row["share"]) for row in rows]


def asking_here(requests):
    """Of each robot, whether it asked for robots.txt."""
    asking = {COUNTED_HERE["robots"](request) for request in requests if path_of(request) == "/robots.txt"}
    return {robot: robot in asking for robot in figures_here(requests)["robots"]}


def asking(text):
    return {row["item"]: row["robots_txt"] for row in json.loads(text)["sections"]["robots"]["rows"]}


# The word that an agent has before its version.
VERSION_WORDS = {"Firefox": "Firefox", "Chrome": "Chrome", "Edge": "Edg", "Safari": "Version"}


def versions_here(requests):
    versions = collections.defaultdict(collections.Counter)
    for request in requests:
        family = AGENTS[request.agent][0]
        if family:
            versions[family][f"{family} " + re.search(rf"\b{VERSION_WORDS[family]}/(\d+)", request.agent)[1]] += 1
    return versions


def versions_of(text):
    rows = json.loads(text)["sections"]["browserfamilies"]["rows"]
    return {row["item"]: {version["item"]: version["count"] for version in row["versions"]} for row in rows}


def seen_here(numbered):
    """Of each host, the seconds of its first and last request: what both kinds of lines are dated by."""
    seen = {}
    for second, request in numbered:
        time = f"2001-03-05T10:{second // 60 % 60:02}:{second % 60:02}+00:00"
        first, last = seen.get(normal_host(request), (time, time))
        seen[normal_host(request)] = min(first, time), max(last, time)
    return seen


def seen(text):
    return {row["item"]: (row["first_seen"], row["last_seen"]) for row in json.loads(text)["sections"]["hosts"]["rows"]}


def sections(names):
    return [f"{name}=1,0" for name in names]


def check(folder, chance):
    sites = SITES if chance.random() < 0.5 else [""]
    in_json = chance.random() < 0.4
    tls_versions = list(TLS_VERSIONS) if in_json else [None]
    requests = [made_up(chance, sites, tls_versions) for _ in range(chance.randrange(1, 400))]
    lines = [(json_line_of if in_json else line_of)(request, number) for number, request in enumerate(requests)]
    chance.shuffle(lines)
    files = chance.randrange(1, 5)
    for number in range(files):
        some = lines[len(lines) * number // files:len(lines) * (number + 1) // files]
        pathlib.Path(folder, f"{number}.log").write_text("".join(some), encoding="latin-1")
    want = figures_here(requests)
    by_bytes = chance.random() < 0.5
    asked = ["output=json", "order=bytes" if by_bytes else "bytes=1", *sections(COUNTED_HERE)]
    ways = {"one process": run(folder, *asked), "three": run(folder, *asked, "workers=3,100")}
    parts = b""
    for piece in run(folder, *asked, "plan=4K").splitlines():
        parts += run(folder, *asked, "part=-", b"piece=" + piece)
    ways["parts"] = run(folder, *asked, "merge=-", given=parts)
    # Each alone: what it is made of is counted for it, and nothing else.
    ways |= {name: run(folder, *asked[:2], *sections([name])) for name in COUNTED_HERE}
    for way, text in ways.items():
        got = figures_of(text, by_bytes)
        for name in ([way] if way in COUNTED_HERE else COUNTED_HERE):
            assert got[name] == want[name], f"{way}: {name}\n  counted here {want[name]}\n  reported     {got[name]}"
        assert way in COUNTED_HERE or text == ways["one process"], way
    depth = chance.choice(list(DEPTHS))
    deep = collections.Counter(directory(request, DEPTHS[depth]) for request in requests)
    asked_deep = ["output=json", f"directory_depth={depth}", *sections(["directories"])]
    # Parts were counted without a word of it.
    for text in (run(folder, *asked_deep), run(folder, *asked_deep[1:], "bytes=1", "output=json", "merge=-", given=parts)):
        assert {row["item"]: row["count"] for row in json.loads(text)["sections"]["directories"]["rows"]} == deep, (depth, text)
    for way in ("one process", "three", "parts", "statuses"):
        assert classes_of(ways[way]) == classes_here(requests, by_bytes), (way, classes_of(ways[way]))
    assert pages_of(ways["servererrors"]) == pages_here(requests)
    assert versions_of(ways["browserfamilies"]) == versions_here(requests)
    assert seen(ways["hosts"]) == seen_here(enumerate(requests))
    assert asking(ways["robots"]) == asking_here(requests)


def main():
    table = (PROJECT / "src" / "analysis" / "dimensions.cpp").read_text(encoding="ascii")
    assert set(re.findall(r'\.parameter = "([a-z]+)"', table)) == (set(COUNTED_HERE) | OF_VISITS | {"slow", "unknown"}) - set(NAMED)
    for number in range(ROUNDS):
        with tempfile.TemporaryDirectory() as folder:
            pathlib.Path(folder, "orvellis.conf").write_text(CONFIGURATION, encoding="ascii")
            check(folder, random.Random(number))
    print(f"{ROUNDS} sites")


if __name__ == "__main__":
    main()
