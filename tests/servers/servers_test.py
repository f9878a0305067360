#!/usr/bin/env python3
"""A real server, a known set of requests, and a report over the server's own log:
servers_test.py SERVER ORVELLIS REPORT_COMMAND

What the report must say is worked out here, from what was sent and what came back. Exit
status 77 where the server is not installed or does not start.
"""
import base64
import collections
import contextlib
import dataclasses
import datetime
import json
import os
import pwd
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

from asking import REQUESTS, ask_all
from behind import make_site, start_origin
from servers import SERVERS, Place, configuration, ways_of

SECTIONS = "requests,referrers,browsers,badurls,badreferrers,domains,dailytotals,hitsperhour"
# Of the server and the report: not a whole number of hours from GMT.
ENVIRONMENT = dict(os.environ, TZ="Asia/Kolkata", LC_ALL="C", ORVELLIS_CACHE="", PATH=os.environ["PATH"] + ":/usr/sbin:/sbin")
PATIENCE = 10  # seconds


class CannotStart(Exception):
    pass


# ---- Running a server -------------------------------------------------------------------------


def unprivileged():
    """Who runs the server: root has it run by somebody else."""
    return "www-data" if os.geteuid() == 0 else pwd.getpwuid(os.geteuid()).pw_name


def free_port(host):
    with socket.socket(socket.AF_INET6) as one:
        one.bind((host, 0))
        return one.getsockname()[1]


def wait_until(is_so, what, patience=PATIENCE):
    end = time.monotonic() + patience
    while not is_so():
        if time.monotonic() > end:
            raise CannotStart(what)
        time.sleep(0.02)


def listens(port):
    """Without a connection, which some servers would log."""
    listening = re.compile(r"^ *\d+: [0-9A-F]+:%04X [0-9A-F]+:0000 0A " % port, re.M)
    found = []
    for table in ("/proc/net/tcp", "/proc/net/tcp6"):
        with open(table, encoding="ascii") as sockets:
            found += listening.findall(sockets.read())
    return len(found) == 2 or any(f" {'0' * 32}:" in socket for socket in found)


def start(command, place, output):
    as_user = {"user": place.user, "group": pwd.getpwnam(place.user).pw_gid, "extra_groups": []} if os.geteuid() == 0 else {}
    environment = dict(ENVIRONMENT, HOME=place.work, XDG_DATA_HOME=place.work, XDG_CONFIG_HOME=place.work)
    return subprocess.Popen(command, env=environment, cwd=place.work, stdin=subprocess.DEVNULL, stdout=output, stderr=output, **as_user)


def stop(processes):
    for process in processes:
        process.send_signal(signal.SIGTERM)
    for process in processes:
        try:
            process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()


def prepare(server, place):
    os.mkdir(place.path("site"))
    make_site(place.path("site"))
    with open(place.path("conf"), "w", encoding="utf-8") as conf:
        conf.write(configuration(server, place))
    if os.geteuid() == 0:
        subprocess.run(["chown", "-R", place.user, place.work], check=True)


@contextlib.contextmanager
def running(server, place):
    processes = []
    with open(place.path("output"), "wb") as output:
        try:
            for command in server.commands(place):
                processes.append(start(command, place, output))
                for port in place.ports:
                    wait_until(lambda: listens(port) or processes[0].poll() is not None, f"nothing listens on port {port}")
                if processes[0].poll() is not None:
                    raise CannotStart(f"exit status {processes[0].returncode}")
            yield
        finally:
            stop(processes)


# ---- What the report must say ------------------------------------------------------------------


def none():
    return dataclasses.field(default_factory=collections.Counter)


@dataclasses.dataclass
class Figures:
    requests: int = 0
    bytes: int = 0
    with_status: int = 0
    errors: int = 0
    urls: collections.Counter = none()
    missing: collections.Counter = none()
    referrers: collections.Counter = none()
    broken: collections.Counter = none()  # referrers of missing URLs
    agents: collections.Counter = none()
    networks: collections.Counter = none()


def url_of(request, layout, before_url):
    """A report's URL ends at the first blank, whatever a visitor has sent."""
    if request.raw is not None:
        return b"(not HTTP)"
    url = (before_url if request.target.startswith(b"/") else b"") + request.target
    return layout.url(url) if layout.url else layout.text(url.partition(b" ")[0])


def line_of(server, layout, exchange, before_url):
    """The fields of the line that the server writes; None when it writes none."""
    request = exchange.request
    line = {
        "status": exchange.status,
        "bytes": layout.size(exchange),
        "url": url_of(request, layout, before_url),
        "referrer": layout.text(request.referrer or b"") if request.raw is None else b"",
        "agent": layout.text(request.agent or b"") if request.raw is None else b"",
        "network": b"::/48" if request.six else b"127.0.0",
    }
    change = {**server.odd, **layout.odd}.get(request.name, {})
    if change is None:
        return None
    line.update(change)
    line.update({field: b"" for field in layout.lacks})
    return line


def expected(server, layout, exchanges, place):
    figures = Figures()
    for line in filter(None, (line_of(server, layout, exchange, server.before_url(place)) for exchange in exchanges)):
        figures.requests += 1
        figures.bytes += line["bytes"]
        figures.with_status += line["status"] != 0
        figures.errors += 400 <= line["status"] <= 599
        missing = line["status"] == 404
        for counter, item, counts in (
            (figures.urls, line["url"], True),
            (figures.missing, line["url"], missing),
            (figures.referrers, line["referrer"], True),
            (figures.broken, line["referrer"], missing),
            (figures.agents, line["agent"], True),
            (figures.networks, line["network"], True),
        ):
            if item and counts:
                counter[item] += 1
    return figures


