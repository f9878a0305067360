#!/usr/bin/env python3
"""Spoils reports in every way of a table and looks whether docs/report.schema.json notices:
schema_check.py PROGRAM PROJECT

What is said of all reports by agreement.py, that they hold to the schema, says something
only where the schema turns others down.
"""
import copy
import json
import pathlib
import subprocess
import sys
import tempfile

import jsonschema

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
SCHEMA = json.loads((pathlib.Path(sys.argv[2]) / "docs/report.schema.json").read_text())
jsonschema.Draft202012Validator.check_schema(SCHEMA)
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)

OPTIONAL = {"item_base64", "shown", "name", "url", "bytes"}  # of rows; and any section
SECTIONS = ["requests=1", "referrers=1", "search=1", "browsers=1", "badurls=1", "badurl_referrers=1", "badreferrers=1",
            "domains=1", "domaintypes=1", "dailytotals=1", "hitsperdayofweek=1", "hitsperhour=1", "hoursofweek=1",
            "statuses=1", "hosts=1", "users=1", "referringsites=1", "directories=1", "filetypes=1", "browserfamilies=1",
            "systems=1", "devices=1", "robots=1", "bytes=1", "visitors=1", "entrypages=1", "exitpages=1", "unknown=1"]
LOG = (b'a.example.com - - [05/Mar/2000:10:00:00 +0000] "GET /\xe9 HTTP/1.0" 200 10 "http://www.google.com/search?q=tea" "Mozilla/5.0 (X11; Linux x86_64; rv:115.0) Gecko/20100101 Firefox/115.0"\n'
       b'b.example.com - ann [05/Mar/2000:11:00:00 +0000] "GET /gone%C3%A9 HTTP/1.0" 404 10 "http://r.example/\xe9" "curl/8.5"\n'
       b'no request\n')


def written(*words):
    with tempfile.TemporaryDirectory() as folder:
        pathlib.Path(folder, "access.log").write_bytes(LOG)
        pathlib.Path(folder, "orvellis.conf").write_text("user=ann;logs=access.log;url=http://www.example.com;password=*\n",
                                                         encoding="ascii")
        done = subprocess.run([PROGRAM, "edition=modern", "output=json", "config=orvellis.conf", "subdirs=1",
                               *words], cwd=folder, env={"TZ": "UTC"}, stdout=subprocess.PIPE, check=True)
        return json.loads(done.stdout)


def every_place(value, path=()):
    """The way to each member and element, but for rows behind the first two of a list."""
    members = value.items() if isinstance(value, dict) else enumerate(value[:2]) if isinstance(value, list) else ()
    for key, inner in members:
        yield (*path, key)
        yield from every_place(inner, (*path, key))


def at(value, path):
    for key in path:
        value = value[key]
    return value


def spoiled(value, path, new):
    whole = copy.deepcopy(value)
    at(whole, path[:-1])[path[-1]] = new
    return whole


def without(value, path):
    whole = copy.deepcopy(value)
    del at(whole, path[:-1])[path[-1]]
    return whole


def of_other_kinds(value):
    """Values of every kind but its own."""
    kinds = [None, True, "x", 7, 0.5, [], {}]
    if isinstance(value, bool):
        return [kind for kind in kinds if not isinstance(kind, bool)]
    same = (int,) if isinstance(value, int) else (int, float) if isinstance(value, float) else (type(value),)
    return [kind for kind in kinds if not isinstance(kind, same) or isinstance(kind, bool)]


def around(report, path):
    """As much of a report as has the place in it, for a validator walks through all: no section but its own."""
    if "sections" not in report or path == ("sections",):
        return report
    own = path[1] if path[0] == "sections" else ""
    return {**report, "sections": {name: section for name, section in report["sections"].items() if name == own}}


