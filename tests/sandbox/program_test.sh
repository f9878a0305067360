#!/bin/sh
# What the program gives up, seen from outside, and that nothing else changes: a kernel that knows nothing of it
# gives the same reports.
#
#   program_test.sh PROGRAM WITHOUT_KERNEL
set -eu
program=$1
without_kernel=$2
here=$(cd "$(dirname "$0")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export TZ=UTC LC_ALL=C

fail() {
  echo "FAILED: $*"
  exit 1
}
skip() {
  echo "skipped: $*"
  exit 77
}

command -v strace >/dev/null || skip 'no strace'
strace -o trace true 2>/dev/null || skip 'nothing can be traced'
"$without_kernel" true || skip 'this kernel has no filters of system calls'

mkdir logs other
cat >other/real <<END
192.0.2.7 - - [05/Mar/2000:10:00:00 +0000] "GET /linked.html HTTP/1.0" 200 10
END
ln -s ../other/real logs/link.log
cat >logs/own.log <<END
192.0.2.7 - - [06/Mar/2000:10:00:00 +0000] "GET /own.html HTTP/1.0" 200 10
END
printf 'ErrorLog=errors\nuser=demo;logs=logs/*.log;url=http://www.example.com;password=*\nuser=none;logs=nothing/*;url=http://www.example.com;password=*\n' >orvellis.conf

calls='seccomp|landlock_[a-z_]*|prctl'
traced() {  # EDITION ACCOUNT: the calls by which rights are given up, behind the first page's name
  rm -f trace
  strace -o trace "$program" "edition=$1" "username=$2" date=03052000,03062000 find=/ subdirs=1 requests=1 >page ||
    fail "status $? of $1"
  grep -oE "^($calls)\(" trace || :
}

# The classic edition makes none of the calls, the modern one does before it opens a log.
[ -z "$(traced classic demo)" ] || fail "the classic edition gives up something: $(traced classic demo)"
grep -q 'linked.html' page || fail 'the classic report lacks a log'
rm logs/*.ORV
made=$(traced modern demo)
for call in landlock_restrict_self seccomp; do
  echo "$made" | grep -q "^$call(" || fail "no $call"
done
grep -E '^(landlock_restrict_self|seccomp)\(' trace | grep -qv '= 0$' && fail "refused: $(grep -E '^(landl|seccomp)' trace)"
entered=$(grep -nE '^seccomp\(' trace | cut -d: -f1)
# Before, no more is looked at of a log than whether it is compressed, which six bytes tell.
begun=$(grep -nE '^landlock_create_ruleset\(' trace | head -n 1 | cut -d: -f1)
before=$(sed -n "${begun},${entered}p" trace | grep -E '^(p?read|readv|mmap)' | grep -v 'MAP_ANONYMOUS' || :)
[ "$(echo "$before" | grep -cE '^pread64\(.*, 6, 0\) += 6$')" = 2 ] || fail "two logs are looked at: $before"
[ "$(echo "$before" | wc -l)" = 2 ] || fail "a log is read before the rest is given up: $before"
sed "1,${entered}d" trace | grep -qE '^openat\(.*(own|link)\.log", O_RDONLY\|O_NOCTTY' || fail 'no log is opened'
[ -z "$(sed "1,${entered}d" trace | grep -E '= -1 E(PERM|ACCES)')" ] ||
  fail "the report tries what it gave up: $(sed "1,${entered}d" trace | grep -E '= -1 E(PERM|ACCES)')"

# A log behind a link counts, the error log is written, and no summary file.
for page in linked.html own.html; do
  grep -q "$page" page || fail "no $page in the report"
done
[ ! -e logs/s_log.ORV ] || fail 'a summary file'
traced modern none >/dev/null
grep -q 'no log files found' errors || fail 'no line in the error log'
traced modern none >/dev/null
[ "$(wc -l <errors)" = 2 ] || fail 'no second line in the error log'

# Where the bytes of a log come by standard input, nothing of its path is opened, and nothing is tried that was given up.
counted='edition=modern username=demo days=all requests=1'
sed s/192.0/193.0/ logs/own.log | gzip -nc >logs/own.gz.log
for log in own.log own.gz.log; do
  piece=$("$program" $counted plan=1G | grep "log=logs/$log ")
  strace -o trace "$program" $counted piece="$piece" stream=- part=one.part <logs/$log || fail "status $? of $log by a stream"
  grep -qE '^seccomp\(' trace || fail "$log by a stream: no seccomp"
  ! grep -E '^open(at)?\(.*own' trace || fail "$log by a stream is opened"
  entered=$(grep -nE '^seccomp\(' trace | cut -d: -f1)
  ! sed "1,${entered}d" trace | grep -E '= -1 E(PERM|ACCES)' || fail "$log by a stream: tries what it gave up"
  grep -aq own.html one.part || fail "$log by a stream counts nothing"
done
rm logs/own.gz.log one.part

# Every end-to-end case of the modern edition holds on a kernel that knows nothing of it, too.
cat >orvellis <<END
#!/bin/sh
[ ! -L "\$0" ] || { ln -sf "$program" "\$0" && exec "$without_kernel" "\$0" "\$@"; }
exec "$without_kernel" "$program" "\$@"
END
chmod +x orvellis
cases=$(grep -rliE 'edition=modern' "$here/../cli" --include='*.case' --include=args --include=env --include=run --include='*.conf' |
  sed -E -e '/\/bases\//d' -e 's:/(args|env|run|[^/]*\.conf)$::' | sort -u)
ran=0
for case in $cases; do
  "$here/../cli/run_case.sh" "$work/orvellis" "$case" >said 2>&1 || fail "$case without the kernel's means: $(cat said)"
  ran=$((ran + 1))
done
[ $ran -gt 5 ] || fail "only $ran cases of the modern edition"

# The logs of the samples, too.
mkdir samples
cp "$here"/../../samples/logs/*.log samples/
printf 'user=samples;logs=samples/*.log;url=http://www.example.com;password=*\n' >>orvellis.conf
report() {  # COMMAND...
  "$@" edition=modern username=samples date=01012000,12312000 find=/ subdirs=1 requests=1 domains=1 hitsperday=1 debug=1 >page ||
    fail "status $?"
  sed -f "$here/../cli/blank.sed" page
}
whole=$(report "$program")
[ "$whole" = "$(report "$without_kernel" "$program")" ] || fail 'the samples give another report'
echo "$whole" | grep -q 'index.html' || fail 'the report is empty'
echo "$ran cases and the samples"
