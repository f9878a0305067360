#!/usr/bin/env python3
"""Requests and bytes of reports that only_ and exclude_ filters narrow down, alone and any two of them together, against
those that are counted here.

    filter_figures.py PROGRAM PROJECT

Every row of the table of filters must have lists below.
"""
import fnmatch
import ipaddress
import itertools
import json
import pathlib
import random
import re
import sys
import tempfile

sys.dont_write_bytecode = True
import dimension_figures as made  # pylint: disable=wrong-import-position

PROJECT = pathlib.Path(sys.argv[2])
REQUESTS = 600
DAYS = ["Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"]


def address(request):
    try:
        return ipaddress.ip_address(request.host)
    except ValueError:
        return None


def is_in(network):
    inside = ipaddress.ip_network(network)
    return lambda request: address(request) is not None and address(request) in inside


def under(domain, name):
    return name.lower() == domain or name.lower().endswith("." + domain)


def like(pattern, text):
    return fnmatch.fnmatchcase(text.lower(), pattern.lower())


def site_of(request):
    found = re.match(r"[^/]+://([^:/?#]*)", request.referrer)
    return found[1] if found else ""


def agent(request):
    return "" if request.agent == "-" else request.agent


# name: lists, each with what is in it, in other words
LISTS = {
    "statuses": [("404", lambda r: r.status == 404), ("4XX,500", lambda r: 400 <= r.status < 500 or r.status == 500),
                 ("xxx", lambda r: True), ("40,4044,nonsense", lambda r: False)],
    "hosts": [("192.0.2.0/24", is_in("192.0.2.0/24")), ("2001:db8::/32", is_in("2001:db8::/32")),
              ("192.0.2.7.,10.0.", lambda r: r.host.startswith(("192.0.2.7.", "10.0."))),
              ("example.com, shop.example.org", lambda r: under("example.com", r.host) or under("shop.example.org", r.host)),
              ("*.EXAMPLE.*", lambda r: like("*.example.*", r.host))],
    "agents": [("firefox", lambda r: "firefox" in agent(r).lower()), ("curl/*", lambda r: like("curl/*", agent(r))),
               ("nothing like this", lambda r: False)],
    "robots": [("All", lambda r: made.AGENTS[r.agent][3] is not None), ("search", lambda r: made.AGENTS[r.agent][3] == "Googlebot"),
               ("Tools,feeds", lambda r: made.AGENTS[r.agent][3] == "curl")],
    "referrers": [("other.example", lambda r: under("other.example", site_of(r))),
                  ("https://*", lambda r: like("https://*", r.referrer)), ("just words", lambda r: r.referrer == "just words")],
    "vhosts": [("www.example.com", lambda r: re.fullmatch(r"(?i)www\.example\.com(:443)?", r.site) is not None),
               ("*example*", lambda r: "example" in r.site.lower())],
    "users": [("ann", lambda r: r.user == "ann"), ("*@*", lambda r: "@" in r.user)],
    "hours": [("8-17", lambda r: 8 <= r.hour <= 17), ("22-5,12", lambda r: r.hour >= 22 or r.hour <= 5 or r.hour == 12),
              ("24,-1,8-", lambda r: False)],
    "weekdays": [("mon-fri", lambda r: r.weekday < 5), ("Saturday", lambda r: r.weekday == 5),
                 ("sat-mon", lambda r: r.weekday in (5, 6, 0)), ("mo,xyz", lambda r: False)],
    "countries": [("de", lambda r: made.country(r) == "DE"), ("SE,(private network)", lambda r: made.country(r) in ("SE", "(private network)")),
                  ("D,Germany", lambda r: False)],
    "methods": [("GET", lambda r: r.method == "GET"), ("POST,head,M-SEARCH", lambda r: r.method in ("POST", "M-SEARCH")),
                ("(other)", lambda r: made.METHODS[r.method] == "(other)")],
}


class Timed:
    """A request with its time: in March 2001, which begins with a Thursday."""

    def __init__(self, chance):
        self.request = made.made_up(chance, made.SITES)
        self.day = chance.randrange(1, 29)
        self.hour = chance.randrange(24)
        self.weekday = (self.day + 2) % 7

    def __getattr__(self, name):
        return getattr(self.request, name)

    def line(self):
        return made.line_of(self.request, 0).replace("[05/Mar/2001:10:", f"[{self.day:02}/Mar/2001:{self.hour:02}:")


def expected(requests, chosen):
    left = [request for request in requests
            if all(matches(request) == (kind == "only") for kind, _, _, matches in chosen)]
    return len(left), sum(request.bytes for request in left)


def main():
    table = (PROJECT / "src" / "analysis" / "record_filters.cpp").read_text(encoding="ascii")
    rows = re.search(r"kRecordFilters\[\] = \{\n(.*?)\n\};", table, re.S)[1]
    assert re.findall(r'\{"([a-z]+)"', rows) == list(LISTS)
    chance = random.Random(7)
    requests = [Timed(chance) for _ in range(REQUESTS)]
    asked = [(kind, name, *chosen) for name, lists in LISTS.items() for chosen in lists for kind in ("only", "exclude")]
    runs = [(one,) for one in asked] + [(chance.choice(ones), chance.choice(others)) for ones, others in itertools.combinations(
        [[one for one in asked if (one[1], one[0]) == (name, kind)] for name in LISTS for kind in ("only", "exclude")], 2)]
    with tempfile.TemporaryDirectory() as folder:
        pathlib.Path(folder, "access.log").write_text("".join(request.line() for request in requests), encoding="latin-1")
        pathlib.Path(folder, "orvellis.conf").write_text(made.CONFIGURATION, encoding="ascii")
        for chosen in runs:
            words = [f"{kind}_{name}={items}" for kind, name, items, _ in chosen]
            report = json.loads(made.run(folder, "output=json", "from=2001-03-01", "to=2001-03-31", *words))
            got = report["totals"]["requests"], report["totals"]["bytes"]
            assert got == expected(requests, chosen), f"{words}: {got}, and not {expected(requests, chosen)}"
            codes = sorted(note["code"] for note in report["notes"] if note["code"] in ("only_these", "these_left_out"))
            assert codes == sorted({"only": "only_these", "exclude": "these_left_out"}[kind] for kind, *_ in chosen), report["notes"]
    print(f"{len(runs)} reports")


main()
