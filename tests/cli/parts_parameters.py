#!/usr/bin/env python3
"""Fails when a parameter, or a key of the configuration, decides what is counted and no part says so.

    parts_parameters.py PROGRAM PROJECT

Each one is given a value of its own: to a plain run over two logs, and to a run that merges parts of these logs that
were counted without it. Either the parts are refused, or both pages are the same bytes. The table below says which,
and a name that is not in the table fails: whoever makes a parameter has to say what it does to parts.
"""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
import moments  # pylint: disable=wrong-import-position

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
PROJECT = pathlib.Path(sys.argv[2])
NO_PART = 4
ENVIRONMENT = {"TZ": "CET-1CEST,M3.5.0,M10.5.0/3", "LC_ALL": "C", "PATH": "/usr/bin:/bin", "COLUMNS": "100",
               "SOURCE_DATE_EPOCH": "984225600"}

REFUSED = "refused"  # it decides what is counted
PRINTED = "printed"  # it changes the page, and not what is counted
NOTHING = "nothing"  # it does neither
LOGS = "logs"        # it says which logs there are, or what the run does with them: not tried

SECTIONS = ["badurls", "browsers", "requests", "search", "badreferrers", "domaintypes", "domains", "referrers"]
DIMENSIONS = ["statuses", "hosts", "users", "referringsites", "directories", "filetypes", "browserfamilies", "systems",
              "devices", "robots", "servererrors", "visitors", "entrypages", "exitpages", "countries", "methods", "protocols", "sizes"]
DAYS = ["date=03052001,03072001"]
OTHER_DAYS = ["sm=03", "sd=05", "sy=2001", "em=03", "ed=07", "ey=2001"]
WORDS = ["from=2001-03-05", "to=2001-03-07"]
PATH = ["find=/"]

