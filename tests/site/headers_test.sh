#!/bin/sh
# What answers come with behind a real web server, status and headers, in both editions:
# each header once, whoever adds it; run by with_server.sh.
set -u
# shellcheck source=page.sh
. "$(dirname "$0")/page.sh"
cgi=$BASE_URL/orvellis-cgi/orvellis
conf=$PREFIX/etc/orvellis/orvellis.conf
program=$PREFIX/libexec/orvellis/cgi/orvellis
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
ask() { curl -s -D "$WORK/headers" -o "$WORK/page" "$@"; }
use_edition() { sed -i -e '/^Edition=/d' -e "1i Edition=$1" "$conf"; }

want() { # CONTENT-TYPE, POLICY
  cat >"$WORK/wanted" <<END
Content-Type: $1
Content-Security-Policy: $2
X-Content-Type-Options: nosniff
Referrer-Policy: no-referrer
X-Robots-Tag: noindex, nofollow
Cache-Control: no-store
END
}

answers() { # STATUS WHAT, and further headers
  status=$1
  what=$2
  shift 2
  tr -d '\r' <"$WORK/headers" >"$WORK/lines"
  grep -q "^HTTP/1.1 $status" "$WORK/lines" || fail "$what: $(head -n 1 "$WORK/lines") instead of $status"
  for header in "$@"; do
    grep -qixF "$header" "$WORK/lines" || fail "$what: no $header"
  done
  while IFS= read -r header; do
    [ "$(grep -ci "^${header%%:*}:" "$WORK/lines")" = 1 ] || fail "$what: not one ${header%%:*}"
    grep -qixF "$header" "$WORK/lines" || fail "$what: $(grep -i "^${header%%:*}:" "$WORK/lines")"
  done <"$WORK/wanted"
  ! grep -qi '^Status:' "$WORK/lines" || fail "$what: a header Status"
}
modern_answers() { # report|answer|form, and what answers takes
  want 'text/html; charset=utf-8' "$(policy_of "$WORK/page" "$1")"
  [ "$1" != answer ] || ! grep -qi '<script' "$WORK/page" || fail "$3: a script"
  shift
  answers "$@"
}
page_has() { # WHAT TEXT
  grep -qF -- "$2" "$WORK/page" || fail "$1: no '$2'"
}

account="username=$SERVER&password=Teapot"
report="$account&find=/&subdirs=1&requests=1"

# ---- The modern edition says it itself ----

use_edition modern
ask --data "$report&date=03052000,03112000" "$cgi"
modern_answers report 200 'a modern report'
page_has 'a modern report' '<h2 id="requests-title">Requested URLs</h2>'
ask --data "$account-&date=03052000,03112000" "$cgi"
modern_answers answer 403 'a wrong password'
ask --data "$report&date=03052000,03042000" "$cgi"
modern_answers answer 400 'days the wrong way round'
ask "$cgi?username=$SERVER&password=Teapot"
modern_answers answer 400 'a password in the address'
ask -I "$cgi?username=$SERVER&password=Teapot"  # the headers of the GET before
answers 400 'HEAD'
ask -X PUT "$cgi"
modern_answers answer 405 'PUT' 'Allow: GET, HEAD, POST'
page_has 'PUT' '<h1>Orvellis Error #1: '
ask "$cgi"
modern_answers form 200 'GET'
page_has 'GET' '<h1>Report Request Form</h1>'
ask -I "$cgi"  # the headers of the GET before
answers 200 'HEAD'
ask "$cgi?remotedebug"
modern_answers form 200 'remote debugging'
ask "$cgi?username=$SERVER&days=7d"
modern_answers form 200 'the address of a report'
for page in about credits; do
  ask "$cgi?$page"
  modern_answers answer 200 "the modern page $page"
  page_has "the modern page $page" '<p>Orvellis 1.5</p>'
  ! grep -qF -e "$(uname -n)" -e "$(uname -r)" "$WORK/page" || fail "$page tells about the machine"
done
mv "$PREFIX/etc/orvellis/passwords" "$WORK/aside"
ask --data "$report&date=03052000,03112000" "$cgi"
mv "$WORK/aside" "$PREFIX/etc/orvellis/passwords"
modern_answers answer 403 'no password file'
cp "$WORK/wanted" "$WORK/modern"
! grep -qF "$PREFIX" "$WORK/page" || fail 'a refusal tells a path'

# ---- For the classic one the server does ----

use_edition classic
want 'text/html' "sandbox allow-forms allow-popups allow-popups-to-escape-sandbox; default-src 'none'; img-src 'self'; style-src 'self';\
 form-action 'self'; base-uri 'none'; frame-ancestors 'none'"
ask --data "$report&date=03052000,03112000" "$cgi"
answers 200 'a classic report'
page_has 'a classic report' 'Top URLs'
ask --data "$account-&date=03052000,03112000" "$cgi"
answers 200 'a classic refusal'
page_has 'a classic refusal' 'Error #2'
ask "$cgi?about"
answers 200 'the classic page about'
page_has 'the classic page about' "$(uname -n)"

# ---- A status that only the limit of attempts brings ----

cp "$WORK/modern" "$WORK/wanted"
mv "$program" "$WORK/program"
cat >"$program" <<END
#!/bin/sh
printf 'Status: 429 Too Many Requests\nRetry-After: 7\n'
cat "$WORK/wanted"
echo
echo wait
END
chmod 755 "$program"
ask --data '' "$cgi"
mv "$WORK/program" "$program"
answers 429 'too many attempts' 'Retry-After: 7'
page_has 'too many attempts' wait
[ "$failures" = 0 ] || echo "$failures failures behind $SERVER"
[ "$failures" = 0 ]
