#!/bin/sh
# Measures Orvellis side by side with other log analysers and prints tables.
#
#   bench/compare.sh [scale=N] [repeat=N] [rows=1]
#
#   scale    every number of records is divided by N (default 1)
#   repeat   runs of each command; the median counts (default 5)
#   rows=1   also the other loads: growing logs, distinct items, a memory
#            budget, one day of a year, start-up, a small report
#
# Logs and pages go to build/bench/compare (16 million records take 3.5 GB).
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/cmake/packages.sh"
scale=1 repeat=5 rows=0
for argument in "$@"; do
  case $argument in
    scale=* | repeat=* | rows=*) eval "${argument%%=*}=\${argument#*=}" ;;
    *) echo "compare.sh: unknown argument $argument" >&2 && exit 2 ;;
  esac
done

need_packages g++ cmake ninja-build libcrypt-dev libbenchmark-dev time valgrind
for peer in goaccess webalizer awffull awstats analog; do
  (need_packages $peer) || echo "skipping $peer: not packaged here"
done
(cd "$here" && cmake --preset bench >/dev/null && cmake --build --preset bench >/dev/null)
orvellis=$here/build/bench/orvellis
generate=$here/build/bench/bench/generate_log
work=$here/build/bench/compare
mkdir -p "$work"
cd "$work"
export TZ=UTC LC_ALL=C

