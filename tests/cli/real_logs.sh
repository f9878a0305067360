#!/bin/sh
# Reports over logs that real servers wrote, held against counts made by other means.
#
#   ORVELLIS_REAL_LOGS=FOLDER_OF_LOGS real_logs.sh PROGRAM
#
# For each log, real_logs.awk lists what its records are, sort and uniq count
# them, and every row of every table of the report must be the same, in the same
# order. Nothing of a log is written down here.
set -eu
export LC_ALL=C TZ=UTC

program=$1
logs=${ORVELLIS_REAL_LOGS:-}
here=$(cd "$(dirname "$0")" && pwd)
if [ ! -d "$logs" ]; then
  echo "ORVELLIS_REAL_LOGS names no folder: nothing to test."
  exit 77
fi
logs=$(cd "$logs" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
mkdir log
failures=0

cat >orvellis.conf <<'EOF'
user=test;logs=log/*.log;url=http://www.example.com;password=*;find=*;find_pattern=1
EOF

# --- What the report says -----------------------------------------------------

# report FIRST LAST ARGUMENTS...: the days as YYYYMMDD
report() {
  range=$(echo "$1 $2" | sed 's/\(....\)\(....\) \(....\)\(....\)/\2\1,\4\3/')
  shift 2
  "$program" username=test date="$range" requests=1 referrers=1 browsers=1 badurls=1 domains=1 domaintypes=1 \
    hitsperdayofweek=1 hitsperhour=1 "$@" >page
}

# The figure of a line of the report's head, without commas and the rounded size.
figure() {
  sed -n "s|.*<b>$1:</b></td><td width=\"50%\">\([0-9,]*\).*|\1|p" page | tr -d ,
}

# The part of the page behind an anchor.
section() {
  sed -n "/<a name=\"$1\">/,/<\/table><\/center>/p" page
}

# Count and item of each row of a ranked table, as it stands.
ranked() {
  section "$1" |
    sed -n -e 's|^<tr><td align=center>\([0-9]*\)</td><td align=center>[0-9.]*%</td><td>\(.*\)</td></tr>$|\1 \2|p' |
    sed -e 's|^\([0-9]*\) <a href=".*" target="_blank">\(.*\)</a>$|\1 \2|'
}

# The counts of a table of days or hours.
counts() {
  section "$1" | sed -n -e 's|^<td>\([0-9][0-9]*\)$|\1|p' -e 's|^<td><img .*>&nbsp;\([0-9]*\)$|\1|p'
}

# The number of requests that the summary of the browsers tells of a maker; there
# is no summary when no request has a browser.
browser_requests() {
  section browsers | sed -n "s|.*<b>\([0-9]*\)</b> of the requests .* $1.*|\1|p" | grep . || echo 0
}

# --- What it should say -------------------------------------------------------

column() { cut -f "$1" records; }
lower() { tr A-Z a-z; }

# Counts and items in the order of the report: by count, then by item, both falling.
ranking() {
  sed '/^$/d' | sort | uniq -c | sed 's/^ *//' | sort -k 1,1nr -k 2r
}

# Counts of the numbers from 0 up to a limit.
tally() {
  awk -v limit="$1" '{ n[$1 + 0]++ } END { for (i = 0; i < limit; i++) print n[i] + 0 }'
}

# Networks of numeric hosts, names without their first part.
domains() {
  column 1 | awk '
    { parts = split($0, part, ".") }
    !/[A-Za-z]$/ { print (parts > 3 ? part[1] "." part[2] "." part[3] : $0); next }
    parts > 2 { sub(/^[^.]*\./, "") }
    { print }'
}

# The last part of a domain in capitals; of a network, which is a number, "UNKNOWN".
domain_types() {
  domains | sed -e '/^$/d' -e 's/.*\.//' | awk '{ print /[A-Za-z]/ ? toupper($0) : "UNKNOWN" }'
}

# Behind the thousand millions the rest is not padded with zeros.
byte_total() {
  column 7 | awk '
    { sum += $1 }
    END { if (sum > 1e9) printf "%d%d\n", int(sum / 1e9), sum - int(sum / 1e9) * 1e9; else printf "%d\n", sum }'
}

# --- Holding one against the other --------------------------------------------

# same WHAT: compares the files want and got
same() {
  if ! cmp -s want got; then
    failures=$((failures + 1))
    echo "$log: $1 differs (-: as counted here, +: in the report):"
    diff -a -u want got | sed -n '3,12p'
  fi
}

same_figure() {
  echo "$2" >want
  echo "$3" >got
  same "$1"
}

same_table() {
  ranked "$2" >got
  if [ "$3" = ignore-case ]; then lower <got >folded && mv folded got; fi
  same "$1"
}

