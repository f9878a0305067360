#!/bin/sh
# Fuzzes each target for so many seconds, as many at a time as there are
# processors (or JOBS), and prints what it did. Exit status 1 when an input breaks one:
# such inputs are then in build/fuzz/artifacts. SEED, a number, says where the fuzzers begin, so that a
# run can be repeated; without it each run begins elsewhere.
#
#   fuzz/run.sh SECONDS [TARGET...]
set -eu
cd "$(dirname "$0")/.."
build=build/fuzz

targets() { # [TARGET...]: those given, else all
  if [ $# -gt 0 ]; then
    printf '%s\n' "$@"
  else
    sed -n 's/^orvellis_fuzz_target(\([a-z_]*\).*/\1/p' fuzz/CMakeLists.txt
  fi
}

# The dictionaries that hold keywords of a target's inputs.
dictionaries_of() {
  case $1 in
    agents | agents_file) echo agents urls ;;
    form | parameter) echo parameters months ;;
    config_file) echo parameters configuration ;;
    search_engine | search_referrer) echo configuration urls ;;
    log_line | header_lines | outputs) echo formats months urls ;;
    date_parsers | date_guess) echo months ;;
    normalise) echo urls ;;
    wildcard) echo wildcards ;;
    piece_token) echo pieces ;;
    whole_run) echo parameters configuration formats months urls ;;
  esac
}

longest_of() {
  case $1 in
    line_reader | whole_run | outputs) echo 8192 ;;
    log_line | date_guess | form | summary_file | config_file | names_file | agents_file) echo 4096 ;;
    *) echo 1024 ;;
  esac
}

figure() { # LOG NAME: what libFuzzer counted
  sed -n "s/^stat::$2: *//p" "$1"
}

fuzz_one() { # SECONDS TARGET
  target=$2
  log=$build/logs/$target.log
  dictionary=$build/$target.dict
  mkdir -p "$build/corpus/$target" "$build/artifacts" "$build/logs"
  found=fuzz/found/$target
  [ -d "$found" ] || found=
  for name in $(dictionaries_of "$target"); do
    cat "fuzz/dictionaries/$name.dict"
  done >"$dictionary"
  [ -s "$dictionary" ] || dictionary=
  status=0
  TZ=UTC LC_ALL=C "$build/fuzz/fuzz_$target" -max_total_time="$1" -max_len="$(longest_of "$target")" \
    -seed="${SEED:-0}" -reload=0 -timeout=10 -rss_limit_mb=1024 -print_final_stats=1 ${dictionary:+"-dict=$dictionary"} \
    -artifact_prefix="$build/artifacts/$target-" "$build/corpus/$target" "fuzz/corpus/$target" "$build/fuzz/learnt/$target" \
    ${found:+"$found"} >"$log" 2>&1 || status=1
  edges=$(sed -n 's/.* cov: \([0-9]*\) .*/\1/p' "$log" | tail -n 1)
  printf '%-16s %12s executions %8s/s %6s edges%s\n' "$target" "$(figure "$log" number_of_executed_units)" \
    "$(figure "$log" average_exec_per_sec)" "$edges" "$([ $status = 0 ] || echo "  BROKEN, see $log")"
  if [ $status != 0 ]; then
    # What broke it, and the input itself, in case the log is out of reach.
    grep -a -E 'does not hold|: Failure|ERROR: |runtime error|Test unit written' "$log"
    sed -n 's/.*Test unit written to //p' "$log" | xargs -r base64
  fi
  return $status
}

if [ "${1:-}" = --one ]; then
  fuzz_one "$2" "$3"
  exit
fi

case ${1:-} in
  '' | *[!0-9]*)
    echo "usage: fuzz/run.sh SECONDS [TARGET...]" >&2
    exit 2
    ;;
esac
seconds=$1
shift
. ./cmake/packages.sh
need_packages clang libclang-rt-dev llvm cmake ninja-build libgtest-dev libcrypt-dev
cmake --preset fuzz >/dev/null
cmake --build --preset fuzz
if targets "$@" | xargs -P "${JOBS:-$(nproc)}" -n 1 fuzz/run.sh --one "$seconds"; then
  exit 0
fi
exit 1