# make_log NAME RECORDS [OPTION...]: the log NAME/access.log and its configuration.
make_log() {
  name=$1 records=$(($2 / scale))
  shift 2
  mkdir -p "$name"
  "$generate" records=$records "$@" >"$name/access.log"
  configure "$name"
}
configure() {
  cat >"$1.conf" <<EOF
OrvellisPath=.
Networks=$here/site/networks.txt
${2:-}
user=bench;logs=$work/$1/*.log;url=http://www.example.com;password=*;title=Benchmark
EOF
}

# measure COMMAND...: median CPU seconds, wall seconds and peak KiB of its runs.
measure() {
  run=0
  : >times
  while [ $run -lt "$repeat" ]; do
    /usr/bin/time -a -o times -f '%U %S %e %M' "$@" >page 2>/dev/null || true
    run=$((run + 1))
  done
  grep -v '[a-z]' times | awk '{ print $1 + $2, $3, $4 }' | sort -n | sed -n "$((repeat / 2 + 1))p"
}
# ours NAME [DATES [TURNS]]: the same of a report with all eleven sections; the
# mean of several turns where one is too short for the clock's steps of 10 ms.
ours() {
  turns=${3:-1}
  cat >run.sh <<EOF
turn=0
while [ \$turn -lt $turns ]; do
  "$orvellis" config="$work/$1.conf" username=bench date="${2:-03012000,03302000}" find=/ subdirs=1 \
    dnslookupenabled=0 requests=1,30 referrers=1,30 search=1,30 browsers=1,30 badurls=1,30 badreferrers=1,30 \
    domains=1,30 domaintypes=1,30 dailytotals=1 hitsperdayofweek=1 hitsperhour=1
  turn=\$((turn + 1))
done
EOF
  sh run.sh >page # leaves the summary file
  measure sh run.sh | awk -v turns="$turns" '{ print $1 / turns, $2 / turns, $3 }'
}
# CPU seconds of counting lines: the clock's steps of 10 ms need twenty turns.
count_lines() {
  log=$1/access.log
  measure wc -l "$log" "$log" "$log" "$log" "$log" "$log" "$log" "$log" "$log" "$log" \
    "$log" "$log" "$log" "$log" "$log" "$log" "$log" "$log" "$log" "$log" | awk '{ print $1 / 20 }'
}

# show WHAT RECORDS WC-SECONDS CPU WALL KIB
show() {
  echo "$@" | awk '{ printf "%-24s %10d %9.3f %11.0f %8.1f %9.1f\n", $1, $2, $4, $2 / ($4 + 1e-9), $4 / ($3 + 1e-9), $6 / 1024 }'
}
head_line() {
  printf '%-24s %10s %9s %11s %8s %9s\n' "$1" records 'CPU s' records/s '/ wc -l' 'peak MiB'
}

# --- The standard load, and the peers -------------------------------------------

# The peers write their HTML report of the same log, names of hosts not looked up.
peers() {
  log=$work/$1/access.log
  mkdir -p peer
  if command -v goaccess >/dev/null; then
    show goaccess "$records" "$wc" $(measure goaccess "$log" --log-format=COMBINED --no-global-config -o peer/goaccess.html)
  fi
  if command -v webalizer >/dev/null; then
    show webalizer "$records" "$wc" $(measure webalizer -q -N 0 -o peer -n bench "$log")
  fi
  if command -v awffull >/dev/null; then
    show awffull "$records" "$wc" $(measure awffull -q -o peer -n bench "$log")
  fi
  if command -v analog >/dev/null; then
    show analog "$records" "$wc" $(measure analog -G +g/dev/null "+CLOGFORMAT COMBINED" "+COUTFILE peer/analog.html" \
      "+CALLCHART OFF" -A +D +d +h +o +Z +r +f +n +b +I +K "$log")
  fi
  if [ -x /usr/lib/cgi-bin/awstats.pl ]; then
    cat >peer/awstats.bench.conf <<EOF
LogFile="$log"
LogFormat=1
SiteDomain="www.example.com"
HostAliases="localhost"
DNSLookup=0
DirData="$work/peer"
EOF
    cat >awstats.sh <<EOF
rm -f "$work"/peer/awstats0*.txt
perl /usr/lib/cgi-bin/awstats.pl -config=bench -configdir="$work/peer" -update &&
exec perl /usr/lib/cgi-bin/awstats.pl -config=bench -configdir="$work/peer" -output -month=03 -year=2000
EOF
    # Minutes for a million records: one run must do.
    show awstats "$records" "$wc" $(repeat=1 && measure sh awstats.sh)
  fi
}

compare() {
  wc=$(count_lines "$1")
  head_line "$1"
  show "wc-l" "$records" "$wc" "$wc" 0 0
  show orvellis "$records" "$wc" $(ours "$1")
}

# Instructions of the last report of ours.
instructions() {
  sed "s|\"$orvellis\"|valgrind --tool=callgrind --callgrind-out-file=/dev/null &|" run.sh >counted.sh
  sh counted.sh 2>&1 >page | sed -n 's/.*Collected : //p'
}

make_log standard 1000000
compare standard
peers standard
make_log fifty 50000
ours fifty >/dev/null
fifty=$(instructions)
make_log hundred 100000
ours hundred >/dev/null
hundred=$(instructions)
echo "instructions per record: $(((hundred - fifty) / (50000 / scale)))"
[ "$rows" = 1 ] || exit 0

# --- The other loads --------------------------------------------------------------

for size in 250000 1000000 4000000 16000000; do
  make_log "mix$size" $size
  compare "mix$size"
  rm -rf "mix$size"
done
for distinct in 1000 100000 900000; do
  make_log "distinct$distinct" 1000000 urls=$((distinct / scale)) hosts=$((distinct / scale)) spread=even
  compare "distinct$distinct"
  [ $distinct = 900000 ] && peers "distinct$distinct"
  rm -rf "distinct$distinct"
done
make_log budget 10000000 urls=$((5000000 / scale)) spread=even
configure budget "SmartMemoryMaxMemoryToAllocate=65536"
compare budget
rm -rf budget

# 365 daily logs of one year.
mkdir -p year
day=0
while [ $day -lt 365 ]; do
  "$generate" records=$((20000 / scale)) days=1 start=$((946684800 + day * 86400)) seed=$day \
    >"year/$(printf %03d $day).log"
  day=$((day + 1))
done
configure year
echo "whole year, CPU s, wall s, peak KiB: $(ours year 01012000,12302000)"
echo "one day of it:                       $(ours year 06152000,06152000 50)"
rm -rf year
make_log small 10000
echo "10,000 records:                      $(ours small 03012000,03302000 50)"
echo "100 starts (orvellis about):         $(measure sh -c "for i in 1 2 3 4 5 6 7 8 9 10; do \
  for j in 1 2 3 4 5 6 7 8 9 10; do \"$orvellis\" about; done; done")"
