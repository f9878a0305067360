#!/bin/sh
# Look-ups of the modern edition: many at once behind the counting, against a name server, one that never
# answers, none, and names that are none.
#
#   together_test.sh PROGRAM
names='192.0.2.1 www.example.com
192.0.2.2 mail.example.com
198.51.100.7 shop.example.org
2001:db8:1::5 six.example.com'
. "$(dirname "$0")/name_server.sh"
program=$1

mkdir logs
for address in 192.0.2.1 192.0.2.2 192.0.2.2 198.51.100.7 203.0.113.9 2001:db8:1::5 2001:DB8:1:0::5 pc.example.net; do
  echo "$address - - [06/Mar/2000:10:00:00 +0000] \"GET / HTTP/1.0\" 200 100"
done >logs/access.log
configure() {  # KEY...
  printf '%s\n' Edition=modern "$@" 'user=demo;url=http://www.example.com;logs=logs/*.log;password=*' >orvellis.conf
}
configure

run() {  # PARAMETER...
  TZ=UTC "$program" username=demo date=03012000,03312000 domains=1 domaintypes=1 dnslookupenabled=1 "$@" || fail "status $?"
}
# The rows, and the notes behind them.
report() {  # PARAMETER...
  run output=csv "$@" | tr -d '\r' | sed -n 's/^\(domain[a-z]*\),[^,]*,\([^,]*\),\([0-9]*\),.*/\3 \1 \2/p'
  run output=json "$@" | sed -n 's/.*"text": "\([^"]*\)".*/\1/p'
}

of_names='5 domains example.com
1 domains example.org
1 domains example.net
1 domains 203.0.113
5 domaintypes com
1 domaintypes org
1 domaintypes net
1 domaintypes UNKNOWN'
of_addresses='3 domains 192.0.2
2 domains 2001:db8:1::/48
1 domains example.net
1 domains 203.0.113
1 domains 198.51.100
7 domaintypes UNKNOWN
1 domaintypes net'

before=$(queries)
expect 'addresses of one domain are counted together' "$of_names" "$(report)"
expect 'queries for five addresses, twice' 10 $(($(queries) - before))
before=$(queries)
expect 'requests without those of a name and of a network' 5 "$(run output=json filter_domains=shop,2001:db8:1::/48 |
  sed -n 's/.*"totals": {"requests": \([0-9]*\).*/\1/p')"
expect 'queries for a filter of names' 4 $(($(queries) - before))

# Without an end to the resolver's patience.
printf 'nameserver 127.0.0.1\noptions timeout:30 attempts:5\n' >/etc/resolv.conf
configure DNSLookupSeconds=1
kill -STOP "$server"
start=$(date +%s)
expect 'a name server that never answers' "$of_addresses
5 of 5 addresses were not looked up: the time limit of 1 s was reached." "$(report)"
expect 'the same while names are filtered' "$of_addresses
5 of 5 addresses were not looked up: the time limit of 1 s was reached." "$(report filter_domains=nobody | grep -v 'left out')"
passed=$(($(date +%s) - start))
[ $passed -lt 100 ] || fail "four runs of a second took $passed"
kill -KILL "$server"
wait "$server" 2>/dev/null || :
server=

unanswered='5 of 5 addresses could not be looked up: no name server gave an answer.'
configure DNSLookupSeconds=60
expect 'no name server there' "$of_addresses
$unanswered" "$(report)"
: >/etc/resolv.conf
expect 'no name server known' "$of_addresses
$unanswered" "$(report)"
rm /etc/resolv.conf /etc/nsswitch.conf
expect 'nothing known of name services' "$of_addresses
$unanswered" "$(report)"

# Names of the machine's own file, which may be anything.
echo 'hosts: files' >/etc/nsswitch.conf
long=$(printf '%0300d' 0 | tr 0 a)
{
  echo '192.0.2.1 <script>alert(1)</script>.com'
  printf '192.0.2.2 evil\033[2J\001.com\n'
  echo "198.51.100.7 $long.com"
  echo '203.0.113.9 10.0.0.1'
  echo '2001:db8:1::5 "&<b>.com'
} >/etc/hosts
expect 'names that are none' "$of_addresses" "$(report)"
for output in modern text csv json; do
  run output=$output >page
  ! grep -qE 'alert|evil|aaaa|10\.0\.0' page || fail "a name that is none in $output"
done
echo '192.0.2.1 File.Example.ORG' >/etc/hosts
expect 'a name of the file' '1 domains example.org' "$(report | grep 'domains example.org')"