compare_page() {
  same_figure requests "$(wc -l <records | tr -d ' ')" "$(figure 'HTTP Requests')"
  same_figure 'bytes served' "$(byte_total)" "$(figure 'HTTP Bytes Served')"
  same_figure 'bytes read' "$(wc -c <log/a.log | tr -d ' ')" "$(figure 'Log Bytes Read')"
  column 5 | sed 's/[?"].*//' | lower | ranking >want
  cp want urls
  same_figure 'distinct URLs' "$(wc -l <urls | tr -d ' ')" "$(section urls | sed -n 's|.*<b>\([0-9]*\)</b> distinct URLs.*|\1|p')"
  mv urls want
  same_table URLs urls ignore-case
  column 8 | lower | ranking >want
  same_table referrers referrers ignore-case
  column 9 | ranking >want
  same_table browsers browsers as-it-stands
  same_figure Navigator "$(column 9 | grep '^Mozilla/' | grep -v -c ompatible || true)" \
    "$(browser_requests Navigator-brand)"
  same_figure Explorer "$(column 9 | grep -c MSIE || true)" "$(browser_requests Explorer)"
  awk -F '\t' '$6 == 404 { print $5 }' records | ranking >want
  same_table 'bad URLs' badurls as-it-stands
  domains | ranking >want
  same_table domains domains as-it-stands
  domain_types | ranking >want
  same_table 'domain types' networks as-it-stands
  column 3 | tally 7 >want
  counts weekly >got
  same 'hits per day of week'
  column 4 | tally 24 >want
  counts hourly >got
  same 'hits per hour'
}

# The days of the log, one after the other, among which none may be missing.
compare_days() {
  column 2 | sort | uniq -c | awk '{ print $1 }' >want
  counts daily | sed '/^0$/d' >got
  same 'daily totals'
}

# compare KIND SKIP LOG ARGUMENTS...: the whole comparison over one log
compare() {
  kind=$1 skip=$2 log=$3
  shift 3
  rm -f log/*
  cp "$logs/$log" log/a.log
  awk -v kind="$kind" -v skip="$skip" -f "$here/real_logs.awk" log/a.log >records
  if [ ! -s records ]; then
    failures=$((failures + 1))
    echo "$log: no record was found to count"
    return
  fi
  report "$(column 2 | sort | head -1)" "$(column 2 | sort | tail -1)" dailytotals=1 "$@"
  compare_page
  # In the one log of many years the days of a year are those of all.
  if [ "$log" != iis-comma-2009-2013.log ]; then compare_days; fi
}

# A log of which no line is a record, although its dates were recognised.
compare_empty() {
  log=$1
  rm -f log/*
  cp "$logs/$log" log/a.log
  report 19800101 20291231
  same_figure requests 0 "$(figure 'HTTP Requests')"
  same_figure 'bytes served' 0 "$(figure 'HTTP Bytes Served')"
  same_figure 'bytes read' "$(wc -c <log/a.log | tr -d ' ')" "$(figure 'Log Bytes Read')"
  same_figure 'empty tables' 8 "$(grep -c 'No items found' page)"
}

compare common 0 common-twiki-2004.log
compare common 0 common-nasa-1995.log
compare common 0 common-nasa-1995-wrapped.log
compare common 0 common-proxy-edp-2013.log
compare common 0 common-proxy-cairn-2013.log
compare common 0 combined-semicomplete-2015.log
compare common 0 combined-hackers-2015.log
compare common 0 combined-shop-2019.log
compare common 0 netscape-flex-2006.log
compare w3c 0 w3c-iis7-2009.log
compare w3c 0 w3c-iis85-2016.log
compare iis 0 iis-comma-2009-2013.log

# Nearly every line is wrapped in one more pair of quotes. The first quote opens
# a field that ends where the request's begins, so that host, user and date are
# one field, and where the date should be stands the rest of the line: no date,
# no record. The few lines without that pair are records.
compare common 0 combined-quoted-w3af-2016.log

# The server's name comes first, so that a user's name stands where the common
# form has its date: no record without a layout, all of them with one.
compare_empty combined-vhost-2020.log
compare common 1 combined-vhost-2020.log logformat='S?hmw1qrcfa'

# A "#Fields:" line without a "#Software:" line before it is one of WebSTAR, whose
# names are in capitals. These are not: every field is skipped, the date too.
compare_empty w3c-tab-cloudfront-2011.log

# Its lines have a time of day, but the date stands in header lines alone, so that
# the file has no first and last date and is never read.
log=w3c-iis4-ftp-2000.log
rm -f log/*
cp "$logs/$log" log/a.log
report 19800101 20291231
same_figure 'files in range' 1 "$(grep -c 'No log files found containing date range specified' page)"
same_figure 'tables' 0 "$(grep -c '<a name=' page || true)"
size=$(wc -c <log/a.log | tr -d ' ')
same_figure 'summary' "$size,0,0,log/a.log" "$(tail -1 log/s_log.ORV)"

[ "$failures" = 0 ] || exit 1
