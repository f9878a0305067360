#!/usr/bin/env python3
"""The modern pages as a strict parser of HTML sees them:

    page_structure.py ORVELLIS SHOW_FORM SITE_FORM

Reports over ordinary and hostile logs and the request form, whatever it is filled in with, are
well-formed by the rules of the HTML standard. What is in the tables of reports is what the logs
hold, counted here in another way. Exit status 77 where html5lib is not installed.
"""
import collections
import os
import subprocess
import sys
import tempfile

try:
    import html5lib
except ImportError:
    # Debian's module, for an interpreter that is not Debian's own.
    if sys.executable != "/usr/bin/python3" and os.path.exists("/usr/bin/python3"):
        os.execv("/usr/bin/python3", ["/usr/bin/python3"] + sys.argv)
    print("skipped: html5lib is not installed")
    sys.exit(77)

PROGRAM, SHOW_FORM, SITE_FORM = (os.path.abspath(path) for path in sys.argv[1:])
NAME = "{http://www.w3.org/1999/xhtml}"
ALL = ("requests=1,0 referrers=1,0 search=1,0 browsers=1,0 badurls=1,0 badreferrers=1,0 badurl_referrers=1 domains=1,0 "
       "domaintypes=1,0 dailytotals=1 hitsperdayofweek=1 hitsperhour=1 hoursofweek=1").split()
HOSTILE = [b"<script>x</script>", b"<!--", b"-->", b"</title><h1>", b"</style>", b"</td></tr></table>", b"</details></main>",
           b"\"x=", b"'x='", b"<![CDATA[", b"<plaintext>", b"<textarea>", b"<svg><style>", b"<template>", b"&amp;&lt;&#0;",
           b"\xff\xfe", b"\x1b[31m", b"\x7f", b"\xe2\x80\xae", b"\xef\xbf\xbe", b"\xf3\xa0\x80\xa0", b"a" * 3000]


def report(folder, lines, *parameters):
    with open(os.path.join(folder, "access.log"), "wb") as log:
        log.write(b"".join(lines))
    with open(os.path.join(folder, "orvellis.conf"), "wb") as conf:
        conf.write(b"user=demo;logs=access.log;url=http://www.example.com;password=*;title=<i>&\"'\n")
    return subprocess.run([PROGRAM, "edition=modern", "config=orvellis.conf", "username=demo", "find=/", "subdirs=1",
                           "date=03052000,03112000", *parameters], cwd=folder, stdout=subprocess.PIPE, check=True,
                          env={"TZ": "UTC"}).stdout


def line(url, day=5, status=200, referrer=b"-", agent=b"-"):
    return (b"shop.example.com - - [%02d/Mar/2000:10:00:00 +0000] \"GET %s HTTP/1.0\" %d 100 \"%s\" \"%s\"\n"
            % (day, url, status, referrer, agent))


def parse(page):
    parser = html5lib.HTMLParser(strict=False)
    tree = parser.parse(page, transport_encoding="utf-8")
    assert parser.errors == [], parser.errors[:3]
    return tree


def elements(tree, name):
    return [element for element in tree.iter() if element.tag == NAME + name]


def look_at_elements(tree, *once):
    assert tree.get("lang") == "en"
    for name in ("h1", "main", "header", "footer", "title") + once:
        assert len(elements(tree, name)) == 1, name
    ids = [element.get("id") for element in tree.iter() if element.get("id")]
    assert len(ids) == len(set(ids)), ids
    for element in tree.iter():
        assert isinstance(element.tag, str), "a comment"
        assert "style" not in element.attrib, element.tag
        assert not any(name.startswith("on") for name in element.attrib), element.attrib
    for table in elements(tree, "table"):
        widths = {sum(int(cell.get("colspan", 1)) for cell in row) for row in elements(table, "tr")}
        assert len(widths) == 1, "rows of different length"
    return ids


