#!/usr/bin/env python3
"""What it takes to add parts as their number grows: all at once, one behind the other, and as a tree.

    adding.py PROGRAM GENERATE_LOG [RECORDS [COUNT...]]

Each part holds the counts of a log of so many records (1,000,000) of the standard load; 16 logs are counted under other
names until there are so many parts as each COUNT says (4, 64 and 1024). For each count: the CPU time of adding all in one run, of
adding each to the sum of those before, and of adding 16 at a time, as a tree; and the time until the tree's sum is
there when all that can be added at the same time is: the slowest sum of each level, added up. And the most bytes of
memory that one of these runs has taken."""
import concurrent.futures
import os
import pathlib
import resource
import subprocess
import sys
import tempfile

import pairs

FAN_IN = 16
LOGS = 16


def run(words, parts=()):
    """CPU seconds and bytes of memory of a run that reads parts."""
    with subprocess.Popen(words, stdin=subprocess.PIPE if parts else subprocess.DEVNULL) as child:
        for part in parts:
            child.stdin.write(pathlib.Path(part).read_bytes())
        if parts:
            child.stdin.close()
        _, status, used = os.wait4(child.pid, 0)
        child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        sys.exit(f"adding.py: {words[0]} failed: {child.returncode}")
    return used.ru_utime + used.ru_stime, used.ru_maxrss * 1024


def make_parts(program, generator, folder, records, count):
    for number in range(min(LOGS, count)):
        with open(folder / f"{number}.log", "wb") as log:
            subprocess.run([generator, f"records={records}", f"seed={number + 1}"], stdout=log, check=True)

    def plan_one(number):
        """In a plan of its own, so that nobody looks whether it is a copy."""
        name = folder / f"{number:06}.name"
        name.symlink_to(folder / f"{number % LOGS}.log")
        pairs.configure(folder, name)
        return subprocess.run(words + ["plan=1024T"], check=True, capture_output=True).stdout

    def count_one(number):
        part = folder / f"{number:06}.part"
        run(words + [f"piece={pieces[number]}", f"part={part}"])
        return part

    words = pairs.command(f"{program}@modern", "", folder)
    plans = b"".join(map(plan_one, range(count)))
    pieces = subprocess.run(words + ["plan=-"], input=plans, check=True, capture_output=True).stdout.decode().splitlines()
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        return list(pool.map(count_one, range(count)))


def main():
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    program, generator = sys.argv[1], sys.argv[2]
    records = int(sys.argv[3]) if len(sys.argv) > 3 else 1000000
    counts = sorted(int(count) for count in sys.argv[4:]) or [4, 64, 1024]
    os.environ.update(TZ="UTC", LC_ALL="C", ORVELLIS_CACHE="")
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        made = make_parts(program, generator, folder, records, counts[-1])
        base = pairs.command(f"{program}@modern", "", pairs.configure(folder, f"{folder}/none"))
        print(f"parts of {records} records: {sum(part.stat().st_size for part in made) // len(made)} bytes each, on average; "
              f"counting took {resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime:.0f} s of CPU time in all")
        for count in counts:
            parts = made[:count]
            most = []

            def add(some, to):
                seconds, memory = run(base + ["merge=-", f"part={to}"], some)
                most.append(memory)
                return seconds

            flat = add(parts, folder / "sum")
            chain, ends = 0.0, [folder / "sum", folder / "other"]
            for place in range(1, count):
                chain += add([parts[0] if place == 1 else ends[0], parts[place]], ends[1])
                ends.reverse()
            tree, path, level = 0.0, 0.0, parts
            while len(level) > 1:
                groups = [level[at:at + FAN_IN] for at in range(0, len(level), FAN_IN)]
                sums = [folder / f"{len(level)}.{at}.sum" for at in range(len(groups))]
                taken = [add(group, end) for group, end in zip(groups, sums)]
                tree, path, level = tree + sum(taken), path + max(taken), sums
            print(f"{count} parts: at once {flat:.3f} s, a chain {chain:.3f} s, a tree {tree:.3f} s, whose longest path takes {path:.3f} s; "
                  f"{max(most) / 1e6:.0f} MB of memory at most; their sum has {level[0].stat().st_size} bytes")


if __name__ == "__main__":
    main()
