#!/bin/sh
# A run of the modern edition that has given up files and system calls still looks names up: from a name server and
# from the machine's own file.
#
#   shut_in_test.sh PROGRAM WITHOUT_KERNEL
names='192.0.2.1 www.example.com
198.51.100.7 shop.example.org'
. "$(dirname "$0")/name_server.sh"
program=$1
without_kernel=$2

mkdir logs
for address in 192.0.2.1 198.51.100.7 203.0.113.9; do
  echo "$address - - [06/Mar/2000:10:00:00 +0000] \"GET / HTTP/1.0\" 200 100"
done >logs/access.log
printf 'Edition=modern\nErrorLog=errors\nuser=demo;url=http://www.example.com;logs=logs/*.log;password=*\n' >orvellis.conf

report() {  # COMMAND...
  TZ=UTC "$@" username=demo find=/ subdirs=1 date=03012000,03312000 domains=1 dnslookupenabled=1 >page || fail "status $?"
  sed -e '/<b>Date of Report:/d' -e 's/Time required.*//' page
}

open_page=$(report "$without_kernel" "$program")
before=$(queries)
expect 'the report of a run that gave up nothing' "$open_page" "$(report "$program")"
expect 'queries for three addresses' 3 $(($(queries) - before))
for name in example.com example.org; do
  grep -q "$name" page || fail "no $name in the page"
done

# The services that are not there, or ask in ways that are given up, stand aside.
echo '203.0.113.9 file.example.net' >etc/hosts
echo 'hosts: files mymachines resolve [!UNAVAIL=return] mdns4_minimal [NOTFOUND=return] dns myhostname' >etc/nsswitch.conf
report "$program" >/dev/null
for name in example.com example.org example.net; do
  grep -q "$name" page || fail "no $name in the page with services that stand aside"
done
[ ! -e errors ] || fail "the error log: $(cat errors)"
