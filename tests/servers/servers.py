"""The table of servers: how each is started, what it logs, and how it writes what it was sent."""
import dataclasses
import os
import re

from asking import Request
from behind import start_collector

HERE = os.path.dirname(os.path.abspath(__file__))

# ---- How servers write a text that a visitor sent, and how a report shows it -----------------


def as_sent(text):
    return text


def escaped(text, escapes, byte):
    """With escapes for some characters, and a form for what is no character of ASCII."""
    return b"".join(escapes.get(c) or (byte % c if c < 0x20 or c >= 0x7F else bytes([c])) for c in text)


TAB = {0x09: b"\\t"}
MASKED = {0x22: b'\\"', 0x5C: b"\\\\", **TAB}


def masked(text):
    return in_json(re.sub(rb'["\\]', rb"\\\g<0>", text))


def by_apache(text):
    return escaped(text, MASKED, b"\\x%02x")


def by_lighttpd(text):
    return escaped(text, MASKED, b"\\x%02X")


def by_nginx(text):
    return escaped(text, {0x22: b"\\x22", 0x5C: b"\\x5C"}, b"\\x%02X")


def by_haproxy(text):
    return text.replace(b'"', b"#22")


# In JSON quotes and backslashes are read back, and controls stay as they were written.


def by_apache_in_json(text):
    return escaped(text, TAB, b"\\x%02x")


def by_lighttpd_in_json(text):
    return escaped(text, TAB, b"\\x%02X")


def in_json(text):
    return text.replace(b"\t", b"\\t")


# ---- The records of the table ---------------------------------------------------------------


@dataclasses.dataclass(frozen=True, eq=False)
class Layout:
    """A log of a server, NAME.log."""

    name: str
    words: str = None  # where its definition stands in the configuration, an expression
    told: bool = True  # a report tells it by itself
    site: int = 0  # which of the server's ports it is the log of
    size: object = lambda exchange: len(exchange.body)  # the bytes that it tells of an exchange
    text: object = as_sent  # how the report shows an agent, a referrer, a URL that was sent
    url: object = None  # a URL, where it is written in another way
    lacks: tuple = ()  # fields that are not in it
    odd: dict = dataclasses.field(default_factory=dict)  # as that of the server, and before it


@dataclasses.dataclass(frozen=True)
class Server:
    name: str
    needs: tuple  # commands
    commands: object  # from a Place to what is run, the server first
    layouts: tuple
    after: object = lambda _: []  # what is run when all has been asked, and ends by itself
    sites: int = 1
    more: object = lambda _: ()  # requests beside those that all servers are sent
    before_path: object = lambda _: b""  # what clients put before a path
    before_url: object = lambda _: b""  # and what the server does
    # By a request's name, what the server logs in place of what it was sent and has answered: "status", "bytes",
    # "url", "referrer", "agent", "network"; None when it logs nothing.
    odd: dict = dataclasses.field(default_factory=dict)


@dataclasses.dataclass
class Place:
    """Where a server runs."""

    work: str
    user: str
    ports: list
    origin: int  # port of the server behind a proxy

    def path(self, name):
        return os.path.join(self.work, name)


def configuration(server, place):
    """NAME.conf with the place filled in; a log between @ that the server sends away is a port that it sends to."""
    with open(os.path.join(HERE, server.name + ".conf"), encoding="utf-8") as file:
        text = file.read()
    values = {"WORK": place.work, "ORIGIN": str(place.origin)}
    values.update({"PORT" + (str(i + 1) if i else ""): str(port) for i, port in enumerate(place.ports)})
    return re.sub(r"@([\w.]+)@", lambda at: values.get(at[1]) or str(start_collector(place.path(at[1]))), text)


def ways_of(layout, place):
    """How a report is told of the layout: not at all, and by its definition as it stands in the configuration."""
    with open(place.path("conf"), encoding="utf-8") as conf:
        text = conf.read()
    definition = [re.search(layout.words, text, re.M | re.S)[0]] if layout.words else []
    return [None] * layout.told + definition


def whole(exchange):
    return len(exchange.head) + len(exchange.body)


# ---- The table ----------------------------------------------------------------------------------

NEITHER = ("agent", "referrer")
UNREAD = {"agent": b"", "referrer": b""}  # the head of a request that the server did not read on


def odd_urls(url, *names, **more):
    return {name: {"url": url, **more} for name in names}


