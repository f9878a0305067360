#!/bin/sh
# A name server that never answers: a report takes as long as the resolver waits for
# each distinct address, and counts the addresses as they stand.
#
#   silent_server_test.sh PROGRAM
names='192.0.2.1 www.example.com'
. "$(dirname "$0")/name_server.sh"
program=$1

mkdir logs
i=0
while [ $i -lt 30 ]; do
  echo "192.0.2.$((i % 3 + 1)) - - [06/Mar/2000:10:00:$((i + 10)) +0000] \"GET /$((i % 4)) HTTP/1.0\" 200 100"
  i=$((i + 1))
done >logs/access.log
echo 'user=demo;url=http://www.example.com;logs=logs/*.log;password=*' >orvellis.conf

report() {  # 0 OR 1
  TZ=UTC "$program" username=demo find=/ subdirs=1 date=03012000,03312000 requests=1 domains=1 domaintypes=1 \
    dnslookupenabled="$1" >page || fail "status $?"
  sed -e '/<b>Date of Report:/d' -e 's/Time required.*//' page
}

without=$(report 0)
with=$(report 1)
[ "$without" != "$with" ] || fail 'lookups change nothing even while the server answers'
before=$(queries)
kill -STOP "$server"
expect 'the report of addresses' "$without" "$(report 1)"
kill -CONT "$server"
all_asked() { [ "$(queries)" -ge $((before + 3)) ]; }
wait_for all_asked
expect 'queries for three addresses' 3 $(($(queries) - before))
expect 'the report of names again' "$with" "$(report 1)"
