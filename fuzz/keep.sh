#!/bin/sh
# Adds to fuzz/corpus what long runs learnt: for each edge that no stored input reaches,
# the smallest input in build/fuzz/corpus that does.
#
#   fuzz/keep.sh [TARGET...]    these targets only
set -eu
cd "$(dirname "$0")/.."
build=build/fuzz

if [ $# = 0 ]; then
  for learnt in "$build"/corpus/*/; do
    [ -d "$learnt" ] || {
      echo "nothing was learnt yet: fuzz/run.sh first" >&2
      exit 1
    }
    set -- "$@" "$(basename "$learnt")"
  done
fi
for target in "$@"; do
  log=$build/logs/$target.keep.log
  mkdir -p "$build/logs"
  TZ=UTC LC_ALL=C "$build/fuzz/fuzz_$target" -merge=1 -use_counters=0 \
    "fuzz/corpus/$target" "$build/corpus/$target" >"$log" 2>&1 || {
    cat "$log" >&2
    exit 1
  }
  sed -n "s/^MERGE-OUTER: \([0-9]* new files\) .*/$target: \1/p" "$log"
done
