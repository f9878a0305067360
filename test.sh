#!/bin/sh
# Installs what is missing, builds the program twice (as shipped, and under the
# address and undefined-behaviour sanitizers) and runs every test on both.
set -eu
cd "$(dirname "$0")"
. ./cmake/packages.sh

need_packages g++ cmake ninja-build libgtest-dev libgmock-dev libcrypt-dev busybox
for preset in release asan; do
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
done
ctest --preset release -j "$(nproc)" --output-on-failure
ctest --preset asan -j "$(nproc)" --output-on-failure
