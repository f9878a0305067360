#!/bin/sh
# Walks everything an installed Orvellis serves; run by with_server.sh.
set -u
# shellcheck source=page.sh
. "$(dirname "$0")/page.sh"
cgi=$BASE_URL/orvellis-cgi/orvellis
conf=$PREFIX/etc/orvellis/orvellis.conf
failures=0

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
contains() { # FILE TEXT, and what it means
  grep -aqF -- "$2" "$1" || fail "$3: no '$2'"
}
lacks() {
  ! grep -aqiF -- "$2" "$1" || fail "$3: '$2'"
}
get() { curl -s -D "$WORK/headers" -o "$WORK/page" "$@"; }
post() { get --data "$1" "$cgi"; }
status_of() { curl -s -o "$WORK/body" -w '%{http_code}' "$@"; }

# ---- Every link that a page prints leads somewhere on this site ----

: >"$WORK/links"
# Adds the root-relative addresses of the page to the list, and checks those
# within the page itself.
collect_links() { # FILE NAME
  tr '\n' ' ' <"$1" | grep -aoE '(href|src|action)="[^"]*"' | sed -E 's/^[a-z]+="//; s/"$//' |
    while IFS= read -r link; do
      case $link in
        /*) echo "$link" ;;
        \?*) echo "/orvellis-cgi/orvellis$link" ;;  # a page of the program itself
        \#*) grep -aqE "(id|name)=\"?${link#\#}[\"> ]" "$1" || echo "BROKEN $2 $link" ;;
        http://www.example.com* | http://localhost* | mailto:*) ;;  # addresses of the logs' own sites
        http*) [ "$2" = report ] || echo "BROKEN $2 $link" ;;
        *) echo "BROKEN $2 $link" ;;
      esac
    done >>"$WORK/links"
}
check_links() {
  links=$(sort -u "$WORK/links" | grep -v '^BROKEN')
  grep '^BROKEN' "$WORK/links" && fail "links that lead nowhere"
  for link in $links; do
    code=$(status_of "$BASE_URL${link%%#*}")
    [ "$code" = 200 ] || fail "$link answers $code"
    case $link in
      *\#*) grep -aq "id=\"${link#*#}\"" "$WORK/body" || fail "$link has no such anchor" ;;
    esac
  done
  [ "$(echo "$links" | wc -l)" -gt 25 ] || fail "only these links were found: $links"
}

# ---- The static pages ----

for page in / /classic.html /docs/ /docs/getting-started.html /docs/parameters.html /docs/configuration.html /docs/chapter4.html \
  /docs/editions.html /docs/log-formats.html /docs/report-page.html /docs/operation.html /docs/security.html /support/errors/ \
  /products/orvellis/support/searchengines.asp /product.html; do
  get "$BASE_URL/orvellis$page"
  grep -qi '^HTTP.* 200' "$WORK/headers" || fail "$page is not served"
  grep -qi '^Content-Type: text/html' "$WORK/headers" || fail "$page is not HTML"
  contains "$WORK/headers" "script-src 'self'" "policy of $page"
  contains "$WORK/page" '<html lang="en">' "$page"
  collect_links "$WORK/page" "$page"
done
[ "$(status_of "$BASE_URL/Orvellis/")" = 200 ] || fail "/Orvellis/ is not the request form"
contains "$WORK/body" 'Report Request Form' "/Orvellis/"
for number in 1 2 4 5 6 7 8 9 10 11; do
  get "$BASE_URL/orvellis/or15-err$number.gif"
  grep -qi '^Content-Type: image/gif' "$WORK/headers" || fail "picture of error $number"
done
for picture in or15-reg blue2x5 red2x5; do
  [ "$(status_of "$BASE_URL/orvellis/$picture.gif")" = 200 ] || fail "$picture.gif"
  [ "$(head -c 4 "$WORK/body")" = GIF8 ] || fail "$picture.gif is no picture"
done
case $(status_of "$BASE_URL/orvellis-cgi/orvellis.conf") in
  403 | 404) ;;
  *) fail "the configuration file is served" ;;
esac
lacks "$WORK/body" UserPasswords "the configuration file is served"

# ---- The program: headers and limits ----

check_headers() { # WHAT, TYPE, POLICY
  for header in "Content-Type: $2" "Content-Security-Policy: $3" "X-Content-Type-Options: nosniff" \
    "Referrer-Policy: no-referrer" "X-Robots-Tag: noindex, nofollow" "Cache-Control: no-store"; do
    tr -d '\r' <"$WORK/headers" | grep -qixF "$header" || fail "headers of $1: no '$header'"
  done
}
check_page() { # report|answer|form, WHAT: the page names its policy, and the server sends that one
  check_headers "$2" 'text/html; charset=utf-8' "$(policy_of "$WORK/page" "$1")"
  contains "$WORK/page" "$(policy_of "$WORK/page" "$1" | sed "s/.*; default-src/<meta http-equiv=\"Content-Security-Policy\" content=\"default-src/")\">" "$2"
  [ "$1" != answer ] || lacks "$WORK/page" '<script' "$2"
}
# The gate has no page but its own sentence; its policy is the server's.
check_gate() {
  check_headers "$1" 'text/html' "sandbox allow-forms allow-popups allow-popups-to-escape-sandbox; default-src 'none';\
 img-src 'self'; style-src 'self'; form-action 'self'; base-uri 'none'; frame-ancestors 'none'"
}

head -c 70000 /dev/zero | tr '\0' 'a' >"$WORK/large"
[ "$(status_of --data-binary "@$WORK/large" "$cgi")" = 413 ] || fail "a request of 70 kB is accepted"

form="username=$SERVER&password=Teapot&sm=03&sd=05&sy=2000&em=03&ed=11&ey=2000&find=/&subdirs=1&requests=1&referrers=1\
&search=1&browsers=1&badurls=1&badurl_referrers=1&badreferrers=1&domains=1&domaintypes=1&dailytotals=1&hitsperdayofweek=1\
&hitsperhour=1"
post "$form"
check_page report 'the report'
contains "$WORK/page" '</html>' 'the report'
contains "$WORK/page" '<h1><bdi>' 'the report'
contains "$WORK/page" '<section id="hitsperhour"' 'the report'
lacks "$WORK/page" 'src=' 'the report'
lacks "$WORK/page" '#error' 'the report'
collect_links "$WORK/page" report

# The server's own log, as the configuration has it from the start.
today=$(date +%m%d%Y)
for _ in 1 2 3 4 5 6 7 8 9 10 11 12; do  # servers write their logs with a delay
  post "username=$SERVER&password=Teapot&date=$today,$today&find=/orvellis&subdirs=1&requests=1"
  grep -qF '/orvellis/docs/chapter4.html' "$WORK/page" && break
  sleep 1
done
contains "$WORK/page" '/orvellis/docs/chapter4.html' "the report over the server's own log"

get "$cgi"
check_page form 'the form'
contains "$WORK/page" '<form method="post" action="?">' 'the form'
collect_links "$WORK/page" 'the form'
get "$cgi?username=$SERVER&from=2000-03-05&find=/docs/"
check_page form 'the form, filled in'
contains "$WORK/page" 'value="2000-03-05"' 'the form, filled in'

for page in about credits; do
  get "$cgi?$page"
  check_page answer "$page"
  contains "$WORK/page" 'Orvellis 1.5' "$page"
  collect_links "$WORK/page" "$page"
done
# Nothing is shown of the configuration, whatever it says.
cp "$conf" "$WORK/aside"
echo RemoteDebugEnabled=1 >>"$conf"
get "$cgi?remotedebug"
lacks "$WORK/page" UserPasswords 'remotedebug'
lacks "$WORK/page" 'user=' 'remotedebug'
# The page names the logs, but tells nothing more when asked for it, and no path.
without_moment() { sed '/^<div><dt>Made<.dt>/d'; }
post "$form"
without_moment <"$WORK/page" >"$WORK/undebugged"
post "$form&debug=1"
is_report || fail 'debug=1: no report'
without_moment <"$WORK/page" | cmp -s - "$WORK/undebugged" || fail 'debug=1 tells more'
lacks "$WORK/page" "$WORK" 'debug=1: the page shows a path'
cat "$WORK/aside" >"$conf"

# ---- Every error page that a request can bring about ----

error() { # NUMBER STATUS, and what was done
  contains "$WORK/page" "/support/errors/#error$1\"" "$3"
  grep -q "^HTTP/[0-9.]* $2 " "$WORK/headers" || fail "$3: $(head -n 1 "$WORK/headers"), not $2"
  if [ "$1" = 9 ]; then check_gate "$3"; else check_page answer "$3"; fi
  lacks "$WORK/page" "$WORK" "$3: the page shows a path"
  collect_links "$WORK/page" "error $1"
  get "$BASE_URL/orvellis/support/errors/"
  contains "$WORK/page" "id=\"error$1\"" "the page of error numbers"
}
cat >>"$conf" <<END
user=nologs;url=http://www.example.com;password=*
user=empty;logs=$WORK/nothing/*;url=http://www.example.com;password=*
user=secret;logs=$WORK/log/*;url=http://www.example.com
END
get -X PUT "$cgi"
grep -qi '^Allow: GET, HEAD, POST' "$WORK/headers" || fail 'PUT: nothing tells what is allowed'
error 1 405 'PUT'
get "$cgi?username=$SERVER&password=Teapot"
error 16 400 'a password in the address'
get "$cgi?username=empty&days=never"
error 7 400 'days that are none, in the address'
post "$form&password=wrong"
error 2 403 'a wrong password'
hash=$(sed -n "s/^$SERVER://p" "$PREFIX/etc/orvellis/passwords")
get --data "username=$SERVER&date=03052000" --data-urlencode "password=$hash" "$cgi"
error 2 403 'the hash itself as the password'
post "username=nobody"
error 2 403 'an unknown account'
post "username=secret"
error 2 403 'an account without a password'
post "username=nologs&date=03052000"
error 5 500 'an account without logs'
post "username=empty&date=03052000,03042000"
error 7 400 'an end before the start'
mv "$PREFIX/etc/orvellis/passwords" "$WORK/aside"
post "username=secret&date=03052000"
mv "$WORK/aside" "$PREFIX/etc/orvellis/passwords"
error 2 403 'a missing password file'
grep -q 'password file cannot be read' "$PREFIX/var/log/orvellis/error.log" || fail 'a missing password file is not logged'
post "username=empty&date=03052000,03052000"
error 11 404 'no logs'
mv "$conf" "$WORK/aside"
post "$form"
mv "$WORK/aside" "$conf"
error 9 500 'no configuration'
grep -qF "orvellis: the configuration cannot be opened: $conf" "$WORK"/*.log || fail 'no configuration: no log tells of it'

check_links
[ "$failures" = 0 ] || echo "$failures failures behind $SERVER"
[ "$failures" = 0 ]
