#!/usr/bin/env python3
"""How long a small report takes from the start of the process to its end, as each output.

    bench/output_times.py PROGRAM [ROUNDS]

Each round makes a report of ten records with all eleven sections once as each output, the classic
page first: neighbours of the machine are heard by all of them alike. Prints medians over the rounds in
milliseconds, of the processor and of the clock, and what the median round adds to the classic page.
"""

import os
import pathlib
import resource
import statistics
import subprocess
import sys
import tempfile
import time

PROGRAM = os.path.abspath(sys.argv[1])
ROUNDS = int(sys.argv[2]) if len(sys.argv) > 2 else 300
KINDS = {"classic page": [], "modern page": ["edition=modern"],
         **{name: ["edition=modern", f"output={name}"] for name in ("json", "csv", "text")}}
SECTIONS = [f"{name}=1,30" for name in ("requests", "referrers", "search", "browsers", "badurls", "badreferrers",
                                        "domains", "domaintypes")]
COMMON = ["config=orvellis.conf", "username=bench", "date=03052000,03052000", "find=/", "subdirs=1", *SECTIONS,
          "dailytotals=1", "hitsperdayofweek=1", "hitsperhour=1"]


def write_log(folder):
    lines = [f'h{i}.example.com - - [05/Mar/2000:{i:02}:00:00 +0000] "GET /{i % 4}.html HTTP/1.0" {404 if i == 3 else 200} '
             f'100 "http://r.example/{i % 3}" "Browser/{i % 2}"\n' for i in range(10)]
    pathlib.Path(folder, "access.log").write_text("".join(lines), encoding="ascii")
    pathlib.Path(folder, "orvellis.conf").write_text("user=bench;logs=access.log;url=http://www.example.com;password=*\n",
                                                     encoding="ascii")


def processor_time():
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def run(folder, words):
    """Milliseconds of the processor and of the clock."""
    begun, used = time.monotonic(), processor_time()
    subprocess.run([PROGRAM, *COMMON, *words], cwd=folder, env={"TZ": "UTC"}, stdout=subprocess.DEVNULL, check=True)
    return 1000 * (processor_time() - used), 1000 * (time.monotonic() - begun)


def main():
    with tempfile.TemporaryDirectory() as folder:
        write_log(folder)
        rounds = [{kind: run(folder, words) for kind, words in KINDS.items()} for _ in range(ROUNDS + 5)][5:]
    print(f"{'output':14} {'CPU ms':>8} {'clock ms':>9} {'CPU, more':>10}")
    for kind in KINDS:
        processor, clock = (statistics.median(times[kind][i] for times in rounds) for i in (0, 1))
        more = statistics.median(times[kind][0] - times["classic page"][0] for times in rounds)
        print(f"{kind:14} {processor:8.2f} {clock:9.2f} {more:10.2f}")


main()
