#!/usr/bin/env python3
"""Countries of made-up visitors by made-up databases, which Perl writes, against countries that are found here, network by
network; and reports by databases that are cut and damaged anywhere.

    figures_test.py PROGRAM PROJECT

Skipped (77) without libmaxmind-db-writer-perl.
"""
import collections
import ipaddress
import json
import pathlib
import random
import subprocess
import sys
import tempfile

PROGRAM = str(pathlib.Path(sys.argv[1]).resolve())
HERE = pathlib.Path(sys.argv[2]).resolve() / "tests"
STORED = HERE / "cli" / "bases" / "countries" / "countries.mmdb"
SKIPPED = 77
ROUNDS = 8
DAMAGES = 150
CODES = ["DE", "FR", "jp", "BR", "us", "XX", "-"]
BLOCKS = {4: ["192.0.2.0/24", "198.51.100.0/24", "203.0.113.0/24", "10.0.0.0/8"], 6: ["2001:db8::/32", "fd00::/8"]}
RESERVED = [ipaddress.ip_network(text) for text in (
    "0.0.0.0/8", "10.0.0.0/8", "100.64.0.0/10", "127.0.0.0/8", "169.254.0.0/16", "172.16.0.0/12", "192.0.0.0/24", "192.0.2.0/24",
    "192.168.0.0/16", "198.18.0.0/15", "198.51.100.0/24", "203.0.113.0/24", "224.0.0.0/3", "::/127", "100::/64", "2001:db8::/32", "fc00::/7",
    "fe80::/9", "ff00::/8")]


def make_database(path, networks, layout="country", version=6):
    lines = "".join(f"{network} {code}\n" for network, code in networks)
    subprocess.run(["perl", str(HERE / "countries" / "make_database.pl"), str(path), layout, str(version)], input=lines.encode(), check=True)


def can_make():
    return subprocess.run(["perl", "-MMaxMind::DB::Writer::Tree", "-e", "1"], check=False, capture_output=True).returncode == 0


def part_of(chance, block):
    network = ipaddress.ip_network(block)
    bits = chance.randrange(network.prefixlen, min(network.prefixlen + 24, network.max_prefixlen) + 1)
    first = int(network.network_address) + (chance.getrandbits(bits - network.prefixlen) << (network.max_prefixlen - bits))
    return ipaddress.ip_network((type(network.network_address)(first), bits))


def address_in(chance, network):
    return network.network_address + chance.randrange(min(network.num_addresses, 1 << 64))


def country_of(host, networks):
    """What is written last counts, where networks lie within others."""
    try:
        address = ipaddress.ip_address(host)
    except ValueError:
        return "(no address)"
    codes = [code for network, code in networks if address in network]
    if codes and codes[-1] != "-":
        return codes[-1].upper()
    return "(private network)" if any(address in network for network in RESERVED) else "(unknown)"


def run(folder, *words, given=b""):
    return subprocess.run([PROGRAM, "edition=modern", "username=ann", "days=all", *words], cwd=folder, input=given, check=False,
                          env={"TZ": "UTC", "LC_ALL": "C", "SOURCE_DATE_EPOCH": "984225600"}, capture_output=True)


def report_of(folder, *words, given=b""):
    done = run(folder, "output=json", *words, given=given)
    assert done.returncode == 0 and not done.stderr, done
    return json.loads(done.stdout)


def figures_of(report):
    return {row["item"]: row["count"] for row in report["sections"]["countries"]["rows"]}


