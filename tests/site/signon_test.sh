#!/bin/sh
# Sign-on by the web server's own authentication, set up by the lines of the manual
# (docs/accounts.md) and those that stand ready in nginx's file; run by with_server.sh.
#
#   signon_test.sh [--enable]     the second is what SITE_SETUP runs
set -u
here=$(cd "$(dirname "$0")" && pwd)
manual=$here/../../docs/accounts.md
conf=$WORK/orvellis-$SERVER.conf
if [ "${1:-}" = --enable ]; then
  for name in alice bob carol; do echo "$name:$(openssl passwd -6 "secret of $name")"; done >"$WORK/reports.passwords"
  case $SERVER in
    nginx)
      sed -i -e '/fastcgi_param \(AUTH_TYPE\|REMOTE_USER\)  *"";/d' -e '/#auth_basic\|#fastcgi_param/s/#//' "$conf"
      lines=$conf
      ;;
    *)
      lines=$WORK/own.conf
      awk -v server="$SERVER" '$0 == "```" { on = 0 } on { print } $0 == "```" server { on = 1 }' "$manual" >"$lines"
      ;;
  esac
  sed -i "s|/etc/[a-z0-9]*/reports.passwords|$WORK/reports.passwords|" "$lines"
  grep -q "^[^#]*$WORK/reports.passwords" "$lines" && exit 0
  echo "FAILED: there are no lines for $SERVER"
  exit 1
fi
# shellcheck source=page.sh
. "$here/page.sh"
cgi=$BASE_URL/orvellis-cgi/orvellis
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
ask() { curl -s -o "$WORK/page" -w '%{http_code}' "$@"; }
expect() { # STATUS, report|none, SENTENCE, OPTION...
  wanted=$1 kind=$2 sentence=$3
  shift 3
  status=$(ask --data "$form" "$@" "$cgi")
  if is_report; then got=report; else got=none; fi
  [ "$status $got" = "$wanted $kind" ] || fail "$sentence: $status, $got"
}

cat >>"$PREFIX/etc/orvellis/orvellis.conf" <<END
user=team;logs=$WORK/log/$SERVER/access.log.1;url=http://localhost;signon=alice,bob
END
form='username=team&date=03052000,03112000&find=/&subdirs=1&requests=1'
expect 401 none 'nobody has signed on'
expect 401 none 'a wrong password' -u 'alice:secret of bob'
expect 401 none 'a name without a password' -u 'alice:'
expect 401 none 'headers that say so' -H 'REMOTE_USER: alice' -H 'Remote-User: alice' -H 'AUTH_TYPE: Basic' -H 'X-Remote-User: alice'
expect 200 report 'alice' -u 'alice:secret of alice'
expect 200 report 'bob' -u 'bob:secret of bob'
expect 403 none 'carol, whom the account does not name' -u 'carol:secret of carol'
[ "$(ask "$BASE_URL/orvellis/")" = 200 ] || fail 'the request form is closed, too'

# Another account keeps its password; whom the server has let in is not enough.
form="username=$SERVER&date=03052000,03112000&find=/&subdirs=1&requests=1"
expect 403 none 'alice at an account with a password' -u 'alice:secret of alice'
form="$form&password=Teapot"
expect 200 report 'alice with that password' -u 'alice:secret of alice'
[ "$failures" = 0 ]
