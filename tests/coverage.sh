#!/bin/sh
# Builds the program with counters, runs the unit tests and the end-to-end cases on it, and prints how much of
# each file of src/ ran. Fails under 95 % of the lines or 90 % of the branches, or when a test fails.
# docs/coverage.md tells what never runs, and why.
#
#   tests/coverage.sh [--branches]    the table shows the branches in place of the lines
set -eu
cd "$(dirname "$0")/.."
. ./cmake/packages.sh
need_packages g++ cmake ninja-build libgtest-dev libgmock-dev libcrypt-dev gcovr patch

build=build/coverage
jobs=$(getconf _NPROCESSORS_ONLN)
cmake --preset coverage >/dev/null
find "$build" -name '*.gcda' -delete
cmake --build --preset coverage

# One process for each part of a test program, which forks for each of its cases.
parts() {
  for program in "$PWD/$build"/tests/*/*_tests; do
    part=1
    while [ $part -le "$jobs" ]; do
      echo "$program --each-apart=$part/$jobs"
      part=$((part + 1))
    done
  done
}
failed=0
# shellcheck disable=SC2016 # the inner shell expands it
parts | TZ=UTC LC_ALL=C xargs -n 2 -P "$jobs" sh -c '"$@" >"$0.$$" 2>&1 || { cat "$0.$$"; exit 1; }' \
  "$PWD/$build/said" || failed=1
rm -f "$build"/said.*
# Those that count one thing again and again, over logs that chance wrote, reach no line that others do not.
ctest --preset coverage -j "$((jobs + 1))" -R '^(cli|dns)\.' --quiet \
  -E '^cli\.(agreement|same_figures|part_cache_used|parts_parameters|given_bytes|slow_figures)$' || failed=1

# Branches to an exception, and those that the compiler can tell are never taken, are not the program's.
gcovr --root . --filter src/ --exclude-throw-branches --exclude-unreachable-branches -j "$jobs" \
  --print-summary --fail-under-line 95 --fail-under-branch 90 "$@" "$build" || failed=1
exit $failed