def write_logs(folder, hosts):
    for number in range(3):
        some = hosts[len(hosts) * number // 3:len(hosts) * (number + 1) // 3]
        pathlib.Path(folder, f"{number}.log").write_text("".join(
            f'{host} - - [05/Mar/2001:10:00:{second % 60:02} +0000] "GET /{second} HTTP/1.1" 200 10 "-" "-"\n'
            for second, host in enumerate(some)), encoding="ascii")


def made_up(chance, version):
    versions = [4] if version == 4 else [4, 6]
    networks = [(part_of(chance, chance.choice(BLOCKS[chance.choice(versions)])), chance.choice(CODES)) for _ in range(30)]
    # As the writer keeps it: larger networks first, so that what lies in them stays.
    networks.sort(key=lambda entry: entry[0].prefixlen)
    hosts = []
    for _ in range(300):
        kind = chance.random()
        if kind < 0.6:
            hosts.append(str(address_in(chance, chance.choice(networks)[0])))
        elif kind < 0.9:
            hosts.append(str(address_in(chance, ipaddress.ip_network(chance.choice(BLOCKS[chance.choice([4, 6])])))))
        else:
            hosts.append(chance.choice(["a.example.com", "9.9.9.9", "2001:db9::1", "1.2.3", "localhost", "172.31.255.255", "172.32.0.0"]))
    return networks, hosts


def check(folder, chance):
    version = chance.choice([4, 6])
    networks, hosts = made_up(chance, version)
    make_database(pathlib.Path(folder, "made.mmdb"), networks, chance.choice(["country", "registered", "code", "plain"]), version)
    pathlib.Path(folder, "orvellis.conf").write_text("CountryDatabase=made.mmdb\nuser=ann;logs=*.log;password=*\n", encoding="ascii")
    write_logs(folder, hosts)
    want = collections.Counter(country_of(host, networks) for host in hosts)
    plain = report_of(folder, "countries=1,0")
    assert figures_of(plain) == want, (figures_of(plain), want)
    assert figures_of(report_of(folder, "countries=1,0", "workers=3,100")) == want
    for _ in range(2):
        assert figures_of(report_of(folder, "countries=1,0", "partcache=kept")) == want
    parts = b"".join(run(folder, "countries=1,0", "part=-", f"piece={piece.decode()}").stdout
                     for piece in run(folder, "plan=4K").stdout.splitlines())
    assert report_of(folder, "countries=1,0", "merge=-", given=parts) == plain
    for code in want:
        for words, left in (([f"only_countries={code.lower()}"], want[code]), ([f"exclude_countries={code}"], len(hosts) - want[code])):
            for more in ([], ["workers=3,100"], ["partcache=kept"]):
                assert report_of(folder, *words, *more)["totals"]["requests"] == left, (words, more)


def check_damaged(folder, chance):
    """Whatever is in the file, there is a report that counts everything, or one sentence."""
    hosts = made_up(chance, 6)[1]
    write_logs(folder, hosts)
    pathlib.Path(folder, "orvellis.conf").write_text("CountryDatabase=bad.mmdb\nuser=ann;logs=*.log;password=*\n", encoding="ascii")
    whole = STORED.read_bytes()
    refused = read = 0
    for number in range(DAMAGES):
        bad = bytearray(whole)
        if number % 3 == 0:
            del bad[len(bad) * number // DAMAGES:]
        elif number % 3 == 1:
            for _ in range(chance.randrange(1, 30)):
                bad[chance.randrange(len(bad))] = chance.randrange(256)
        else:  # pointers, sizes and kinds of what is stored
            for _ in range(chance.randrange(1, 6)):
                bad[chance.randrange(len(bad) - 700, len(bad))] ^= 1 << chance.randrange(8)
        pathlib.Path(folder, "bad.mmdb").write_bytes(bad)
        done = run(folder, "output=json", "countries=1,0", "exclude_countries=ZZ" if number % 2 else "totals=0")
        assert done.returncode == 0 and not done.stderr, (number, done)
        report = json.loads(done.stdout)
        if "error" in report:
            assert report["error"]["code"] == 22, report
            refused += 1
        else:
            read += 1
            assert number % 2 or sum(figures_of(report).values()) == len(hosts), (number, report)
    assert refused > DAMAGES // 4 and read > DAMAGES // 8, (refused, read)


def main():
    if not can_make():
        print("libmaxmind-db-writer-perl is not installed")
        sys.exit(SKIPPED)
    with tempfile.TemporaryDirectory() as folder:
        lines = (HERE / "countries" / "networks").read_text(encoding="ascii").splitlines()
        again = pathlib.Path(folder, "again.mmdb")
        make_database(again, [line.split() for line in lines])
        assert again.read_bytes() == STORED.read_bytes(), "the stored database is not that of tests/countries/networks"
    for number in range(ROUNDS):
        with tempfile.TemporaryDirectory() as folder:
            check(folder, random.Random(number))
    with tempfile.TemporaryDirectory() as folder:
        check_damaged(folder, random.Random(1))
    print(f"{ROUNDS} databases, {DAMAGES} damaged ones")


main()