# name: what it does, its value, and what takes the place of days or path
PARAMETERS = {
    "edition": (REFUSED, "classic"),
    "part": (LOGS,), "merge": (LOGS,), "plan": (LOGS,), "piece": (LOGS,), "missing": (LOGS,), "stream": (LOGS,), "config": (LOGS,), "username": (LOGS,), "AccessLog": (LOGS,), "logs": (LOGS,),
    "summary": (NOTHING, "other.ORV"),
    "workers": (NOTHING, "3,100"),
    "partcache": (NOTHING, "counts"), "partcachesize": (NOTHING, "64K"),
    "anonymise": (REFUSED, "1"),
    "countrydatabase": (PRINTED, "others.mmdb"),
    "password": (NOTHING, "*"),
    "signon": (NOTHING, "ann"),
    "authrealm": (REFUSED, "members"),
    "authuser": (REFUSED, "ann"),
    "showquery": (REFUSED, "1"),
    "find": (REFUSED, "/docs"),
    "find_casesensitive": (REFUSED, "1", ["find=/Docs"]),
    "find_pattern": (REFUSED, "1", ["find=/d*"]),
    "subdirs": (REFUSED, "0", ["find=/docs"]),
    "title": (PRINTED, "Another"),
    "output": (PRINTED, "json"),
    "section": (PRINTED, "requests", ["output=csv"]),
    "totals": (PRINTED, "1"),
    "csv_formulas": (PRINTED, "1", ["output=csv"]),
    "url": (REFUSED, "http://www.example.net"),
    "sm": (REFUSED, "02", OTHER_DAYS), "sd": (REFUSED, "06", OTHER_DAYS), "sy": (REFUSED, "2000", OTHER_DAYS),
    "em": (REFUSED, "04", OTHER_DAYS), "ed": (REFUSED, "06", OTHER_DAYS), "ey": (REFUSED, "2002", OTHER_DAYS),
    "date": (REFUSED, "03052001,03062001"),
    "days": (REFUSED, "all"),
    "from": (REFUSED, "2001-03-06", WORDS),
    "to": (REFUSED, "2001-03-06", WORDS),
    "filter_domains": (REFUSED, "10.0.0"),
    "filter_filetypes": (REFUSED, "html"),
    "filter_referrers": (REFUSED, "1", ["filter_domains=!net"]),
    **{name: (PRINTED, "1,1") for name in SECTIONS + DIMENSIONS},
    **{name + "_top": (PRINTED, "1") for name in SECTIONS + DIMENSIONS},
    **{name + "_greater": (PRINTED, "3") for name in SECTIONS},
    **{name + "_greater": (PRINTED, "9") for name in DIMENSIONS},
    **{kind + name: (REFUSED, value) for kind in ("only_", "exclude_") for name, value in
       {"statuses": "404", "hosts": "10.0.0.1", "agents": "Mozilla", "robots": "1", "referrers": "*", "vhosts": "x", "users": "ann",
        "hours": "0-12", "weekdays": "mon", "countries": "FR", "methods": "GET"}.items()},
    # Of which the logs have none.
    "vhosts": (REFUSED, "1"), "vhosts_top": (NOTHING, "1"), "vhosts_greater": (NOTHING, "1"),
    "tlsversions": (REFUSED, "1"), "tlsversions_top": (NOTHING, "1"), "tlsversions_greater": (NOTHING, "1"),
    "redirects": (REFUSED, "1"), "redirects_top": (NOTHING, "1"), "redirects_greater": (NOTHING, "1"),
    "slow": (REFUSED, "1"), "slow_top": (NOTHING, "1"), "slow_greater": (NOTHING, "1"),
    "search_casesensitive": (NOTHING, "1"),
    "unknown": (PRINTED, "1"), "unknown_top": (NOTHING, "1"), "unknown_greater": (NOTHING, "1"),
    "badurl_referrers": (PRINTED, "0"),
    "own_referrers": (REFUSED, "1"),
    "directory_depth": (PRINTED, "2"),
    "bytes": (REFUSED, "1"), "order": (REFUSED, "bytes"), "compare": (REFUSED, "previous"),
    "dailytotals": (PRINTED, "0"),
    "hitsperdayofweek": (PRINTED, "0"),
    "hitsperhour": (PRINTED, "0"),
    "hoursofweek": (PRINTED, "0"),
    "no_script": (PRINTED, "1"), "pages_only": (PRINTED, "1"),
    "linked_names": (PRINTED, "1"),
    "base": (NOTHING, "http://www.example.com/"),
    "timezone": (REFUSED, "UTC"),
    "fixgmt": (REFUSED, "1"),
    "dateformat": (REFUSED, "DMY"),
    "logformat": (REFUSED, "T29khc"),
    "extrafooter": (PRINTED, "<p>Foot</p>"),
    "extraheader": (PRINTED, "<p>Head</p>"),
    "priority": (NOTHING, "3"),
    "debug": (REFUSED, "1"),
    "dnslookupenabled": (REFUSED, "1"),
    "smartmemorydisabled": (NOTHING, "1"),
    "flushtoserver": (NOTHING, "1"),
}
KEYS = {
    "user": (LOGS,), "Edition": (LOGS,),
    "search": (REFUSED, "Another;domain=another;vars=q;"),
    "Networks": (PRINTED, "names"),
    "ErrorLog": (NOTHING, "errors"),
    "OrvellisPath": (NOTHING, "/elsewhere"),
    "RemoteDebugEnabled": (NOTHING, "1"),
    "Debug": (REFUSED, "1"),
    "Priority": (NOTHING, "3"),
    "Base": (NOTHING, "http://www.example.com/"),
    "TimeZone": (REFUSED, "UTC"),
    "FixGmt": (REFUSED, "1"),
    "DateFormat": (REFUSED, "DMY"),
    "LogFormat": (REFUSED, "T29khc"),
    "LogFormatFile": (REFUSED, "layout"),
    "ExtraHeader": (PRINTED, "<p>Head</p>"),
    "ExtraFooter": (PRINTED, "<p>Foot</p>"),
    "SmartParsing": (NOTHING, "1"),
    "UserPasswords": (NOTHING, "passwords"),
    "InternalIp": (NOTHING, "10."),
    "TrustedProxies": (NOTHING, "10.0.0.0/8"),
    "LoginLimits": (NOTHING, "limits"),
    "DNSLookupEnabled": (REFUSED, "1"),
    "DNSLookupSeconds": (NOTHING, "7"),
    "Workers": (NOTHING, "3,100"),
    "PartCache": (NOTHING, "counts"), "PartCacheSize": (NOTHING, "64K"),
    "AgentRules": (REFUSED, "agents"), "Anonymise": (REFUSED, "1"),
    "CountryDatabase": (PRINTED, "others.mmdb"),
    "SmartMemoryEnabled": (NOTHING, "0"),
    "SmartMemoryKeepEntries": (NOTHING, "7"),
    "SmartMemoryReclaimSize": (NOTHING, "7"),
    "SmartMemoryMaxMemoryToAllocate": (NOTHING, "9999"),
    "FlushToServer": (NOTHING, "1"),
    "search_casesensitive": (NOTHING, "1"),
}

