#!/usr/bin/env python3
"""What each section of a report costs by itself: nanoseconds of CPU for a record, least of the rounds, over what a
report of the days alone takes.

    sections.py ROUNDS PROGRAM GENERATE_LOG [RECORDS]

The log is one of the standard load. Sections that its layout tells nothing for (users, virtual hosts, TLS, times) show
what asking for them costs. The last rows are of several together."""
import os
import pathlib
import re
import resource
import subprocess
import sys
import tempfile

PROJECT = pathlib.Path(__file__).resolve().parents[1]
CLASSIC = ("requests referrers search browsers badurls badreferrers domains domaintypes dailytotals hitsperdayofweek hitsperhour "
           "badurl_referrers").split()
DATABASE = PROJECT / "tests" / "cli" / "bases" / "countries" / "countries.mmdb"


def names():
    command = (PROJECT / "bin" / "orvellis-report").read_text(encoding="utf-8")
    return " ".join(re.search(rf"^{kind}_reports='([^']*)'", command, re.M)[1] for kind in ("ranked", "timed", "further")).split()


def seconds(program, folder, sections):
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run([program, "edition=modern", "output=json", "username=all", "days=all", f"countrydatabase={DATABASE}",
                    *(f"{name}=1" for name in sections)], cwd=folder, stdout=subprocess.DEVNULL, check=True,
                   env={"TZ": "UTC", "LC_ALL": "C", "ORVELLIS_CACHE": ""})
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    rounds, program, generator = int(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3]
    records = int(sys.argv[4]) if len(sys.argv) > 4 else 1_000_000
    asked = {name: [name, "dailytotals"] for name in names()}
    asked["the classic sections"] = CLASSIC
    asked["all sections"] = names()
    with tempfile.TemporaryDirectory() as folder:
        with open(f"{folder}/access.log", "wb") as log:
            subprocess.run([generator, f"records={records}"], stdout=log, check=True)
        pathlib.Path(folder, "orvellis.conf").write_text("user=all;logs=access.log;url=http://www.example.com;password=*\n", encoding="ascii")
        least = {}
        for _ in range(rounds):
            for name, sections in {"": ["dailytotals"], **asked}.items():
                least[name] = min(least.get(name, 1e9), seconds(program, folder, sections))
    for name in asked:
        print(f"{name:22} {(least[name] - least['']) * 1e9 / records:8.1f} ns")
    print(f"{'of the days alone':22} {least[''] * 1e9 / records:8.1f} ns")


if __name__ == "__main__":
    main()
