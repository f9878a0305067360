"""A known set of requests, how they are sent, and what came back of each."""
import base64
import dataclasses
import re
import socket

from behind import SITE_DATE

# ---- The requests --------------------------------------------------------------------------


@dataclasses.dataclass(frozen=True)
class Request:
    """Texts are the bytes that are sent; None is a field of the head that is not sent."""

    name: str
    method: bytes = b"GET"
    target: bytes = b"/page.html"
    referrer: bytes = None
    agent: bytes = b"Mozilla/5.0 (X11; Linux x86_64) Gecko/20100101 Firefox/140.0"
    head: bytes = b""  # more fields
    body: bytes = b""
    version: bytes = b"HTTP/1.1"
    raw: bytes = None  # all that is sent, in place of everything above
    six: bool = False  # over IPv6


LINKS = b"http://www.example.net/links.html"
ANN = b"Authorization: Basic " + base64.b64encode(b'ann smith [x] "y:secret') + b"\r\n"

REQUESTS = (
    Request("page"),
    Request("referrer", referrer=LINKS),
    Request("root", target=b"/", referrer=LINKS + b"?page=2", agent=b"Lynx/2.8.2"),
    Request("query", target=b"/page.html?name=value&other=%20x;y=(1)"),
    Request("utf-8", target=b"/caf%C3%A9.html", referrer=b"http://www.example.net/caf%C3%A9"),
    Request("raw utf-8", target="/café.html".encode(), agent="Zoë/1.0".encode()),
    Request("missing", target=b"/missing.html", referrer=LINKS),
    Request("not modified", head=b"If-Modified-Since: " + SITE_DATE.encode() + b"\r\n"),
    Request("head", method=b"HEAD", target=b"/big.html"),
    Request("big", target=b"/big.html", referrer=LINKS),
    Request("part", target=b"/big.html", head=b"Range: bytes=100-299\r\n"),
    Request("empty post", method=b"POST", head=b"Content-Length: 0\r\n"),
    Request("post", method=b"POST", body=b"name=value&text=" + b"y" * 500),
    Request("quotes", agent=b'say "hello" \\ and \\x22', referrer=b'http://www.example.org/"quoted"\\path'),
    Request("last backslash", agent=b"C:\\", referrer=b"http://www.example.org/C:\\"),
    Request("quoted url", target=b'/missing".html'),
    Request("no agent", agent=None),
    Request("empty agent", agent=b"", referrer=b""),
    Request("forged", agent=b'- "-" 200 1 [05/Mar/2000:07:06:11 +0000] "GET / HTTP/1.0', referrer=b"{}|,;[]\t'"),
    Request("user", head=ANN),
    Request("long query", target=b"/page.html?" + b"0123456789" * 150),
    Request("old", version=b"HTTP/1.0"),
    Request("over ipv6", six=True),
    Request("unknown method", method=b"BREW", target=b"/pot"),
    Request("blank in url", target=b"/no such.html"),
    Request("whole url", target=b"http://localhost/page.html?whole=1"),
    Request("star", method=b"OPTIONS", target=b"*"),
    Request("bytes", raw=b"\x16\x03\x01\x02\x00\x01\x00\xfc\x03\x03\r\n\r\n"),
    Request("words", raw=b"hello world\r\n\r\n"),
)


def times(place):
    """How often a request is sent: not the same number for all."""
    return 1 + place % 3


def bytes_of(request, before_path=b""):
    if request.raw is not None:
        return request.raw
    target = before_path + request.target if request.target.startswith(b"/") else request.target
    parts = [request.method, b" ", target, b" ", request.version, b"\r\nHost: localhost\r\n"]
    for name, text in ((b"User-Agent", request.agent), (b"Referer", request.referrer)):
        if text is not None:
            parts += [name, b": ", text, b"\r\n"]
    if request.body:
        parts.append(b"Content-Length: %d\r\n" % len(request.body))
    if request.method != b"CONNECT":
        parts.append(b"Connection: close\r\n")
    return b"".join(parts + [request.head, b"\r\n", request.body])


# ---- Asking ----------------------------------------------------------------------------------


@dataclasses.dataclass(frozen=True)
class Exchange:
    request: Request
    status: int
    head: bytes  # that came, with the blank line
    body: bytes


def read_all(connection):
    came = b""
    try:
        while part := connection.recv(65536):
            came += part
    except ConnectionResetError:  # after the answer, by a server that did not read on
        pass
    return came


def ask(request, port, before_path):
    """Sends a request on a connection of its own and reads all that comes back."""
    with socket.create_connection(("::1" if request.six else "127.0.0.1", port), timeout=10) as connection:
        connection.sendall(bytes_of(request, before_path))
        if request.method == b"CONNECT":
            connection.sendall(bytes_of(Request("inside")))
        came = read_all(connection)
    status = re.match(rb"HTTP/1\.[01] (\d{3})", came)
    if not status:
        return Exchange(request, 0, b"", came)
    head = came.index(b"\r\n\r\n") + 4
    return Exchange(request, int(status.group(1)), came[:head], came[head:])


def ask_all(requests, port, before_path):
    return [ask(request, port, before_path) for place, request in enumerate(requests) for _ in range(times(place))]
