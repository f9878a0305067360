#!/usr/bin/env python3
"""CPU time of whole programs over one log, in turn, so that all of them meet the same noise.

    pairs.py ROUNDS LOG PROGRAM...

A program is an orvellis (PROGRAM@modern for that edition), or one of the names analog, goaccess and wc. For each: the
median, the fastest run, and the median of what it takes times the first one, round by round. One round before is not
counted. The report has all eleven sections of the log of generate_log, so its days are those of March 2000."""
import os
import shutil
import statistics
import sys
import tempfile

RANKED = "requests referrers search browsers badurls badreferrers domains domaintypes".split()
TIMES = "dailytotals hitsperdayofweek hitsperhour".split()
ANALOG = ("-G +g/dev/null +CLOGFORMAT~COMBINED +COUTFILE~OUT +CALLCHART~OFF -A +D +d +h +o +Z +r +f +n +b +I +K").split()


def command(program, log, folder):
    if program == "wc":
        return ["wc", "-l", log]
    if program == "goaccess":
        return ["goaccess", log, "--log-format=COMBINED", "--no-global-config", "-o", f"{folder}/goaccess.html"]
    if program == "analog":
        return ["analog", *(word.replace("~", " ").replace("OUT", f"{folder}/analog.html") for word in ANALOG), log]
    path, _, edition = program.partition("@")
    return [path, f"config={folder}/orvellis.conf", "username=bench", "date=03012000,03302000", "find=/", "subdirs=1",
            "dnslookupenabled=0", *(f"{name}=1,30" for name in RANKED), *(f"{name}=1" for name in TIMES),
            *([f"edition={edition}"] if edition else [])]


def configure(folder, log):
    with open(f"{folder}/orvellis.conf", "w", encoding="ascii") as configuration:
        configuration.write(f"OrvellisPath=.\nuser=bench;logs={log};url=http://www.example.com;password=*;title=Benchmark\n")
    return folder


def cpu_seconds(words):
    nothing = [(os.POSIX_SPAWN_OPEN, stream, "/dev/null", os.O_RDWR, 0) for stream in (0, 1, 2)]
    child = os.posix_spawn(shutil.which(words[0]), words, os.environ, file_actions=nothing)
    _, status, used = os.wait4(child, 0)
    if status != 0:
        sys.exit(f"pairs.py: {words[0]} failed: {status}")
    return used.ru_utime + used.ru_stime


def main():
    if len(sys.argv) < 4:
        sys.exit(__doc__)
    rounds, log, programs = int(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3:]
    os.environ.update(TZ="UTC", LC_ALL="C", ORVELLIS_CACHE="")
    seconds = {program: [] for program in programs}
    with tempfile.TemporaryDirectory() as folder:
        configure(folder, log)
        for number in range(rounds + 1):
            for program in programs:
                used = cpu_seconds(command(program, log, folder))
                if number > 0:
                    seconds[program].append(used)
    for program, runs in seconds.items():
        ratio = statistics.median(a / b for a, b in zip(runs, seconds[programs[0]]))
        print(f"{program:40} median {statistics.median(runs):7.4f} s  fastest {min(runs):7.4f} s  {ratio:7.3f} times the first")


if __name__ == "__main__":
    main()
