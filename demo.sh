#!/bin/sh
# Builds Orvellis and writes one report page.
#
#   ./demo.sh             over the sample logs of this repository
#   ./demo.sh LOGFILE...  over logs of your own, from their first day to their last
set -eu
here=$(cd "$(dirname "$0")" && pwd)
. "$here/cmake/packages.sh"

need_packages g++ cmake ninja-build libcrypt-dev
(
  cd "$here"
  cmake --preset release -DORVELLIS_TESTS=OFF -B build/demo >/dev/null
  cmake --build build/demo --target orvellis
)
orvellis=$here/build/demo/orvellis
out=$here/build/demo-report
rm -rf "$out"
mkdir -p "$out/logs"
cp "$here"/site/*.gif "$out/" 2>/dev/null || true

# One account over the folder of logs. Names are of our own making, because a
# pattern may not hold every character that a file name may.
config() {
  cat <<EOF
OrvellisPath=.
Networks=$here/site/networks.txt
user=demo;logs=$out/logs/*.log;url=$1;password=*;title=$2
EOF
}
report() {
  dates=$1
  shift
  "$orvellis" config="$out/orvellis.conf" username=demo date="$dates" "$@" \
    requests=1,30 referrers=1,30 search=1,20 browsers=1,30 badurls=1,30 badreferrers=1,30 domains=1,30 \
    domaintypes=1,30 badurl_referrers=1 dailytotals=1 hitsperdayofweek=1 hitsperhour=1 >"$out/report.html"
}

if [ $# -eq 0 ]; then
  ln -s "$here"/samples/logs/*.log "$out/logs/"
  config http://www.example.com 'One Week of www.example.com' >"$out/orvellis.conf"
  report 03052000,03112000 find=/ subdirs=1
else
  number=0
  for log in "$@"; do
    if [ ! -f "$log" ] || [ ! -r "$log" ]; then
      echo "demo.sh: cannot read the log file $log" >&2
      exit 1
    fi
    number=$((number + 1))
    ln -s "$(cd "$(dirname "$log")" && pwd)/$(basename "$log")" "$out/logs/$(printf '%06d' $number).log"
  done
  config http://localhost 'Web Site Analysis' >"$out/orvellis.conf"
  # The first run leaves the logs' first and last times in the summary file.
  report 01011970,01011970 find=/
  range=$(awk -F, '/^[0-9]/ && $2 > 0 {
      if (!first || $2 < first) first = $2
      if ($3 > last) last = $3
    }
    END { if (first) print first, last }' "$out"/logs/*.ORV)
  if [ -z "$range" ]; then
    echo "demo.sh: found no line with a date that it can read in: $*" >&2
    exit 1
  fi
  # Every URL counts, those of a proxy's log, which begin with a scheme, too.
  report "$(date -d "@${range% *}" +%m%d%Y),$(date -d "@${range#* }" +%m%d%Y)" 'find=*' find_pattern=1
fi

echo "The report is written:"
echo "  $out/report.html"
echo "Open it in a browser, for example with:"
echo "  xdg-open $out/report.html"
