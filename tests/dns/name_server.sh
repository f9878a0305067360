# Gives the script that reads this file, with its own arguments as "$@", network and
# mount namespaces of its own, in which the system's resolver asks a dnsmasq on
# loopback that knows the addresses of $names and logs every query:
#
#   names='192.0.2.1 www.example.com
#   ...'
#   . "$(dirname "$0")/name_server.sh"
#
# From there on the script runs inside, as root of the namespaces, in the empty
# folder $work. Where namespaces are not permitted or a tool is missing it ends
# with status 77: the test is skipped.
set -eu
PATH=$PATH:/usr/sbin:/sbin

if [ -z "${INSIDE_NAMESPACES:-}" ]; then
  for tool in dnsmasq ip unshare mount; do
    command -v $tool >/dev/null || { echo "skipped: no $tool" >&2; exit 77; }
  done
  script=$(cd "$(dirname "$0")" && pwd)/$(basename "$0")
  for unshare in 'unshare -mn' 'unshare -rmn'; do
    if $unshare ip link set lo up 2>/dev/null; then
      INSIDE_NAMESPACES=1 exec $unshare "$script" "$@"
    fi
  done
  echo 'skipped: namespaces are not permitted' >&2
  exit 77
fi

work=$(mktemp -d)
server=
end() {
  [ -z "$server" ] || kill -KILL "$server" 2>/dev/null || :
  rm -rf "$work"
}
trap end EXIT
cd "$work"

ip link set lo up
mkdir etc
[ ! -d /etc/alternatives ] || cp -RP /etc/alternatives etc/  # where Debian keeps awk
echo 'hosts: dns' >etc/nsswitch.conf
printf 'nameserver 127.0.0.1\noptions timeout:1 attempts:1\n' >etc/resolv.conf
echo 'nobody:x:65534:65534::/:/bin/false' >etc/passwd  # dnsmasq looks it up, and stays root
echo "$names" >names
mount --bind etc /etc

dnsmasq --no-daemon --conf-file=/dev/null --pid-file= \
  --listen-address=127.0.0.1 --bind-interfaces --no-resolv --no-hosts --addn-hosts="$work/names" \
  --local=/in-addr.arpa/ --log-queries 2>"$work/log" &
server=$!

# Queries that the server has seen so far.
queries() {
  grep -c 'query\[' "$work/log" || :
}

# Waits up to five seconds for a command to succeed.
wait_for() {
  tries=50
  until "$@" 2>/dev/null; do
    tries=$((tries - 1))
    [ $tries -gt 0 ] || fail "gave up waiting for: $*
$(cat "$work/log")"
    sleep 0.1
  done
}

fail() {
  echo "FAILED: $*" >&2
  exit 1
}

expect() {  # WHAT EXPECTED ACTUAL
  [ "$2" = "$3" ] || fail "$1: expected
$2
but got
$3"
}

wait_for grep -q 'started' "$work/log"
