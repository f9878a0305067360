"""Random logs and random questions. The logs hold what makes reading depend on what was read before: header lines and
other layouts midway, records that are out of order or behind the range, hours that a clock change repeats or leaves
out, lines of every end and length, copies, keys that differ in case."""
import bz2
import datetime
import gzip
import json
import lzma
import os
import random
import shutil
import subprocess

MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
# A zone, and days on which it changes its clocks.
CHANGES = {"Europe/Berlin": ["2000-03-26", "2000-10-29"], "America/New_York": ["2000-04-02", "2000-10-29"],
           "Australia/Lord_Howe": ["2000-03-26", "2000-08-27"], "UTC": ["2000-03-15"]}
PATHS = ["/", "/index.html", "/Index.html", "/INDEX.html", "/a/b.gif", "/docs/x.html?q=1", "/docs/X.html?Q=2", "/%7Eann/",
         "/docs/", "/" + "long" * 90, "/img/logo.PNG", "/n\u00e4h"]
REFERRERS = ["-", "-", "http://www.example.net/", "http://WWW.example.net/Page", "http://www.google.com/search?q=tea+pot",
             "http://www.google.com/search?q=Tea+Pot", "http://search.yahoo.com/search?p=cups", "http://www.example.com/own",
             "http://www.altavista.com/cgi-bin/query?q=", "http://x.example.org/" + "r" * 300]
AGENTS = ["Mozilla/4.0 (compatible; MSIE 5.0)", "mozilla/4.0 (compatible; msie 5.0)", "Lynx/2.8.2", "-", "Bot/" + "9" * 250]
HOSTS = ["192.0.2.7", "192.0.2.8", "pc.example.fr", "PC.example.fr", "host.example.com", "2001:db8::7", "h.example.org"]
# Sums of the third come to 10^9 exactly; the last are times for who looks for some in a line.
SIZES = [[0, 1, 100, 3428], [100], [50000000, 25000000, 0],
         [0, 999999999, 1000000000, 500000000, 4294967295, 4294967296, 2147483648, 5000000000]]
FINDS = ["/"] * 8 + ["/docs/", "/page", "/*e*", "/(docs|page)*", "/[a-p]*", "/[^d]*", "/(docs", "/[a", "/*|e)*"]
LINE_ENDS = [b"\n", b"\n", b"\n", b"\r\n", b"\r\n", b"\r", b"\n\r"]
PACKERS = {".gz": gzip.compress, ".bz2": bz2.compress, ".xz": lzma.compress}
if shutil.which("zstd"):
    PACKERS[".zst"] = lambda content: subprocess.run(["zstd", "-qc"], input=content, capture_output=True,
                                                     check=True).stdout
HEADS = {
    "w3c": b"#Software: Microsoft Internet Information Server 4.0\n"
           b"#Fields: date time c-ip cs-uri-stem sc-status sc-bytes cs(Referer)",
    "w3c other": b"#Fields: date time sc-bytes sc-status cs-uri-stem c-ip",
    "tabs": b"!!LOG_FORMAT DATE TIME HOSTNAME URL BYTES_SENT REFERER",
    "tabs other": b"!!LOG_FORMAT URL BYTES_SENT HOSTNAME DATE TIME",
    "native common": b"!!LOG_FORMAT COMMON_LOG_FORMAT",
}


