#!/usr/bin/env python3
"""What workers take over one log, in turn with one process and with plain runs over parts of the log that start together.

    workers.py ROUNDS LOG PROGRAM COUNT...

For each count of workers: wall time and CPU time of a run with so many, and of so many plain runs over equal parts,
as medians of the rounds, and as times those of one process, round by round; and the greatest memory that all processes
of a run had together (their proportional shares, looked at every two milliseconds, in a round of its own)."""
import os
import pathlib
import statistics
import subprocess
import sys
import tempfile
import time

import pairs


def descendants(process):
    try:
        children = pathlib.Path(f"/proc/{process}/task/{process}/children").read_text(encoding="ascii").split()
    except OSError:
        children = []
    return [process] + [grandchild for child in children for grandchild in descendants(child)]


def memory_of(process):
    try:
        rollup = pathlib.Path(f"/proc/{process}/smaps_rollup").read_text(encoding="ascii")
        return int(rollup.split("\nPss:")[1].split()[0])
    except (OSError, IndexError):
        return 0


def peak_memory(words):
    peak = 0
    with subprocess.Popen(words, stdout=subprocess.DEVNULL) as run:
        while run.poll() is None:
            peak = max(peak, sum(memory_of(process) for process in descendants(run.pid)))
            time.sleep(0.002)
    return peak


def times_of(runs):
    """Wall and CPU seconds of programs that start together."""
    before, begun = os.times(), time.perf_counter()
    started = [subprocess.Popen(words, stdout=subprocess.DEVNULL) for words in runs]
    for run in started:
        if run.wait() != 0:
            sys.exit(f"workers.py: {run.args[0]} failed")
    after = os.times()
    cpu = after.children_user + after.children_system - before.children_user - before.children_system
    return time.perf_counter() - begun, cpu


def write_parts(log, count, folder):
    """The log in so many parts of about equal size, each with a configuration; the configurations."""
    size, begin = os.path.getsize(log), 0
    with open(log, "rb") as whole:
        for number in range(count):
            name = pathlib.Path(folder, f"{count}.{number}")
            name.mkdir()
            whole.seek(max(begin, size * (number + 1) // count - 1))
            whole.readline()
            end = whole.tell()
            whole.seek(begin)
            with open(name / "log", "wb") as part:
                for left in range(end - begin, 0, -(1 << 20)):
                    part.write(whole.read(min(left, 1 << 20)))
            begin = end
            yield pairs.configure(name, name / "log")


def main():
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    rounds, log, program, counts = int(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3], map(int, sys.argv[4:])
    os.environ.update(TZ="UTC", LC_ALL="C", ORVELLIS_CACHE="")
    with tempfile.TemporaryDirectory() as folder:
        pairs.configure(folder, log)
        one = pairs.command(program, log, folder)
        kinds = {"one process": [one]}
        for count in counts:
            kinds[f"{count} workers"] = [one + [f"workers={count}"]]
            kinds[f"{count} runs over parts"] = [pairs.command(program, log, part) for part in write_parts(log, count, folder)]
        seconds = {kind: [] for kind in kinds}
        for number in range(rounds + 1):
            for kind, runs in kinds.items():
                taken = times_of(runs)
                if number > 0:
                    seconds[kind].append(taken)
        for kind, runs in kinds.items():
            line = f"{kind:20}"
            for place, name in enumerate(("wall", "CPU")):
                own = [taken[place] for taken in seconds[kind]]
                ratio = statistics.median(a / b[place] for a, b in zip(own, seconds["one process"]))
                line += f"  {name} {statistics.median(own):7.3f} s, {ratio:6.3f} times one process"
            print(line + (f"  {peak_memory(runs[0]) / 1024:6.1f} MiB" if len(runs) == 1 else ""))


if __name__ == "__main__":
    main()
