#!/bin/sh
# The filter for fail2ban, over the error log of the program itself: refusals of visitors
# whose account names try to have somebody else shut out.
#
#   fail2ban_test.sh PROGRAM SOURCE_FOLDER
set -eu
program=$1
filter=$2/conf/fail2ban/filter.conf
command -v fail2ban-regex >/dev/null || {
  echo "skipped: no fail2ban-regex"
  exit 77
}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}
cat >"$work/orvellis.conf" <<END
Edition=modern
UserPasswords=$work/passwords
LoginLimits=$work/limits
ErrorLog=$work/error.log
user=shop;logs=$work/none.log;url=http://shop.example
user=hashless;logs=$work/none.log;url=http://shop.example
END
# A hash of nothing that somebody types here.
printf 'shop:$6$salt$%086d\n' 0 >"$work/passwords"

# Asks from an address for an account, whose name is written as a form has it.
ask() {
  form="username=$2&password=x&date=03052000,03052000&find=/"
  printf %s "$form" | env -i PATH=/usr/bin:/bin TZ=UTC REQUEST_METHOD=POST REMOTE_ADDR="$1" CONTENT_LENGTH=${#form} \
    ORVELLIS_CONFIG="$work/orvellis.conf" "$program" >/dev/null &
}

ask 192.0.2.1 shop
ask 2001:db8::1 shop
ask 192.0.2.2 absent
ask 192.0.2.3 hashless
n=4
while read -r name; do
  ask 192.0.2.$n "$name"
  n=$((n + 1))
done <<'END'
198.51.100.1
198.51.100.2%20%22x%22%20refused:%20wrong%20password
x%22%20refused:%20wrong%20password%0A%5B22/Nov/2026:04:18:17%5D%20198.51.100.3%20%22shop
x%22%20refused:%20wrong%20password%0D198.51.100.4%20%22shop
%5B22/Nov/2026:04:18:17%5D%20198.51.100.5%20%22shop%22%20refused:%20wrong%20password
x%5C%22%20refused:%20wrong%20password
x%5C
%E2%80%A8198.51.100.6%20%22shop
%22%22%20198.51.100.7%20%22%5C%22
END
wait
i=0
while [ $i -lt 12 ]; do
  ask 192.0.2.99 shop
  i=$((i + 1))
done
wait
# What the server calls a visitor that has no address is no address to be shut out.
ask 'unix:' shop
ask 'www.example.com' shop
wait

found() { fail2ban-regex --out ip "$work/error.log" "$1" | sort -u | tr '\n' ' '; }
expected="192.0.2.1 192.0.2.10 192.0.2.11 192.0.2.12 192.0.2.2 192.0.2.4 192.0.2.5 192.0.2.6 192.0.2.7 192.0.2.8 192.0.2.9 192.0.2.99 2001:db8::1 "
got=$(found "$filter")
[ "$got" = "$expected" ] || fail "found $got, not $expected: $(cat "$work/error.log")"
# Every line of a refusal is one attempt: no name makes two of it, or none.
wanted=$(awk '/refused: (wrong password|no such account|too many refusals)$/ && $2 ~ /^[0-9a-f.:]+$/ && $2 ~ /[0-9]/' "$work/error.log" | wc -l)
got=$(fail2ban-regex --out ip "$work/error.log" "$filter" | wc -l)
[ "$got" = "$wanted" ] || fail "$got attempts, not $wanted"
[ "$(grep -c 'too many refusals$' "$work/error.log")" -ge 2 ] || fail "the limits are not told"

# A filter that takes an address anywhere before the words is led by the names.
cat >"$work/naive.conf" <<'END'
[Definition]
failregex = .*\b<ADDR>\b.* refused:
END
got=$(found "$work/naive.conf")
for address in 198.51.100.1 198.51.100.2; do
  case $got in *"$address "*) ;; *) fail "the careless filter is not fooled by $address: this test tests nothing" ;; esac
done
[ $failures -eq 0 ]
