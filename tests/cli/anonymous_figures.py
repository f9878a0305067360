#!/usr/bin/env python3
"""What reports with anonymised visitors count, and what is left of visitors in pages, parts, kept counts and on the way: against
hosts that are cut here.

    anonymous_figures.py PROGRAM PROJECT
"""
import collections
import ipaddress
import json
import pathlib
import random
import re
import subprocess
import sys
import tempfile
import time

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
PROJECT = pathlib.Path(sys.argv[2]).resolve()
COUNTRIES = PROJECT / "tests" / "cli" / "bases" / "countries" / "countries.mmdb"
NETWORKS = [(ipaddress.ip_network(line.split()[0]), line.split()[1].upper())
            for line in (PROJECT / "tests" / "countries" / "networks").read_text(encoding="ascii").splitlines()]
NOBODYS = [ipaddress.ip_network(text) for text in ("192.0.2.0/24", "198.51.100.0/24", "203.0.113.0/24", "2001:db8::/32", "fe80::/10")]
USERS = ["-", "ann-marie", "bob.builder"]
NAMES = ["a.example.com", "10-0-0-7.dsl.access.example.net", "example.org", "localhost", "x.y.co.example", "7.0.0.10.in.example.net",
         "xn--p1ai", "host.xn--p1ai", "a_b.example.com", "198.51.100.7,192.0.2.8", "192.0.2.777", "192.0.2.7.8", "fe80::1%eth0", "0x7f.1", "-"]
LINES = 30000
SETTLED = 3.1  # seconds after which nobody can have changed a log within that of its last change


def host_of(chance):
    kind = chance.random()
    if kind < 0.4:
        return str(ipaddress.ip_address("192.0.2.0") + chance.randrange(256))
    if kind < 0.6:
        return str(ipaddress.ip_address("203.0.113.0") + chance.randrange(256))
    if kind < 0.8:
        return str(ipaddress.ip_address("2001:db8::") + (chance.getrandbits(20) << 76) + chance.getrandbits(64))
    return chance.choice(NAMES)


def address_of(host):
    try:
        return ipaddress.ip_address(host)
    except ValueError:
        return None


def cut(host):
    address = address_of(host)
    if address:
        return str(ipaddress.ip_network((address, 24 if address.version == 4 else 48), strict=False).network_address)
    labels = host.split(".")
    if not re.fullmatch(r"[A-Za-z0-9._-]+", host) or not re.match("[A-Za-z]", labels[-1]):
        return "(other)"
    return ".".join(labels[1:][-3:] if len(labels) > 2 else labels)


def country(host):
    address = address_of(host)
    if not address:
        return "(no address)"
    codes = [code for network, code in NETWORKS if address in network]
    if codes and codes[-1] != "-":
        return codes[-1]
    return "(private network)" if any(address in network for network in NOBODYS) else "(unknown)"


def run(folder, *words, given=b"", environment=None):
    done = subprocess.run([PROGRAM, "edition=modern", "username=ann", "days=all", "anonymise=1", *words], cwd=folder, input=given, check=False,
                          env={"TZ": "UTC", "LC_ALL": "C", "SOURCE_DATE_EPOCH": "984225600", **(environment or {})}, capture_output=True)
    assert done.returncode == 0 and not done.stderr, done
    return done.stdout


def figures(text):
    return {name: {row["item"]: row["count"] for row in section["rows"]} for name, section in json.loads(text)["sections"].items()}


def persons_in(data, hosts):
    """Whole addresses of visitors, and users, that stand in there."""
    text = data.decode("latin-1")
    return [word for word in (*{host for host in hosts if cut(host) != host and len(host) > 3}, *USERS[1:]) if word in text]


def main():
    chance = random.Random(11)
    hosts = [host_of(chance) for _ in range(LINES)]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        (folder / "access.log").write_text("".join(
            f'{host} - {chance.choice(USERS)} [05/Mar/2001:{second // 3600:02}:{second // 60 % 60:02}:{second % 60:02} +0000] '
            f'"GET /{second % 50}.html HTTP/1.1" 200 10 "-" "-"\n' for second, host in enumerate(hosts)), encoding="ascii")
        (folder / "orvellis.conf").write_text(f"CountryDatabase={COUNTRIES}\nuser=ann;logs=access.log;password=*\n", encoding="ascii")
        (folder / "kept").mkdir(mode=0o700)
        keeping = {"ORVELLIS_CACHE": str(folder / "kept")}
        asked = ["hosts=1,0", "users=1,0", "countries=1,0", "domains=1,0", "requests=1,0", "dnslookupenabled=1"]
        plain = run(folder, "output=json", *asked)
        got = figures(plain)
        assert got["hosts"] == collections.Counter(cut(host) for host in hosts), got["hosts"]
        assert got["countries"] == collections.Counter(country(host) for host in hosts), got["countries"]
        assert got["users"] == {} and sum(got["requests"].values()) == LINES
        ways = {"workers": run(folder, "output=json", *asked, "workers=3,1000")}
        time.sleep(SETTLED)
        for number in (1, 2):
            ways[f"kept counts, {number}"] = run(folder, "output=json", *asked, "partcache=1", environment=keeping)
        assert list((folder / "kept").rglob("*.counts"))
        parts = run(folder, *asked, "part=-")
        ways["a part"] = run(folder, "output=json", *asked, "merge=-", given=parts)
        for way, text in ways.items():
            assert text == plain, way
        for what, data in (("a report", plain), ("a page", run(folder, *asked)), ("a part", parts),
                           ("kept counts", b"".join(path.read_bytes() for path in (folder / "kept").rglob("*") if path.is_file()))):
            assert not persons_in(data, hosts), (what, persons_in(data, hosts))
        # Countries of addresses that are whole, and hosts as they are cut, in one filter.
        both = figures(run(folder, "output=json", "hosts=1,0", "only_countries=DE", "only_hosts=192.0.2.0/24"))["hosts"]
        want = collections.Counter(cut(host) for host in hosts if country(host) == "DE" and cut(host) == "192.0.2.0")
        assert both == want, (both, want)
    print(f"{LINES} requests")


main()
