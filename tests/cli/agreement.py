#!/usr/bin/env python3
"""Asks for each end-to-end case in the modern edition as JSON, CSV, text and page and
compares what they say, row by row; and with the classic page of the same case, wherever
both editions count alike.

    agreement.py PROGRAM PROJECT [CASE...]

Every JSON is held against docs/report.schema.json, and made twice: with the moment that
SOURCE_DATE_EPOCH names, both are the same bytes. A case that is a script is left out,
because it calls the program as it likes.
"""
import base64
import concurrent.futures
import csv
import io
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unicodedata

import jsonschema

sys.dont_write_bytecode = True
import modern_page  # pylint: disable=wrong-import-position

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
PROJECT = pathlib.Path(sys.argv[2]).resolve()
CASES = PROJECT / "tests/cli"
EXPECTED = ("expected.out", "expected.diff", "expected.status")
GIVEN = ("base", "page", "args", "form", "run", "env", "setup")
SCHEMA = json.loads((PROJECT / "docs/report.schema.json").read_text())
VALIDATOR = jsonschema.Draft202012Validator(SCHEMA)
MOMENT = 954547200
SECOND = {"visits": "visits", "single_page_visits": "single-page visits", "first_line": "first line"}  # figures beside the counts of rows


# ---- Cases -----------------------------------------------------------------------------

def files_of_text(text):
    files, name = {}, None
    for line in text.splitlines(keepends=True):
        begin = re.fullmatch(rb"-- (.+?)( \(no line end\))? --\n?", line)
        if begin:
            if name is not None and cut:
                files[name] = files[name][:-1]
            name, cut = begin[1].decode(), bool(begin[2])
            files[name] = b""
        else:
            files[name] += line
    if name is not None and cut:
        files[name] = files[name][:-1]
    return files


def files_of_folder(folder):
    return {str(path.relative_to(folder)): path.read_bytes() for path in folder.rglob("*") if path.is_file()}


def files_of(case):
    own = files_of_text(case.read_bytes()) if case.suffix == ".case" else files_of_folder(case)
    if "base" in own:
        own = {**files_of_folder(CASES / "bases" / own["base"].decode().strip()), **own}
    return {name: content for name, content in own.items()
            if name not in EXPECTED and not name.startswith("expected/")}


def all_cases():
    found = [path for path in CASES.rglob("*.case")]
    for path in CASES.rglob("*"):
        if path.is_dir() and any((path / name).is_file() for name in ("args", "form", "run", "base")):
            if "bases" not in path.relative_to(CASES).parts:
                found.append(path)
    return sorted(found)


def environment_of(files):
    env = {"TZ": "UTC", "LC_ALL": "C", "PATH": "/usr/bin:/bin", "SOURCE_DATE_EPOCH": str(MOMENT)}
    for line in files.get("env", b"").decode("latin-1").splitlines():
        if line:
            name, _, value = line.partition("=")
            env[name] = value
    return env


def asked(files, edition, words):
    """Runs the case in a folder of its own; the words are further parameters."""
    words = words + [b"own_referrers=1"] if edition == b"modern" else words
    with tempfile.TemporaryDirectory() as folder:
        for name, content in files.items():
            if name not in GIVEN:
                path = pathlib.Path(folder, name)
                path.parent.mkdir(parents=True, exist_ok=True)
                path.write_bytes(content)
        env = environment_of(files)
        form = files.get("form")
        if form is not None:
            form += b"&" + b"&".join(words)
            env.update(REQUEST_METHOD="POST", CONTENT_LENGTH=str(len(form)))
        if "setup" in files:
            script = pathlib.Path(folder, ".setup")
            script.write_bytes(files["setup"])
            subprocess.run(["sh", "-eu", ".setup"], cwd=folder, env=env, check=True, timeout=60)
            script.unlink()
        if form is not None:
            choose_edition(pathlib.Path(folder, "orvellis.conf"), edition)
            arguments = []
        else:
            arguments = [line for line in files["args"].split(b"\n") if line] + [b"edition=" + edition] + words
        env["COLUMNS"] = "1000"
        done = subprocess.run([PROGRAM.encode()] + arguments, cwd=folder, env=env, input=form or b"",
                              capture_output=True, timeout=60)
        return done.returncode, done.stdout


