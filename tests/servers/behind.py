"""What stands behind servers: the pages of a site, a server of it for proxies, a place for logs that are sent away."""
import http.server
import os
import socket
import threading

SITE_TIME = 946684800  # of the files
SITE_DATE = "Sat, 01 Jan 2000 00:00:00 GMT"
PAGES = {"index.html": 300, "page.html": 1234, "café.html": 77, "big.html": 200000}


def make_site(folder):
    for name, size in PAGES.items():
        with open(os.path.join(folder, name), "wb") as page:
            page.write(b"x" * size)
        os.utime(os.path.join(folder, name), (SITE_TIME, SITE_TIME))


class OriginHandler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    wbufsize = -1  # head and body go out at once

    def answer(self, send_body=True):
        self.rfile.read(int(self.headers.get("Content-Length") or 0))
        path = self.path.partition("?")[0].encode("latin-1").replace(b"%C3%A9", b"\xc3\xa9").decode("utf-8", "replace")
        size = PAGES.get(path.lstrip("/") or "index.html")
        fresh = self.headers.get("If-Modified-Since") == SITE_DATE
        status = 404 if size is None else 304 if fresh else 200
        body = b"" if status == 304 else b"x" * (size or 9)
        self.send_response(status)
        self.send_header("Last-Modified", SITE_DATE)
        if status != 304:
            self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        if send_body:
            self.wfile.write(body)

    do_GET = do_POST = do_OPTIONS = do_BREW = answer

    def do_HEAD(self):
        self.answer(send_body=False)

    def log_message(self, *_):
        pass


class Origin(http.server.ThreadingHTTPServer):
    daemon_threads = True

    def handle_error(self, *_):
        """Proxies that end break their connections off."""


def start_origin():
    """A web server of the same site in this process; returns its port."""
    origin = Origin(("127.0.0.1", 0), OriginHandler)
    threading.Thread(target=origin.serve_forever, daemon=True).start()
    return origin.server_address[1]


def start_collector(path):
    """Takes messages of syslog, and writes each as a line to the file; returns the port."""
    receiver = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    receiver.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 20)
    receiver.bind(("127.0.0.1", 0))

    def collect():
        with open(path, "wb", buffering=0) as log:
            while True:
                log.write(receiver.recv(65536).rstrip(b"\n") + b"\n")

    threading.Thread(target=collect, daemon=True).start()
    return receiver.getsockname()[1]
