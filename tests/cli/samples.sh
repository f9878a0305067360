#!/bin/sh
# Reports over the sample logs of the repository: every section has something to
# say, and every log of every format has its part in it.
#
#   samples.sh PROGRAM REPOSITORY
set -eu
export LC_ALL=C TZ=UTC

program=$1
repository=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/samples"
cp -R "$repository/samples/orvellis.conf" "$repository/samples/logs" "$repository/samples/custom" "$work/samples/"
cp -R "$repository/site" "$work/"
rm -f "$work"/samples/*/*.ORV
cd "$work"
failures=0

fail() {
  echo "$1"
  failures=$((failures + 1))
}

# report USER CONFIGURATION ARGUMENTS...: the week of the samples
report() {
  user=$1
  config=$2
  shift 2
  "$program" config="$config" username="$user" date=03052000,03112000 find=/ subdirs=1 "$@" >page
}

section() {
  sed -n "/<a name=\"$1\">/,/<\/table><\/center>/p" page
}

# More rows of a ranked table than the given number.
has_more_rows_than() {
  rows=$(section "$2" | grep -c '^<tr><td align=center>[1-9]' || true)
  [ "$rows" -gt "$1" ] || fail "section $2 has $rows rows"
}

# Every row of a table of days or hours has hits.
has_hits_in_all() {
  rows=$(section "$2" | grep -c '^<td><img .*>&nbsp;[1-9]' || true)
  [ "$rows" = "$1" ] || fail "section $2 has $rows rows with hits"
}

requests() {
  sed -n 's|.*<b>HTTP Requests:</b></td><td width="50%">\([0-9,]*\)</td>|\1|p' page | tr -d ,
}

# --- All logs together --------------------------------------------------------

report demo samples/orvellis.conf requests=1 referrers=1 search=1 browsers=1 badurls=1 badreferrers=1 \
  badurl_referrers=1 domains=1 domaintypes=1 dailytotals=1 hitsperdayofweek=1 hitsperhour=1
all=$(requests)
for name in urls referrers browsers domains networks; do
  has_more_rows_than 5 "$name"
done
has_more_rows_than 2 badurls
has_more_rows_than 1 badreferrers
has_hits_in_all 7 daily
has_hits_in_all 7 weekly
has_hits_in_all 24 hourly
section badurls | grep -q '&nbsp;referrers*&nbsp;from:' || fail 'no bad URL has a referrer'
[ "$(section search | grep -c 'Results from')" -gt 3 ] || fail 'fewer than four search engines have phrases'
[ "$(section search | grep -c '^<td>[a-z]')" -gt 10 ] || fail 'there are few search phrases'
section networks | grep -q '<td>Germany</td>' || fail 'domain types are not named'
section browsers | grep -q '<b>[1-9][0-9]*</b> of the requests .*Navigator' || fail 'no browser is Navigator'
section browsers | grep -q '<b>[1-9][0-9]*</b> of the requests .*Explorer' || fail 'no browser is Explorer'
if grep -q 'No items found\|No search phrases found' page; then fail 'a section has nothing to say'; fi

# --- Each log alone -----------------------------------------------------------

sum=0
for log in samples/logs/*.log; do
  echo "user=one;logs=./$log;url=http://www.example.com;password=*" >one.conf
  report one one.conf
  alone=$(requests)
  [ "${alone:-0}" -gt 100 ] || fail "$log gives ${alone:-no} requests"
  sum=$((sum + ${alone:-0}))
done
[ "$sum" = "$all" ] || fail "the logs give $sum requests one by one, but $all together"

report vhost samples/orvellis.conf
lines=$(wc -l <samples/custom/vhost.log | tr -d ' ')
[ "$(requests)" = "$lines" ] || fail "the custom log gives $(requests) requests of $lines lines"

[ "$failures" = 0 ] || exit 1