PATHS_OF_APACHE = {  # %U: decoded, of the page that was found, without a host, and of anything
    **odd_urls(b"/index.html", "root"),
    **odd_urls(b"/caf\\xc3\\xa9.html", "utf-8"),
    **odd_urls(b"/page.html?whole=1", "whole url"),
    **odd_urls(b"(no request)", "bytes"),
}

APACHE = Server(
    name="apache2",
    needs=("apache2",),
    commands=lambda place: [["apache2", "-f", place.path("conf"), "-D", "FOREGROUND"]],
    layouts=(
        Layout("common", size=whole, text=by_apache, lacks=NEITHER),
        Layout("combined", size=whole, text=by_apache),
        Layout("vhost_combined", size=whole, text=by_apache),
        Layout("json", r"LogFormat [^\n]* json$", text=by_apache_in_json),
        Layout("json_paths", text=by_apache_in_json, odd={**PATHS_OF_APACHE, **odd_urls(b"(not HTTP)", "star")}),
        Layout("own", r"LogFormat [^\n]* own$", told=False, text=by_apache),
        Layout(
            "paths",
            r"LogFormat [^\n]* paths$",
            told=False,
            size=whole,
            text=by_apache,
            odd={**PATHS_OF_APACHE, **odd_urls(b"world", "words")},
        ),
    ),
    odd={"blank in url": UNREAD},
)

URIS_OF_NGINX = {  # $request_uri: without a host, nothing where the request was not read
    **odd_urls(b"/page.html?whole=1", "whole url"),
    **odd_urls(b"(no request)", "blank in url", "star", "bytes", "words", **UNREAD),
}

NGINX = Server(
    name="nginx",
    needs=("nginx",),
    commands=lambda place: [["nginx", "-e", place.path("error.log"), "-c", place.path("conf")]],
    layouts=(
        Layout("combined", text=by_nginx),
        Layout("main", r"log_format main.*?;", text=by_nginx),
        Layout("json", r"log_format json .*?;", text=in_json),
        Layout("json_default", r"log_format json_default .*?;", size=whole, text=by_nginx, odd=URIS_OF_NGINX),
        Layout("own", r"log_format own.*?';", told=False, size=whole, text=by_nginx, odd=URIS_OF_NGINX),
    ),
    odd={"blank in url": UNREAD, "star": UNREAD},
)

LIGHTTPD = Server(
    name="lighttpd",
    needs=("lighttpd",),
    commands=lambda place: [["lighttpd", "-D", "-f", place.path("conf")]],
    sites=3,
    layouts=(
        Layout("default", text=by_lighttpd),
        Layout("json", site=1, text=by_lighttpd_in_json),
        Layout("own", r'accesslog.format = "%[^\n]*', told=False, site=2, size=whole, text=by_lighttpd),
    ),
    odd={
        **odd_urls(b"/page.html?whole=1", "whole url"),
        **odd_urls(b"(no request)", "unknown method", "bytes", "words", **UNREAD),
    },
)


def by_haproxys_count(exchange):
    """A head's fields count without what divides names and values, and ends them; its own answers count nothing."""
    fields = exchange.head.count(b"\r\n") - 2
    return whole(exchange) - fields * len(b": \r\n")


BAD_REQUESTS_OF_HAPROXY = odd_urls(b"(not HTTP)", "raw utf-8", "blank in url", "bytes", "words", bytes=0, **UNREAD)
URIS_OF_HAPROXY = {
    **odd_urls(b"(no request)", "raw utf-8", "blank in url", "bytes", "words", bytes=0, **UNREAD),
    **odd_urls(b"(no request)", "star"),
    **odd_urls(b"/page.html?whole=1", "whole url"),
}

HAPROXY = Server(
    name="haproxy",
    needs=("haproxy",),
    commands=lambda place: [["haproxy", "-db", "-f", place.path("conf")]],
    sites=4,
    layouts=(
        Layout("httplog", size=by_haproxys_count, text=by_haproxy, lacks=NEITHER),
        Layout("syslog", size=by_haproxys_count, text=by_haproxy, lacks=NEITHER),
        Layout("syslog_iso", size=by_haproxys_count, text=by_haproxy, lacks=NEITHER),
        Layout("captures", site=1, size=by_haproxys_count, text=by_haproxy, lacks=NEITHER),
        Layout("json", site=2, size=by_haproxys_count, text=in_json, odd=URIS_OF_HAPROXY),
        Layout("own", r'log-format "[^\n]*', told=False, site=3, size=by_haproxys_count, text=by_haproxy, lacks=NEITHER),
    ),
    odd=BAD_REQUESTS_OF_HAPROXY,
)


