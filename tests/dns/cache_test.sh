#!/bin/sh
# The DNS cache against a real name server.
#
#   cache_test.sh DNS_PROBE
names='192.0.2.1 www.example.com
192.0.2.2 mail.example.com
198.51.100.7 shop.example.org shop2.example.org
10.7.0.0 first.example.net
10.7.0.2 third.example.net'
. "$(dirname "$0")/name_server.sh"
probe=$1

# One query for each distinct address, none for a text that is no address.
expect 'names' '192.0.2.1 www.example.com
192.0.2.2 mail.example.com
192.0.2.1 www.example.com
203.0.113.9 -
198.51.100.7 shop.example.org
203.0.113.9 -
www.example.com -
1.2.3.4.5 -
 -
255.255.255.255 -
192.0.2.1 www.example.com' "$("$probe" <<END
192.0.2.1
192.0.2.2
192.0.2.1
203.0.113.9
198.51.100.7
203.0.113.9
www.example.com
1.2.3.4.5

255.255.255.255
192.0.2.1
END
)"
expect 'queries for four addresses' 4 "$(queries)"

# The 1025th address evicts the first; asked for again, that one evicts the second.
before=$(queries)
{
  i=0
  while [ $i -lt 1025 ]; do
    echo "10.7.$((i / 256)).$((i % 256))"
    i=$((i + 1))
  done
} >addresses
expect 'names around an eviction' '10.7.0.0 first.example.net
10.7.0.2 third.example.net
10.7.0.1 -' "$( (cat addresses; printf '10.7.0.0\n10.7.0.2\n10.7.0.1\n') | "$probe" | tail -n 3)"
expect 'queries around an eviction' 1027 $(($(queries) - before))

# A server that does not answer: the time-out is a negative answer, and cached.
before=$(queries)
kill -STOP "$server"
expect 'names without an answer' '192.0.2.1 -
192.0.2.1 -
192.0.2.1 -' "$(printf '192.0.2.1\n192.0.2.1\n192.0.2.1\n' | "$probe")"
kill -CONT "$server"
one_more() { [ "$(queries)" -gt "$before" ]; }
wait_for one_more
expect 'a later run' '192.0.2.1 www.example.com' "$(echo 192.0.2.1 | "$probe")"
expect 'queries around a time-out' 2 $(($(queries) - before))