def choose_edition(config, edition):
    if config.is_file():
        config.write_bytes(b"Edition=" + edition + b"\n" + config.read_bytes())


# ---- What a reader sees of a text ----------------------------------------------------------

HIDDEN = ("Cc", "Cf", "Cs", "Co", "Zl", "Zp")
FORMULA = re.compile(r"""(?:(?<=^)|(?<=[,;"|\t\n\r]))(?=[=+\-@\uff1d\uff0b\uff0d\uff20])""")


def shown(raw):
    text = ""
    for c in raw.decode("utf-8", "surrogateescape"):
        code = ord(c)
        if 0xdc80 <= code <= 0xdcff:
            text += f"\\x{code - 0xdc00:02X}"
        elif code < 0x20 or code == 0x7f:
            text += f"\\x{code:02X}"
        elif code > 0x7f and (unicodedata.category(c) in HIDDEN or (c != " " and unicodedata.category(c) == "Zs")):
            text += f"\\u{code:04X}" if code <= 0xffff else f"\\u{{{code:X}}}"
        else:
            text += c
    return text


def guarded(raw):
    text = raw.decode("utf-8", "surrogateescape")
    return shown(FORMULA.sub("'", text).encode("utf-8", "surrogateescape"))


def raw_item(row):
    if "item_base64" in row:
        raw = base64.b64decode(row["item_base64"], validate=True)
        replaced = "".join("\ufffd" if 0xdc80 <= ord(c) <= 0xdcff else c
                           for c in raw.decode("utf-8", "surrogateescape"))
        assert row["item"] == replaced, (row["item"], raw)
        return raw
    assert "\ufffd" not in row["item"] or b"\xef\xbf\xbd" in row["item"].encode()
    return row["item"].encode()


# ---- Comparing -------------------------------------------------------------------------------

def body_of(files, out):
    """What stands behind the head of an answer to a web server."""
    return out.split(b"\n\n", 1)[1] if "form" in files else out


def below(row):
    return row.get("referrers", row.get("versions", []))


def second_of(row):
    """The name and the value of the second figure of a row."""
    return next((name, row[name]) for name in SECOND if name in row) if any(name in row for name in SECOND) else None


def compare_csv(report, out, protect):
    want = [["section", "rank", "item", "count", "share", "detail"]]
    for name, section in report["sections"].items():
        of_all = report["timezone"] if name in (*TIMED, "hoursofweek") else ""
        for rank, row in enumerate(section["rows"], 1):
            second = second_of(row)
            detail = str(second[1]) if second else row.get("engine", row.get("name", of_all))
            want.append([name, str(rank), protect(raw_item(row)), str(row["count"]),
                         f"{row['share']:.6f}", protect(detail.encode())])
        for row in section["rows"]:
            for rank, page in enumerate(below(row), 1):
                want.append([name + ("_versions" if "versions" in row else "_referrers"), str(rank), protect(raw_item(page)), str(page["count"]),
                             f"{page['count'] / row['count']:.6f}", protect(raw_item(row))])
        for rank, (figure, count) in enumerate(section.get("totals", {}).items(), 1):
            want.append([name + "_totals", str(rank), figure, str(count), "", ""])
        for rank, row in enumerate(section.get("classes", []), 1):
            want.append([name + "_classes", str(rank), row["item"], str(row["count"]), f"{row['share']:.6f}", row["name"]])
    text = out.decode("utf-8")
    assert text.endswith("\r\n") and "\n" not in text.replace("\r\n", "")
    got = list(csv.reader(io.StringIO(text, newline=""), strict=True))
    assert got == want, first_difference(got, want)


def first_difference(got, want):
    for number, (one, other) in enumerate(zip(got, want)):
        if one != other:
            return f"row {number}: {one!r}, not {other!r}"
    return f"{len(got)} rows, not {len(want)}"


