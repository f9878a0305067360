#!/usr/bin/env python3
"""Every attack in every place that a visitor can write, and in every output: outputs_test.py ORVELLIS

What came out is read in by a second reader (a strict parser of HTML and a lenient one, json,
csv, a terminal) and compared with what the logs hold, counted by corpus.py. Each check is
shown a broken output as well, which it must notice. Exit status 77 where html5lib is not
installed.
"""
import base64
import collections
import concurrent.futures
import csv
import html
import html.parser
import io
import json
import os
import pty
import re
import shutil
import subprocess
import sys
import tempfile
import unicodedata
import urllib.parse

try:
    import html5lib
except ImportError:
    # Debian's module, for an interpreter that is not Debian's own.
    if sys.executable != "/usr/bin/python3" and os.path.exists("/usr/bin/python3"):
        os.execv("/usr/bin/python3", ["/usr/bin/python3"] + sys.argv)
    print("skipped: html5lib is not installed")
    sys.exit(77)

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "output"))
from characters_check import is_invisible  # noqa: E402
from attacks import ATTACKS  # noqa: E402
from corpus import HIDDEN, write_logs  # noqa: E402

PROGRAM = os.path.abspath(sys.argv[1])
NAME = "{http://www.w3.org/1999/xhtml}"
SITE = "http://www.example.com"
SECTIONS = "requests referrers search browsers badurls badreferrers domains domaintypes".split()
ALL = [f"{name}=1,0" for name in SECTIONS] + (
    "badurl_referrers=1 own_referrers=1 dailytotals=1 hitsperdayofweek=1 hitsperhour=1 hoursofweek=1 showquery=1 find=* find_pattern=1 "
    "find_casesensitive=1 date=03052000,03112000").split()
ENVIRONMENT = {"TZ": "UTC", "SOURCE_DATE_EPOCH": "1000000000", "COLUMNS": "1000"}


# ---- How a text is shown -------------------------------------------------------------------


def characters(text):
    """As UTF-8; a byte that is none comes as a code from 0xDC80 on."""
    return text.decode("utf-8", "surrogateescape")


def shown(text):
    def one(character):
        code = ord(character)
        if 0xDC80 <= code <= 0xDCFF:
            return f"\\x{code - 0xDC00:02X}"
        if not is_invisible(code):
            return character
        return f"\\x{code:02X}" if code < 0x80 else f"\\u{code:04X}" if code < 0x10000 else f"\\u{{{code:X}}}"
    return "".join(map(one, characters(text)))


def as_read(address):
    """As bytes, where a visible character beyond ASCII stands as itself that is wholly written as percent and digits."""
    def one(match):
        written, at, read = match.group(), 0, b""
        for character in bytes.fromhex(written.replace(b"%", b"").decode()).decode("utf-8", "surrogateescape"):
            raw = character.encode("utf-8", "surrogateescape")
            seen = len(raw) > 1 and not is_invisible(ord(character))
            read += raw if seen else written[3 * at:3 * (at + len(raw))]
            at += len(raw)
        return read
    host = re.match(rb"(?!/)[\s\S]*?://[^/?#]*", address)
    at = host.end() if host else 0
    return address[:at] + re.sub(rb"(?:%[0-9A-Fa-f]{2})+", one, address[at:])


ADDRESSES = ("requests", "referrers", "badurls", "badreferrers")


def text_of_item(section, item):
    return as_read(item) if section in ADDRESSES else item


