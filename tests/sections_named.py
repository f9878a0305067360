#!/usr/bin/env python3
"""Fails when a section of the table of dimensions is missing where people look for it.

    sections_named.py PROJECT
"""
import pathlib
import re
import sys

PROJECT = pathlib.Path(sys.argv[1])
PLACES = {
    "bin/orvellis-report": r"further_reports='[^']*\b{}\b",
    "completions/orvellis-report.bash": r"sections='[^']*\b{}\b",
    "completions/_orvellis-report": r":sections:[^']*\b{}\b",
    "completions/_orvellis-cluster": r":sections:[^']*\b{}\b",
    "man/orvellis.1": r"\.It Cm [^\n]*\b{}\b",
    "man/orvellis-report.1": r"\.Cm [^\n]*\b{}\b",
    "docs/parameters.md": r"\n\| `{}` \| ",
    "docs/outputs.md": r"\n\| (?:`[a-z]+`, )*`{}`",
}


def main():
    table = (PROJECT / "src" / "analysis" / "dimensions.cpp").read_text(encoding="ascii")
    names = re.findall(r'\.parameter = "([a-z]+)"', table)
    missing = [f"{name} is not in {place}" for place, pattern in PLACES.items()
               for name in names if not re.search(pattern.format(name), (PROJECT / place).read_text(encoding="utf-8"))]
    print("\n".join(missing) or f"{len(names)} sections in {len(PLACES)} places")
    sys.exit(1 if missing or not names else 0)


main()
