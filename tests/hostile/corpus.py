#!/usr/bin/env python3
"""Logs in which every attack stands wherever a visitor can write, and what a report over
them must count: corpus.py FOLDER writes the logs and a page for each attack that protects
itself from nothing.

The figures come from here, not from the program: how fields are divided, cut and shortened
is written down a second time, from the descriptions of the formats.
"""
import collections
import ipaddress
import json
import os
import re
import sys

from attacks import ATTACKS, FIRST_NUMBER, control_page

LONGEST = 2048  # bytes that are kept of an item
DAY = "2000-03-05"
ENGINE = b"http://www.google.com/search?q="
ENGINE_NAME = "Google"

# Where a text is written that no report shows, its number is another one.
HIDDEN = 1000000


def times(attack):
    """How often an attack stands in each place."""
    return 1 + attack.number % 3


def hidden(attack):
    return attack.text.replace(b"%d" % attack.number, b"%d" % (attack.number + HIDDEN))


# ---- How servers write what they were sent ------------------------------------------------


def by_nginx(text):
    return b"".join(b"\\x%02X" % c if c < 0x20 or c >= 0x7f or c in b"\"\\" else bytes([c]) for c in text)


def by_apache(text):
    short = {0x22: b'\\"', 0x5c: b"\\\\", 8: b"\\b", 9: b"\\t", 10: b"\\n", 11: b"\\v", 13: b"\\r"}
    return b"".join(short.get(c) or (b"\\x%02x" % c if c < 0x20 or c >= 0x7f else bytes([c])) for c in text)


def in_query(text):
    return b"".join(b"%%%02X" % c if not bytes([c]).isalnum() else bytes([c]) for c in text)


# ---- How logs are read -----------------------------------------------------------------------


def can_stand_raw(text):
    """What ends a line is written by no server as it is."""
    return not re.search(rb"[\0\r\n\xff]", text)


def can_stand_between_tabs(text):
    return can_stand_raw(text) and not re.search(rb"[\t\"]|^ |^$|^-$", text)


def last_field(text):
    """A tab ends it unless it stands in quotes; quotes around the whole are none of it."""
    text = text.lstrip(b" ")
    quoted = False
    for place, byte in enumerate(text):
        if byte == 0x22:
            quoted = not quoted
        elif byte == 0x09 and not quoted:
            text = text[:place]
            break
    if len(text) >= 2 and text[:1] == text[-1:] == b'"':
        text = text[1:-1]
    return text[:LONGEST]


def path_of(url):
    """Servers of old Macintoshes divide folders by colons."""
    path, mark, query = url.partition(b"?")
    return path.replace(b":", b"/") + mark + query if url.startswith(b":") else url


def decoded(text):
    def one(match):
        code = match.group(1)
        return b" " if match.group() == b"+" else b"%" if not code or code == b"%" else bytes([int(code, 16)])
    return re.sub(rb"\+|%(%|[0-9A-Fa-f]{2})?", one, text).split(b"\0")[0]


def whole_host(host):
    """Without its port; what has several colons has none."""
    return host.split(b":")[0] if host.count(b":") == 1 else host


def domain_of(host):
    try:
        address = ipaddress.IPv6Address(re.sub(r"^\[(.*?)\](:.*)?$", r"\1", host.decode("latin-1")).split("%")[0])
        return ipaddress.ip_network((address, 48), strict=False).compressed.encode()
    except ValueError:
        host = whole_host(host)
    host = host[:-1] if host.endswith(b".") else host
    last = host.rsplit(b".", 1)[-1][-1:]
    if host and not last.isalpha():
        return b".".join(host.split(b".")[:3])
    return host.split(b".", 1)[1] if host.count(b".") >= 2 else host


def domain_type_of(domain):
    if domain.endswith(b"::/48"):
        return b"UNKNOWN"
    label = domain.rsplit(b".", 1)[-1]
    return label if label == b"" or re.search(rb"[A-Za-z]", label) else b"UNKNOWN"


# ---- What a report counts ----------------------------------------------------------------------


