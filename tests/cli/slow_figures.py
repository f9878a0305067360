#!/usr/bin/env python3
"""The times that requests took, by URL, against those that are sorted here: of logs in the layouts of many servers, read
by one process or by three, as parts that are added, or from what earlier runs have kept.

    slow_figures.py PROGRAM
"""
import collections
import fractions
import json
import pathlib
import random
import subprocess
import sys
import tempfile

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
ROUNDS = 4
URLS = ["/", "/index.html", "/search", "/caf%C3%A9", "/a", "/b", "/c", "/d/e/f"]
MOST = 10 ** 12
NGINX = '$remote_addr - $remote_user [$time_local] "$request" $status $body_bytes_sent "$http_referer" "$http_user_agent"'
APACHE = '%h %l %u %t "%r" %>s %b'
SECOND, MILLISECOND, MICROSECOND, NANOSECOND = 10 ** 6, 10 ** 3, 1, fractions.Fraction(1, 1000)


def taken_of(text, unit):
    """Whole microseconds, of decimals."""
    taken = int(fractions.Fraction(text) * unit)
    return taken if taken <= MOST else None


def clf(url, second, behind):
    return f'192.0.2.7 - - [05/Mar/2001:10:{second // 60 % 60:02}:{second % 60:02} +0000] "GET {url} HTTP/1.1" 200 12{behind}'


def iso(second, behind="Z"):
    return f"2001-03-05T10:{second // 60 % 60:02}:{second % 60:02}{behind}"


def nginx(url, second, text):
    return clf(url, second, f' "-" "Lynx" {text}')


def apache(url, second, text):
    return clf(url, second, f" {text}")


def as_json(url, second, duration, key="duration", quote='"'):
    return (f'{{"time":"{iso(second)}","remote_ip":"192.0.2.7","method":"GET","uri":"{url}","status":200,"size":12,'
            f'"{key}":{quote}{duration}{quote}}}')


def haproxy(url, second, text):
    moment = f"05/Mar/2001:10:{second // 60 % 60:02}:{second % 60:02}.123"
    return f'192.0.2.7:33317 [{moment}] in be/s1 10/0/30/69/{text} 200 12 - - ---- 1/1/1/1/0 0/0 "GET {url} HTTP/1.1"'


def squid(url, second, text):
    return f"{983786400 + second}.123 {text:>6} 192.0.2.7 TCP_MISS/200 12 GET {url} - HIER_DIRECT/192.0.2.9 text/html"


def envoy(url, second, text):
    return (f'[{iso(second, ".123Z")}] "GET {url} HTTP/2" 200 - 154 12 {text} 100 "192.0.2.7" "Lynx" "cc21d9b0" "www.example.com" '
            '"192.0.2.9:80"')


def balancer(url, second, text):
    return (f'http {iso(second, ".123456Z")} app/lb/1 192.0.2.7:2817 192.0.2.9:80 0.001 {text} 0.000250 200 200 34 12 '
            f'"GET http://www.example.com:80{url} HTTP/1.1" "Lynx" - -')


def w3c(url, second, text):
    return f"2001-03-05 10:{second // 60 % 60:02}:{second % 60:02} GET {url} - 192.0.2.7 200 12 {text}"


W3C_HEAD = "#Fields: date time cs-method cs-uri-stem cs-uri-query c-ip sc-status sc-bytes time-taken\n"
IIS_HEAD = "#Software: Microsoft Internet Information Services 10.0\n" + W3C_HEAD
NONE = ["-", "-1", "nan", "inf", "-0.5", "+3", "1000000000001000000", "0x10", "1,5", "1e", "9" * 40]

# name: arguments, first lines, line, what a number there is of, digits behind the point, what is none
LAYOUTS = {
    "nginx": (["logformat=" + NGINX + " $request_time"], "", nginx, SECOND, 3, NONE),
    "apache_us": (["logformat=" + APACHE + " %D"], "", apache, MICROSECOND, 0, NONE),
    "apache_s": (["logformat=" + APACHE + " %T"], "", apache, SECOND, 0, NONE),
    "apache_ms": (["logformat=" + APACHE + " %{ms}T"], "", apache, MILLISECOND, 0, NONE),
    "apache_us_of_unit": (["logformat=" + APACHE + " %{us}T"], "", apache, MICROSECOND, 0, NONE),
    "haproxy": ([], "", haproxy, MILLISECOND, 0, ["-1", "+17"]),
    "squid": ([], "", squid, MILLISECOND, 0, ["-1"]),
    "envoy": ([], "", envoy, MILLISECOND, 0, ["-", "nan"]),
    "balancer": ([], "", balancer, SECOND, 6, ["-1", "-"]),
    "w3c_seconds": ([], W3C_HEAD, w3c, SECOND, 3, NONE),
    "w3c_milliseconds": ([], W3C_HEAD, w3c, MILLISECOND, 0, NONE),
    "iis": ([], IIS_HEAD, w3c, MILLISECOND, 0, NONE),
    "caddy": ([], "", lambda *of: as_json(*of, quote=""), SECOND, 9, ["null", "-0.1"]),
    "caddy_with_unit": ([], "", lambda url, second, text: as_json(url, second, text + "ms" if text[0] != "-" else text), MILLISECOND, 6, ["-1"]),
    "traefik": ([], "", lambda *of: as_json(*of, key="Duration", quote=""), NANOSECOND, 0, ["-5"]),
    "nginx_json": ([], "", lambda *of: as_json(*of, key="request_time"), SECOND, 3, ["-", "-0.5"]),
    "ltsv": ([], "", lambda url, second, text: f"time:05/Mar/2001:10:{second // 60 % 60:02}:{second % 60:02} +0000\thost:192.0.2.7\t"
             f"req:GET {url} HTTP/1.1\tstatus:200\tsize:12\treqtime:{text}", SECOND, 3, NONE),
}


