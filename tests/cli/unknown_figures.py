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
# What is written, and what is told of it where it comes first; None: what comes nearest is not for this test to say.
ODD = {
    "x": "no layout fits",
    "just some words": "no layout fits",
    '192.0.2.7 - - [99/Foo/2001:10:00:00 +0000] "GET /a HTTP/1.1" 200 1 "-" "x"': None,
    '192.0.2.7 - -': None,
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


def figures_here(logs):
    """Name of a log, lines, number of the first one, and reason where that leaves no doubt."""
    figures = []
    for path, lines in sorted(logs.items()):
        odd = [number for number, line in enumerate(lines, 1) if line in TOLD]
        if odd and (len(odd) == len(lines) or any(MARCH in line and line not in TOLD for line in lines)):
            figures.append((path.name, len(odd), odd[0], TOLD[lines[odd[0] - 1]]))
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
    assert sum(lines for _, lines, _, _ in want) == section["total"] == report["totals"]["lines_not_understood"], (want, report)
    rows = {}
    for row in section["rows"]:
        name, reason = row["item"].split(": ", 1)
        rows.setdefault(name, []).append((row["count"], row["first_line"], reason))
    assert rows.keys() == {figure[0] for figure in want}, (rows, want)
    for name, told in rows.items():
        here = [figure[1:] for figure in want if figure[0] == name]
        assert sum(lines for lines, _, _ in told) == sum(lines for lines, _, _ in here), (name, told, here)
        for _, first, reason in told:
            assert any(first == number and expected in (None, reason) for _, number, expected in here), (name, told, here)
        if len(here) == 1:
            assert [row[:2] for row in told] == [here[0][:2]], (name, told, here)
    return len(section["rows"])


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
