#!/usr/bin/env python3
"""Lays siege to an installed Orvellis; run by with_server.sh, on loopback addresses only.

Each attacker has an address of its own; while the attack goes on, a person at 127.0.0.1
asks for a report, which must come. ORVELLIS_OPEN=1 expects the opposite: with_server.sh
has then taken the protection out, and the attack must be seen to work.
"""
import os
import socket
import sys
import threading
import time
from urllib.parse import urlsplit

URL = urlsplit(os.environ["BASE_URL"])
SERVER = os.environ["SERVER"]
PREFIX = os.environ["PREFIX"]
OPEN = os.environ.get("ORVELLIS_OPEN") == "1"
FORM = (f"username={SERVER}&password=Teapot&date=03052000,03112000&find=/&subdirs=1&requests=1"
        "&referrers=1&browsers=1&domains=1").encode()
failures = 0


def check(good, sentence):
    global failures
    print("   " if good else "FAILED:", sentence, flush=True)
    failures += not good


def connect(source, receive_buffer=None):
    link = socket.socket()
    if receive_buffer:
        link.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
    link.settimeout(60)
    link.bind((source, 0))
    link.connect((URL.hostname, URL.port))
    return link


def head(length):
    return (f"POST /orvellis-cgi/orvellis HTTP/1.0\r\nHost: localhost\r\nContent-Length: {length}\r\n"
            "Content-Type: application/x-www-form-urlencoded\r\n\r\n").encode()


def answer(link):
    """Status and page, or 0 where the connection ends without one."""
    page = b""
    try:
        while piece := link.recv(65536):
            page += piece
    except OSError:
        pass
    return (int(page[9:12]) if page[9:12].isdigit() else 0), page


def ask(source):
    try:
        with connect(source) as link:
            link.sendall(head(len(FORM)) + FORM)
            return answer(link)
    except OSError:
        return 0, b""


def person():
    """Whether a person's report comes, and after how many seconds."""
    start = time.monotonic()
    status, page = ask("127.0.0.1")
    return status == 200 and b"</html>" in page, time.monotonic() - start


PROGRAM = os.path.realpath(f"{PREFIX}/libexec/orvellis/cgi/orvellis")


def is_program(process):
    try:
        return os.readlink(f"/proc/{process}/exe") == PROGRAM
    except OSError:
        return False


def running():
    """How many programs there are at once: a look takes so long that some come meanwhile for others that have gone, but
    what is there in two looks was there between them."""
    seen = [process for process in filter(str.isdigit, os.listdir("/proc")) if is_program(process)]
    return sum(map(is_program, seen))


def slow_posts():
    """Forms of one byte a second from one address."""
    links = [connect("127.0.0.2") for _ in range(8)]
    for link in links:
        link.sendall(head(60000))
    seen = []
    for second in range(6):
        for link in links:
            try:
                link.sendall(b"a")
            except OSError:
                pass
        time.sleep(1)
        if second >= 2:
            seen.append(person())
    for link in links:
        link.close()
    good = sum(came for came, _ in seen)
    if OPEN:
        check(SERVER != "nginx" or good == 0, f"slow posts, unprotected: {good} of {len(seen)} reports came")
        return
    check(good == len(seen), f"slow posts: {good} of {len(seen)} reports came, the slowest after "
          f"{max(seconds for _, seconds in seen):.1f} s")


def silent_posts():
    """A form that stops in the middle is given up."""
    with connect("127.0.0.5") as link:
        link.sendall(head(60000) + b"username=")
        start = time.monotonic()
        answer(link)
        seconds = time.monotonic() - start
    check(seconds < 30, f"a form that stops in the middle: given up after {seconds:.0f} s")


def many_at_once():
    """200 requests of one address."""
    statuses = []
    most = [0]
    threads = [threading.Thread(target=lambda: statuses.append(ask("127.0.0.3")[0])) for _ in range(200)]
    done = threading.Event()

    def watch():
        while not done.is_set():
            most[0] = max(most[0], running())
            time.sleep(0.005)

    watcher = threading.Thread(target=watch)
    watcher.start()
    start = time.monotonic()
    for thread in threads:
        thread.start()
    time.sleep(0.3)
    came, seconds = person()
    for thread in threads:
        thread.join()
    done.set()
    watcher.join()
    reports, refused = statuses.count(200), statuses.count(503)
    told = (f"200 at once: {reports} reports, {refused} refused, {200 - reports - refused} neither, at most {most[0]} "
            f"programs, {time.monotonic() - start:.1f} s; the person's after {seconds:.1f} s")
    if OPEN:
        check(SERVER == "nginx" or most[0] > 12, f"unprotected, {told}")
        return
    check(came, told)
    check(most[0] <= 4, "three reports of one visitor and the person's at most")
    check(reports > 0 and refused > 100, "some are answered, most refused")


def readers_that_stop():
    """Requests whose answer is not read."""
    links = [connect("127.0.0.4", 2048) for _ in range(8)]
    for link in links:
        link.sendall(head(len(FORM)) + FORM)
    time.sleep(2)
    seen = [person() for _ in range(3)]
    for link in links:
        link.close()
    check(all(came for came, _ in seen), f"eight clients that stop reading: {sum(came for came, _ in seen)} of 3 reports came, "
          f"the slowest after {max(seconds for _, seconds in seen):.1f} s")


# A log whose report takes a while.
folder = f"{os.environ['WORK']}/log/{SERVER}"
with open(f"{folder}/access.log.1", "rb") as sample:
    lines = sample.read()
with open(f"{folder}/access.log.2", "wb") as log:
    for _ in range(max(1, 20_000_000 // len(lines))):
        log.write(lines)
check(person()[0], "in peace, a report comes")
slow_posts()
many_at_once()
if not OPEN:
    readers_that_stop()
    silent_posts()
    check(person()[0], "afterwards, a report comes")
sys.exit(failures != 0)