# Lines of CLF, and such whose dates and times stand for themselves.
CLF = {
    "logs/1.log": [
        '10.0.0.1 - ann [05/Mar/2001:09:00:00 +0000] "GET /Docs/a.html?x=1 HTTP/1.0" 200 100 "-" "=1+1"',
        '10.0.0.2 - - [05/Mar/2001:23:30:00 +0000] "HEAD /docs HTTP/1.1" 500 9 "http://www.finder.example/?q=a" "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0"',
        'h.example.org - - [06/Mar/2001:11:00:00 +0000] "GET /none HTTP/1.0" 404 0 "http://www.example.net/L" "A/1"',
        'h.example.fr - - [06/Mar/2001:11:00:00 +0000] "GET /no HTTP/1.0" 404 0 "http://www.example.com/b" "B/1"',
    ],
    "logs/2.log": [
        '10.0.0.2 - bob [06/Mar/2001:12:00:00 +0000] "GET /docs HTTP/1.0" 200 5 "http://www.finder.example/?q=a" "A/1"',
        'h.example.org - - [07/Mar/2001:12:00:00 +0000] "GET /none HTTP/1.0" 404 1 "http://www.example.net/M" "A/1"',
        'h.example.fr - - [07/Mar/2001:13:00:00 +0000] "GET /b.gif HTTP/1.0" 403 1 "http://www.finder.example/?q=c" "Mozilla/5.0 (iPhone; CPU iPhone OS 17_1 like Mac OS X) AppleWebKit/605.1.15 (KHTML, like Gecko) Version/17.1 Mobile/15E148 Safari/604.1"',
        '10.0.0.3 - - [06/Mar/2001:14:00:00 +0000] "GET /docs HTTP/1.0" 200 9 "-" "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0"',
        '10.0.0.3 - - [07/Mar/2001:14:00:00 +0000] "GET /docs/d/b HTTP/1.0" 200 9 "-" "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0"',
        "not understood",
    ],
}
NUMBERS = {
    "logs/1.log": ["03/05/2001\t09:00:00\tOK\t10.0.0.1\t/a.html\t100", "03/06/2001\t09:00:00\tERR\th.org\t/b.html\t1"],
    "logs/2.log": ["03/07/2001\t23:30:00\tOK\th.example.fr\t/a.html\t100"],
}
OF_NUMBERS = {"fixgmt", "dateformat", "logformat", "logformatfile"}


def names_in(path, table, row):
    text = (PROJECT / "src" / path).read_text()
    rows = re.search(table + r"\[\] = \{\n(.*?)\n\};", text, re.S).group(1)
    names = re.findall(row, rows, re.M)
    if len(names) != len(re.findall(r"^ *\{", rows, re.M)):
        sys.exit(f"rows of {table} are not understood")
    return set(names)


def names_of_filters():
    text = (PROJECT / "src/analysis/record_filters.cpp").read_text()
    rows = re.search(r"kRecordFilters\[\] = \{\n(.*?)\n\};", text, re.S).group(1)
    return {kind + name for name in re.findall(r'\{"([a-z]+)"', rows) for kind in ("only_", "exclude_")}


def names_of_dimensions():
    text = (PROJECT / "src/analysis/dimensions.cpp").read_text()
    return {name + ending for name in re.findall(r'\.parameter = "([a-z]+)"', text) for ending in ("", "_top", "_greater")}