def number(chance, digits):
    """As servers write them: mostly short times, some of them of hours."""
    whole = int(10 ** chance.uniform(0, chance.choice([2, 3, 5, 8])))
    return str(whole) if digits == 0 else f"{whole // 1000}.{chance.randrange(10 ** digits):0{digits}}"


def made_up(chance, layout):
    """Lines, and the times of each URL."""
    _, _, line_of, unit, digits, none = layout
    lines, times = [], collections.defaultdict(list)
    for second in range(chance.randrange(50, 700)):
        url = URLS[min(int(chance.expovariate(0.5)), len(URLS) - 1)]
        text = chance.choice(none) if chance.random() < 0.05 else number(chance, digits)
        lines.append(line_of(url, second, text) + "\n")
        taken = None if text in none else taken_of(text, unit)
        if taken is not None:
            times[url].append(taken + (1250 if line_of is balancer else 0))  # what stands around it there
    return lines, times


# ---- The program's --------------------------------------------------------------------------------

def run(folder, *words, given=b""):
    done = subprocess.run([PROGRAM, "edition=modern", "username=ann", "days=all", *words], cwd=folder, input=given,
                          env={"TZ": "UTC", "LC_ALL": "C", "SOURCE_DATE_EPOCH": "984225600"}, capture_output=True, check=False)
    assert done.returncode == 0 and not done.stderr, done
    return done.stdout


def check_rows(name, section, times):
    assert section["total"] == sum(map(sum, times.values())), (name, section["total"])
    assert section["distinct"] == len(section["rows"]) == len(times), (name, section)
    sums = [row["sum_us"] for row in section["rows"]]
    assert sums == sorted(sums, reverse=True), (name, sums)
    for row in section["rows"]:
        ordered = sorted(times[row["item"]])
        assert (row["count"], row["sum_us"]) == (len(ordered), sum(ordered)), (name, row)
        assert abs(row["share"] - sum(ordered) / section["total"]) < 1e-6, (name, row)
        for key, hundredths in (("median_us", 50), ("p95_us", 95), ("p99_us", 99)):
            exact = ordered[-(-len(ordered) * hundredths // 100) - 1]
            assert abs(row[key] - exact) * 100 <= exact, f"{name}: {key} of {row['item']} is {exact}, and not {row[key]}"
            assert row[key] == exact or (exact >= 128 and len(ordered) > 1), (name, row, exact)
            assert row[key] <= row["sum_us"], (name, row)


def check(folder, name, chance):
    layout = LAYOUTS[name]
    lines, times = made_up(chance, layout)
    files = chance.randrange(1, 4)
    for place in range(files):
        some = lines[len(lines) * place // files:len(lines) * (place + 1) // files]
        pathlib.Path(folder, f"{place}.log").write_text(layout[1] + "".join(some), encoding="ascii")
    asked = ["output=json", "slow=1,0", *layout[0]]
    if chance.random() < 0.5:
        asked += ["requests=1,0", "bytes=1", "servererrors=1", "domaintypes=1", "domains=1"]
    text = run(folder, *asked)
    report = json.loads(text)
    assert report["totals"]["requests"] == len(lines), (name, report["totals"], report["notes"])
    check_rows(name, report["sections"]["slow"], times)
    if "bytes=1" in asked:
        assert sum(row["bytes"] for row in report["sections"]["requests"]["rows"]) == report["totals"]["bytes"] == 12 * len(lines)
    parts = b"".join(run(folder, *asked, "part=-", b"piece=" + piece)
                     for piece in run(folder, *asked, "plan=8K").splitlines())
    assert run(folder, *asked, "merge=-", given=parts) == text, name
    assert run(folder, *asked, "workers=3,100") == text, name
    for _ in range(2):
        assert run(folder, *asked, f"partcache={folder}/kept") == text, name


def main():
    for name in LAYOUTS:
        for round_ in range(ROUNDS):
            with tempfile.TemporaryDirectory() as folder:
                pathlib.Path(folder, "orvellis.conf").write_text("user=ann;logs=*.log;url=http://www.example.com;password=*\n",
                                                                 encoding="ascii")
                pathlib.Path(folder, "kept").mkdir(mode=0o700)
                check(folder, name, random.Random(f"{name} {round_}"))
    print(f"{len(LAYOUTS)} layouts")


if __name__ == "__main__":
    main()
