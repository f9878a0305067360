#!/usr/bin/env python3
"""CPU time of a year's report with counts that are kept, beside one without.

    kept_counts.py ROUNDS PROGRAM GENERATE_LOG [RECORDS]

365 daily logs of so many records (20,000), named by their dates, and one more day. As medians of the rounds: a run without
kept counts; the first one that keeps them; the same question again; the same with one more log; and the 30 days from
10 April, which nobody has asked for. And how much is kept."""
import calendar
import datetime
import os
import pathlib
import shutil
import statistics
import subprocess
import sys
import tempfile
import time

import pairs

FIRST = datetime.date(2025, 1, 1)
SETTLED = 3  # seconds after which a log counts as one that nobody writes


def write_log(generator, folder, number, records):
    day = FIRST + datetime.timedelta(number)
    start = calendar.timegm(day.timetuple())
    path = folder / f"access.log-{day:%Y%m%d}"
    with open(path, "wb") as log:
        subprocess.run([generator, f"records={records}", "days=1", f"start={start}", f"seed={number + 1}"], stdout=log, check=True)
    return path


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    rounds, program, generator = int(sys.argv[1]), sys.argv[2], sys.argv[3]
    records = int(sys.argv[4]) if len(sys.argv) > 4 else 20000
    os.environ.update(TZ="UTC", LC_ALL="C", ORVELLIS_CACHE="")
    with tempfile.TemporaryDirectory() as name:
        folder, counts = pathlib.Path(name), pathlib.Path(name, "counts")
        (folder / "logs").mkdir()
        for number in range(365):
            write_log(generator, folder / "logs", number, records)
        new = write_log(generator, folder, 365, records)
        pairs.configure(folder, f"{folder}/logs/*")
        plain = pairs.command(program, "", folder)
        plain = [word for word in plain if not word.startswith("date=")] + ["days=all"]
        kept = plain + [f"partcache={counts}"]
        some = [word for word in kept if word != "days=all"] + ["date=04102025,05092025"]
        steps = {"without": [], "keeping": [], "again": [], "one more day": [], "other days": []}
        for _ in range(rounds):
            shutil.rmtree(counts, ignore_errors=True)
            time.sleep(SETTLED)
            for step, words in (("without", plain), ("keeping", kept), ("again", kept), ("other days", some)):
                steps[step].append(pairs.cpu_seconds(words))
            os.rename(new, folder / "logs" / new.name)
            time.sleep(SETTLED)
            steps["one more day"].append(pairs.cpu_seconds(kept))
            size = sum(path.stat().st_size for path in counts.glob("*.counts"))
            os.rename(folder / "logs" / new.name, new)
        for step, seconds in steps.items():
            own = statistics.median(seconds)
            parts = [statistics.median(other / one for other, one in zip(steps[kind], seconds)) for kind in ("without", "keeping")]
            print(f"{step:14} {own:7.4f} s, 1/{parts[0]:5.1f} of a run without, 1/{parts[1]:5.1f} of the first that keeps counts")
        print(f"{size / 1e6:.0f} MB kept, of {365 * records} records")


if __name__ == "__main__":
    main()
