#!/usr/bin/env python3
"""Writes the sample logs: one believable week of www.example.com, as each of
its servers logged it, one server per log format.

The logs are committed; run this only to change them. The same seed always
writes the same bytes.
"""
import datetime
import pathlib
import random

HERE = pathlib.Path(__file__).resolve().parent
FIRST_DAY = datetime.date(2000, 3, 5)  # a Sunday
MONTHS = "Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec".split()
DAYS = "Mon Tue Wed Thu Fri Sat Sun".split()
# Visitors per hour of the day: quiet nights, busy afternoons.
HOURS = [3, 2, 1, 1, 1, 2, 4, 7, 11, 14, 15, 16, 15, 16, 18, 17, 15, 13, 12, 12, 11, 9, 7, 5]
WEEKDAYS = [1.1, 1.3, 1.2, 1.1, 1.0, 0.6, 0.7]

PAGES = [("/", 30), ("/index.html", 12), ("/products/", 14), ("/products/kettle.html", 9),
         ("/products/teapot.html", 7), ("/products/cups.html", 5), ("/about.html", 5), ("/news/", 8),
         ("/news/2000-03.html", 6), ("/docs/brewing-guide.html", 8), ("/docs/care.pdf", 3),
         ("/cgi-bin/order.cgi", 3), ("/contact.html", 3), ("/guestbook.html", 2)]
IMAGES = [("/img/logo.gif", 20), ("/img/kettle.jpg", 8), ("/img/teapot.jpg", 6), ("/img/bullet.gif", 9)]
MISSING = [("/favicon.ico", 8), ("/old/catalogue.html", 4), ("/products/samovar.html", 3),
           ("/robots.txt", 3), ("/img/banner.gif", 2)]
HOSTS = [("dialup-17.pool.example.net", 6), ("dialup-42.pool.example.net", 5), ("cache1.isp.example.com", 9),
         ("ws12.library.example.edu", 6), ("ws31.library.example.edu", 4), ("proxy.example.org", 6),
         ("desk4.office.example.co.uk", 4), ("pc7.uni.example.de", 5), ("modem3.example.fr", 3),
         ("lab2.example.ac.jp", 3), ("gate.example.gov", 2), ("192.0.2.14", 4), ("192.0.2.77", 3),
         ("198.51.100.9", 3), ("203.0.113.201", 3), ("crawler1.robots.example.com", 4)]
AGENTS = [("Mozilla/4.0 (compatible; MSIE 5.0; Windows 98)", 22), ("Mozilla/4.0 (compatible; MSIE 4.01; Windows 95)", 12),
          ("Mozilla/4.7 [en] (X11; U; Linux 2.2.14 i686)", 10), ("Mozilla/4.61 [en] (Win98; I)", 13),
          ("Mozilla/4.5 (Macintosh; I; PPC)", 5), ("Mozilla/4.0 (compatible; MSIE 5.0; Mac_PowerPC)", 4),
          ("Opera/3.60 (Windows NT 4.0;US) [en]", 2), ("Lynx/2.8.2rel.1 libwww-FM/2.14", 2),
          ("ExampleBot/1.2 (+http://robots.example.com/)", 4)]
PHRASES = ["copper kettle", "how to brew tea", "teapot handmade", "tea kettle whistle", "earl grey brewing time",
           "cast iron teapot", "descale kettle", "tea cups porcelain"]
ENGINES = ["http://www.altavista.com/cgi-bin/query?pg=q&q=%s", "http://search.yahoo.com/bin/search?p=%s",
           "http://www.google.com/search?q=%s&hl=en", "http://www.excite.com/search.gw?search=%s",
           "http://www.lycos.com/srch/?query=%s", "http://infoseek.go.com/Titles?qt=%s"]
ENGINE_WEIGHTS = [6, 7, 4, 3, 2, 2]
LINKS = ["http://www.example.org/links/tea.html", "http://tea-friends.example.net/", "http://home.example.edu/~ann/links.html",
         "http://www.example.co.uk/shops.html"]
BROKEN = ["http://tea-friends.example.net/old-links.html", "http://www.example.org/links/1998.html"]
USERS = ["ann", "ben"]


class Request:
    pass


def pick(rng, weighted):
    return rng.choices([w[0] for w in weighted], [w[1] for w in weighted])[0]


def week(seed, count):
    """One server's requests in time order."""
    rng = random.Random(seed)
    times = []
    for _ in range(count):
        day = rng.choices(range(7), WEEKDAYS[6:] + WEEKDAYS[:6])[0]
        hour = rng.choices(range(24), HOURS)[0]
        times.append(datetime.datetime.combine(FIRST_DAY, datetime.time()) +
                     datetime.timedelta(days=day, hours=hour, seconds=rng.randrange(3600)))
    requests = []
    for when in sorted(times):
        r = Request()
        r.when, r.host, r.agent, r.user = when, pick(rng, HOSTS), pick(rng, AGENTS), ""
        r.method, r.query, r.status, r.referrer = "GET", "", 200, ""
        r.size = rng.randrange(400, 24000)
        kind = rng.random()
        if kind < 0.58:
            r.path = pick(rng, PAGES)
            source = rng.random()
            if source < 0.22:
                r.referrer = rng.choices(ENGINES, ENGINE_WEIGHTS)[0] % rng.choice(PHRASES).replace(" ", "+")
            elif source < 0.40:
                r.referrer = rng.choice(LINKS)
            elif source < 0.75:
                r.referrer = "http://www.example.com" + pick(rng, PAGES)
        elif kind < 0.90:
            r.path, r.referrer = pick(rng, IMAGES), "http://www.example.com" + pick(rng, PAGES)
            if rng.random() < 0.3:
                r.status, r.size = 304, 0
        else:
            r.path, r.status, r.size = pick(rng, MISSING), 404, 286
            if rng.random() < 0.6:
                r.referrer = rng.choice(BROKEN)
        if r.path.endswith(".cgi"):
            r.method, r.query, r.user = "POST", "item=%d&step=%d" % (rng.randrange(40), rng.randrange(3)), rng.choice(USERS)
        requests.append(r)
    return requests