def shortened(long, short):
    if ".." not in short:
        return long == short
    return long == short or any(long.startswith(short[:at]) and long.endswith(short[at + 2:])
                                for at in range(len(short)) if short[at:at + 2] == "..")


ROW = {bar: re.compile(rf"  +([\d,]+)  +([\d.]+) %  ([# ]{{{bar}}})  (.*)") for bar in (10, 20)}
PAGE = {bar: re.compile(rf"  +([\d,]+) {{{bar + 13}}}(?:<-|-) (.*)") for bar in (10, 20)}
SHOWN = re.compile(r"  ([\d,]+) of ([\d,]+) [A-Za-z]+")


def number(text):
    assert re.fullmatch(r"\d{1,3}(,\d{3})*", text), text
    return int(text.replace(",", ""))


def compare_text(report, out, bar, page):
    text = out.decode("utf-8")
    assert not re.search(r"[\x00-\x09\x0b-\x1f\x7f-\x9f]", text)
    head, *parts = re.split(r"\n\n(?=[A-Z][^\n]*\n-+\n)", text)
    for name, label in (("requests", "Requests"), ("bytes", "Bytes served"), ("log_bytes", "Log bytes read"),
                        ("lines_not_understood", "Lines not understood")):
        assert number(re.search(rf"^{label} +(\S+)$", head, re.M)[1]) == report["totals"][name]
    assert f"\n{report['range']['from']} to {report['range']['to']} (" in head
    for note in report["notes"]:
        if len(note["text"]) < 400 and note["text"].isascii() and note["text"].isprintable():
            words = "".join(note["text"].split())
            assert words in "".join(head.split()), note
    order = re.findall(r'<section id="(\w+)"', page.decode("utf-8"))
    titles = [part.split("\n")[0] for part in parts]
    if order == ["overview"] or not order:  # the page of no log has no sections, which could tell their order
        order = sorted(report["sections"], key=lambda name: titles.index(report["sections"][name]["title"]))
    names = sorted(report["sections"], key=order.index)
    assert titles == [report["sections"][name]["title"] for name in names]
    for part, name in zip(parts, names):
        section = report["sections"][name]
        lines = part.rstrip("\n").split("\n")[2:]
        if name == "hoursofweek":
            compare_text_week(lines, section["rows"])
            continue
        if "totals" in section:
            compare_key_figures(lines[:6], section["totals"])
            lines = lines[6:]
        if section.get("classes"):
            end = lines.index("")
            compare_text_rows(lines[:end], {"rows": section["classes"], "distinct": len(section["classes"])}, bar)
            lines = lines[end + 1:]
        compare_text_rows(lines, section, bar)


def compare_text_week(lines, rows):
    """A line for each hour, and columns from Monday to Sunday."""
    days = ["Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"]
    counts = {row["item"]: row["count"] for row in rows}
    assert lines[0].split() == [day[:3] for day in days]
    assert len({len(line) for line in lines}) == 1, lines
    got = [(words[0], *map(number, words[1:])) for words in map(str.split, lines[1:])]
    assert got == [(f"{hour:02}", *(counts[f"{day} {hour:02}"] for day in days)) for hour in range(24)], got


def compare_key_figures(lines, totals):
    visits = max(totals["visits"], 1)
    length = int(totals["seconds"] / visits + 0.5)
    minutes = f"{length // 60}:{length % 60:02}" if length < 3600 else f"{length // 3600}:{length // 60 % 60:02}:{length % 60:02}"
    for line, (title, figure) in zip(lines, (("Visitors", f"{totals['visitors']:,}"), ("Visits", f"{totals['visits']:,}"),
                                             ("Pages a visit", totals["pages"] / visits),
                                             ("Single-page visits", 100 * totals["single_page_visits"] / visits),
                                             ("Average length", minutes))):
        got = re.fullmatch(rf"  {title} +(\S+)( %)?", line)[1]
        assert got == figure if isinstance(figure, str) else abs(float(got) - figure) < 0.0501, line
    assert lines[5] == ""


