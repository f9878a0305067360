#!/bin/sh
# Installs Orvellis to a folder of its own, starts one web server with the
# configuration that was installed, runs a command and stops the server.
#
#   with_server.sh apache|nginx|lighttpd BUILD_FOLDER COMMAND...
#
# Exit status: that of the command; 77 when the server is not on this machine.
# The command finds in its environment
#   BASE_URL   http://127.0.0.1:PORT
#   SERVER     the server's name, which is also an account with the password "Teapot"
#   PREFIX     where Orvellis is installed
#   WORK       a folder for files; $WORK/log/$SERVER holds the account's logs
# With ORVELLIS_OPEN in the environment, the protection is taken out. A command in
# SITE_SETUP is run before the server starts and finds the same, but for BASE_URL:
# $WORK/orvellis-$SERVER.conf is what the server reads of Orvellis, $WORK/own.conf a
# file of the administrator's own behind it.
set -eu

SERVER=$1
build=$2
shift 2
PATH=$PATH:/usr/sbin:/sbin
here=$(cd "$(dirname "$0")" && pwd)
source_dir=$(cd "$here/../.." && pwd)

need() {
  command -v "$1" >/dev/null || { echo "skipped: $1 is not installed"; exit 77; }
}
need curl
case $SERVER in
  apache) need apache2 ;;
  nginx) need nginx; need fcgiwrap ;;
  lighttpd) need lighttpd ;;
esac

