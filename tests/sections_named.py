#!/usr/bin/env python3
"""Fails when a section of the table of dimensions is missing where people look for it, or when program, command and
manual disagree on those that a report has for which nobody names any.

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


# Where these stand, and what stands between their names.
FIRST = {
    "src/sections/section_list.cpp": r"kFirst\[\] = \{([^}]*)\}",
    "bin/orvellis-report": r"first_reports='([^']*)'",
    "man/orvellis-report.1": r"Without this option a report has\n(.*?) ;\n",
}


def first_sections():
    found = {}
    for place, pattern in FIRST.items():
        names = re.search(pattern, (PROJECT / place).read_text(encoding="utf-8"), re.S)[1]
        found[place] = set(re.findall(r"\b[a-z]+\b", names.replace(".Cm", "").replace("\nand\n", " ")))
    return found


def main():
    table = (PROJECT / "src" / "analysis" / "dimensions.cpp").read_text(encoding="ascii")
    names = re.findall(r'\.parameter = "([a-z]+)"', table)
    missing = [f"{name} is not in {place}" for place, pattern in PLACES.items()
               for name in names if not re.search(pattern.format(name), (PROJECT / place).read_text(encoding="utf-8"))]
    first = first_sections()
    missing += [f"{place} has other first sections: {sorted(some)}" for place, some in first.items() if some != first["bin/orvellis-report"]]
    print("\n".join(missing) or f"{len(names)} sections in {len(PLACES)} places")
    sys.exit(1 if missing or not names else 0)


main()
