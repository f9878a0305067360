#!/bin/sh
# What an installed Orvellis is told by its web server, whatever a visitor sends, which
# a stand-in for the program prints, and what the program itself does then; run by
# with_server.sh. With ORVELLIS_OPEN, the protection is out, and the attacks must be
# seen to work, but for those that the modern edition withstands by itself.
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

# ---- What the program does: nobody gets it to read or write a file of his choice ----

conf=$PREFIX/etc/orvellis/orvellis.conf
other=$WORK/other.conf
printf 'ErrorLog=%s\nuser=mallory;logs=%s;url=http://evil.example\n' "$WORK/planted" "$WORK/log/$SERVER/*" >"$other"
chmod 644 "$other"
errors=$WORK/log/errors
use_edition() { sed -i -e '/^Edition=/d' -e '/^ErrorLog=/d' -e "1i Edition=$1\nErrorLog=$errors" "$conf"; }
is_modern() { grep -q '^<!DOCTYPE html>' "$WORK/page" && grep -q '^HTTP/1.1 403' "$WORK/headers"; }
attack() {  # by the form, then by the arguments
  rm -f "$WORK/planted" "$WORK/part"
  ask --data "config=$other&username=nobody" "$cgi?$1"
  cp "$WORK/page" "$WORK/first"
  by_form=$(ls "$WORK/planted" 2>/dev/null)
  rm -f "$WORK/planted"
  ask --data '' "$cgi?$1"
  by_arguments=$(ls "$WORK/planted" 2>/dev/null)
}
arguments="part%3d$WORK/part+edition%3dclassic+config%3d$other+username%3dnobody"

use_edition modern
attack "$arguments"
is_modern || fail "the modern edition does not refuse by itself"
[ -z "$by_form$by_arguments" ] || fail "a request makes the modern edition write a file"
[ ! -e "$WORK/part" ] || fail "an argument makes a file"
grep -q '^<!DOCTYPE html>' "$WORK/first" || fail "the form's answer is not that of the modern edition"
grep -q 'the form may not set "config"' "$errors" || fail "what the form may not set is not logged"

use_edition classic
attack "$arguments"
if [ -n "${ORVELLIS_OPEN:-}" ]; then
  [ -n "$by_form" ] || fail "unprotected: the form of the classic edition reaches no file"
  [ "$SERVER" != apache ] || [ -n "$by_arguments" ] || fail "unprotected: no argument reaches a file"
else
  [ -z "$by_form$by_arguments" ] || fail "a request makes the classic edition write a file"
fi
[ "$failures" = 0 ]
