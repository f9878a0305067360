#!/usr/bin/env python3
"""CPU time of counting a log in parts, each in a process of its own, and of merging them, beside one run over the whole.

    parts.py ROUNDS LOG COUNT PROGRAM...

The log is divided into COUNT logs of about equal size. For each program, as medians of the rounds: the plain run over all
of them, and as times that one, round by round, so many plain runs over one each, so many that write parts, and the run
that merges these; and the bytes of the parts."""
import os
import pathlib
import statistics
import sys
import tempfile

import pairs
import workers


def main():
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    rounds, log, count, programs = int(sys.argv[1]), os.path.abspath(sys.argv[2]), int(sys.argv[3]), sys.argv[4:]
    os.environ.update(TZ="UTC", LC_ALL="C", ORVELLIS_CACHE="")
    seconds = {program: [] for program in programs}
    with tempfile.TemporaryDirectory() as folder:
        of_parts = list(workers.write_parts(log, count, folder))
        together = pathlib.Path(folder, "all")
        together.mkdir()
        for place, part in enumerate(of_parts):
            os.link(f"{part}/log", together / f"{place:04}.log")
        pairs.configure(folder, f"{together}/*.log")
        for number in range(rounds + 1):
            for program in programs:
                whole = pairs.command(program, log, folder)
                runs = [pairs.command(program, log, part) for part in of_parts]
                files = [f"{folder}/{place:04}.part" for place in range(count)]
                taken = (pairs.cpu_seconds(whole), sum(map(pairs.cpu_seconds, runs)),
                         sum(pairs.cpu_seconds(run + [f"part={file}"]) for run, file in zip(runs, files)),
                         pairs.cpu_seconds(whole + [f"merge={folder}/*.part"]))
                if number > 0:
                    seconds[program].append(taken)
        size = sum(path.stat().st_size for path in pathlib.Path(folder).glob("*.part"))
    for program, rows in seconds.items():
        times = [statistics.median(row[place] / row[0] for row in rows) for place in range(4)]
        both = statistics.median((row[2] + row[3]) / row[0] for row in rows)
        print(f"{program}: one run {statistics.median(row[0] for row in rows):.3f} s; {count} runs {times[1]:.3f}, {count} parts "
              f"{times[2]:.3f}, merging them {times[3]:.3f}, both {both:.3f} times that; {size} bytes")


if __name__ == "__main__":
    main()
