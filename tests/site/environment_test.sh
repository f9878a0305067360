#!/bin/sh
# What an installed Orvellis is told by its web server, whatever a visitor sends; run
# by with_server.sh. A stand-in for the program prints it. With ORVELLIS_OPEN, the
# protection is out, and the attacks must be seen to work.
set -u
cgi=$BASE_URL/orvellis-cgi/orvellis
program=$PREFIX/libexec/orvellis/cgi/orvellis
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
cat >"$WORK/stand-in" <<'END'
#!/bin/sh
printf 'Content-type: text/html\r\n'
case $QUERY_STRING in *own*) printf 'Content-Security-Policy: own\r\nReferrer-Policy: own\r\n' ;; esac
printf '\r\nARGUMENTS=%s\nBODY=%s\n' "$*" "$(head -c "${CONTENT_LENGTH:-0}")"
env
END
chmod 755 "$WORK/stand-in"
mv "$program" "$WORK/program"
cp "$WORK/stand-in" "$program"
ask() { curl -s -D "$WORK/headers" -o "$WORK/page" "$@"; }
told() { grep -qx -- "$1" "$WORK/page"; }

ask -u mallory:any -H 'ORVELLIS_CONFIG: /tmp/x' -H 'Orvellis-Config: /tmp/x' -H 'REMOTE_USER: mallory' -H 'Auth-Type: Basic' \
  --data 'config=/tmp/x&find=/' "$cgi?part%3d/tmp/x+edition%3dclassic"
if [ -n "${ORVELLIS_OPEN:-}" ]; then
  case $SERVER in
    apache) told 'ARGUMENTS=part=/tmp/x edition=classic' || fail "unprotected: no arguments arrive" ;;
    nginx) told 'REMOTE_USER=mallory' || fail "unprotected: no false user arrives" ;;
  esac
else
  told "ORVELLIS_CONFIG=$PREFIX/etc/orvellis/orvellis.conf" || fail "another configuration, or none"
  told 'ARGUMENTS=' || fail "the query arrives as arguments"
  told 'BODY=config=/tmp/x&find=/' || fail "the form does not arrive as it was sent"
  ! grep -qE '^(REMOTE_USER|AUTH_TYPE)=.' "$WORK/page" || fail "a user arrives whom nobody has authenticated"

  # A form of the largest size, and one with characters that a shell looks at.
  head -c 65000 /dev/zero | tr '\0' 'a' >"$WORK/form"
  ask --data-binary "@$WORK/form" "$cgi"
  told "BODY=$(cat "$WORK/form")" || fail "a large form does not arrive as it was sent"
  # shellcheck disable=SC2016 # that nothing expands is the point
  ask --data '$(id)`id`\n\\"&END$HOME' "$cgi"
  # shellcheck disable=SC2016
  grep -qxF 'BODY=$(id)`id`\n\\"&END$HOME' "$WORK/page" || fail "a shell changes what a form says"

  # Headers of the page's own.
  ask "$cgi?own"
  for name in Content-Security-Policy Referrer-Policy; do
    [ "$(tr -d '\r' <"$WORK/headers" | grep -i "^$name:")" = "$name: own" ] || fail "the page's own $name is lost"
  done
  [ "$(grep -ic '^X-Content-Type-Options: nosniff' "$WORK/headers")" = 1 ] || fail "the header that does not come by itself is not added"
fi
mv "$WORK/program" "$program"
[ "$failures" = 0 ]