def look_at_structure(tree):
    ids = look_at_elements(tree, "style")
    contents = elements(tree, "nav")
    assert len(contents) == (1 if len(elements(tree, "section")) > 1 else 0)
    for link in [link for found in contents for link in elements(found, "a")]:
        assert link.get("href")[1:] in ids, link.get("href")


def names_in(tree):
    return [element.get("name") for kind in ("input", "select") for element in elements(tree, kind) if element.get("name")]


def look_at_form(tree):
    ids = look_at_elements(tree, "form")
    assert len(elements(tree, "table")) == 2, "sections and filters"
    for label in elements(tree, "label"):
        assert label.get("for") in ids or elements(label, "input"), "a label of nothing"
    for fieldset in elements(tree, "fieldset"):
        assert list(fieldset)[0].tag == NAME + "legend", "a group without its words first"
    return names_in(tree)


def look_at_forms():
    with open(SITE_FORM, "rb") as page:
        names = look_at_form(parse(page.read()))
    assert len(set(names)) > 35, names
    for text in [b""] + HOSTILE:
        fields = [name.encode() + b"=" + text for name in sorted(set(names))]
        answer = subprocess.run([SHOW_FORM, *fields], stdout=subprocess.PIPE, check=True).stdout
        tree = parse(answer.split(b"\n\n", 1)[1])
        # What is no option is one more.
        assert sorted(set(look_at_form(tree))) == sorted(set(names)), text
        assert not {element.tag for element in tree.iter()} & {NAME + n for n in ("plaintext", "textarea", "template", "svg")}


def rows_of(tree, section):
    whole = next(element for element in elements(tree, "section") if element.get("id") == section)
    for body in elements(whole, "tbody"):
        for row in elements(body, "tr"):
            item = next(cell for cell in elements(row, "td") if cell.get("class") == "i")
            full = [e for e in elements(item, "bdi") if e.get("class") == "whole"] or list(item)[:1]
            count = next(cell for cell in elements(row, "td") if cell.get("class") == "c")
            yield "".join(full[0].itertext()), int("".join(count.itertext()).replace(",", ""))


def main():
    with tempfile.TemporaryDirectory() as folder:
        urls = [b"/page/%d%s" % (i * i % 47, b"-long" * (i % 40)) for i in range(2000)]
        tree = parse(report(folder, [line(url, 5 + i * 7 // 2000) for i, url in enumerate(urls)], *ALL))
        look_at_structure(tree)
        assert dict(rows_of(tree, "requests")) == {url.decode(): n for url, n in collections.Counter(urls).items()}
        days = collections.Counter(f"2000-03-{5 + i * 7 // 2000:02}" for i in range(2000))
        assert dict(rows_of(tree, "dailytotals")) == days
        week = next(element for element in elements(tree, "section") if element.get("id") == "hoursofweek")
        hours = {"".join(row[0].itertext()): [int(cell.text) for cell in row[1:]] for row in elements(week, "tr")[1:]}
        # 5 March 2000 was a Sunday, and weeks begin with Monday.
        assert hours.pop("10") == [days[f"2000-03-{day:02}"] for day in (6, 7, 8, 9, 10, 11, 5)]
        assert len(hours) == 23 and not any(sum(counts) for counts in hours.values())

        lines = [line(b"/" + attack.replace(b" ", b""), status=status, referrer=b"http://r.example/" + attack, agent=attack)
                 for attack in HOSTILE for status in (200, 404)]
        page = report(folder, lines, *ALL)
        tree = parse(page)
        look_at_structure(tree)
        assert not {element.tag for element in tree.iter()} & {NAME + n for n in ("plaintext", "textarea", "template", "img")}
        page.decode("utf-8")

        # A control: the same page with one text as it stands in the log is noticed.
        broken = page.replace(b"&lt;plaintext&gt;", b"<plaintext>", 1)
        assert broken != page
        try:
            parse(broken)
        except AssertionError:
            pass
        else:
            raise SystemExit("a page with markup from a log passes")

        look_at_structure(parse(report(folder, [line(b"/", day=20)], *ALL)))
    look_at_forms()
    print("passed")


main()
