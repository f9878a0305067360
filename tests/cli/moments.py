"""What a run writes of the present moment, and puts fixed words in its place, so that runs can be compared."""
import re

# What stands before it and is looked for first, as pages are long and few have it; the moment with that; what takes
# its place.
OF_PAGES = [
    (b"Date of Report:", re.compile(rb'(<b>Date of Report:</b></td><td width="50%">)[^<]*'), rb"\1NOW"),
    (b"Time required", re.compile(rb"(Time required to generate report = )[0-9:]*"), rb"\1MM:SS"),
]
OF_FILES = OF_PAGES + [
    (b"# Last updated on ", re.compile(rb"(?m)^(# Last updated on ).*"), rb"\1NOW"),
    (b"[", re.compile(rb"(?m)^\[[0-9][0-9]/[A-Z][a-z][a-z]/[0-9:]*\] "), b"[NOW] "),
]


def blank(content, table):
    for mark, pattern, word in table:
        if mark in content:
            content = pattern.sub(word, content)
    return content