class Account:
    """A folder with the logs and the configuration of an account, in which parameters and keys are set."""

    def __init__(self, folder, logs):
        self.folder = pathlib.Path(folder)
        (self.folder / "logs").mkdir(parents=True)
        for name, lines in logs.items():
            (self.folder / name).write_text("\n".join(lines) + "\n")
        (self.folder / "layout").write_text('%h %l %u %t "%r" %>s %b\n')
        (self.folder / "agents").write_text("robot; Firefox; Fox; feeds\n")
        (self.folder / "names").write_text("ORG Another name\nFR Elsewhere\n")
        for database in ("cli/bases/countries/countries.mmdb", "cli/bases/countries/others.mmdb"):
            shutil.copy(PROJECT / "tests" / database, self.folder)
        (self.folder / "logs/2.log").rename(self.folder / "second")
        (self.folder / "logs/2.log").symlink_to("../second")

    def run(self, words, logs="*", items="", keys=""):
        url = "" if "url=" in items else ";url=http://www.example.com"
        (self.folder / "orvellis.conf").write_text(
            f"search=Finder;url=http://www.finder.example;domain=finder;vars=q;\nCountryDatabase=countries.mmdb\n{keys}"
            f"user=one;logs=logs/[{'12' if logs == '*' else logs}].log{url};password=*{items}\n")
        done = subprocess.run([PROGRAM, "username=one", *words], cwd=self.folder, env=ENVIRONMENT,
                              capture_output=True, timeout=60, check=False)
        return done.returncode, moments.blank(done.stdout, moments.OF_PAGES), done.stderr


def words_of(edition, instead):
    words = [f"{name}=1" for name in SECTIONS + DIMENSIONS + ["dailytotals", "hitsperdayofweek", "hitsperhour", "hoursofweek",
                                                 "badurl_referrers", "subdirs"]]
    taken = {word.split("=")[0] for word in instead}
    days = [] if taken & {"sm", "from"} else DAYS
    path = [] if "find" in taken else PATH
    return [f"edition={edition}"] + words + days + path + list(instead)


# An account whose line names days has these, and an output of its own is nothing that a stranger learns.
def is_set_by_shell(name):
    return name in ("edition", "totals", "smartmemorydisabled", "output", "section", "days", "from", "to")


def end_of(folder, edition, name, row, key):
    value, instead = row[1], row[2] if len(row) > 2 else ()
    account = Account(folder, NUMBERS if name.lower() in OF_NUMBERS else CLF)
    words = words_of(edition, instead)
    set_ = {"keys": f"{name}={value}\n"} if key else \
           {} if is_set_by_shell(name) else {"items": f";{name}={value}"}
    more = [f"{name}={value}"] if not key and not set_ else []
    for log in "12":
        done = account.run(words + [f"part={log}.part"], log)
        if done != (0, b"", b""):
            return f"no part: {done}"
    plain = account.run(words)
    own = account.run(words + ["merge=?.part"])
    if plain[0] != 0 or own != plain:
        return "parts make another page without it"
    merged = account.run(words + more + ["merge=?.part"], **set_)
    if merged[0] == NO_PART and merged[1] == b"":
        return REFUSED
    other = account.run(words + more, **set_)
    if merged != other:
        return f"another page of parts than of one run: {merged[2]!r}"
    return NOTHING if other == plain else PRINTED


def main():
    failures = 0
    tables = (
        ("parameter", PARAMETERS, names_in("cgi/parameters.cpp", "kKeywords", r'^ *\{"([^"]+)",') | names_of_dimensions() | names_of_filters(), False),
        ("key", KEYS, names_in("config/config_file.cpp", "kConfigKeys", r'^ *\{"([^"]+)",'), True),
    )
    for what, table, names, key in tables:
        for name in sorted(names ^ set(table)):
            failures += 1
            print(f"{what} {name}: " + ("nobody says what it does to parts" if name in names else "there is none"))
        for name in sorted(names & set(table)):
            row = table[name]
            for edition in ("modern", "classic") if row[0] != LOGS else ():
                with tempfile.TemporaryDirectory() as folder:
                    end = end_of(folder + "/account", edition, name, row, key)
                # Not every parameter is known to the classic edition.
                if end != row[0] and (edition == "modern" or end not in (REFUSED, PRINTED, NOTHING)):
                    failures += 1
                    print(f"{what} {name} ({edition}): {end}, and not {row[0]}")
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
