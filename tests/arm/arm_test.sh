#!/bin/sh
# The program on 64-bit ARM, which takes the plain form of every algorithm: built by a cross compiler, run by an
# emulator. End-to-end cases, and reports over longer logs of several forms in both editions, come to the same bytes
# as on this processor. Only where ORVELLIS_SYSTEM_TESTS=1, when test.sh installs both tools.
#
#   arm_test.sh PROGRAM SOURCE_FOLDER BUILD_FOLDER
set -eu
export LC_ALL=C TZ=UTC

native=$1
source_dir=$2
build=$3/arm
triplet=aarch64-linux-gnu
skip() {
  echo "skipped: $*"
  exit 77
}
[ "${ORVELLIS_SYSTEM_TESTS:-}" = 1 ] || skip "ORVELLIS_SYSTEM_TESTS is not 1"
for tool in $triplet-g++ qemu-aarch64 apt-get dpkg; do
  command -v "$tool" >/dev/null || skip "no $tool"
done
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# --- The program ---------------------------------------------------------------

# The library of password hashes, of which Debian has no package for cross compilers: unpacked, not installed, so
# that the machine need not know of another architecture. Lists of packages are those of this folder.
fetch_crypt() {
  mkdir -p "$work/apt/lists/partial"
  cd "$work/apt"
  for command in update "download libcrypt-dev:arm64"; do
    # shellcheck disable=SC2086 # a command and its argument
    apt-get -q -o APT::Architectures::=amd64 -o APT::Architectures::=arm64 -o APT::Sandbox::User=root \
      -o Dir::State::lists="$work/apt/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache= \
      $command >"$work/log" 2>&1 || skip "no libcrypt for ARM: $(tail -n 1 "$work/log")"
  done
  dpkg -x libcrypt-dev_*.deb "$build/root.new"
  mv "$build/root.new" "$build/root"
}
mkdir -p "$build"
[ -d "$build/root" ] || (fetch_crypt) || exit
# Optimised a little: the plain forms are tested, and no time is measured.
cmake -S "$source_dir" -B "$build" -G Ninja -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR=aarch64 \
  -DCMAKE_CXX_COMPILER=$triplet-g++ -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE=-O1 \
  -DCMAKE_CXX_STANDARD_INCLUDE_DIRECTORIES="$build/root/usr/include" \
  -DCRYPT_LIBRARY="$build/root/usr/lib/$triplet/libcrypt.a" -DCMAKE_CROSSCOMPILING_EMULATOR=qemu-aarch64 \
  -DORVELLIS_WERROR=ON -DORVELLIS_TESTS=OFF -DORVELLIS_SANDBOX=OFF >"$work/log" 2>&1 || { cat "$work/log" && exit 1; }
cmake --build "$build" --target orvellis >"$work/log" 2>&1 || { tail -n 30 "$work/log" && exit 1; }
arm=$work/orvellis
printf '#!/bin/sh\nexec qemu-aarch64 -L /usr/%s "%s" "$@"\n' $triplet "$build/orvellis" >"$arm"
chmod +x "$arm"

# --- End-to-end cases ------------------------------------------------------------

cases=$source_dir/tests/cli
failures=0
# The libraries that unpack logs are not there, and whoever guesses has a limited time.
find "$cases/formats" "$cases/sections" "$cases/time" "$cases/edition" -name '*.case' \
  ! -name 'compressed_*' ! -name 'guessing_*' | sort >"$work/cases"
# shellcheck disable=SC2016 # the inner shell expands it
xargs -P "$(nproc)" -n 1 sh -c '"$0/run_case.sh" "$1" "$2" >/dev/null 2>&1 || echo "FAILED: $2"' "$cases" "$arm" \
  <"$work/cases" >"$work/failed"
cat "$work/failed"
[ ! -s "$work/failed" ] || failures=1

# --- Longer logs -------------------------------------------------------------------

mkdir "$work/logs"
python3 "$source_dir/tests/arm/write_logs.py" "$work/logs"
printf 'OrvellisPath=%s\n' "$work" >"$work/orvellis.conf"
for log in combined odd w3c tab; do
  printf 'user=%s;logs=%s/logs/%s.log;url=http://www.example.com;password=*\n' "$log" "$work" "$log"
done >>"$work/orvellis.conf"
page() { # PROGRAM ACCOUNT EDITION
  rm -f "$work"/*.ORV "$work"/logs/*.ORV
  "$1" config="$work/orvellis.conf" username="$2" edition="$3" date=03012000,03302000 find=/ subdirs=1 \
    requests=1,50 referrers=1,50 search=1,50 browsers=1,50 badurls=1,50 badreferrers=1,50 domains=1,50 \
    domaintypes=1,50 dailytotals=1 hitsperdayofweek=1 hitsperhour=1 | sed -f "$cases/blank.sed"
}
for log in combined odd w3c tab; do
  for edition in classic modern; do
    page "$native" $log $edition >"$work/native"
    page "$arm" $log $edition >"$work/arm"
    grep -q 'www.example.com' "$work/native" || { echo "FAILED: no report over $log, $edition" && failures=1; }
    cmp "$work/native" "$work/arm" || { echo "FAILED: $log, $edition" && failures=1; }
  done
done
echo "$(wc -l <"$work/cases") cases, 8 reports"
exit $failures
