#!/bin/sh
# The lines that lead from HTTP to HTTPS stand ready as comments in each server's
# configuration; here a server runs with them.
#
#   redirect_test.sh apache|nginx|lighttpd SOURCE_FOLDER
set -eu
server=$1
conf=$2/conf/$1.conf.in
PATH=$PATH:/usr/sbin:/sbin
for program in curl "$(echo "$server" | sed 's/apache/&2/')"; do
  command -v "$program" >/dev/null || { echo "skipped: $program is not installed"; exit 77; }
done
work=$(mktemp -d)
pid=
# shellcheck disable=SC2317 # at the end
stop() {
  [ -z "$pid" ] || { kill "$pid" && wait "$pid"; } 2>/dev/null || true
  rm -rf "$work"
}
trap stop EXIT
port=$((20000 + $$ % 20000))

lines() { # FIRST LAST: the comment's lines between them
  sed -n "/^#   $1/,/^#   $2/s/^#   //p" "$conf" | sed "s/listen 80;/listen 127.0.0.1:$port;/"
}
case $server in
  apache)
    {
      for module in mpm_event alias authz_core; do
        echo "LoadModule ${module}_module /usr/lib/apache2/modules/mod_$module.so"
      done
      printf '%s\n' "ServerRoot $work" 'ServerName localhost' "Listen 127.0.0.1:$port" "PidFile $work/pid" "ErrorLog $work/log"
      lines RedirectMatch RedirectMatch | head -n 1
    } >"$work/conf"
    apache2 -f "$work/conf" -D FOREGROUND >"$work/out" 2>&1 &
    ;;
  nginx)
    {
      printf '%s\n' 'daemon off;' "pid $work/pid;" "error_log $work/log;" 'events {}' "http { access_log off;"
      for folder in client_body fastcgi proxy uwsgi scgi; do echo "${folder}_temp_path $work/$folder;"; done
      lines 'server {' '}'
      echo '}'
    } >"$work/conf"
    nginx -e "$work/log" -c "$work/conf" >"$work/out" 2>&1 &
    ;;
  lighttpd)
    {
      printf '%s\n' "server.port = $port" 'server.bind = "127.0.0.1"' "server.document-root = \"$work\"" \
        'server.modules = ( "mod_redirect" )'
      # shellcheck disable=SC2016 # for sed
      lines '\$HTTP\["scheme' '}'
    } >"$work/conf"
    lighttpd -D -f "$work/conf" >"$work/out" 2>&1 &
    ;;
esac
pid=$!
for _ in 1 2 3 4 5 6 7 8 9 10; do
  sleep 0.5
  if curl -sI -H 'Host: www.example.com' "http://127.0.0.1:$port/orvellis/x?y=1" | tr -d '\r' >"$work/answer" && [ -s "$work/answer" ]; then
    break
  fi
done
grep -q '^HTTP.* 301' "$work/answer" && grep -qxi 'location: https://www.example.com/orvellis/x?y=1' "$work/answer" && exit 0
echo 'FAILED: the lines of the comment lead elsewhere'
cat "$work/conf" "$work/out" "$work/answer"
exit 1
