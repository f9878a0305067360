#!/usr/bin/env python3
"""Changes the program by one mistake after another, and tells which of them no test notices.

  tests/mutations.py [NAME...]    all mistakes of tests/mutations.list, or those whose name holds a NAME
  tests/mutations.py --check      makes none, and only looks whether each can be made

Works in a copy of the tree, build/mutations, which it keeps so that the next run builds little. Fails when a
mistake lives, when its text is not found exactly once, or when its tests fail without it.
"""

import configparser
import filecmp
import os
import pathlib
import shutil
import subprocess
import sys

TREE = pathlib.Path(__file__).resolve().parent.parent
COPY = TREE / "build/mutations/tree"
BUILD = TREE / "build/mutations/build"
SUITES = ("base", "dates", "sandbox", "unpack", "agents", "layouts", "superlog", "analysis", "parts", "sections", "report", "output", "cgi",
          "config", "entry", "run")
PROGRAMS = ["orvellis", "at_system_call", "failing_malloc"]
TIMEOUT = 300  # a mistake that lets the tests hang is noticed, too


def run(command, **options):
    """Whether a command succeeds; what it says goes to a file for whoever wants to know."""
    with open(BUILD / "last.log", "w", encoding="utf-8") as log:
        return subprocess.run(command, stdout=log, stderr=log, cwd=COPY, check=False, **options).returncode == 0


def update_copy():
    names = subprocess.run(["git", "ls-files", "-z", "-co", "--exclude-standard"], cwd=TREE, capture_output=True,
                           text=True, check=True).stdout.split("\0")
    wanted = {name for name in names if name and (TREE / name).is_file()}
    for path in [path for path in COPY.rglob("*") if path.is_file()]:
        if str(path.relative_to(COPY)) not in wanted:
            path.unlink()
    for name in wanted:
        source, target = TREE / name, COPY / name
        if not target.exists() or not filecmp.cmp(source, target, shallow=False):
            target.parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(source, target)


def build(test):
    """Builds what a test runs: the suites that its alternatives begin with, or the program."""
    named = [part.split(".")[0] for part in test.split("|")]
    targets = [f"{suite}_tests" for suite in named] if set(named) <= set(SUITES) else PROGRAMS
    return run(["cmake", "--build", BUILD, "-j", str(os.cpu_count()), "-t", *targets])


def passes(test):
    """A test is a regular expression for ctest, or "$" and a command with the program in ORVELLIS."""
    try:
        if test.startswith("$"):
            return run(["sh", "-c", test[1:]], timeout=TIMEOUT, env={**os.environ, "ORVELLIS": str(BUILD / "orvellis")})
        return run(["ctest", "--test-dir", BUILD, "--no-tests=error", "--stop-on-failure", "--timeout", str(TIMEOUT),
                    "-R", "^" + test])
    except subprocess.TimeoutExpired:
        return False


def cannot_be_made(mutation, tree):
    """Why a mistake cannot be made in a tree; empty when it can."""
    path = tree / mutation["file"]
    times = path.read_text(encoding="utf-8").count(mutation["text"]) if path.is_file() else 0
    return "" if times == 1 else f"text found {times} times"


def outcome(mutation, sound):
    """What becomes of a mistake; sound: the tests that are known to pass without any."""
    path = COPY / mutation["file"]
    if reason := cannot_be_made(mutation, COPY):
        return reason
    before = path.read_text(encoding="utf-8")
    if mutation["test"] not in sound:
        if not build(mutation["test"]) or not passes(mutation["test"]):
            return "fails without it"
        sound.add(mutation["test"])
    path.write_text(before.replace(mutation["text"], mutation["new"]), encoding="utf-8")
    try:
        if not build(mutation["test"]):
            return "does not build"
        return "lived" if passes(mutation["test"]) else "caught"
    finally:
        path.write_text(before, encoding="utf-8")


def check(mutations):
    stale = 0
    for name in mutations.sections():
        if reason := cannot_be_made(mutations[name], TREE):
            print(f"{name}: {reason} in {mutations[name]['file']}")
            stale += 1
    print(f"{len(mutations.sections())} mistakes, {stale} of them stale")
    return 0 if stale == 0 and mutations.sections() else 1


def main(wanted):
    mutations = configparser.ConfigParser(interpolation=None)
    mutations.read(TREE / "tests/mutations.list", encoding="utf-8")
    if wanted == ["--check"]:
        return check(mutations)
    names = [name for name in mutations.sections() if not wanted or any(part in name for part in wanted)]
    if not names:
        sys.exit("no mistake has such a name")
    BUILD.mkdir(parents=True, exist_ok=True)
    update_copy()
    # Warnings are no errors here: a mistake may leave something unused.
    if not run(["cmake", "-S", COPY, "-B", BUILD, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release"]):
        sys.exit(f"cannot configure the copy: see {BUILD}/last.log")
    sound, counts = set(), {}
    for name in names:
        result = outcome(mutations[name], sound)
        counts[result] = counts.get(result, 0) + 1
        print(f"{result:8} {name}: {mutations[name]['why']}", flush=True)
    print(", ".join(f"{count} {result}" for result, count in counts.items()))
    return 0 if set(counts) == {"caught"} else 1


sys.exit(main(sys.argv[1:]))