class Expected:
    """The items of each section, as bytes, and how often they were counted."""

    def __init__(self):
        self.requests = 0
        self.sections = {name: collections.Counter() for name in (
            "requests", "referrers", "search", "browsers", "badurls", "badreferrers", "domains", "domaintypes")}
        self.led_to = collections.defaultdict(collections.Counter)
        self.names = {}  # of domain types

    def count(self, section, item, how_often):
        self.sections[section][item] += how_often

    def record(self, how_often, url, status=200, referrer=None, agent=None, host=None):
        self.requests += how_often
        self.count("requests", url, how_often)
        if referrer in (b"", b"-"):
            referrer = None
        if referrer is not None:
            self.count("referrers", referrer, how_often)
            if referrer.startswith(ENGINE):
                self.count("search", decoded(referrer[len(ENGINE):]), how_often)
        if status == 404:
            self.count("badurls", url, how_often)
            self.count("badreferrers", referrer, how_often)
            self.led_to[url][referrer] += how_often
        if agent not in (None, b"", b"-"):
            self.count("browsers", agent, how_often)
        if host is not None:
            self.count("domains", domain_of(host), how_often)
            self.count("domaintypes", domain_type_of(domain_of(host)), how_often)


# ---- The logs -------------------------------------------------------------------------------------


