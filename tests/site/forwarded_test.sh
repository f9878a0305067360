#!/bin/sh
# Whom the visitor is taken for behind a trusted proxy, which adds X-Forwarded-For to
# whatever headers a visitor has sent; run by with_server.sh. The account below needs
# no password of an address that no visitor here has.
set -u
# shellcheck source=page.sh
. "$(dirname "$0")/page.sh"
cgi=$BASE_URL/orvellis-cgi/orvellis
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
cat >>"$PREFIX/etc/orvellis/orvellis.conf" <<END
TrustedProxies=127.0.0.9
InternalIp=203.0.113.0/24
user=inside;logs=$WORK/log/$SERVER/access.log.1;url=http://localhost
END
form='username=inside&date=03052000,03112000&find=/&subdirs=1&requests=1'
ask() { # PEER, OPTION...
  peer=$1
  shift
  curl -s --interface "$peer" -o "$WORK/page" --data "$form" "$@" "$cgi"
}
true_one='X-Forwarded-For: 198.51.100.7'

ask 127.0.0.9 -H 'X-Forwarded-For: 203.0.113.5'
is_report || fail 'a visitor of the network is not known by his proxy: the test shows nothing'
ask 127.0.0.9 -H 'X-Forwarded-For: 203.0.113.5, 198.51.100.7'
! is_report || fail 'what stands before the true address is taken'
ask 127.0.0.1 -H 'X-Forwarded-For: 203.0.113.5'
! is_report || fail 'somebody who is no proxy is believed'
for name in X_Forwarded_For X_Forwarded-For X-Forwarded.For X~Forwarded-For x_forwarded_for; do
  ask 127.0.0.9 -H "$true_one" -H "$name: 203.0.113.5"
  ! is_report || fail "$name behind the proxy's header is taken"
  ask 127.0.0.9 -H "$name: 203.0.113.5" -H "$true_one"
  ! is_report || fail "$name before the proxy's header is taken"
done
ask 127.0.0.9 -H 'X-Forwarded-For: 203.0.113.5' -H "$true_one"
! is_report || fail 'the first of two headers is taken'
[ "$failures" = 0 ]