def spoilings(whole):
    """Pairs: what was done, and the report with that done to it."""
    for path in every_place(whole):
        report, value = around(whole, path), at(whole, path)
        if isinstance(path[-1], str) and path[-1] not in OPTIONAL and path[:-1] != ("sections",):
            yield f"without {path}", without(report, path)
        for other in of_other_kinds(value):
            yield f"{path} as {other!r}", spoiled(report, path, other)
        if isinstance(value, (int, float)):
            yield f"{path} negative", spoiled(report, path, -1)


BAD_DAYS = ["", "2000-3-5", "05.03.2000", "2000-13-01", "2000-00-01", "2000-01-00", "2000-01-32", "2000-01-01 "]
VALUES = [
    (("format",), [0, 2, "1"]),
    (("program", "name"), ["", "Another"]),
    (("program", "edition"), ["classic", ""]),
    (("program", "version"), [""]),
    (("range", "from"), BAD_DAYS),
    (("range", "to"), BAD_DAYS),
    (("created",), ["2000-04-01", "2000-04-01T00:00:00Z", "2000-04-01T24:00:00+00:00", "2000-04-01 00:00:00+00:00",
                    "2000-04-01T00:60:00+00:00", "2000-04-31T00:00:61+00:00"]),
    (("notes", 0, "code"), ["", "Only path", "only-path"]),
    (("notes", 0, "text"), [""]),
    (("sections", "requests", "title"), [""]),
    (("sections", "requests", "rows", 0, "item_base64"), ["", "x", "/w", "/w=", "a b=", "/w*="]),
    (("sections", "badurls", "rows", 0, "url"),
     ["", "/gone%C3%A9", "javascript:alert(1)", "ftp://r.example/", "http://", "http://a b", "http://a/\u00e9", "//r.example/"]),
    (("sections", "badurls", "rows", 0, "shown"), [""]),
    (("sections", "dailytotals", "rows", 0, "item"), BAD_DAYS),
    (("sections", "visitors", "rows", 0, "item"), BAD_DAYS),
    (("sections", "hitsperdayofweek", "rows", 0, "item"), ["Sun", "sunday", "0"]),
    (("sections", "hitsperhour", "rows", 0, "item"), ["0", "24", "99", "00:00"]),
    (("sections", "hoursofweek", "rows", 0, "item"), ["Sunday", "00", "Sunday 0", "Someday 00", "Sunday 24"]),
    (("sections", "later_section"), [{}, {"title": "x"}, 1]),
]
LENGTHS = {"hitsperdayofweek": 7, "hitsperhour": 24, "hoursofweek": 168}


def main():
    report = written("username=ann", "date=03052000,03052000", *SECTIONS, "find=/")
    limited = written("username=ann", "date=03052000,03052000", "find=/gone", "requests=1")
    refusal = written("username=nobody", "date=03052000,03052000")
    for whole in (report, limited, refusal):
        VALIDATOR.validate(whole)
    assert limited["notes"] and "error" in refusal
    empty = [name for name, section in report["sections"].items() if not section["rows"]]
    assert not empty, empty
    report["notes"] = limited["notes"]
    cases = list(spoilings(report)) + list(spoilings(refusal))
    for path, values in VALUES:
        cases += [(f"{path} as {value!r}", spoiled(around(report, path), path, value)) for value in values]
    for name, length in LENGTHS.items():
        rows = report["sections"][name]["rows"]
        assert len(rows) == length
        for other in (rows[1:], rows + rows[:1]):
            cases.append((f"{name} of {len(other)}", spoiled(report, ("sections", name, "rows"), other)))
    for status in (200, 399, 600):
        cases.append((f"a refusal with {status}", spoiled(refusal, ("error", "status"), status)))
    cases += [("a report that is refused", {**report, **refusal}), ("nothing", {}), ("a list", [report])]
    passing = [name for name, whole in cases if VALIDATOR.is_valid(whole)]
    # A later program may tell more.
    VALIDATOR.validate({**report, "more": 1})
    print(f"{len(cases)} spoiled reports")
    if passing or len(cases) < 1000:
        sys.exit("not noticed:\n" + "\n".join(passing))


main()