def without_middle(text, most=90):
    """Of the characters, not of what is shown in their place."""
    text = characters(text)
    if len(text) <= most:
        return shown(text.encode("utf-8", "surrogateescape"))
    ends = text[:most - most // 3], text[len(text) - most // 3:]
    return "\u2026".join(shown(end.encode("utf-8", "surrogateescape")) for end in ends)


def in_cell(text, guarded):
    text = characters(text)
    if guarded:
        text = re.sub("(^|[,;\"|\t\n\r])([=+\\-@\uff1d\uff0b\uff0d\uff20])", r"\1'\2", text)
    return shown(text.encode("utf-8", "surrogateescape"))


def address_of(item, in_site):
    """Where the item leads; None: nowhere. What looks like an address itself is none of the site."""
    absolute = len(item) > 8 and b"://" in (item[3:6], item[4:7], item[5:8])
    if in_site and item[:1] == b"/" and not absolute:
        site = SITE.encode()
    elif re.match(rb"(?i)https?://[^/\\?#]", item):
        site = b""
    else:
        return None
    return urllib.parse.quote(site + item, safe="-._~:/?#[]@!$()*+,;=%&")


# ---- Running the program ---------------------------------------------------------------------


def run(folder, *parameters, **environment):
    return subprocess.run([PROGRAM, "edition=modern", "config=orvellis.conf", "username=demo", *ALL, *parameters], cwd=folder,
                          stdout=subprocess.PIPE, check=True, env={**ENVIRONMENT, **environment}).stdout


def run_on_terminal(folder, *parameters):
    ours, theirs = pty.openpty()
    with subprocess.Popen([PROGRAM, "edition=modern", "config=orvellis.conf", "username=demo", *ALL, *parameters], cwd=folder,
                          stdout=theirs, env={**ENVIRONMENT, "TERM": "xterm"}) as process:
        os.close(theirs)
        written = b""
        while True:
            try:
                written += os.read(ours, 1 << 16)
            except OSError:  # the other end is closed
                break
        os.close(ours)
        assert process.wait() == 0
    return written


def configure(folder, line):
    with open(os.path.join(folder, "orvellis.conf"), "w", encoding="utf-8") as conf:
        conf.write(f"Networks=names.txt\nuser=demo;logs={folder}/{line};url={SITE};password=*;title=Hostile logs\n")


def post(folder, fields):
    """The program as a web server runs it: status, header lines and body."""
    body = urllib.parse.urlencode(fields).encode()
    answer = subprocess.run([PROGRAM], cwd=folder, input=body, stdout=subprocess.PIPE, check=True, env={
        **ENVIRONMENT, "GATEWAY_INTERFACE": "CGI/1.1", "REQUEST_METHOD": "POST", "CONTENT_LENGTH": str(len(body)),
        "ORVELLIS_CONFIG": os.path.join(folder, "web.conf"), "REMOTE_ADDR": "192.0.2.7"}).stdout
    head, body = answer.split(b"\n\n", 1)
    head = re.sub(r"-\d{4}-\d\d-\d\d-\d{4}-\d\d-\d\d", "-DAYS", head.decode("ascii"))
    return head.split("\n"), body


def same(what, got, wanted):
    if got == wanted:
        return
    missing = list((wanted - got).items())[:3]
    added = list((got - wanted).items())[:3]
    raise AssertionError(f"{what}: missing {missing}, too many {added}")


def must_fail(what, check, *arguments):
    try:
        check(*arguments)
    except (AssertionError, ValueError):
        return
    raise SystemExit(f"{what} passes")


# ---- The page ---------------------------------------------------------------------------------


class Lenient(html.parser.HTMLParser):
    """What a reader sees who knows nothing of the rules of nesting."""

    def __init__(self, page):
        super().__init__()
        self.made = set()
        self.others = []
        self.feed(page)
        self.close()

    def handle_starttag(self, tag, attrs):
        self.made |= {(tag, name) for name, _ in attrs} | {(tag, None)}

    def handle_comment(self, data):
        self.others.append(data)

    unknown_decl = handle_pi = handle_comment


def parse(page):
    parser = html5lib.HTMLParser(strict=False)
    tree = parser.parse(page, transport_encoding="utf-8")
    assert parser.errors == [], parser.errors[:3]
    return tree


def made_by(tree):
    """Elements with their attributes."""
    for element in tree.iter():
        assert isinstance(element.tag, str), "a comment"
    return {(element.tag, name) for element in tree.iter() for name in [None, *element.attrib]}


def of_kind(tree, kind, /, **attributes):
    return [element for element in tree.iter(NAME + kind) if all(element.get(key) == value for key, value in attributes.items())]


def text_of(element):
    return "".join(element.itertext())


def rows_of(tree, section):
    """Item, its cell, count; in order."""
    whole = of_kind(tree, "section", id=section)
    assert len(whole) == 1
    for body in of_kind(whole[0], "tbody"):
        for row in of_kind(body, "tr"):
            cells = {cell.get("class"): cell for cell in row}
            yield cells["i"], int(text_of(cells["c"]).replace(",", ""))


def item_in(place):
    """What is said of an item: as shown, in full, and where it leads."""
    first = place[0]
    full = [element for element in place if element.get("class") == "in" and element[-1].get("class") == "whole"]
    return text_of(first), text_of(full[0][-1]) if full else text_of(first), first.get("href")


def referrers_in(cell):
    for entry in of_kind(cell, "li"):
        if len(entry):
            yield text_of(entry[0]) if entry[-1] is entry[0] else text_of(entry[-1][-1]), int(entry.text.split(" ")[0].replace(",", ""))


class Kinds:
    """What a page is made of that nobody attacks: nothing else may be in another one."""

    def __init__(self, page):
        tree = parse(page)
        self.made = made_by(tree)
        self.lenient = {(tag.split("}")[1].lower(), name and name.lower()) for tag, name in self.made}
        # c0 to c6: how dark a drawing's fields are.
        self.classes = {element.get("class") for element in tree.iter()} | {f"c{shade}" for shade in range(7)}
        self.own_links = {link.get("href") for link in of_kind(tree, "a") if not re.match("https?:", link.get("href"))}
        self.once = [self.of(tree, name) for name in self.singular]

    singular = ("script", "style", "meta", "h1", "title", "main", "header", "nav", "footer", "body")

    @staticmethod
    def of(tree, name):
        whole = name in ("script", "style", "meta")
        return [(text_of(element), attributes_of(element)) if whole else None for element in of_kind(tree, name)]

    def and_of(self, page):
        """What the other page is made of, or this one."""
        both = Kinds(page)
        both.made |= self.made
        both.lenient |= self.lenient
        both.classes |= self.classes
        both.own_links |= self.own_links
        return both


def attributes_of(element):
    """Those of which every page has the same."""
    told = element.get("name", "").startswith("orvellis-")
    return {name: value for name, value in element.attrib.items() if name != "content" or not told}


def look_leniently(page, ordinary):
    lenient = Lenient(page.decode("utf-8"))
    assert lenient.made <= ordinary.lenient, lenient.made - ordinary.lenient
    assert lenient.others == [], lenient.others


def look_at_made(page, tree, ordinary):
    """Nothing is there that a harmless log does not bring about."""
    assert made_by(tree) <= ordinary.made, made_by(tree) - ordinary.made
    look_leniently(page, ordinary)
    assert [Kinds.of(tree, name) for name in Kinds.singular] == ordinary.once
    for element in tree.iter():
        assert element.get("class") in ordinary.classes, element.get("class")
        assert not any(name.startswith("on") or name in ("style", "src", "srcdoc", "action") for name in element.attrib), element.attrib
    figures = of_kind(tree, "meta", name="orvellis-report")
    assert all(re.fullmatch("[a-z0-9=,: -]+", figure.get("content")) for figure in figures), figures[0].attrib
    for link in of_kind(tree, "a"):
        address = link.get("href")
        if address.startswith("?"):
            assert re.fullmatch(r"\?([a-z_]+=[A-Za-z0-9._~%-]*&)*[a-z_]+=[A-Za-z0-9._~%-]*", address), address
            assert link.get("rel") == "nofollow", address
        elif address not in ordinary.own_links:
            assert re.match(r"https?://[^/\\?#]", address, re.I), address
            assert link.get("rel") == "noopener noreferrer nofollow", address


def look_at_page(page, expected, ordinary):
    tree = parse(page)
    look_at_made(page, tree, ordinary)
    assert not re.search(rb"[\0-\x08\x0b-\x1f\x7f]", page)
    for section in SECTIONS:
        got = collections.Counter()
        wanted = collections.Counter()
        plain_from = 1000
        for place, (cell, count) in enumerate(rows_of(tree, section)):
            short, full, link = item_in(cell)
            got[short if place < plain_from else None, full, link, count] += 1
            if section == "domaintypes":
                assert shown(text_of(cell[-1]).encode()) == text_of(cell[-1])
        assert sum(got.values()) == len(expected.sections[section]), f"{section}: rows are lost"
        for item, count in expected.sections[section].items():
            text = expected.names.get(item, item.upper()) if section == "domaintypes" else text_of_item(section, item)
            link = None if section not in ADDRESSES else address_of(
                item, section in ("requests", "badurls"))
            wanted[without_middle(text), shown(text), link, count] += 1
        # Of rows behind the first thousand only the whole is shown, and which these are is not told here.
        same(section, collections.Counter(key[1:] for key in got.elements()), collections.Counter(key[1:] for key in wanted.elements()))
        short = got - wanted
        assert all(key[0] is None for key in short), list(short)[:3]
    for cell, _ in rows_of(tree, "badurls"):
        full = item_in(cell)[1]
        item = next(item for item in expected.led_to if shown(as_read(item)) == full) if full not in look_at_page.items else look_at_page.items[full]
        same(full, collections.Counter(dict(referrers_in(cell))),
             collections.Counter({shown(as_read(page)): count for page, count in expected.led_to[item].items()}))
    tiles = [text_of(element) for element in of_kind(tree, "dd", **{"class": "figure"})]
    assert int(tiles[0].replace(",", "")) == expected.requests


look_at_page.items = {}


# ---- JSON ---------------------------------------------------------------------------------------


def bytes_of(row):
    assert ("item_base64" in row) == ("\ufffd" in row["item"] and "item_base64" in row)
    if "item_base64" in row:
        item = base64.b64decode(row["item_base64"])
        assert re.sub("[\udc80-\udcff]", "\ufffd", characters(item)) == row["item"]
        return item
    return row["item"].encode()


def look_at_json(text, expected):
    assert not re.search(rb"[\0-\x09\x0b-\x1f\x7f]", text)
    assert all(character == "\n" or not is_invisible(ord(character)) for character in text.decode("utf-8"))
    report = json.loads(text)
    assert report["totals"]["requests"] == expected.requests
    assert report["totals"]["lines_not_understood"] == 0
    for section in SECTIONS:
        rows = report["sections"][section]["rows"]
        got = collections.Counter((bytes_of(row), row["count"], row.get("url")) for row in rows)
        linked = section in ADDRESSES
        for row in rows:
            read = as_read(bytes_of(row)) if linked else bytes_of(row)
            assert row.get("shown") == (None if read == bytes_of(row) else re.sub("[\udc80-\udcff]", "\ufffd", characters(read))), row
        same(section, got, collections.Counter(
            (item, count, address_of(item, section in ("requests", "badurls")) if linked else None)
            for item, count in expected.sections[section].items()))
        if section == "badurls":
            for row in rows:
                same(section, collections.Counter({bytes_of(page): page["count"] for page in row["referrers"]}),
                     expected.led_to[bytes_of(row)])
        if section == "domaintypes":
            for row in rows:
                item = bytes_of(row)
                assert row["name"] == re.sub("[\udc80-\udcff]", "\ufffd", characters(expected.names.get(item, item.upper()))), row


# ---- CSV ----------------------------------------------------------------------------------------


FORMULA = re.compile("[=+\\-@\uff1d\uff0b\uff0d\uff20]")


def cells_that_calculate(text):
    """Also where a program divides cells at something else."""
    cells = [cell for row in csv.reader(io.StringIO(text, newline="")) for cell in row]
    cells += [cell for line in text.split("\r\n") for cell in re.split('[,;|\t"]', line)]
    return [cell for cell in cells if FORMULA.match(cell)]


def look_at_csv(text, expected, guarded=True):
    text = text.decode("utf-8")
    assert all(not is_invisible(ord(character)) for character in text.replace("\r\n", ""))
    if guarded:
        assert cells_that_calculate(text) == [], cells_that_calculate(text)[:3]
    rows = list(csv.reader(io.StringIO(text, newline=""), strict=True))
    assert rows[0] == ["section", "rank", "item", "count", "share", "detail"]
    assert {len(row) for row in rows} == {6}
    for section in SECTIONS:
        got = collections.Counter((row[2], int(row[3]), row[5]) for row in rows[1:] if row[0] == section)
        details = {"search": lambda item: "Google",
                   "domaintypes": lambda item: in_cell(expected.names.get(item, item.upper()), guarded)}
        detail = details.get(section, lambda item: "")
        same(section, got, collections.Counter((in_cell(item, guarded), count, detail(item))
                                               for item, count in expected.sections[section].items()))
    same("badurls_referrers", collections.Counter((row[2], int(row[3]), row[5]) for row in rows[1:] if row[0] == "badurls_referrers"),
         collections.Counter((in_cell(page, guarded), count, in_cell(url, guarded))
                             for url, pages in expected.led_to.items() for page, count in pages.items()))


# ---- Text ---------------------------------------------------------------------------------------


def columns_of(text):
    return sum(0 if unicodedata.combining(c) else 2 if unicodedata.east_asian_width(c) in "WF" else 1 for c in text)


def is_cut(line, whole):
    """Whether the line is the whole without the middle of its parts. Blanks at its begin belong to the columns before it."""
    line, whole = line.replace(" ", ""), whole.replace(" ", "")
    return ".." in line and whole.startswith(line.split("..")[0]) and whole.endswith(line.rsplit("..", 1)[1])


def look_at_text(text, expected):
    text = text.decode("utf-8")
    assert all(character == "\n" or not is_invisible(ord(character)) for character in text)
    titles = {"requests": "Requested URLs", "referrers": "Referrers", "search": "Search phrases", "browsers": "Browsers",
              "badurls": "Not found", "badreferrers": "Pages with broken links", "domains": "Domains of visitors",
              "domaintypes": "Top-level domains of visitors"}
    for section, title in titles.items():
        lines = text.split(f"\n{title}\n{'-' * len(title)}\n")[1].split("\n\n")[0].split("\n")
        rows = [re.fullmatch(r" +([\d,]+) +[\d.]+ %  (#+) +(.*?) *", line) for line in lines]
        got = collections.Counter((int(row[1].replace(",", "")), row[3]) for row in rows if row)
        for item, count in expected.sections[section].items():
            wanted = shown(text_of_item(section, item))
            if section == "domaintypes":
                wanted += f" ({shown(expected.names.get(item, item.upper()))})"
            if (count, wanted.strip()) in got:
                got[count, wanted.strip()] -= 1
                continue
            assert columns_of(wanted) > 500, f"{section}: {wanted}"
            cut = next((key for key in +got if key[0] == count and is_cut(key[1], wanted)), None)
            assert cut is not None, f"{section}: {wanted[:80]}"
            got[cut] -= 1
        assert not +got, f"{section}: too many {list(+got)[:3]}"


OWN_COLOURS = re.compile(rb"\x1b\[(?:0|1|33|34)m")


def look_at_terminal(written, text):
    """But for the program's colours it is the text, line by line."""
    assert written.startswith(b"\x1b[1mHostile logs\x1b[0m")
    assert OWN_COLOURS.sub(b"", written).replace(b"\r\n", b"\n") == text


# ---- Requests -------------------------------------------------------------------------------------


def look_at_title(folder, attack, ordinary):
    title = attack.text.split(b"\0")[0][:243]
    fields = {**post.base, "title": attack.text}
    for output in ("modern", "json", "csv", "text"):
        head, body = post(folder, {**fields, "output": output})
        assert head == post.heads[output], head
        if output == "modern":
            tree = parse(body)
            look_at_made(body, tree, ordinary)
            if title:
                assert text_of(of_kind(tree, "title")[0]).startswith(shown(title) + ": "), title
                assert item_in(of_kind(tree, "h1")[0])[:2] == (without_middle(title), shown(title)), title
                assert of_kind(tree, "meta", name="orvellis-title")[0].get("content") == shown(title), title
                again = [link.get("href") for link in of_kind(tree, "a") if link.get("href").startswith("?")]
                sent = [dict(urllib.parse.parse_qsl(address[1:], errors="surrogateescape"))["title"] for address in again]
                assert sent and all(text.encode("utf-8", "surrogateescape").split(b"\0")[0][:243] == title for text in sent), (title, sent)
        elif output == "json" and title:
            assert json.loads(body)["title"] == re.sub("[\udc80-\udcff]", "\ufffd", characters(title))
        elif output == "csv":
            assert body == post.bodies[output], "a title in the table"
        elif output == "text":
            look_at_answer(body)


def look_at_answer(body):
    assert all(character == "\n" or not is_invisible(ord(character)) for character in body.decode("utf-8"))


def look_at_field(folder, attack, name, ordinary):
    """A text in a field that is no title: a report with a note, or a refusal that does not repeat it."""
    for output in ("modern", "json", "text"):
        fields = {**post.base, "output": output, name: attack.text}
        head, body = post(folder, fields)
        kind = {**post.kinds, "output": None}.get(name)
        refused = head[0].startswith("Status: ")
        allowed = post.refusals if refused else post.heads.values()
        assert head in allowed, (name, head)
        assert kind is None or refused == (kind == "refused"), (name, head)
        if refused:
            assert attack.text not in body or len(attack.text) < 12, (name, attack.text)
        types = [line for line in head if line.startswith("Content-Type: ")]
        if "text/html" in types[0]:
            look_leniently(body, ordinary if not refused else post.refusal_page)
        elif "json" in types[0]:
            json.loads(body)
        else:
            look_at_answer(body)


def look_at_login(folder, attacks):
    """Names that nobody has: one answer for all, one line in the error log for each."""
    with concurrent.futures.ThreadPoolExecutor(len(attacks)) as pool:
        answers = list(pool.map(lambda attack: post(folder, {"username": attack.text, "password": attack.text}), attacks))
    assert len({(head[0], body) for head, body in answers}) == 1, {head[0] for head, _ in answers}
    assert answers[0][0][0] == "Status: 403 Forbidden"
    with open(os.path.join(folder, "error.log"), "rb") as file:
        lines = file.read().split(b"\n")
    refused = [line for line in lines if b"refused" in line]
    assert len(refused) == len(attacks), (len(refused), len(attacks))
    for line in lines:
        assert not re.search(rb"[\0-\x1f\x7f]", line), line
        assert line == b"" or re.match(rb"\[\d\d/\w\w\w/\d{4}:\d\d:\d\d:\d\d\] 192\.0\.2\.7 ", line), line


def look_at_requests(folder, ordinary):
    with open(os.path.join(folder, "web.conf"), "w", encoding="utf-8") as conf:
        conf.write(f"Edition=modern\nErrorLog={folder}/error.log\nNetworks=names.txt\n"
                   f"user=demo;logs={folder}/plain/*.log;url={SITE};password=*\n")
    post.base = {"username": "demo", "date": "03052000,03052000", "requests": "1", "find": "/", "subdirs": "1"}
    answers = {output: post(folder, {**post.base, "output": output}) for output in ("modern", "json", "csv", "text")}
    assert not any(head[0].startswith("Status") for head, _ in answers.values()), [head[0] for head, _ in answers.values()]
    post.heads = {output: head for output, (head, _) in answers.items()}
    post.bodies = {output: body for output, (_, body) in answers.items()}
    refusals = [post(folder, {**post.base, "output": output, **wrong}) for output in ("modern", "json", "csv", "text")
                for wrong in ({"date": "03052000,03042000"}, {"section": "x", "output": "csv"})]
    post.refusals = [head for head, _ in refusals]
    post.refusal_page = Kinds(refusals[0][1])
    post.kinds = {}
    ordinary = ordinary.and_of(answers["modern"][1])
    for attack in ATTACKS[::14]:
        look_at_title(folder, attack, ordinary)
    for place, name in enumerate(("find", "section", "output", "authuser", "authrealm", "filter_domains", "filter_filetypes",
                                  "date", "requests", "sm", "no_script", "search_top")):
        for attack in ATTACKS[place::60]:
            look_at_field(folder, attack, name, ordinary)
    look_at_login(folder, ATTACKS[::41])


# ---- Names of logs --------------------------------------------------------------------------------


def look_at_log_names(folder, ordinary):
    """A dozen at a time, which is as many as a page names."""
    names = [name for name in (attack.text.replace(b"/", b"_") for attack in ATTACKS)
             if 0 < len(name) < 230 and b"\0" not in name]
    line = b'192.0.2.66 - - [05/Mar/2000:10:00:00 +0000] "GET / HTTP/1.0" 200 1\n'
    for start in range(0, len(names), 12):
        there = os.path.join(folder, "named").encode()
        os.mkdir(there)
        some = names[start:start + 12]
        for place, name in enumerate(some):
            with open(os.path.join(there, b"%d%s.log" % (place, name)), "wb") as log:
                log.write(line * (place + 1))  # no two are copies of each other
        page = run(folder)
        tree = parse(page)
        look_at_made(page, tree, ordinary)
        facts = of_kind(tree, "dl", **{"class": "facts"})[0]
        made = next(row[1] for row in facts if text_of(row[0]) == "From")
        whole = [text_of(element) for element in of_kind(made, "bdi", **{"class": "whole"})]
        full = sorted(whole + [text_of(element) for element in of_kind(made, "bdi")
                               if element.get("class") is None and "\u2026" not in text_of(element)])
        assert full == sorted(shown(b"%d%s.log" % (place, name)) for place, name in enumerate(some)), full
        shutil.rmtree(there)


# ---- What the checks notice ------------------------------------------------------------------------


def show_that_checks_fail(folder, ordinary):
    """Outputs over some of the attacks, each with one text as it stands in the log."""
    shutil.rmtree(os.path.join(folder, "logs"))
    expected = write_logs(folder, [attack for attack in ATTACKS if attack.number % 8 == 0 or attack.kind in ("terminal", "formula")])
    page, report, table, text = (run(folder, f"output={output}") for output in ("modern", "json", "csv", "text"))
    look_at_page(page, expected, ordinary)
    for kind, broken in (("a script", rb"&lt;script&gt;(.*?)&lt;/script&gt;"), ("an image", rb"&lt;(img [^&]*)&gt;"), ("a comment", rb"&lt;!--()")):
        opened = re.sub(broken, lambda found: html.unescape(found.group().decode()).encode(), page, count=1)
        assert opened != page, kind
        must_fail(f"a page with {kind}", look_at_page, opened, expected, ordinary)
    must_fail("a page without a row", look_at_page, re.sub(rb"<tr><td class=\"n\">.*?\n</td></tr>", b"", page, count=1, flags=re.S),
              expected, ordinary)
    must_fail("a page with a script's address", look_at_page, page.replace(b'href="http://r', b'href="javascript://r', 1), expected, ordinary)
    must_fail("JSON with another member", look_at_json, report.replace(b'\\"', b'"', 1), expected)
    must_fail("JSON with a wrong count", look_at_json, report.replace(b'"count": 3', b'"count": 4', 1), expected)

    # Without its guard the table calculates, and is a table still.
    look_at_csv(table, expected)
    open_table = run(folder, "output=csv", "csv_formulas=1")
    look_at_csv(open_table, expected, guarded=False)
    assert len(cells_that_calculate(open_table.decode())) >= 200, len(cells_that_calculate(open_table.decode()))
    must_fail("a table with formulas", look_at_csv, open_table, expected)

    titled = text.replace(b"\\x1B]0;", b"\x1b]0;", 1)
    assert titled != text
    must_fail("a text with a title for the terminal", look_at_text, titled, expected)
    must_fail("a terminal that gets a title", look_at_terminal, run_on_terminal(folder, "output=text").replace(
        b"\\x1B]0;", b"\x1b]0;", 1), text)


# ---- All of it ------------------------------------------------------------------------------------


def write_plain(folder):
    """An ordinary log, which makes every element that a page has."""
    os.makedirs(os.path.join(folder, "plain"))
    with open(os.path.join(folder, "plain", "access.log"), "wb") as log:
        for place in range(40):
            url = b"/page/%d\xe9%s" % (place, b"-and-so-on" * 20)
            for status, referrer in [(200, b"http://www.google.com/search?q=word+%d" % place)] + [
                    (404, b"http://page%d.example/%s" % (more, b"x" * 100)) for more in range(5 if place < 2 else 0)]:
                log.write(b'h%d.example.com - - [05/Mar/2000:10:00:00 +0000] "GET %s HTTP/1.0" %d 1 "%s" "%s"\n'
                          % (place, url, status, referrer, b"Browser/%d" % place))


def main():
    with tempfile.TemporaryDirectory() as folder:
        write_plain(folder)
        expected = write_logs(folder)
        look_at_page.items = {shown(as_read(item)): item for item in expected.led_to}
        configure(folder, "plain/*.log")
        ordinary = Kinds(run(folder, "filter_domains=no.example"))
        configure(folder, "logs/*.log")

        page = run(folder)
        look_at_page(page, expected, ordinary)
        report = run(folder, "output=json")
        look_at_json(report, expected)
        table = run(folder, "output=csv")
        look_at_csv(table, expected)
        text = run(folder, "output=text")
        look_at_text(text, expected)
        look_at_terminal(run_on_terminal(folder, "output=text"), text)

        # What no report shows is nowhere.
        secret = re.compile(b"%d[0-9]{5}" % ((ATTACKS[0].number + HIDDEN) // 100000))
        for output in (page, report, table, text):
            assert not secret.search(output), secret.search(output)

        look_at_requests(folder, ordinary)
        show_that_checks_fail(folder, ordinary)
        configure(folder, "named/*")
        look_at_log_names(folder, ordinary)
    print(f"passed: {len(ATTACKS)} attacks, {expected.requests} requests")


main()
