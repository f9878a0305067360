#!/usr/bin/env python3
"""Writes logs of the combined, W3C and tab forms, and one of damaged combined lines, into a folder; the same each time."""

import pathlib
import random
import sys

RECORDS = 20000
W3C_HEAD = ("#Software: Microsoft Internet Information Server 4.0\n#Fields: date time c-ip cs-username cs-method "
            "cs-uri-stem cs-uri-query sc-status sc-bytes cs(User-Agent) cs(Referer)\n")
AGENTS = ["Mozilla/4.0 (compatible; MSIE 5.0; Windows 98)", "Mozilla/4.7 [en] (X11; U; Linux)", "Wget/1.5.3", "-",
          "Agent/" + "x" * 200]
NAMES = "abcdefghijklmnopqrstuvwxyz0123456789"


def record(rng, number):
    second = number * 30 * 86400 // RECORDS
    day, clock = second // 86400 + 1, second % 86400
    host = rng.choice([f"192.0.2.{rng.randrange(256)}", f"h{rng.randrange(500)}.example.{rng.choice(['com', 'net', 'de'])}"])
    path = "/" + "".join(rng.choice(NAMES) for _ in range(rng.choice([1, 2, 3, 40, 300])))
    referrer = rng.choice(["-", f"http://r{rng.randrange(200)}.example.org/page",
                           f"http://search.example.net/find?q=word{rng.randrange(50)}+more"])
    return {"day": day, "time": f"{clock // 3600:02}:{clock // 60 % 60:02}:{clock % 60:02}", "host": host, "path": path,
            "status": rng.choice([200, 200, 200, 304, 404]), "bytes": rng.randrange(100000), "referrer": referrer,
            "agent": rng.choice(AGENTS)}


def combined(r):
    return (f"{r['host']} - - [{r['day']:02}/Mar/2000:{r['time']} +0000] \"GET {r['path']} HTTP/1.0\" {r['status']} "
            f"{r['bytes']} \"{r['referrer']}\" \"{r['agent']}\"")


def w3c(r):
    agent = r["agent"].replace(" ", "+")
    return (f"2000-03-{r['day']:02} {r['time']} {r['host']} - GET {r['path']} - {r['status']} {r['bytes']} {agent} "
            f"{r['referrer']}")


def tab(r):
    return "\t".join([f"03/{r['day']:02}/2000 {r['time']}", r["host"], "www", "", "", "GET", r["path"], r["referrer"],
                      "", r["agent"], str(r["status"]), str(r["bytes"]), "0"])


def damaged(rng, line):
    line = list(line)
    for _ in range(rng.choice([0, 0, 1, 2, 5])):
        line[rng.randrange(len(line))] = rng.choice("\" '[]\\:.-\0\r\xff\xe4")
    return "".join(line)


def main():
    folder = pathlib.Path(sys.argv[1])
    rng = random.Random(9)
    records = [record(rng, number) for number in range(RECORDS)]
    logs = {"combined": ("", combined), "w3c": (W3C_HEAD, w3c), "tab": ("", tab),
            "odd": ("", lambda r: damaged(rng, combined(r)))}
    for name, (head, line) in logs.items():
        text = head + "".join(line(r) + "\n" for r in records)
        (folder / f"{name}.log").write_bytes(text.encode("latin-1"))


main()