class Logs:
    """What one trial reads."""
    def __init__(self, chance):
        self.chance = chance
        self.zone = chance.choice(list(CHANGES))
        self.change = datetime.datetime.fromisoformat(chance.choice(CHANGES[self.zone]))
        self.keys = chance.choice([3, 40, 5000])
        self.sizes = chance.choice(SIZES)
        self.odd = chance.choice([0, 0, 0.002, 0.02, 0.1])  # lines that are none of the layout
        self.out_of_order = chance.choice([0, 0, 0.01, 0.2])
        self.zoned = chance.choice([1, 1, 0, 0.5])
        self.offset = chance.choice(["+0000", "+0100", "-0500", "+1030"])
        self.now = self.change
        self.step = 1.0

    def moment(self):
        self.now += datetime.timedelta(seconds=self.chance.expovariate(1 / self.step))
        if self.chance.random() < self.out_of_order:
            return self.now + datetime.timedelta(seconds=self.chance.randrange(-200000, 200000))
        return self.now

    def path(self):
        chance = self.chance
        return chance.choice(PATHS) if chance.random() < 0.5 else f"/Page{chance.randrange(self.keys)}.html"

    def line(self, layout):
        chance, moment = self.chance, self.moment()
        size, path, referrer = chance.choice(self.sizes), self.path(), chance.choice(REFERRERS)
        host = chance.choice(HOSTS) if chance.random() < 0.7 else f"10.0.{chance.randrange(9)}.{chance.randrange(256)}"
        status = chance.choice([200, 200, 200, 404, 304, 500])
        common = f"{moment.day:02}/{MONTHS[moment.month - 1]}/{moment:%Y:%H:%M:%S}"
        if chance.random() < self.zoned:
            common += f" {self.offset}"
        if layout in ("common", "combined", "native common"):
            user = chance.choice(["-", "-", "ann"])
            line = f'{host} - {user} [{common}] "GET {path} HTTP/1.0" {status} {size}'
            if layout == "combined":
                line += f' "{referrer}" "{chance.choice(AGENTS)}"'
        elif layout == "w3c":
            line = f"{moment:%Y-%m-%d %H:%M:%S} {host} {path} {status} {size} {referrer}"
        elif layout == "w3c other":
            line = f"{moment:%Y-%m-%d %H:%M:%S} {size} {status} {path} {host}"
        elif layout == "json":
            line = json.dumps({"time": f"{moment:%Y-%m-%dT%H:%M:%S}" + chance.choice(["Z", "+01:00", ""]),
                               "remote_addr": host, "request": f"GET {path} HTTP/1.1", "status": status,
                               "body_bytes_sent": size, "http_referer": referrer})
        elif layout == "tabs":
            line = f"{moment:%m/%d/%y\t%H:%M:%S}\t{host}\t{path}\t{size}\t{referrer}"
        elif layout == "tabs other":
            line = f"{path}\t{size}\t{host}\t{moment:%m/%d/%y\t%H:%M:%S}"
        elif layout == "five tabs":
            line = f"{moment:%m/%d/%y\t%H:%M:%S}\tOK\t{host}\t{path}\t{size}"
        else:  # letters: x4hurc
            line = f"{path} {moment:%Y-%m-%d %H:%M:%S} {host} {path} 200 {size}"
        return line.encode(chance.choice(["utf-8", "utf-8", "latin-1"]), "replace")

    def odd_line(self):
        chance = self.chance
        return chance.choice([
            lambda: b"", lambda: b"junk", lambda: b"# a comment", lambda: b"; a comment",
            lambda: self.line("combined")[:chance.randrange(1, 120)],
            lambda: self.line("common") + b"\xff" + self.line("common"),
            lambda: self.line("common").replace(b"GET", b"G\x00T"),
            lambda: b"\x00" * chance.randrange(1, 40),
            lambda: self.line("combined") + b"x" * chance.choice([1400, 5000, 20000, 70000]),
            lambda: self.line(chance.choice(["combined", "json", "w3c", "tabs", "letters"])),
            lambda: chance.choice(list(HEADS.values())),
            lambda: b"\r\r\n\n\r", lambda: b"#Fields: nothing known", lambda: b"format=%SYSDATE%",
        ])()

    def log(self, size):
        chance = self.chance
        layouts = chance.choice([["common"], ["combined"], ["combined"], ["combined"], ["w3c"], ["json"], ["tabs"],
                                 ["five tabs"], ["letters"], ["w3c", "w3c other"], ["tabs", "tabs other"],
                                 ["native common"], ["common", "combined"], ["combined", "json", "w3c", "tabs"]])
        end = chance.choice(LINE_ENDS)
        mixed_ends = chance.random() < 0.1
        self.now = self.change + datetime.timedelta(seconds=chance.choice([-90000, -7200, 0, 3600, 5400, 9000, 43200]))
        self.step = chance.choice([1, 30, 200, 3000]) * 20000 / max(size, 2000)
        layout, text = layouts[0], []
        switch = chance.choice([0, 0.01, 0.1])
        length = 0
        text.append(HEADS.get(layout, b""))
        while length < size:
            if len(layouts) > 1 and chance.random() < switch:
                layout = chance.choice(layouts)
                text.append(HEADS.get(layout, b""))
            text.append(self.odd_line() if chance.random() < self.odd else self.line(layout))
            length += len(text[-1]) + 1
        ends = [chance.choice(LINE_ENDS) if mixed_ends else end for _ in text]
        content = b"".join(line + mark for line, mark in zip(text, ends) if line or mark != b"\r")
        return content[:chance.randrange(len(content) // 2, len(content) + 1)] if chance.random() < 0.3 else content

    def write(self, folder):
        """Up to six logs, of which some may be copies of others."""
        chance = self.chance
        folder.mkdir()
        contents = []
        for number in range(chance.choice([1, 1, 2, 3, 4, 6])):
            if contents and chance.random() < 0.15:
                content = chance.choice(contents)
            else:
                content = self.log(chance.choice([0, 300, 3000, 12000, 25000, 40000]))
            contents.append(content)
            name = f"{chance.choice('abc')}{number}.log"
            if chance.random() < 0.15:
                packing = chance.choice(list(PACKERS))
                name, content = name + packing, PACKERS[packing](content)
                if chance.random() < 0.1:
                    content = content[:-20]
            path = folder / name
            path.write_bytes(content)
            when = 954547200 + chance.randrange(3) * 86400
            os.utime(path, (when, when))
            if chance.random() < 0.03:
                path.unlink()
                path.symlink_to("nowhere")
            elif chance.random() < 0.03:
                path.chmod(0)


def question(chance, logs):
    """The parameters."""
    days = [logs.change + datetime.timedelta(days=chance.choice([-2, -1, 0, 1])) for _ in range(2)]
    words = [f"date={min(days):%m%d%Y},{max(days):%m%d%Y}", "find=" + chance.choice(FINDS)]
    words.append("edition=" + chance.choice(["classic", "modern", "modern"]))
    words.append(f"find_pattern={int(chance.random() < 0.2)}")
    words.append(f"subdirs={int(chance.random() < 0.9)}")
    for name in ("requests", "referrers", "search", "browsers", "badurls", "badreferrers", "domains", "domaintypes"):
        if chance.random() < 0.7:
            words.append(f"{name}=1,{chance.choice(['0', '0', '5', '20%'])}")
    for name in ("dailytotals", "hitsperdayofweek", "hitsperhour", "hoursofweek", "badurl_referrers", "find_casesensitive",
                 "showquery", "filter_referrers", "own_referrers", "fixgmt", "totals"):
        if chance.random() < 0.5:
            words.append(f"{name}={int(chance.random() < 0.8)}")
    some = {"filter_filetypes": ["gif,png"], "filter_domains": ["example.fr", "192.0.2.0/24"], "logformat": ["x4hurc"],
            "authuser": ["ann", "*"], "dateformat": ["mdy", "dmy"], "timezone": ["America/New_York", "Europe/Berlin"]}
    words += [f"{name}={chance.choice(values)}" for name, values in some.items() if chance.random() < 0.12]
    words.append("output=" + chance.choice(["modern", "json", "csv", "text"]))
    rare = ["flushtoserver=1", "debug=1", "part=-", "from=first", "linked_names=1", "section=requests", "title=x"]
    words += [word for word in rare if chance.random() < 0.04]
    if "edition=modern" in words and chance.random() < 0.15:
        words.append("days=all")
    return words + later_sections(random.Random(" ".join(words)))


def later_sections(chance):
    """By another chance, so that one more of them changes nothing else."""
    words = [f"{name}=1,{chance.choice(['0', '0', '5', '20%'])}"
             for name in ("statuses", "hosts", "users", "referringsites", "directories", "filetypes",
                          "browserfamilies", "systems", "devices", "robots", "vhosts", "servererrors", "countries", "methods", "protocols", "tlsversions", "slow", "redirects", "sizes") if chance.random() < 0.4]
    of_visits = random.Random(" ".join(words))
    words += [f"{name}=1,{of_visits.choice(['0', '5'])}" for name in ("visitors", "entrypages", "exitpages", "unknown") if of_visits.random() < 0.3]
    filters = ["exclude_robots=1", "only_statuses=2xx,404", "exclude_hosts=192.0.2.0/24", "only_hours=6-20", "exclude_weekdays=sun", "anonymise=1", "only_methods=GET"]
    return words + [word for word in ("bytes=1", "order=bytes", *filters, "compare=previous", "compare=weekdays", "directory_depth=2") if chance.random() < 0.1]


def configuration(chance):
    accounts = chance.choice(["logs=logs/*", "logs=logs/*", "logs=logs/*.log;accesslog=logs/a0.log",
                              "logs=logs/a*;accesslog=logs/b*"])
    lines = [f"user=all;{accounts};url=http://www.example.com;password=*"]
    if chance.random() < 0.12:
        lines += ["SmartMemoryEnabled=1", f"SmartMemoryMaxMemoryToAllocate={chance.choice([500, 600, 1000])}",
                  f"SmartMemoryKeepEntries={chance.choice([1, 100])}", f"SmartMemoryReclaimSize={chance.choice([1, 100])}"]
    lines.append("DNSLookupEnabled=0")
    return "\n".join(lines) + "\n"