# ---- What it says --------------------------------------------------------------------------------


def item_of(row):
    return base64.b64decode(row["item_base64"]) if "item_base64" in row else row["item"].encode()


def report(program, command, log, words):
    options = ["--json", "--top", "0", "--quiet", "--reports", SECTIONS] + (["--log-format", words] if words else [])
    run = subprocess.run(
        [command, *options, log, "own_referrers=1", "showquery=1"],
        env=dict(ENVIRONMENT, ORVELLIS=program),
        stdout=subprocess.PIPE,
        stderr=subprocess.PIPE,
        check=False,
    )
    if run.returncode != 0:
        return None, run.stderr.decode(errors="replace").strip()
    return json.loads(run.stdout), ""


def found(data):
    def rows(section):
        return collections.Counter({item_of(row): row["count"] for row in data["sections"][section]["rows"]})

    totals = data["totals"]
    return Figures(
        totals["requests"], totals["bytes"], totals["with_status"], totals["errors"], rows("requests"), rows("badurls"),
        rows("referrers"), rows("badreferrers"), rows("browsers"), rows("domains"),
    )  # fmt: skip


def moments_of(data, section):
    return {row["item"] for row in data["sections"][section]["rows"] if row["count"] > 0}


# ---- Comparing ---------------------------------------------------------------------------------------


def differences(wanted, got):
    for field in dataclasses.fields(Figures):
        ours, theirs = getattr(wanted, field.name), getattr(got, field.name)
        if isinstance(ours, int):
            if ours != theirs:
                yield f"{field.name}: {theirs}, not {ours}"
            continue
        for item in sorted(ours.keys() | theirs.keys()):
            if ours[item] != theirs[item]:
                yield f"{field.name}: {theirs[item]} of {repr(item)[:200]}, not {ours[item]}"


def check(wanted, log, words, began, tools):
    lines = lines_of(log)
    if lines != wanted.requests:
        yield f"the server wrote {lines} lines, not {wanted.requests}"
    data, refusal = report(*tools, log, words)
    if data is None:
        yield refusal
        return
    if data["totals"]["lines_not_understood"]:
        yield f"{data['totals']['lines_not_understood']} lines not understood: {data['notes']}"
    yield from differences(wanted, found(data))
    now = datetime.datetime.now().astimezone()
    for section, form in (("dailytotals", "%Y-%m-%d"), ("hitsperhour", "%H")):
        moments = moments_of(data, section)
        if not moments <= {began.strftime(form), now.strftime(form)}:
            yield f"{section}: {sorted(moments)}, asked from {began} to {now}"


def lines_of(log):
    try:
        with open(log, "rb") as file:
            return file.read().count(b"\n")
    except FileNotFoundError:
        return 0


def await_logs(server, place, wanted):
    """Until all lines are there that are expected, or some time has passed."""

    def are_there():
        for command in server.after(place):
            start(command, place, subprocess.DEVNULL).wait(PATIENCE)
        return all(lines_of(place.path(layout.name + ".log")) >= wanted[layout].requests for layout in wanted)

    with contextlib.suppress(CannotStart):
        wait_until(are_there, "lines are missing", 2)


def test(server, place, tools):
    began = datetime.datetime.now().astimezone()
    with running(server, place):
        exchanges = [ask_all((*REQUESTS, *server.more(place)), port, server.before_path(place)) for port in place.ports]
        wanted = {layout: expected(server, layout, exchanges[layout.site], place) for layout in server.layouts}
        await_logs(server, place, wanted)
    failed = False
    for layout in server.layouts:
        for words in ways_of(layout, place):
            faults = list(check(wanted[layout], place.path(layout.name + ".log"), words, began, tools))
            way = "by its definition" if words else "by itself"
            print(f"{layout.name}, {way}: {wanted[layout].requests} requests, {'FAILED' if faults else 'as counted'}")
            print("".join(f"  {fault}\n" for fault in faults), end="")
            failed = failed or bool(faults)
    return failed


# ---- The run ---------------------------------------------------------------------------------------------


def missing_for(server):
    """What this machine lacks; empty when it lacks nothing."""
    for command in server.needs:
        if not shutil.which(command, path=ENVIRONMENT["PATH"]):
            return f"{command} is not installed"
    try:
        free_port("::1")
    except OSError:
        return "there is no IPv6"
    return ""


def keep_logs(place):
    """Beside the configuration, where KEEP names a folder."""
    if "KEEP" in os.environ:
        os.makedirs(os.environ["KEEP"], exist_ok=True)
        for name in ["conf", *(name for name in os.listdir(place.work) if name.endswith(".log"))]:
            shutil.copy(place.path(name), os.environ["KEEP"])


def attempt(server, work, tools):
    place = Place(work, unprivileged(), [free_port("::") for _ in range(server.sites)], start_origin())
    prepare(server, place)
    try:
        return int(test(server, place, tools))
    except CannotStart as reason:
        with open(place.path("output"), encoding="utf-8", errors="replace") as output:
            print(f"skipped: {server.name} does not start: {reason}\n{output.read()[-2000:]}")
        return 77
    finally:
        keep_logs(place)


def main():
    server = SERVERS[sys.argv[1]]
    os.environ["TZ"] = ENVIRONMENT["TZ"]
    time.tzset()
    missing = missing_for(server)
    if missing:
        print(f"skipped: {missing}")
        return 77
    status = 77
    for _ in range(2):  # another process may have taken a port
        with tempfile.TemporaryDirectory() as work:
            status = attempt(server, work, sys.argv[2:4]) if status == 77 else status
    return status


sys.exit(main())