def url(r):
    return r.path + ("?" + r.query if r.query else "")


def dash(text):
    return text or "-"


def clf_date(when):
    return when.strftime("%d/") + MONTHS[when.month - 1] + when.strftime("/%Y:%H:%M:%S +0000")


def clf(r):
    return '%s - %s [%s] "%s %s HTTP/1.0" %d %s' % (r.host, dash(r.user), clf_date(r.when), r.method, url(r), r.status,
                                                    r.size or "-")


def combined(r):
    return '%s "%s" "%s"' % (clf(r), dash(r.referrer), r.agent)


def netscape(r):
    return combined(r)


def vhost(r):
    return "www.example.com:80 " + combined(r)


def w3c_iis(r):
    return " ".join([r.when.strftime("%Y-%m-%d %H:%M:%S"), r.host, dash(r.user), "10.0.0.4", r.method, r.path, dash(r.query),
                     str(r.status), str(r.size), r.agent.replace(" ", "+"), dash(r.referrer)])


def w3c_webstar(r):
    return "\t".join([r.when.strftime("%m/%d/%y"), r.when.strftime("%H:%M:%S"), str(r.status), r.host, r.path,
                      dash(r.query), str(r.size), r.agent, dash(r.referrer)])


def webstar_result(r):
    return {404: "ERR!", 401: "PRIV"}.get(r.status, "OK")


def mac_path(r):
    return r.path.replace("/", ":")


def webstar_native(r):
    date = "%s, %d %s %d" % (DAYS[r.when.weekday()], r.when.day, MONTHS[r.when.month - 1], r.when.year)
    return "\t".join([date, r.when.strftime("%H:%M:%S"), webstar_result(r), r.host, mac_path(r), str(r.size), r.agent,
                      dash(r.referrer), dash(r.query)])


def webstar_fields(r):
    return "\t".join([r.when.strftime("%Y-%m-%d"), r.when.strftime("%H:%M:%S"), r.host, mac_path(r), str(r.status),
                      str(r.size), r.agent, dash(r.referrer)])


def machttp(r):
    return "\t".join([r.when.strftime("%m/%d/%y"), r.when.strftime("%H:%M:%S"), webstar_result(r), r.host, mac_path(r),
                      str(r.size)])


def website(r):
    return "\t".join([r.when.strftime("%m/%d/%Y %H:%M:%S"), r.host, "www.example.com", "", r.user, r.method, url(r), r.referrer,
                      "", r.agent, str(r.status), str(r.size), "0"])


def iis_comma(r):
    fields = [r.host, dash(r.user), r.when.strftime("%m/%d/%y"), r.when.strftime("%H:%M:%S"), "W3SVC1", "WEB4", "10.0.0.4",
              "120", "310", str(r.size), str(r.status), "0", r.method, r.path, dash(r.query), dash(r.referrer),
              r.agent.replace(",", "")]
    return ", ".join(fields) + ","


LOGS = [
    # file, seed, requests, line, header lines, line end
    ("logs/common.log", 1, 300, clf, [], "\n"),
    ("logs/combined.log", 2, 400, combined, [], "\n"),
    ("logs/iis-comma.log", 3, 300, iis_comma, [], "\r\n"),
    ("logs/iis-w3c.log", 4, 300, w3c_iis,
     ["#Software: Microsoft Internet Information Server 4.0", "#Version: 1.0", "#Date: 2000-03-05 00:00:00",
      "#Fields: date time c-ip cs-username s-ip cs-method cs-uri-stem cs-uri-query sc-status sc-bytes cs(User-Agent) cs(Referer)"],
     "\r\n"),
    ("logs/netscape.log", 5, 300, netscape,
     ['format=%Ses->client.ip% - %Req->vars.auth-user% [%SYSDATE%] "%Req->reqpb.clf-request%" %Req->srvhdrs.clf-status% '
      '%Req->srvhdrs.content-length% "%Req->headers.referer%" "%Req->headers.user-agent%"'], "\n"),
    ("logs/webstar-21.log", 6, 300, w3c_webstar,
     ["#Software: WebSTAR/2.1", "#Version: 1.0",
      "#Fields: DATE TIME SC-STATUS HOSTNAME URL SEARCH_ARGS BYTES_SENT AGENT REFERER"], "\r"),
    ("logs/webstar-native.log", 7, 300, webstar_native,
     ["!!LOG_FORMAT DATE TIME RESULT HOSTNAME URL BYTES_SENT AGENT REFERER SEARCH_ARGS"], "\r"),
    ("logs/webstar-fields.log", 8, 300, webstar_fields,
     ["#Fields: DATE TIME HOSTNAME URL CS-STATUS BYTES CS(USER-AGENT) CS(REFERER)"], "\r"),
    ("logs/machttp.log", 9, 300, machttp, [], "\r"),
    ("logs/website.log", 10, 300, website, [], "\r\n"),
    ("custom/vhost.log", 11, 300, vhost, [], "\n"),
]


def main():
    for name, seed, count, line, header, end in LOGS:
        lines = header + [line(r) for r in week(seed, count)]
        (HERE / name).write_bytes("".join(text + end for text in lines).encode("ascii"))


main()