WORK=$(mktemp -d)
PREFIX=$WORK/installed
pids=
stop() {
  status=$?
  for pid in $pids; do kill "$pid" 2>/dev/null || true; done
  for pid in $pids; do wait "$pid" 2>/dev/null || true; done
  if [ "$status" != 0 ] && [ "$status" != 77 ]; then tail -n 20 "$WORK"/*.log 2>/dev/null || true; fi
  rm -rf "$WORK"
  exit "$status"
}
trap stop EXIT
trap 'exit 1' INT TERM HUP

# ---- Installation: the changes that the manual tells an administrator to make ----

cmake --install "$build" --prefix "$PREFIX" >/dev/null
mkdir -p "$WORK/log/$SERVER" "$WORK/root"
sed -i -e "s|=/var/log/apache2/|=$WORK/log/apache/|g" -e "s|=/var/log/|=$WORK/log/|g" "$PREFIX/etc/orvellis/orvellis.conf"
echo Teapot | "$PREFIX/bin/orvellis-passwd" --config "$PREFIX/etc/orvellis/orvellis.conf" --stdin "$SERVER" >/dev/null
mkdir -p "$PREFIX/var/log/orvellis" "$PREFIX/var/lib/orvellis"
cp "$source_dir/samples/logs/combined.log" "$WORK/log/$SERVER/access.log.1"
sed "s|/run/fcgiwrap.socket|$WORK/fcgiwrap.socket|" "$PREFIX/share/orvellis/conf/$SERVER.conf" >"$WORK/orvellis-$SERVER.conf"
: >"$WORK/own.conf"
# Without what keeps one visitor from the places of all others, and false users out, and to one configuration.
if [ -n "${ORVELLIS_OPEN:-}" ]; then
  sed -i -e '/^[^#]*ORVELLIS_CONFIG/d' -e 's|/libexec/orvellis/gate/|/libexec/orvellis/cgi/|' \
    -e 's|REMOTE_USER  *"";|REMOTE_USER $remote_user;|' "$WORK/orvellis-$SERVER.conf"
  sed -i 's|^limit_conn_zone $orvellis_visitor|limit_conn_zone $server_name|' "$PREFIX/share/orvellis/conf/nginx-common.conf"
fi
export SERVER PREFIX WORK PATH
if [ -n "${SITE_SETUP:-}" ]; then sh -c "$SITE_SETUP"; fi
user=$(id -un)
if [ "$user" = root ]; then
  user=www-data
  chown -R www-data "$WORK"
fi

# ---- The servers, each with as little around the installed file as it needs ----

apache_conf() {
  cat <<END
ServerRoot $WORK
ServerName localhost
Listen 127.0.0.1:$port
PidFile $WORK/apache.pid
ErrorLog $WORK/server.log
LogFormat "%h %l %u %t \\"%r\\" %>s %O \\"%{Referer}i\\" \\"%{User-Agent}i\\"" combined
$(for module in mpm_event authz_core authz_host authz_user authn_core authn_file auth_basic alias dir mime headers env \
    reqtimeout cgid; do
    echo "LoadModule ${module}_module /usr/lib/apache2/modules/mod_$module.so"
  done)
User $user
Group $(id -gn "$user")
ScriptSock $WORK/cgid.socket
TypesConfig /etc/mime.types
CustomLog $WORK/log/apache/access.log combined
DocumentRoot $WORK/root
AddDefaultCharset utf-8
StartServers 1
Include $WORK/orvellis-apache.conf
Include $WORK/own.conf
END
}

nginx_conf() {
  cat <<END
daemon off;
user $user;
worker_processes 1;
pid $WORK/nginx.pid;
error_log $WORK/server.log;
events { worker_connections 512; }
http {
  access_log $WORK/log/nginx/access.log combined;
  client_body_temp_path $WORK/nginx-body;
  fastcgi_temp_path $WORK/fastcgi;
  proxy_temp_path $WORK/proxy;
  uwsgi_temp_path $WORK/uwsgi;
  scgi_temp_path $WORK/scgi;
  charset utf-8;
  include $PREFIX/share/orvellis/conf/nginx-common.conf;
  server {
    listen 127.0.0.1:$port;
    server_name localhost;
    root $WORK/root;
    include $WORK/orvellis-nginx.conf;
  }
}
END
}

lighttpd_conf() {
  cat <<END
server.port = $port
server.bind = "127.0.0.1"
server.document-root = "$WORK/root"
server.errorlog = "$WORK/server.log"
server.upload-dirs = ( "$WORK" )
server.modules = ( "mod_access", "mod_accesslog" )
accesslog.filename = "$WORK/log/lighttpd/access.log"
include "$WORK/orvellis-lighttpd.conf"
include "$WORK/own.conf"
END
  if [ "$(id -un)" = root ]; then echo "server.username = \"$user\""; fi
}

# Takes the place of the (background) shell, so that its process id is the program's.
become_user() {
  if [ "$(id -un)" = root ]; then exec setpriv --reuid="$user" --clear-groups --no-new-privs "$@"; fi
  exec "$@"
}

start() {
  "${SERVER}_conf" >"$WORK/server.conf"
  case $SERVER in
    apache) apache2 -f "$WORK/server.conf" -D FOREGROUND >>"$WORK/start.log" 2>&1 & ;;
    nginx) nginx -e "$WORK/server.log" -c "$WORK/server.conf" >>"$WORK/start.log" 2>&1 & ;;
    lighttpd) lighttpd -D -f "$WORK/server.conf" >>"$WORK/start.log" 2>&1 & ;;
  esac
  server_pid=$!
}

if [ "$SERVER" = nginx ]; then
  become_user fcgiwrap -s "unix:$WORK/fcgiwrap.socket" >>"$WORK/start.log" 2>&1 &
  pids="$pids $!"
fi

# Another process may have the port: take the next one then.
port=$((20000 + $$ % 20000))
started=
for _ in 1 2 3 4 5; do
  start
  for _ in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20; do
    sleep 0.25
    kill -0 "$server_pid" 2>/dev/null || break
    if curl -sf -o "$WORK/first" "http://127.0.0.1:$port/orvellis/"; then started=yes && break; fi
  done
  if [ -n "$started" ] && kill -0 "$server_pid" 2>/dev/null; then break; fi
  started=
  kill "$server_pid" 2>/dev/null || true
  port=$((port + 1))
done
[ -n "$started" ] || { echo "$SERVER does not start with the installed configuration"; exit 1; }
pids="$pids $server_pid"

BASE_URL=http://127.0.0.1:$port
export BASE_URL
"$@"
