#!/usr/bin/env python3
"""Reports over logs that the servers of today wrote, held against counts made by other means.

    ORVELLIS_REAL_LOGS=FOLDER_OF_LOGS real_logs_of_today.py PROGRAM

FOLDER_OF_LOGS/today holds the logs and expected.json: of each its requests, bytes and paths, and what a reader may
count or not ("extra"). Nothing of a log is written down here.
"""
import collections
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

# A figure counts up to its first character that is no digit.
MORE_BYTES = {"iis-bad-values": 1}


def report_over(program, log):
    with tempfile.TemporaryDirectory() as folder:
        (pathlib.Path(folder) / "a.log").symlink_to(log)
        (pathlib.Path(folder) / "orvellis.conf").write_text("user=test;logs=*.log;password=*\n", encoding="ascii")
        done = subprocess.run(
            [program, "edition=modern", "username=test", "from=first", "to=last", "find=*", "find_pattern=1",
             "requests=1,0,0", "output=json"], cwd=folder, capture_output=True, check=True,
            env={"TZ": "UTC", "LC_ALL": "C", "PATH": os.environ["PATH"], "ORVELLIS_CACHE": ""})
    return json.loads(done.stdout)


def by_path(urls):
    """Without query, scheme and host. Paths that differ only in capital and small letters are one."""
    counts = collections.Counter()
    for url, count in urls:
        path = re.sub("^[a-z]+://[^/]*", "", url.split("?")[0])
        counts[path or "/"] += count
    return counts


def check(program, name, expected, log):
    report = report_over(program, log)
    extra = expected.get("extra", {}).values()
    requests, sent = report["totals"]["requests"], report["totals"]["bytes"]
    assert expected["requests"] <= requests <= expected["requests"] + sum(kind["n"] for kind in extra), requests
    most = expected["bytes"] + sum(kind["bytes"] for kind in extra) + MORE_BYTES.get(name, 0)
    assert expected["bytes"] <= (sent or 0) <= most, sent
    urls = [(row["item"], row["count"]) for row in report["sections"]["requests"]["rows"]]
    if requests == expected["requests"] and expected.get("all_paths"):
        assert by_path(urls) == by_path(expected["all_paths"].items())
    for path, count in by_path(expected["top_paths"]).items():
        assert by_path(urls)[path] >= count
    assert sum(count for _, count in urls) == requests


def main():
    logs = pathlib.Path(os.environ.get("ORVELLIS_REAL_LOGS", "")) / "today"
    if "ORVELLIS_REAL_LOGS" not in os.environ or not (logs / "expected.json").is_file():
        print("ORVELLIS_REAL_LOGS names no folder of logs of today: nothing to test.")
        sys.exit(77)
    failures = 0
    wanted = json.loads((logs / "expected.json").read_text(encoding="utf-8"))
    for name, expected in wanted.items():
        try:
            check(sys.argv[1], name, expected, (logs / expected["files"][0]).resolve())
        except (AssertionError, subprocess.CalledProcessError) as problem:
            failures += 1
            print(f"{name}: {type(problem).__name__}: {str(problem)[:100]}")
    print(f"{len(wanted)} logs, {failures} failures")
    sys.exit(1 if failures or not wanted else 0)


main()
