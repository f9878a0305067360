#!/bin/sh
# Reads the source with clang-tidy, whose checks stand in .clang-tidy, and with cppcheck. No build is needed.
#
#   tests/static_analysis.sh [FILE...]    only these files
set -eu
cd "$(dirname "$0")/.."
. ./cmake/packages.sh
need_packages clang-tidy cppcheck libcrypt-dev libseccomp-dev libisal-dev zlib1g-dev libzstd-dev liblzma-dev libbz2-dev

if [ $# = 0 ]; then
  # Not the benchmarks proper: to the analyser, the counter of their library's loops is a store never read.
  set -- src/*.cpp src/*/*.cpp bench/generate_log.cpp bench/made_up_log.cpp
fi
jobs=$(getconf _NPROCESSORS_ONLN)
failed=0

# What the build makes of the page's style and script.
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
mkdir "$made/output"
sed 's/@\([A-Z_]*\)@/\1/g' src/output/page_assets.h.in >"$made/output/page_assets.h"
export made

# The longest first, so that no processor waits for the last of them.
wc -c "$@" | sed '/ total$/d' | sort -rn | sed 's/^ *[0-9]* //' |
  # shellcheck disable=SC2016 # the inner shell expands it
  xargs -n 1 -P "$jobs" sh -c 'clang-tidy --quiet "$1" -- -std=c++20 -Wreserved-identifier -Isrc -Isrc/sandbox/none -I"$made" -DORVELLIS_SANDBOX=1 2>/dev/null' sh || failed=1

# useStlAlgorithm: a loop of three lines over a table is easier to read than an algorithm with a lambda.
# noExplicitConstructor: that any literal is a Literal, and nothing else, is what that class is for.
cppcheck -j "$jobs" --quiet --std=c++20 --platform=unix64 --enable=warning,performance,portability,style \
  --suppress=useStlAlgorithm --suppress=noExplicitConstructor:src/base/literal.h --error-exitcode=1 -Isrc -DORVELLIS_SANDBOX=1 "$@" || failed=1
exit $failed