def told_of(row):
    """The columns that some rows have in place of a bar, under headings."""
    if "first_seen" in row:
        return f"{row['first_seen'][:16]}  {row['last_seen'][:16]}  ".replace("T", " ")
    return f"{'yes' if row['robots_txt'] else 'no':<10}  " if "robots_txt" in row else None


def compare_text_rows(lines, section, width):
    engine = None
    lines = iter(lines)
    if section["rows"] and told_of(section["rows"][0]):
        assert re.match(r" +Requests +Share  (First seen +Last seen +|robots.txt  )[A-Z][a-z]+$", next(lines))
    for row in section["rows"]:
        line = next(lines)
        if told_of(row):
            line = line.replace(f" %  {told_of(row)}", f" %  {'#' * width}  ")
        if row.get("engine") != engine:
            engine = row["engine"]
            assert shortened("  " + shown(engine.encode()), line), line
            line = next(lines)
        count, share, bar, item = ROW[width].fullmatch(line).groups()
        assert number(count) == row["count"]
        assert abs(float(share) - 100 * row["share"]) < 0.0501, (share, row)
        assert (row["count"] > 0) == bar.startswith("#")
        name = f" ({shown(row['name'].encode())})" if "name" in row else ""
        if second_of(row):
            figure, value = second_of(row)
            name = f" ({SECOND[figure]}: {value:,})"
        assert shortened(shown(raw_item(row)) + name, item), (item, row)
        for page in below(row):
            count, item = PAGE[width].fullmatch(next(lines)).groups()
            assert number(count) == page["count"]
            assert shortened(shown(raw_item(page)), item), (item, page)
    rest = list(lines)
    if rest:
        shown_rows, distinct = SHOWN.fullmatch(rest.pop()).groups()
        assert number(shown_rows) == len(section["rows"]) and number(distinct) == section["distinct"]
        assert number(shown_rows) != section["distinct"] or not section["rows"]
    else:
        assert len(section["rows"]) == section["distinct"]
    assert not rest, rest


# ---- The classic page --------------------------------------------------------------------------

ANCHORS = {"requests": "urls", "referrers": "referrers", "search": "search", "browsers": "browsers",
           "badurls": "badurls", "badreferrers": "badreferrers", "domains": "domains",
           "domaintypes": "networks", "dailytotals": "daily", "hitsperdayofweek": "weekly", "hitsperhour": "hourly"}
TIMED = ("dailytotals", "hitsperdayofweek", "hitsperhour")


# Where a figure of a log is beyond what the classic edition takes for it.
OTHERWISE = {"byte_total_is_not_padded_behind_thousand_millions", "letter_r_status", "negative_bytes_add_as_unsigned"}
OTHERWISE |= {"later_parameters_are_unknown_to_classic"}  # which then leaves no types out
OTHERWISE |= {"byte_ff_ends_a_line", "quotes_and_brackets_enclose_fields"}  # as quotes and bytes do there
OTHERWISE |= {"fifteen_commas_are_iis_even_beside_many_spaces"}  # as a visitor's commas choose the layout there
OTHERWISE |= {"no_find_is_the_root_page_alone"}  # and the whole site otherwise
# A record counts there wherever it stands, and so do logs of equal size and times that hold different lines.
OTHERWISE |= {"a_record_behind_the_range_ends_its_file_only", "copies_are_ignored"}
OTHERWISE |= {"account_without_url_is_error_4"}  # which is a report without links otherwise
OTHERWISE |= {"webstar_fields_before_software_line"}  # of which the names are read there, whatever server wrote them
OTHERWISE |= {"all_sections_of_hostile_requests"}  # one of which stands in quotes as a whole, which are taken off there
OTHERWISE |= {"common_log", "letter_q_request", "letter_u_url", "letter_u_wins_over_stem_and_query", "letter_x_stem"}  # as requests without a URL are some there
OTHERWISE |= {"empty_phrases_count_among_the_hits_but_make_no_row"}  # and a row there
OTHERWISE |= {"letter_9_time_of_day"}  # as a time that there is none of makes no record there
OTHERWISE |= {"nul_ends_the_text_of_a_line"}  # which cuts it off there
OTHERWISE |= {"clocks_go_back", "southern_clocks_go_back_in_march"}  # a day of 25 hours is two rows there
# Zones count otherwise, W3C is GMT, and what is GMT has its summer time.
OTHERWISE |= {"fixgmt_off_takes_times_as_written", "fixgmt_shifts_by_standard_time_in_summer_too", "fixgmt_off_takes_log_times_as_written", "clocks_go_forward", "fixgmt_moves_records_over_a_clock_change", "last_day_of_the_range_ends_in_daylight_time", "southern_clocks_go_forward_in_october"}


