#!/usr/bin/env python3
"""What reports tell of lines that hold no request, against figures counted here: of logs of the days and of other ones,
without any request, and cut off; read by one process or by three, as parts that are added, and with kept counts.

    unknown_figures.py PROGRAM
"""
import json
import pathlib
import random
import subprocess
import sys
import tempfile

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
ROUNDS = 8
# What is written, and why it is none by the combined layout, with the character where that shows in the first such line.
BAD_TIME = '192.0.2.7 - - [99/Foo/2001:10:00:00 +0000] "GET /a HTTP/1.1" 200 1 "-" "x"'
ODD = {
    "x": "no layout fits",
    "just some words": "no layout fits",
    "192.0.2.7 - -": "no layout fits",
    BAD_TIME: "no time at character 16 (nearest to combined)",
    "198.51.100.17" + BAD_TIME[9:]: "no time at character 20 (nearest to combined)",
    "192.0.2.7 - - [05/Mar/2001:10": "no request at character 30 (nearest to combined)",
}
CUT = '192.0.2.7 - - [05/Mar/2001:10:00:00 +0000] "GET /b HTTP/1.1" 2'  # where the log ends in it
TOLD = {**ODD, CUT: "cut off"}
MARCH, APRIL = "05/Mar/2001", "05/Apr/2001"


def request(chance, day):
    return (f'192.0.2.{chance.randrange(9)} - - [{day}:10:{chance.randrange(60):02}:00 +0000] "GET /{chance.randrange(30)} HTTP/1.1" '
            f'200 1 "-" "Lynx/2.8"')


def made_up(chance, folder):
    """The lines of some logs, by their paths."""
    logs = {}
    for number in range(chance.randrange(2, 8)):
        kind = chance.choice(["march", "march", "march", "april", "odd"])
        day = MARCH if kind == "march" else APRIL
        odd = 1 if kind == "odd" else chance.choice([0, 0.01, 0.2])
        lines = [chance.choice(list(ODD)) if chance.random() < odd else request(chance, day) for _ in range(chance.randrange(4, 300))]
        if kind != "odd":
            lines[0] = request(chance, day)
        if chance.random() < 0.3:
            lines.append(CUT)
        logs[folder / ("ab"[number] if number < 2 else chance.choice("ab")) / f"{chance.randrange(5)}.log"] = lines
    return logs


def reason_without_place(told):
    return told.split(" at character")[0]


def figures_here(logs):
    """By name of the log and reason: lines and the number of the first one. Logs of one name are one row where the words are the
    same, with the line of the first log."""
    figures = {}
    for path, lines in sorted(logs.items()):
        odd = [number for number, line in enumerate(lines, 1) if line in TOLD]
        if not odd or (len(odd) < len(lines) and not any(MARCH in line and line not in TOLD for line in lines)):
            continue
        reasons = {}
        for number in odd:
            told = TOLD[lines[number - 1]]
            row = reasons.setdefault(reason_without_place(told), [told, 0, number])
            row[1] += 1
        for told, count, first in reasons.values():
            row = figures.setdefault((path.name, told), [0, first])
            row[0] += count
    return figures


def run(folder, *words, given=b""):
    done = subprocess.run([PROGRAM, "edition=modern", "date=03012001,03312001", "requests=1", *words], cwd=folder, input=given,
                          env={"TZ": "UTC", "LC_ALL": "C", "SOURCE_DATE_EPOCH": "984225600"}, capture_output=True, check=False)
    assert done.returncode == 0 and not done.stderr, done
    return done.stdout


def compare(logs, text):
    """Returns how many rows there are."""
    report, want = json.loads(text), figures_here(logs)
    section = report["sections"]["unknown"]
    assert sum(lines for lines, _ in want.values()) == section["total"] == report["totals"]["lines_not_understood"], (want, report)
    rows = {tuple(row["item"].split(": ", 1)): [row["count"], row["first_line"]] for row in section["rows"]}
    assert len(rows) == len(section["rows"]) == section["distinct"], section
    assert rows == want, (rows, want)
    return len(rows)


def check(folder, chance):
    logs = made_up(chance, folder)
    for path, lines in logs.items():
        path.write_text("".join(line + "\n" * (line != CUT) for line in lines), encoding="ascii")
    asked = ["output=json", "unknown=1,0"]
    both = b""
    rows = 0
    for user in "ab":
        words = [f"username={user}", *asked]
        ways = {"one process": run(folder, *words), "three": run(folder, *words, "workers=3,100")}
        parts = b"".join(run(folder, f"username={user}", "part=-", b"piece=" + piece)
                         for piece in run(folder, f"username={user}", "plan=2K").splitlines())
        both += run(folder, f"username={user}", "part=-")
        ways["parts"] = run(folder, *words, "merge=-", given=parts)
        for way in ("kept", "kept again"):
            ways[way] = run(folder, *words, f"partcache=kept{user}")
        for way, text in ways.items():
            assert text == ways["one process"], way
        rows += compare({path: lines for path, lines in logs.items() if path.parent.name == user}, ways["one process"])
        first = json.loads(run(folder, *words, "unknown=1,1"))["sections"]["unknown"]
        assert len(first["rows"]) == min(1, first["distinct"])
    # Logs of one name from two folders.
    compare(logs, run(folder, "username=a", *asked, "merge=-", given=both))
    return rows


def main():
    rows = 0
    for number in range(ROUNDS):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            for inner in ("a", "b", "kepta", "keptb"):
                (folder / inner).mkdir()
            accounts = [f"user={user};logs={user}/*.log;url=http://www.example.com;password=*\n" for user in "ab"]
            (folder / "orvellis.conf").write_text("".join(accounts), encoding="ascii")
            rows += check(folder, random.Random(number))
    assert rows > ROUNDS
    print(f"{rows} rows of {ROUNDS} sites")


if __name__ == "__main__":
    main()
