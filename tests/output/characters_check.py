#!/usr/bin/env python3
"""Compares the table of characters that cannot be seen with the Unicode data that Python has.

  characters_check.py PROJECT_FOLDER
"""
import re
import sys
import unicodedata

# Default_Ignorable_Code_Point characters that are letters or marks by category.
IGNORABLE = {0x034F, 0x115F, 0x1160, 0x17B4, 0x17B5, 0x180B, 0x180C, 0x180D, 0x180F, 0x3164, 0xFFA0,
             *range(0xFE00, 0xFE10)}
BLANK_SHAPES = {0x2800, 0x1D159}  # a pattern of Braille without dots, a note without head


def is_invisible(code):
    if code == 0x20:
        return False
    noncharacter = 0xFDD0 <= code <= 0xFDEF or code & 0xFFFE == 0xFFFE
    category = unicodedata.category(chr(code))
    return (category in ("Cc", "Cf", "Cs", "Co", "Zs", "Zl", "Zp") or noncharacter or code in IGNORABLE
            or code in BLANK_SHAPES or 0xE0000 <= code)


def table(source, name):
    body = re.search(name + r"\[\] = \{(.*?)\};", source, re.S).group(1)
    return [(int(a, 16), int(b, 16)) for a, b in re.findall(r"\{0x(\w+), 0x(\w+)\}", body)]


def main():
    ranges = table(open(sys.argv[1] + "/src/output/characters.cpp").read(), "kInvisible")
    assert ranges and all(first <= last for first, last in ranges)
    assert all(a[1] < b[0] for a, b in zip(ranges, ranges[1:])), "not in order"
    hidden = {code for first, last in ranges for code in range(first, last + 1)}
    # Where nothing is assigned yet, Unicode has set places apart that are never to be seen.
    unassigned = {code for code in hidden if unicodedata.category(chr(code)) == "Cn"}
    missing = sorted(code for code in range(0x110000) if is_invisible(code) and code not in hidden)
    wrong = sorted(code for code in hidden if not is_invisible(code) and code not in unassigned)
    for title, codes in (("missing", missing), ("wrong", wrong)):
        if codes:
            print(title, " ".join(f"U+{code:04X}" for code in codes[:40]), "..." if len(codes) > 40 else "")
    return bool(missing or wrong)


if __name__ == "__main__":
    sys.exit(main())