# URLs and referrers that differ in case are two in the modern edition and one in the classic one.
IN_TWO_CASES = {"find_alone_is_one_url_whatever_its_case_and_query",
                "find_casesensitive_is_kept_modulo_256",
                "find_pattern_matches_wildcards",
                "find_pattern_with_groups_and_sets",
                "find_pattern_with_subdirs_covers_all_below",
                "no_find_with_subdirs_is_the_whole_site",
                "subdirs_makes_find_a_prefix",
                "urls_and_referrers_ignore_case_and_bad_ones_do_not"}


def in_one_case(section):
    """The rows, with those that differ in case added up, as the classic edition ranks them."""
    rows = {}
    for row in section["rows"]:
        same = rows.setdefault(raw_item(row).lower(), {**row, "count": 0})
        same["count"] += row["count"]
    return {**section, "rows": sorted(rows.values(), key=lambda row: -row["count"])}


def counts_alike(case, files, report):
    """Both editions do, unless a line, an item, a value or the range is beyond the classic
    limits, or the case brings a summary, which each edition makes for itself."""
    if case.stem in OTHERWISE or any(name.endswith(".ORV") for name in files):
        return False
    if any(len(line) > 1500 for content in files.values() for line in re.split(rb"[\r\n]", content)):
        return False
    if any(arg.count(b"=") > 1 for arg in files["args"].split(b"\n")):
        return False
    if report["range"]["from"][:4] != report["range"]["to"][:4] or not "1971" < report["range"]["from"] < "2037":
        return False
    if any(abs(figure) >= 2 ** 31 for figure in report["totals"].values()):
        return False
    return all(len(raw_item(row)) < 243 for section in report["sections"].values() for row in section["rows"])


def compare_classic(report, page):
    parts = {part.split('"', 1)[0]: part for part in page.split('<p><a name="')[1:]}
    figures = {label: number(value) for label, value in re.findall(
        r'<b>([A-Z][^<]*):</b></td><td width="50%">([\d,]+)[ <]', page.split('<a name="')[0])}
    if "no_log_in_range" in [note["code"] for note in report["notes"]]:
        # The classic edition takes a log for one in range by its first and last date.
        assert report["totals"]["requests"] == 0 == figures.get("HTTP Requests", 0), figures
        return
    assert figures["HTTP Requests"] == report["totals"]["requests"], figures
    assert figures["HTTP Bytes Served"] == report["totals"]["bytes"], figures
    sections = {name: section for name, section in report["sections"].items() if name in ANCHORS}
    assert list(parts) == [ANCHORS[name] for name in sections], list(parts)
    for name, section in sections.items():
        part = parts[ANCHORS[name]]
        if name in TIMED:
            got = [int(count) for count in re.findall(r"^<td>(?:<img [^>]*>&nbsp;)?(\d+)$", part, re.M)]
            want = [row["count"] for row in section["rows"]]
            want = want if any(want) else []
        elif name == "search":
            got = re.findall(r'^<td align="center">(\d+)</td>\n<td>(.*)</td>$', part, re.M)
            # The engines stand in another order, and count referrals without a phrase.
            want = sorted((str(row["count"]), raw_item(row).decode("latin-1")) for row in section["rows"] if row["item"] != "(no phrase)")
            got = sorted(got)
        else:
            got = [int(count) for count in re.findall(r"^<tr><td align=center>(-?\d+)</td><td align=center>", part, re.M)]
            want = [row["count"] for row in section["rows"]]
            for row in section["rows"]:
                item = row.get("name", raw_item(row).decode("latin-1"))
                assert item in part, (name, item)
        assert got == want, (name, first_difference(got, want))


