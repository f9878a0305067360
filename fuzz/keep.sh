#!/bin/sh
# Adds to fuzz/corpus/TARGET.tar.gz what long runs learnt: for each edge that no stored
# input reaches, the smallest input in build/fuzz/corpus that does. The same inputs make
# the same archive.
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
  stored=$build/stored/$target
  archive=fuzz/corpus/$target.tar.gz
  rm -rf "$stored"
  mkdir -p "$build/logs" "$stored"
  cp "fuzz/corpus/$target"/* "$stored/"
  [ ! -f "$archive" ] || tar -xzf "$archive" -C "$stored"
  TZ=UTC LC_ALL=C "$build/fuzz/fuzz_$target" -merge=1 -use_counters=0 "$stored" "$build/corpus/$target" >"$log" 2>&1 || {
    cat "$log" >&2
    exit 1
  }
  for seed in "fuzz/corpus/$target"/*; do
    rm "$stored/$(basename "$seed")"
  done
  (cd "$stored" && ls) | LC_ALL=C sort |
    tar --format=ustar --mtime=@0 --owner=0 --group=0 --numeric-owner --mode=0644 -C "$stored" -cf "$stored.tar" -T -
  gzip -9n <"$stored.tar" >"$archive"
  sed -n "s/^MERGE-OUTER: \([0-9]* new files\) .*/$target: \1/p" "$log"
done
