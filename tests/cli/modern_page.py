"""What a reader finds in the modern page, compared with the JSON of the same report.

The page is read by a parser that takes no end tag too few or too many.
"""
import html.parser
import re
import xml.etree.ElementTree as xml

MOST_ROWS = 1000
SHOWN_CHARACTERS = 90
OPEN_ROWS, FEW_ROWS = 10, 14
OPEN_REFERRERS, MOST_REFERRERS = 3, 50
VOID = {"meta", "br", "hr", "img", "input", "link"}
DAYS = ("dailytotals", "visitors")
SECOND = ("visits", "single_page_visits", "first_line")  # figures beside the counts of rows
DRAWN = ("dailytotals", "hitsperdayofweek", "hitsperhour", "hoursofweek")
WEEKDAYS = ["Sunday", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday"]
NUMBER = r"(-?\d{1,3}(?:,\d{3})*)"
PART = r"(< 0\.1|\d+\.\d) %"


# ---- Reading -------------------------------------------------------------------------------

class Reader(html.parser.HTMLParser):
    def __init__(self):
        super().__init__(convert_charrefs=True)
        self.tree = xml.TreeBuilder()
        self.open = []

    def handle_starttag(self, tag, attrs):
        assert len(attrs) == len(dict(attrs)), attrs
        self.tree.start(tag, {name: value or "" for name, value in attrs})
        if tag in VOID:
            self.tree.end(tag)
        else:
            self.open.append(tag)

    def handle_startendtag(self, tag, attrs):
        assert "svg" in self.open, tag
        self.tree.start(tag, {name: value or "" for name, value in attrs})
        self.tree.end(tag)

    def handle_endtag(self, tag):
        assert self.open and self.open.pop() == tag, (tag, self.open)
        self.tree.end(tag)

    def handle_data(self, data):
        if self.open:
            self.tree.data(data)
        else:
            assert not data.strip(), data

    def handle_comment(self, data):
        raise AssertionError(f"a comment: {data}")


def read(page):
    reader = Reader()
    reader.feed(page.decode("utf-8"))
    reader.close()
    assert not reader.open, reader.open
    return reader.tree.close()


def text_of(element):
    return "".join(element.itertext())


def of_class(tree, name, kind):
    return [element for element in tree.iter(name) if element.get("class") == kind]


def only(found):
    assert len(found) == 1, found
    return found[0]


def number(text):
    assert re.fullmatch(NUMBER, text), text
    return int(text.replace(",", ""))


def is_share(text, share):
    """Per cent with a digit behind the point, or what stands for less than that shows."""
    if text == "< 0.1":
        return 0 < share < 0.000501
    return abs(float(text) - 100 * share) < 0.0501


# ---- Items ---------------------------------------------------------------------------------

def check_text(cell, raw, shown, url):
    """The text is at the beginning of the cell, with its middle or with all of it beside it."""
    parts = list(cell)
    text = text_of(parts[0])
    whole = shown(raw)
    if len(raw.decode("utf-8", "surrogateescape")) > SHOWN_CHARACTERS and text != whole:
        assert parts[1].get("class") == "in" and parts[1][0].tag == "summary"
        assert text_of(only(of_class(parts[1], "bdi", "whole"))) == whole
        begin, _, end = text.rpartition("\u2026")
        assert begin and end and whole.startswith(begin) and whole.endswith(end), text
    else:
        assert text == whole, (text, whole)
        assert len(parts) == 1 or parts[1].get("class") != "in" or text_of(parts[1][0]) != "in full"
    if url is None:
        assert parts[0].tag == "bdi", whole
    else:
        assert (parts[0].tag, parts[0].get("href")) == ("a", url), whole
        assert parts[0].get("rel") == "noopener noreferrer nofollow"


def check_item(cell, row, raw_item, shown, explained):
    """A name stands first, and the item behind it, unless it explains what people know as the item."""
    raw = raw_item(row)
    if "name" in row and explained:
        check_text(cell, raw, shown, None)
        assert text_of(only(cell.findall("small"))) == row["name"]
    elif "name" in row:
        check_text(cell, row["name"].encode(), shown, None)
        assert row["name"].encode() == raw or text_of(only(cell.findall("small"))) == shown(raw)
    else:
        check_text(cell, raw, shown, row.get("url"))
    if "versions" in row:
        check_below(cell, row["versions"], raw_item, shown, "versions", " ")
    else:
        check_below(cell, row.get("referrers", []), raw_item, shown, "pages link here", " from ")


def check_below(cell, pages, raw_item, shown, several, between):
    lists = of_class(cell, "ul", "from")
    if not pages:
        assert not lists
        return
    lines = list(only(lists))
    if len(pages) > OPEN_REFERRERS:
        fold = only([fold for fold in cell.findall("details") if fold.find("ul") is not None])
        assert text_of(fold[0]) == f"{len(pages):,} {several}"
    if len(pages) > MOST_REFERRERS:
        assert text_of(lines.pop()) == f"and {len(pages) - MOST_REFERRERS:,} more"
    assert len(lines) == min(len(pages), MOST_REFERRERS)
    for line, page in zip(lines, pages):
        assert line.text == f"{page['count']:,}{between}", line.text
        raw = raw_item(page)
        check_text(line, raw, shown, line[0].get("href"))
        assert (line[0].tag == "a") == bool(re.match(rb"https?://[^/?#]", raw, re.I) and between == " from "), raw


# ---- Rows ----------------------------------------------------------------------------------

def check_bar(cell, count, largest):
    drawn = of_class(cell, "svg", "share")
    if drawn:
        width = float(only(list(drawn[0])).get("width").removesuffix("%"))
        want = max(100 * count / largest, 0.5) if count > 0 else 0
        assert abs(width - want) < 0.0501, (width, want)
    return bool(drawn)


def check_lead(cells, rank, row, name):
    if name in DAYS:
        year, month, day = map(int, row["item"].split("-"))
        weekday = WEEKDAYS[sakamoto(year, month, day)]
        assert text_of(only(cells["d"])) == weekday, row["item"]
    elif name in DRAWN:
        assert "n" not in cells and "d" not in cells
    else:
        assert text_of(only(cells["n"])) == f"{rank:,}"
        told = [row[time][:16].replace("T", " ") for time in ("first_seen", "last_seen") if time in row]
        told += ["yes" if row["robots_txt"] else "no"] if "robots_txt" in row else []
        assert [text_of(cell) for cell in cells.get("d", [])] == told, row


def sakamoto(year, month, day):
    """The day of the week by Sakamoto's rule, 0 for Sunday, which knows of the year 0, too."""
    year -= month < 3
    return (year + year // 4 - year // 100 + year // 400 + (0, 3, 2, 5, 0, 3, 5, 1, 4, 6, 2, 4)[month - 1] + day) % 7


def check_rows(table, name, section, rows, raw_item, shown):
    """The blocks of one list, open and folded, hold these rows in this order."""
    lines = [line for body in table.iter("tbody") for line in body]
    assert len(lines) == len(rows), (name, len(lines), len(rows))
    opened = [line for body in table.findall("table/tbody") for line in body]
    few = len(rows) if len(rows) <= FEW_ROWS else OPEN_ROWS
    assert len(opened) == (0 if name in DRAWN else few), (name, len(opened))
    largest = max(row["count"] for row in section["rows"] if row.get("engine") == rows[0].get("engine"))
    for rank, (line, row) in enumerate(zip(lines, rows), 1):
        cells = {}
        for cell in line:
            cells.setdefault(cell.get("class"), []).append(cell)
        check_lead(cells, rank, row, name)
        check_item(only(cells["i"]), row, raw_item, shown, name != "domaintypes")
        figures = [number(text_of(cell)) for cell in cells["c"]]
        assert figures[:2] == [row["count"], *(row[figure] for figure in SECOND if figure in row)], row
        part = only(cells["s"])
        assert check_bar(part, row["count"], largest) == (rank <= MOST_ROWS)
        share = text_of(part).strip()
        if section["total"] == 0:
            assert share == "\u2013"
        else:
            assert share.endswith(" %") and is_share(share[:-2], row["share"]), (share, row)


# ---- Words ---------------------------------------------------------------------------------

HOW_MANY = re.compile(rf"(?:(None) was counted often enough to be shown, of |The (first)(?: {NUMBER})? of |(Only) |(All) )"
                      rf"{NUMBER} [A-Za-z]+(?:; (?:it makes|together they make) up {PART} of {NUMBER} [^.]+)?\.(.*)")
LIMIT = " A page shows at most 1,000 rows of a section, unless more are asked for."


def check_how_many(words, rows, distinct, total, adds_up=True):
    """Returns whether the page shows no more of the rows than it may unasked, and the words behind."""
    if distinct == 0:
        assert words.startswith("Nothing of this kind was counted."), words
        return False, words.removeprefix("Nothing of this kind was counted.")
    none, first, first_rows, one, every, of, part, whole, rest = HOW_MANY.fullmatch(words).groups()
    limited = rest.startswith(LIMIT)
    assert not limited or len(rows) > MOST_ROWS
    count = MOST_ROWS if limited else len(rows)
    assert number(of) == distinct, words
    assert bool(none) == (count == 0) and bool(first) == (0 < count < distinct), words
    assert not first or (number(first_rows) if first_rows else 1) == count, words
    assert bool(one) == (count == distinct == 1) and bool(every) == (count == distinct > 1), words
    assert bool(part) == (count > 0 and total > 0 and adds_up), words
    if part:
        assert number(whole) == total and is_share(part, sum(row["count"] for row in rows[:count]) / total), words
    return limited, rest.removeprefix(LIMIT)


def check_key_figures(whole, totals):
    visits = max(totals["visits"], 1)
    length = int(totals["seconds"] / visits + 0.5)
    figures = dict(zip(map(text_of, whole.iter("dt")), map(text_of, whole.iter("dd"))))
    assert number(figures.pop("Visitors")) == totals["visitors"] and number(figures.pop("Visits")) == totals["visits"]
    assert abs(float(figures.pop("Pages a visit")) - totals["pages"] / visits) < 0.0501
    assert is_share(figures.pop("Single-page visits").removesuffix(" %"), totals["single_page_visits"] / visits)
    *hours, minutes, seconds = map(int, figures.pop("Average length").split(":"))
    assert sum(hours) * 3600 + minutes * 60 + seconds == length
    assert not figures


def check_classes(whole, classes):
    for tile, row in zip(only(of_class(whole, "dl", "tiles")), classes, strict=True):
        name, share, count = map(text_of, tile)
        assert name == f"{row['item']} {row['name']}" and is_share(share.removesuffix(" %"), row["share"]), (name, share)
        assert number(re.fullmatch(rf"{NUMBER} requests?(?:, .+)?", count)[1]) == row["count"], (count, row)


def check_ranked(whole, name, section, raw_item, shown):
    if "totals" in section:
        check_key_figures(whole, section["totals"])
    if section.get("classes"):
        check_classes(whole, section["classes"])
    words = text_of(only(of_class(whole, "p", "words")))
    limited, rest = check_how_many(words, section["rows"], section["distinct"], section["total"], name != "visitors")
    assert not rest, rest
    rows = section["rows"][:MOST_ROWS] if limited else section["rows"]
    lists = of_class(whole, "div", "list seen" if name == "hosts" else "list")
    assert len(lists) == (1 if rows else 0)
    if rows:
        check_rows(lists[0], name, section, rows, raw_item, shown)


def check_times(whole, name, section, raw_item, shown, one_day):
    rows = section["rows"]
    if name == "dailytotals":
        words = text_of(only(of_class(whole, "p", "words")))
        total, days, rest = re.fullmatch(rf"{NUMBER} requests? on {NUMBER} days?\.(.*)", words).groups()
        assert (number(total), number(days)) == (section["total"], len(rows)), words
        assert rest.startswith(" Days without requests are left out.") == (len(rows) > MOST_ROWS), words
        if len(rows) > MOST_ROWS:
            rows = [row for row in rows if row["count"] > 0]
            assert ("the last 1,000" in rest) == (len(rows) > MOST_ROWS), words
            rows = rows[-MOST_ROWS:]
    if not rows:
        assert not of_class(whole, "div", "list")
        return
    drawings = of_class(whole, "figure", "chart")
    if one_day and name != "hitsperhour":
        assert not drawings, name
        if name != "dailytotals":
            said = re.fullmatch(r"All are of one day, a ([A-Z][a-z]+day)\.", text_of(only(of_class(whole, "p", "words"))))
            assert all(row["item"].startswith(said[1]) for row in rows if row["count"] > 0), said[1]
    else:
        check_drawing(only(drawings), name, section["rows"])
    if name == "hitsperdayofweek":
        rows = rows[1:] + rows[:1]  # weeks begin with Monday
    if name == "hoursofweek":
        check_week(only(of_class(whole, "div", "list week")), rows)
        return
    check_rows(only(of_class(whole, "div", "list")), name, section, rows, raw_item, shown)


def check_week(table, rows):
    """A line for each hour, a column for each weekday from Monday on."""
    counts = {row["item"]: row["count"] for row in rows}
    lines = [line for body in table.iter("tbody") for line in body]
    assert [text_of(line[0]) for line in lines] == [f"{hour:02}" for hour in range(24)]
    for line in lines:
        assert [number(text_of(cell)) for cell in line[1:]] == [
            counts[f"{weekday} {text_of(line[0])}"] for weekday in WEEKDAYS[1:] + WEEKDAYS[:1]], text_of(line)


# ---- Search phrases ------------------------------------------------------------------------

ENGINE = re.compile(rf"{NUMBER} visits?, {PART} of all from search engines\. (.*)")


def check_phrases(whole, section, raw_item, shown):
    words = [text_of(words) for words in of_class(whole, "p", "words")]
    distinct, visits = re.fullmatch(rf"{NUMBER} phrases?, {NUMBER} (?:visit from a search engine|visits from search engines)\.", words[0]).groups()
    assert (number(distinct), number(visits)) == (section["distinct"], section["total"]), words[0]
    names = [text_of(head[0]) for head in whole.iter("h3")]
    asked = iter(section["rows"])
    row = next(asked, None)
    tables = iter(of_class(whole, "div", "list"))
    of_all = 0
    for name, said in zip(names, words[1:], strict=True):
        rows = []
        while row is not None and shown(row["engine"].encode()) == name:
            rows.append(row)
            row = next(asked, None)
        hits, part, rest = ENGINE.fullmatch(said).groups()
        assert section["total"] == 0 or is_share(part, number(hits) / section["total"]), said
        own = re.search(rf"{NUMBER} phrases?(?:\.|;)", rest)
        limited, rest = check_how_many(rest, rows, number(own[1]), 0)
        assert not rest, rest
        of_all += number(own[1])
        assert number(hits) == sum(row["count"] for row in rows) or len(rows) < number(own[1]), said
        if rows:
            check_rows(next(tables), "search", section, rows[:MOST_ROWS] if limited else rows, raw_item, shown)
    assert row is None and next(tables, None) is None, row
    assert of_all == section["distinct"]


# ---- Drawings ------------------------------------------------------------------------------

MARK = {
    "dailytotals": re.compile(rf"(?:[A-Z][a-z]+day (\S+)|(\S+) to (\S+)): {NUMBER} requests?"),
    "hitsperdayofweek": re.compile(rf"([A-Z][a-z]+day): {NUMBER} requests?"),
    "hitsperhour": re.compile(rf"(\d\d):00 to \1:59: {NUMBER} requests?"),
    "hoursofweek": re.compile(rf"([A-Z][a-z]+day \d\d):00: {NUMBER}"),
}


def check_drawing(figure, name, rows):
    marks = [MARK[name].fullmatch(text_of(title)).groups() for title in figure.iter("title")]
    if name == "dailytotals":
        at = 0
        for day, first, last, count in marks:
            end = at
            while end < len(rows) and rows[end]["item"] <= (day or last):
                end += 1
            assert end > at and rows[at]["item"] == (day or first) and rows[end - 1]["item"] == (day or last)
            assert number(count) == sum(row["count"] for row in rows[at:end])
            at = end
        assert at == len(rows)
    else:
        drawn = {item: number(count) for item, count in marks}
        assert len(marks) == len(rows) and drawn == {row["item"]: row["count"] for row in rows}, name
    largest = max((number(mark[-1]) for mark in marks), default=0)
    told = only([svg for svg in figure.iter("svg") if svg.get("aria-label")]).get("aria-label")
    said = re.search(rf"The most: .*: {NUMBER}(?: requests?)?\.$", told)
    assert bool(said) == (largest > 0) and (not said or number(said[1]) == largest), told


# ---- The head ------------------------------------------------------------------------------

def check_head(tree, report, shown):
    days = report["range"]["from"]
    if report["range"]["to"] != days:
        days += " to " + report["range"]["to"]
    assert text_of(only(of_class(tree, "p", "days"))) == days
    assert text_of(only(list(tree.iter("title"))[:1])).endswith(": " + days)
    if "\ufffd" not in report["title"]:
        title = shown(report["title"].encode())
        heading = tree.find("./body/header/h1")
        assert text_of(next((whole for whole in of_class(heading, "bdi", "whole")), heading)) == title
    made = only([time for time in tree.iter("time") if time.get("datetime")])
    assert made.get("datetime") == report["created"]
    assert text_of(made) == report["created"][:16].replace("T", " ")


def check_tiles(tree, report):
    tiles = {tile[0].text: [text_of(part) for part in tile[1:]]
             for tile in of_class(tree, "dl", "tiles")[0]}
    totals = report["totals"]
    assert number(tiles["Requests"][0]) == totals["requests"]
    if totals["bytes"] < 1000:
        assert tiles["Data served"] == [f"{totals['bytes']} byte{'' if totals['bytes'] == 1 else 's'}"]
    elif totals["bytes"] < 2 ** 63:
        assert tiles["Data served"][1] == f"{totals['bytes']:,} bytes"
        rounded, unit = tiles["Data served"][0].split(" ")
        size = 1000 ** (1 + ["kB", "MB", "GB", "TB", "PB", "EB"].index(unit))
        assert abs(float(rounded) - totals["bytes"] / size) < 0.0501 and float(rounded) < 1000
    days = report["sections"].get("dailytotals")
    if days is not None and days["rows"]:
        assert number(tiles["Days"][0]) == len(days["rows"])
        busiest = max(days["rows"], key=lambda row: row["count"])
        told = [f"most on {busiest['item']}: {busiest['count']:,}"] if busiest["count"] else []
        if len(days["rows"]) == 1:
            told = [WEEKDAYS[sakamoto(*map(int, busiest["item"].split("-")))]]
        assert tiles["Days"][1:] == told
    assert ("Errors" in tiles) == (totals["with_status"] > 0)
    if "Errors" in tiles:
        assert is_share(tiles["Errors"][0].removesuffix(" %"), totals["errors"] / totals["with_status"]), tiles["Errors"]
        assert number(tiles["Errors"][1].split(" ")[0]) == totals["errors"]
    missing = report["sections"].get("badurls")
    assert ("Not found" in tiles) == (missing is not None)
    if missing is not None:
        count = number(tiles["Not found"][0])
        urls, part = re.fullmatch(rf"{NUMBER} URLs?(?:, {PART} of the requests)?", tiles["Not found"][1]).groups()
        assert number(urls) == missing["distinct"]
        counted = sum(row["count"] for row in missing["rows"])
        assert count == counted or (count > counted and len(missing["rows"]) < missing["distinct"])
        assert not part or is_share(part, count / totals["requests"])


def check_notes(tree, report, shown):
    notes = [text_of(note) for found in of_class(tree, "ul", "notes") for note in found]
    assert len(notes) >= len(report["notes"])
    for note, said in zip(notes, report["notes"]):
        assert "\ufffd" in said["text"] or note == shown(said["text"].encode()), (note, said)
    for note in notes[len(report["notes"]):]:  # which only a page tells
        assert re.match("(The logs hold records of other days|No request counts, though the logs hold records): ", note), note


def check_other_days(tree):
    for nav in of_class(tree, "nav", "other"):
        for link in nav.iter("a"):
            assert link.get("href").startswith("?") and link.get("rel") == "nofollow", link.get("href")


# ---- The whole -----------------------------------------------------------------------------

def compare(report, page, raw_item, shown):
    """Whatever the JSON tells stands in the page."""
    tree = read(page)
    check_head(tree, report, shown)
    check_notes(tree, report, shown)
    sections = {section.get("id"): section for section in tree.iter("section") if section.get("id") != "overview"}
    if "no_log_in_range" in [note["code"] for note in report["notes"]]:
        assert not sections and report["totals"]["requests"] == 0
        return
    check_tiles(tree, report)
    assert set(sections) == set(report["sections"]), list(sections)
    check_other_days(tree)
    contents = only([nav for nav in tree.iter("nav") if nav.get("class") is None])
    links = [link.get("href") for link in contents.iter("a")]
    assert links == ["#overview"] + ["#" + name for name in sections], links
    for name, section in report["sections"].items():
        assert text_of(sections[name].find("h2")) == section["title"]
        if name == "search":
            check_phrases(sections[name], section, raw_item, shown)
        elif name in DRAWN:
            check_times(sections[name], name, section, raw_item, shown, report["range"]["from"] == report["range"]["to"])
        else:
            check_ranked(sections[name], name, section, raw_item, shown)


def compare_refusal(error, page):
    tree = read(page)
    assert text_of(only(list(tree.iter("h1")))) == f"Orvellis Error #{error['code']}: {error['title']}"
    paragraphs = [text_of(words) for words in tree.iter("p")]
    assert error["text"] in paragraphs and error["advice"] in paragraphs, error
