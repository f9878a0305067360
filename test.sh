#!/bin/sh
# Installs what is missing, builds the program twice (as shipped, and under the address and undefined-behaviour
# sanitizers with unsigned characters, on whose sign nothing may depend) and runs every test on both.
#
# With ORVELLIS_SYSTEM_TESTS=1 the machine itself is tested, too: Orvellis behind three web servers, over the logs
# of seven, in a browser, as a Debian package, on many machines by Dask and by ssh, as a container, on an emulated
# ARM processor, and by lists of robots and browsers. With ORVELLIS_DEEP_TESTS=1 the source is read by two analysers,
# all fuzz targets run for twenty seconds each, the tests must reach most lines and branches, and all cases run once
# more under valgrind.
set -eu
cd "$(dirname "$0")"
. ./cmake/packages.sh
jobs=$(($(nproc) + 2)) # more than there are processors, for tests that wait

need_packages g++ cmake ninja-build python3 python3-jsonschema libgtest-dev libgmock-dev libcrypt-dev libseccomp-dev cmark-gfm
# What unpacks compressed logs.
need_packages libisal-dev zlib1g-dev libzstd-dev liblzma-dev libbz2-dev
# What tells countries, and what writes databases of them.
need_packages libmaxminddb-dev libmaxmind-db-writer-perl
# Tools and data that tests use where they are: a name server, time zones, a second shell, packers, patch, a tracer, a reader of pages.
need_packages dnsmasq-base iproute2 tzdata busybox bzip2 xz-utils zstd patch strace python3-html5lib
if [ "${ORVELLIS_SYSTEM_TESTS:-}" = 1 ]; then
  # Real web servers, a real browser, a real package and another processor; else those tests are skipped.
  need_packages curl apache2 nginx-light fcgiwrap lighttpd chromium lintian mandoc fail2ban
  need_packages g++-aarch64-linux-gnu qemu-user
  # More servers, whose own logs are read.
  need_packages haproxy varnish squid caddy
  # What the manual shows of many machines, and of the container image, which is built where buildah is installed.
  need_packages parallel openssh-client openssh-server python3-yaml debootstrap
  # A Dask cluster, what it reads addresses with, and what reads its types.
  need_packages python3-distributed python3-fsspec python3-aiohttp python3-mypy openssl
  command -v npm >/dev/null || need_packages npm
  mkdir -p build/browser
  cp tests/browser/package.json tests/browser/package-lock.json build/browser/
  [ -d build/browser/node_modules ] || (cd build/browser && npm ci --ignore-scripts --no-audit --no-fund >/dev/null)
  # Lists of robots and browsers, which what is told of agents is held against.
  mkdir -p build/agents
  cp tests/agents/package.json tests/agents/package-lock.json build/agents/
  [ -d build/agents/node_modules ] || (cd build/agents && npm ci --ignore-scripts --no-audit --no-fund >/dev/null)
fi
if [ "${ORVELLIS_DEEP_TESTS:-}" = 1 ]; then
  tests/static_analysis.sh
  # The same source is fuzzed from the same place, so that what is found is found again; the next source from another.
  files=$(git rev-parse --short=7 HEAD^{tree} 2>/dev/null) || files=1
  SEED=$((0x$files)) JOBS=$((2 * $(nproc))) fuzz/run.sh 20
  tests/coverage.sh
  tests/memcheck.sh cases
fi
for preset in release asan; do
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset"
done
ctest --preset release -j "$jobs" --output-on-failure
ctest --preset asan -j "$jobs" --output-on-failure