class Log:
    def __init__(self, name, head=b""):
        self.name = name
        self.head = head
        self.lines = []

    def add(self, how_often, line):
        self.lines += [line] * how_often

    def write(self, folder):
        with open(os.path.join(folder, self.name), "wb") as file:
            file.write(self.head)
            for place, line in enumerate(self.lines):
                moment = b"%02d:%02d:00" % divmod(place * 1440 // len(self.lines), 60)
                file.write(line.replace(b"@MOMENT@", moment) + b"\n")


def between_tabs(name, *fields):
    return Log(name, ("#Fields: DATE\tTIME\tSC-STATUS\t".replace("\t", " ") + " ".join(fields) + "\n").encode())


def tabbed(status, *fields):
    return b"\t".join([DAY.encode(), b"@MOMENT@", b"%d" % status, *fields])


def combined(request, status=200, referrer=b"-", agent=b"-", host=b"192.0.2.66", user=b"-"):
    return host + b" - " + user + b" [05/Mar/2000:@MOMENT@ +0000] \"" + request + b"\" %d 100 \"" % status + referrer + b"\" \"" + agent + b"\""


def user_of(text, write):
    """What a server writes of the one who signs on with that name: blanks as they are, and no more than its first part."""
    return write(text.split(b":")[0].split(b"\0")[0]) or b'""'


def write_urls(attacks, expected):
    log = between_tabs("url.log", "REFERER", "URL")
    for attack in filter(lambda attack: can_stand_raw(attack.text), attacks):
        url = path_of(last_field(attack.text))
        log.add(times(attack), tabbed(200, b"-", attack.text))
        expected.record(times(attack), b"(no request)" if url in (b"", b"-") else url)
        missing = last_field(b"/" + attack.text)
        page = attack.text if can_stand_between_tabs(attack.text) else by_nginx(attack.text)
        log.add(times(attack), tabbed(404, page, b"/" + attack.text))
        expected.record(times(attack), missing, 404, page[:LONGEST].lstrip(b" "))
    return log


def write_referrers(attacks, expected):
    log = between_tabs("referrer.log", "URL", "REFERER")
    for attack in attacks:
        addresses = [ENGINE + in_query(attack.text)]
        if can_stand_raw(attack.text):
            addresses.append(b"https://" + attack.text if attack.kind == "address" else b"http://r.example/" + attack.text)
            if not can_stand_between_tabs(attack.text):
                addresses.append(attack.text)
        for address in addresses:
            log.add(times(attack), tabbed(200, b"/from", address))
            expected.record(times(attack), b"/from", referrer=last_field(address))
    return log


def write_agents(attacks, expected):
    """As IIS writes them, which encodes them: of these none is cut at a quote or a line end."""
    log = Log("agent.log", b"#Software: Microsoft Internet Information Server 4.0\n#Fields: date time cs-uri-stem cs(User-Agent)\n")
    for attack in attacks:
        text = re.sub(rb"[^-!#$&()*,./0-9:-Z\\-~]", lambda byte: b"%%%02X" % byte.group()[0], attack.text).replace(b"%20", b"+")
        text = b"%25" if text == b"%" else text
        log.add(times(attack), DAY.encode() + b" @MOMENT@ /agent " + text)
        expected.record(times(attack), b"/agent", agent=None if text == b"-" else decoded(text[:LONGEST]))
    return log


def write_hosts(attacks, expected):
    log = between_tabs("host.log", "URL", "HOSTNAME")
    for attack in filter(lambda attack: can_stand_raw(attack.text), attacks):
        for host in (b"dial." + attack.text, b"x.n%d" % attack.number, b"[2001:db8::1%" + attack.text.replace(b"]", b"") + b"]:1"):
            log.add(times(attack), tabbed(200, b"/host", host))
            expected.record(times(attack), b"/host", host=last_field(host))
    return log


def write_users(attacks, expected):
    log = between_tabs("user.log", "URL", "USER")
    for attack in filter(lambda attack: can_stand_raw(attack.text), attacks):
        log.add(times(attack), tabbed(200, b"/user", hidden(attack)))
        expected.record(times(attack), b"/user")
    return log


def write_combined(attacks, expected):
    log = Log("combined.log")
    for attack in attacks:
        write = by_apache if attack.number % 2 else by_nginx
        text = write(attack.text)
        url = b"/" + text.replace(b" ", b"%20")
        referrer = b"http://c.example/" + text
        user = user_of(hidden(attack), write)
        log.add(times(attack), combined(b"GET " + url + b" HTTP/1.0", 200, referrer, text, user=user))
        expected.record(times(attack), url[:LONGEST], 200, referrer[:LONGEST], text[:LONGEST], b"192.0.2.66")
        method = by_nginx(hidden(attack)).replace(b" ", b"")
        log.add(times(attack), combined(method + b" /method HTTP/1.0", host=b"192.0.2.67"))
        expected.record(times(attack), b"/method", host=b"192.0.2.67")
        log.add(times(attack), combined(b"x" + by_nginx(hidden(attack)).replace(b" ", b"/"), 400, host=b"192.0.2.68"))
        expected.record(times(attack), b"(not HTTP)", 400, host=b"192.0.2.68")
    return log


def write_names(folder, attacks, expected):
    """Names of domain types, which an administrator may have from elsewhere."""
    with open(os.path.join(folder, "names.txt"), "wb") as names:
        for attack in attacks:
            if can_stand_raw(attack.text) and len(attack.text) < 90 and not re.match(rb"[ \t\v\f]", attack.text):
                names.write(b"N%d %s\n" % (attack.number, attack.text))
                expected.names[b"n%d" % attack.number] = attack.text


def write_logs(folder, attacks=None):
    """Writes logs and names below the folder; returns what a report over them holds."""
    attacks = ATTACKS if attacks is None else attacks
    os.makedirs(os.path.join(folder, "logs"), exist_ok=True)
    expected = Expected()
    for write in (write_urls, write_referrers, write_agents, write_hosts, write_users, write_combined):
        write(attacks, expected).write(os.path.join(folder, "logs"))
    write_names(folder, attacks, expected)
    return expected


def write_controls(folder):
    os.makedirs(os.path.join(folder, "control"), exist_ok=True)
    for attack in ATTACKS:
        with open(os.path.join(folder, "control", f"{attack.number - FIRST_NUMBER}.html"), "wb") as page:
            page.write(control_page(attack))


def main():
    folder = sys.argv[1]
    expected = write_logs(folder)
    write_controls(folder)
    with open(os.path.join(folder, "corpus.json"), "w", encoding="ascii") as file:
        json.dump({"attacks": [{"number": a.number, "kind": a.kind, "place": a.place} for a in ATTACKS],
                   "requests": expected.requests,
                   "rows": {name: len(items) for name, items in expected.sections.items()}}, file)


if __name__ == "__main__":
    main()
