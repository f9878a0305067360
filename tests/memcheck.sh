#!/bin/sh
# Runs the tests of a build under valgrind's memcheck: reads of bytes that were never written fail here, which
# no other check finds.
#
#   tests/memcheck.sh cases           the end-to-end cases, with the program of the release build
#   tests/memcheck.sh [BUILD_FOLDER]  and the unit tests
#
# BUILD_FOLDER is build/memcheck when not given, which is built first; one of debug with ORVELLIS_SANDBOX=OFF tells
# line numbers. A program that gives up system calls gives up valgrind's, too.
set -eu
here=$(cd "$(dirname "$0")/.." && pwd)
. "$here/cmake/packages.sh"
need_packages valgrind patch

build() { # PRESET TARGET
  (cd "$here" && cmake --preset "$1" >/dev/null && cmake --build --preset "$1" --target "$2")
}
case ${1:-build/memcheck} in
  cases)
    build release orvellis_watched
    folder=build/release/watched
    ;;
  build/memcheck)
    build memcheck all
    folder=build/memcheck
    ;;
  *) folder=$1 ;;
esac
build=$(cd "$here" && cd "$folder" && pwd)
# One more than there are processors, for those that wait.
jobs=$(($(getconf _NPROCESSORS_ONLN) + 1))
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export TZ=UTC LC_ALL=C
# Shorter runs of instructions at once: most of what a case takes is translating code that runs once.
memcheck="valgrind --quiet --error-exitcode=99 --leak-check=no --vex-guest-chase=no"
failed=0

# Half of the time that a start takes, memcheck reads debugging data of the C library. Of a copy that does not say
# which build it is, there are none to be found; functions keep the names by which memcheck knows them.
libraries=$work/libraries
mkdir "$libraries"
libc=$(ldd "$build/orvellis" | sed -n 's/^[[:space:]]*libc\.so\.6 => \([^ ]*\) .*/\1/p')
objcopy --remove-section=.note.gnu.build-id --remove-section=.gnu_debuglink "$libc" "$libraries/libc.so.6"

# What memcheck writes to standard error fails a case as well as the exit status does. A link to the program
# is a name that a page repeats.
cases() {
  cat >"$work/orvellis" <<EOF
#!/bin/sh
export LD_LIBRARY_PATH="\${LD_LIBRARY_PATH:+\$LD_LIBRARY_PATH:}$libraries"
[ ! -L "\$0" ] || { ln -sf "$build/orvellis" "\$0" && exec $memcheck "\$0" "\$@"; }
exec $memcheck "$build/orvellis" "\$@"
EOF
  chmod +x "$work/orvellis"
  # shellcheck disable=SC2016 # the inner shell expands it
  find "$here/tests/cli" -path "$here/tests/cli/bases" -prune -o \
    \( -name args -o -name form -o -name run -o -name base -o -name '*.case' \) -print |
    sed -E 's:/(args|form|run|base)$::' | sort -ru |
    xargs -n 1 -P "$jobs" sh -c '
      "$0/tests/cli/run_case.sh" "$1/orvellis" "$2" >"$1/said.$$" 2>&1 || { echo "FAILED: $2"; cat "$1/said.$$"; exit 1; }
    ' "$here" "$work"
}

units() {
  for program in "$build"/tests/*/*_tests; do
    part=1
    while [ $part -le "$jobs" ]; do
      echo "$program $part/$jobs"
      part=$((part + 1))
    done
  done | xargs -n 2 -P "$jobs" sh -c "cd $work && $memcheck \"\$0\" --each-apart=\"\$1\""
}

cases || failed=1
[ "${1:-}" = cases ] || units || failed=1
exit $failed