def start_varnish(place):
    listen = ["-a", f"127.0.0.1:{place.ports[0]}", "-a", f"[::1]:{place.ports[0]}"]
    backend = ["-b", f"127.0.0.1:{place.origin}", "-s", "malloc,16m", "-p", "vsl_reclen=4k"]
    return [["varnishd", "-F", "-j", "none", "-T", "none", "-n", place.path("varnish"), *listen, *backend]]


def write_varnish_logs(place):
    with open(place.path("conf"), encoding="utf-8") as conf:
        formats = dict(re.findall(r"^(\w+) = (.*)", conf.read(), re.M))
    writer = ["varnishncsa", "-d", "-n", place.path("varnish"), "-w"]
    return [
        [*writer, place.path("default.log")],
        [*writer, place.path("json.log"), "-j", "-F", formats["json"]],
        [*writer, place.path("own.log"), "-F", formats["own"]],
    ]


# Of what varnishd refuses it tells no client; what is of no method that it knows goes past it, without a status.
REFUSED = {"url": b"(not HTTP)", "network": b"-", **UNREAD}
LOGS_OF_VARNISH = {
    **{name: REFUSED for name in ("blank in url", "bytes", "words")},
    **odd_urls(b"http://localhost*", "star"),
    "unknown method": {"status": 0, "bytes": 0},
}
OWN_OF_VARNISH = {
    **{name: {**REFUSED, "network": b""} for name in ("blank in url", "bytes", "words")},
    "unknown method": {"status": 0},
}
NOT_IN_JSON = {name: None for name in ("blank in url", "bytes", "words")}

VARNISH = Server(
    name="varnish",
    needs=("varnishd", "varnishncsa", "cc"),
    commands=start_varnish,
    after=write_varnish_logs,
    before_url=lambda _: b"http://localhost",
    layouts=(
        Layout("default", text=by_apache),
        Layout("json", text=in_json, odd=NOT_IN_JSON),
        Layout("own", r"(?<=^own = )[^\n]*", told=False, size=whole, text=by_apache, odd=OWN_OF_VARNISH),
    ),
    odd=LOGS_OF_VARNISH,
)


def by_squid(url):
    """Without blanks and the query."""
    path, mark, _ = url.replace(b" ", b"").partition(b"?")
    return path + mark


def path_by_squid(url):
    """In JSON the path of a whole address counts."""
    return re.sub(b"^http://[^/]*", b"", by_squid(url))


def origin_url(place):
    return b"http://127.0.0.1:%d" % place.origin


# Where quotes are not escaped, nobody can tell where a text with them ends: squid.conf leaves these out.
QUOTED = {name: None for name in ("quotes", "quoted url", "forged")}

PATHS_OF_SQUID = {**odd_urls(b"/", "star"), **odd_urls(b"/page.html?", "whole url")}

SQUID = Server(
    name="squid",
    needs=("squid",),
    commands=lambda place: [["squid", "-N", "-f", place.path("conf")]],
    more=lambda place: (Request("tunnel", method=b"CONNECT", target=b"127.0.0.1:%d" % place.origin),),
    before_path=origin_url,
    before_url=origin_url,
    layouts=(
        Layout("squid", size=whole, url=by_squid, lacks=NEITHER),
        Layout("common", size=whole, url=by_squid, lacks=NEITHER, odd=QUOTED),
        Layout("combined", size=whole, url=by_squid, odd=QUOTED),
        Layout("json", size=whole, url=path_by_squid, text=in_json, odd=PATHS_OF_SQUID),
        Layout("own", r"logformat own [^\n]*", told=False, size=whole, url=by_squid, text=masked),
    ),
    odd={**odd_urls(b"http://:80*", "star"), **odd_urls(b"http://localhost/page.html?", "whole url")},
)

CADDY = Server(
    name="caddy",
    needs=("caddy",),
    commands=lambda place: [["caddy", "run", "--adapter", "caddyfile", "--config", place.path("conf")]],
    sites=2,
    layouts=(Layout("default", text=in_json), Layout("iso", site=1, text=in_json)),
    odd={
        **odd_urls(b"/page.html?whole=1", "whole url"),
        **{name: None for name in ("blank in url", "star", "bytes", "words")},
    },
)

SERVERS = {server.name: server for server in (APACHE, NGINX, LIGHTTPD, HAPROXY, VARNISH, SQUID, CADDY)}
