"""Runs of the program whose logs are counted by several processes, watched from outside where strace is installed.

watched() runs a command and says what became of its division: "whole" when nobody was asked to share the work,
"gave up" when the run counted alone after all, "divided" when the counts of others were added.
"""
import collections
import os
import pathlib
import re
import shutil
import subprocess
import tempfile

STRACE = shutil.which("strace")
WATCHED = "clone,clone3,fork,vfork,wait4,pipe2,munmap,exit_group"
CALL = re.compile(r"(\d+) +(?:<\.\.\. )?(\w+)(?: resumed>)?\(?(\d*)")
FORKED = re.compile(r"(\d+) +(?:<\.\.\. )?(?:clone|clone3|fork|vfork)\b.*\) += (\d+)")


def division_in(trace):
    """What the system calls of a run say. Whoever stands by waits for the process to which it has left the work:
    it ends at once as that one did, or lets go of what both shared, and counts alone."""
    calls = [call.groups() for call in map(CALL.match, trace.splitlines()) if call]
    parents = dict(reversed(forked.groups()) for forked in map(FORKED.match, trace.splitlines()) if forked)
    counting_ones = {process for process, name, _ in calls
                     if name == "pipe2" and process in parents and parents[process] not in parents}
    for counting in counting_ones:
        own = [(name, first) for process, name, first in calls if process == parents.get(counting)]
        if ("wait4", counting) in own:
            after = [name for name, _ in own[own.index(("wait4", counting)):] if name != "wait4"]
            return "divided" if after[:1] == ["exit_group"] else "gave up"
    return "whole"


def unwatched(command, env, **others):
    return subprocess.run(command, env=env, capture_output=True, check=False, **others), None


def watched(command, env, **others):
    """What the run came to, and what became of the division; None where nobody can tell."""
    if STRACE is None:
        return unwatched(command, env, **others)
    with tempfile.TemporaryDirectory() as folder:
        trace = pathlib.Path(folder, "trace")
        env = dict(env, ASAN_OPTIONS="detect_leaks=0")  # leaks cannot be looked for in what is watched
        tracer = [STRACE, "-f", "--seccomp-bpf", "-qq", "-o", str(trace), "-e", f"trace={WATCHED}",
                  "-e", "signal=none", "--"]
        command = [part if isinstance(part, bytes) else os.fsencode(part) for part in command]
        done = subprocess.run([os.fsencode(part) for part in tracer] + command, env=env, capture_output=True,
                              check=False, **others)
        return done, division_in(trace.read_text(errors="replace") if trace.exists() else "")


def tell(found, least):
    """Counts the ends of runs, each with its name, and prints them and all that are no good; the exit status, which
    says whether at least so many runs were divided, where that can be told."""
    ends = collections.Counter()
    for name, end in found:
        known = end in ("divided", "gave up", "whole", "same")
        ends[end if known else "failed"] += 1
        if not known:
            print(f"{name}: {end}")
    print(", ".join(f"{count} {end}" for end, count in ends.most_common()))
    return 1 if ends["failed"] or (STRACE is not None and ends["divided"] < least) else 0
