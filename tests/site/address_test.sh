#!/bin/sh
# Reports that are asked for by their address, behind a real web server; run by with_server.sh. The
# configuration has the server's own account with a password, and gets an open one over the same logs.
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
ask() { curl -s -D "$WORK/headers" -o "$WORK/page" "$@"; }
answers() { # STATUS WHAT
  grep -q "^HTTP/1.1 $1" "$WORK/headers" || fail "$2: $(head -n 1 "$WORK/headers") instead of $1"
}
page_has() { grep -qF -- "$2" "$WORK/page" || fail "$1: no '$2'"; } # WHAT TEXT
page_has_not() { ! grep -qF -- "$2" "$WORK/page" || fail "$1: '$2'"; }

printf 'user=open;logs=%s;url=http://www.example.com;password=*\n' "$WORK/log/$SERVER/access.log.1" >>"$conf"

ask "$cgi?username=open&days=all&find=%2F&subdirs=1&requests=1"
answers 200 'a bookmark'
is_report || fail 'a bookmark: no report'
page_has 'a bookmark' '>Link to these days</a>'
link=$(sed -n 's|^<li><a rel="nofollow" href="\([^"]*\)">Link to these days</a>.*|\1|p' "$WORK/page" | sed 's/&amp;/\&/g')
cp "$WORK/page" "$WORK/bookmark"
ask "$cgi$link"
answers 200 'the link of the bookmark'
figures='s/.*<dt>Requests<.dt><dd class="figure">\([0-9,]*\).*/\1/p'
[ "$(sed -n "$figures" "$WORK/page")" = "$(sed -n "$figures" "$WORK/bookmark")" ] || fail 'the link of the bookmark: other figures'

ask --head "$cgi?username=open&days=all&find=%2F&subdirs=1"
answers 200 'HEAD'
grep -qi '^Content-Type: text/html; charset=utf-8' "$WORK/headers" || fail 'HEAD: no type'

ask "$cgi?username=open&days=all&find=%2F&subdirs=1&requests=1&output=json"
answers 200 'JSON'
grep -qi '^Content-Type: application/json' "$WORK/headers" || fail 'JSON: another type'

for account in "$SERVER" nobody; do
  ask "$cgi?username=$account&days=all&find=%2F&subdirs=1"
  answers 200 "the form of $account"
  page_has "the form of $account" '<form'
  sed "s/$account/ACCOUNT/g" "$WORK/page" >"$WORK/form-of-$account"
done
cmp "$WORK/form-of-nobody" "$WORK/form-of-$SERVER" || fail 'the form tells accounts apart'
ask "$cgi"
answers 200 'the empty form'
page_has 'the empty form' '<form'

ask "$cgi?username=$SERVER&password=Teapot&days=all"
answers 400 'a password'
page_has_not 'a password' Teapot
ask "$cgi?username=open&days=never"
answers 400 'no days'
page_has 'no days' 'The logs hold '
ask "$cgi?username=open&days=all&title=$(printf '%5000s' '' | tr ' ' x)"
answers 200 'a long address'
is_report || fail 'a long address: no report'

[ "$failures" = 0 ]
