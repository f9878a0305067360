#!/bin/sh
# Who is one visitor to the gate, and what it refuses. A stand-in for the program
# keeps its place until it is told to end.
#
#   gate_test.sh BUILD_FOLDER
set -u
for tool in flock ps; do
  command -v "$tool" >/dev/null || { echo "skipped: $tool is not installed"; exit 77; }
done
work=$(mktemp -d)
pids=
# shellcheck disable=SC2317 # at the end
stop() {
  for pid in $pids; do kill "$pid" 2>/dev/null; done
  wait
  rm -rf "$work"
}
trap stop EXIT
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
cmake --install "$1" --prefix "$work/installed" >/dev/null || exit 1
gate=$work/installed/libexec/orvellis/gate/orvellis
program=$work/installed/libexec/orvellis/cgi/orvellis
rm "$program"

stand_in() { # COMMAND
  printf '#!/bin/sh\necho made\n%s\n' "$1" >"$program"
  chmod 755 "$program"
}
ask() { env -i PATH=/usr/bin:/bin "REMOTE_ADDR=$1" "CONTENT_LENGTH=${2:-0}" "$gate" <"${3:-/dev/null}"; }
# Whether somebody at the second address gets a place while one at the first has all of his.
shares() { # ADDRESS ADDRESS
  rm -f "$work"/first*
  stand_in 'exec sleep 30'
  for turn in 1 2 3; do
    ask "$1" >"$work/first$turn" &
    pids="$pids $!"
    for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
      [ -s "$work/first$turn" ] && break
      sleep 0.1
    done
    grep -q made "$work/first$turn" || fail "$1 does not get place $turn: $(cat "$work/first$turn")"
  done
  stand_in 'exit 0'
  ask "$2" >"$work/second"
  # Each gate has become the stand-in: its end is the end of its hold.
  for pid in $pids; do
    kill "$(ps -o pid= --ppid "$pid" 2>/dev/null | head -n 1)" "$pid" 2>/dev/null
  done
  wait
  pids=
  grep -q '^Status: 503' "$work/second"
}

shares 192.0.2.1 192.0.2.1 || fail "one address has more than three places"
! shares 192.0.2.1 198.51.100.7 || fail "another address has no place"
shares 2001:db8::1 2001:db8:0:0:ffff::9 || fail "a network of 64 bits is more than one visitor"
shares 2001:db8:1:2:3:4:5:6 2001:db8:1:2::1 || fail "a network of 64 bits is more than one visitor, written in another way"
shares ::ffff:192.0.2.1 192.0.2.1 || fail "an address is two visitors when it is written as one of IPv6"
! shares 2001:db8:1:2::1 2001:db8:1:3::1 || fail "another network has no place"

stand_in 'exit 0'
for length in 65537 999999 -1 x 1x; do
  ask 192.0.2.1 "$length" | grep -q '^Status: 413' || fail "a length of $length is taken"
done
[ "$(ask 192.0.2.1)" = made ] || fail "nothing is made"

# A pinned configuration that cannot be opened: a status, a sentence, and the path in the server's log alone.
pinned() { # PATH
  env -i PATH=/usr/bin:/bin REMOTE_ADDR=192.0.2.1 CONTENT_LENGTH=0 ORVELLIS_CONFIG="$1" "$gate" </dev/null 2>"$work/log"
}
touch "$work/a configuration"
[ "$(pinned "$work/a configuration")" = made ] || fail "a configuration that is there is refused"
[ "$(pinned orvellis.conf)" = made ] || fail "a configuration in the program's folder is refused"
[ "$(pinned '')" = made ] || fail "an empty variable pins something"
mkfifo "$work/pipe"
for path in "$work/missing.conf" "$work/missing%s.conf" "$work" "$work/pipe"; do
  pinned "$path" >"$work/page"
  head -n 1 "$work/page" | tr -d '\r' | grep -qx 'Status: 500 Internal Server Error' || fail "$path is opened"
  ! grep -qF "$work" "$work/page" || fail "$path is told to the visitor"
  grep -qxF "orvellis: the configuration cannot be opened: $path" "$work/log" || fail "$path is not told to the server"
done

rm "$work/installed/share/orvellis/places/"*
ask 192.0.2.1 | grep -q '^Status: 500' || fail "without places, reports are not refused"
[ "$failures" = 0 ]
