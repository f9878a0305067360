#!/bin/sh
# The lines that admit addresses only, ready as comments in each server's file, with
# 127.0.0.1 in the place of the example's network; run by with_server.sh. Without
# them, in a test of its own, everybody is let in.
#
#   admission_test.sh [--enable]     the second is what SITE_SETUP runs
set -u
conf=$WORK/orvellis-$SERVER.conf
if [ "${1:-}" = --enable ]; then
  sed -i -e '/#Require ip \|#\(allow\|deny\) \|#\$HTTP\["remote-ip"\]/s/#//' -e 's|192\.0\.2\.0/24|127.0.0.1|' "$conf"
  [ "$(grep -cE '^ *(Require ip|allow|deny|\$HTTP\["remote-ip"\])' "$conf")" -gt 0 ] && exit 0
  echo "FAILED: $SERVER's file has no such lines"
  exit 1
fi
# shellcheck source=page.sh
. "$(dirname "$0")/page.sh"
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
form="username=$SERVER&password=Teapot&date=03052000,03112000&find=/&subdirs=1&requests=1"
ask() { # ADDRESS, PATH, OPTION...: prints the status
  source=$1 path=$2
  shift 2
  curl -s --interface "$source" -o "$WORK/page" -w '%{http_code}' "$@" "$BASE_URL$path"
}

status=$(ask 127.0.0.1 /orvellis-cgi/orvellis --data "$form")
[ "$status" = 200 ] && is_report || fail "an address that is admitted gets $status and no report"
status=$(ask 127.0.0.2 /orvellis-cgi/orvellis --data "$form")
if [ -z "${SITE_SETUP:-}" ]; then
  [ "$status" = 200 ] && is_report || fail "without the lines, an address gets $status: the test shows nothing"
else
  [ "$status" = 403 ] && ! is_report || fail "an address that is not admitted gets $status"
  # Whatever it sends, and whatever it claims to be.
  for word in '?about' '?credits' '?' ''; do
    status=$(ask 127.0.0.2 "/orvellis-cgi/orvellis$word" -H 'X-Forwarded-For: 127.0.0.1' -H 'Forwarded: for=127.0.0.1')
    [ "$status" = 403 ] || fail "an address that is not admitted gets $status of '$word'"
  done
  status=$(ask 127.0.0.2 /orvellis/)
  [ "$status" = 200 ] || fail "the request form answers $status: only the program was to be closed"
fi
[ "$failures" = 0 ]
