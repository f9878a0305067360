#!/usr/bin/env python3
"""Wall and CPU time of reports that a cluster of two workers on this machine counts, beside runs without it.

    cluster.py ROUNDS PROGRAM GENERATE_LOG RECORDS...

For each number of records, in millions: 8 logs of the standard load, in turn, as medians of the rounds: two plain runs over four of
them each, started together; one run of two workers; and orvellis-cluster. Of the latter the start is told apart, which is
what it takes over a log of 1,000 records with the same scheduler and workers. The CPU time is that of all processes, the
scheduler's and the workers' own included: where others use the machine it tells more than the wall. All write the modern page
with the classic sections: of hosts and agents that are drawn apart from each other, nearly each request is a visit."""
import os
import pathlib
import resource
import statistics
import subprocess
import sys
import tempfile
import time

PROJECT = pathlib.Path(__file__).resolve().parents[1]
LOGS = 8
SECTIONS = "requests,referrers,search,browsers,badurls,badreferrers,domains,domaintypes,dailytotals,hitsperdayofweek,hitsperhour"
ENVIRONMENT = {"PATH": "/usr/bin:/bin", "TZ": "UTC", "LC_ALL": "C.UTF-8", "ORVELLIS_CACHE": "", "HOME": "/nonexistent"}


def write_logs(generator, folder, millions):
    folder.mkdir()
    logs = []
    for number in range(LOGS):
        logs.append(str(folder / f"{number}.log"))
        with open(logs[-1], "wb") as log:
            subprocess.run([generator, f"records={millions * 1000000 // LOGS}", f"seed={number + 1}"], stdout=log, check=True)
    return logs


def cpu_seconds(processes):
    """Of these, of what they have started, and of what this one has."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    seconds = used.ru_utime + used.ru_stime
    for process in processes:
        figures = pathlib.Path(f"/proc/{process.pid}/stat").read_text(encoding="ascii").rpartition(")")[2].split()
        seconds += sum(map(int, figures[11:15])) / os.sysconf("SC_CLK_TCK")
    return seconds


def seconds_of(processes, *commands):
    """Wall and CPU seconds of commands that start together, with what a cluster's processes do for them."""
    before = cpu_seconds(processes)
    wall = wall_seconds(*commands)
    return wall, cpu_seconds(processes) - before


def wall_seconds(*commands):
    """Of commands that start together."""
    began = time.perf_counter()
    children = [subprocess.Popen(command, env=ENVIRONMENT, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) for command in commands]
    for child in children:
        said = child.communicate()[1]
        if child.returncode != 0:
            sys.exit(f"cluster.py: {child.args[0]} failed: {said.decode()}")
    return time.perf_counter() - began


def start_cluster(folder):
    processes = [subprocess.Popen(["dask-scheduler", "--host", "127.0.0.1", "--port", "0", "--no-dashboard", "--scheduler-file", f"{folder}/file"],
                                  env=ENVIRONMENT, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)]
    processes += [subprocess.Popen(["dask-worker", "--scheduler-file", f"{folder}/file", "--nthreads", "1", "--no-dashboard", "--no-nanny",
                                    "--local-directory", f"{folder}/{number}"], env=ENVIRONMENT, stdout=subprocess.DEVNULL,
                                   stderr=subprocess.DEVNULL) for number in range(2)]
    while not os.path.exists(f"{folder}/file"):
        time.sleep(0.05)
    time.sleep(5)  # until the workers are there, too
    text = pathlib.Path(folder, "file").read_text(encoding="utf-8")
    return processes, next(word for word in text.split('"') if word.startswith("tcp://"))


def main():
    if len(sys.argv) < 5:
        sys.exit(__doc__)
    rounds, program, generator = int(sys.argv[1]), os.path.abspath(sys.argv[2]), sys.argv[3]
    ENVIRONMENT["ORVELLIS"] = program
    asked = ["--quiet", "-o", "-", "--reports", SECTIONS]
    report = [str(PROJECT / "bin/orvellis-report"), *asked]
    with tempfile.TemporaryDirectory() as folder:
        processes, address = start_cluster(folder)
        cluster = ["/usr/bin/python3", str(PROJECT / "cluster/orvellis-cluster"), "--scheduler", address, *asked]
        small = pathlib.Path(folder, "small.log")
        with open(small, "wb") as log:
            subprocess.run([generator, "records=1000"], stdout=log, check=True)
        try:
            for millions in map(int, sys.argv[4:]):
                logs = write_logs(generator, pathlib.Path(folder, f"{millions}"), millions)
                size = sum(os.path.getsize(log) for log in logs)
                rows = []
                for number in range(rounds + 1):
                    halves = [report + ["--workers", "1"] + half for half in (logs[:LOGS // 2], logs[LOGS // 2:])]
                    row = (seconds_of([], *halves), seconds_of([], report + ["--workers", "2"] + logs),
                           seconds_of(processes, cluster + logs), seconds_of(processes, cluster + [str(small)]))
                    rows += [row] if number > 0 else []
                for kind, name in enumerate(("wall", "CPU")):
                    times = [[seconds[kind] for seconds in row] for row in rows]
                    plain, workers, whole, start = (statistics.median(column) for column in zip(*times))
                    to_plain = statistics.median((row[2] - row[3]) / row[0] for row in times)
                    to_workers = statistics.median((row[2] - row[3]) / row[1] for row in times)
                    print(f"{millions} million records, {size / 1e9:.1f} GB, {name}: two plain runs {plain:.2f} s, two workers of one run "
                          f"{workers:.2f} s, the cluster {whole:.2f} s, of which the start takes {start:.2f}; without it {to_plain:.3f} times "
                          f"the plain runs, {to_workers:.3f} times the workers", flush=True)
                for log in logs:
                    os.unlink(log)
        finally:
            for process in processes:
                process.terminate()
                process.wait()


if __name__ == "__main__":
    main()