# ---- One case ----------------------------------------------------------------------------------

def opened(files):
    """The case with accounts that anybody may see."""
    if "orvellis.conf" not in files:
        return files
    config = re.sub(rb"^(user=[^\r\n]*)", rb"\1;password=*", files["orvellis.conf"], flags=re.M | re.I)
    return {**files, "orvellis.conf": config}


def check(case):
    """What was compared: the kinds of outputs, or a refusal."""
    files = files_of(case)
    if case.parent.name != "account":  # whose cases are about being refused
        files = opened(files)
    if "run" in files or ("args" not in files and "form" not in files):
        return "left out"
    if re.search(rb"^(CONTENT_LENGTH|REQUEST_METHOD|QUERY_STRING|ORVELLIS_CONFIG|SOURCE_DATE_EPOCH)=",
                 files.get("env", b""), re.M):
        return "left out"
    if b"\x00" in files.get("form", b"") or len(files.get("form", b"")) > 60000:
        return "left out"
    status, out = asked(files, b"modern", [b"output=json"])
    if status in (1, 3) or not out.strip():
        return "no answer"
    if not body_of(files, out).lstrip().startswith(b"{"):
        return "no report"  # a page that tells of the program, or a configuration that is not found
    report = json.loads(body_of(files, out))
    VALIDATOR.validate(report)
    assert (status, out) == asked(files, b"modern", [b"output=json"])
    csv_out = asked(files, b"modern", [b"output=csv"])
    text_out = asked(files, b"modern", [b"output=text"])
    page_out = asked(files, b"modern", [b"output=modern"])
    assert csv_out[0] == text_out[0] == page_out[0] == status == 0
    if "error" in report:
        line = body_of(files, csv_out[1]).decode()
        assert line == body_of(files, text_out[1]).decode()
        error = report["error"]
        days = f" The logs hold {error['logs']['first']} to {error['logs']['last']}." if "logs" in error else ""
        assert line == f"Orvellis error {error['code']}: {error['title']}. {error['text']} {error['advice']}{days}\n", line
        modern_page.compare_refusal(error, body_of(files, page_out[1]))
        return "refused"
    assert report["created"] == "2000-04-01T00:00:00+00:00" or "TZ" in files.get("env", b"").decode(), report["created"]
    compare_csv(report, body_of(files, csv_out[1]), guarded)
    compare_text(report, body_of(files, text_out[1]), 10 if "form" in files else 20,
                 body_of(files, page_out[1]))
    modern_page.compare(report, body_of(files, page_out[1]), raw_item, shown)
    if "form" in files:
        return "compared"
    compare_csv(report, asked(files, b"modern", [b"output=csv", b"csv_formulas=1"])[1], shown)
    if not counts_alike(case, files, report):
        return "compared"
    page = asked(files, b"classic", [])[1].decode("latin-1")
    assert "Error #" not in page
    if case.stem in IN_TWO_CASES:
        sections = report["sections"]
        sections.update({name: in_one_case(sections[name]) for name in ("requests", "referrers") if name in sections})
    compare_classic(report, page)
    return "compared with classic"


def main():
    wanted = [pathlib.Path(name).resolve() for name in sys.argv[3:]] or all_cases()
    kinds, failures = {}, 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        for case, run in [(case, pool.submit(check, case)) for case in wanted]:
            try:
                kind = run.result()
                kinds[kind] = kinds.get(kind, 0) + 1
            except Exception as problem:  # pylint: disable=broad-except
                failures += 1
                print(f"{case.relative_to(CASES)}: {type(problem).__name__}: {str(problem)[:600]}")
    print(kinds)
    if len(sys.argv) <= 3 and (kinds.get("compared with classic", 0) < 260 or kinds.get("refused", 0) < 20):
        print("too few cases were compared")
        failures += 1
    sys.exit(1 if failures else 0)


if __name__ == "__main__":
    main()
