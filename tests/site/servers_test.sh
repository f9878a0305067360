#!/bin/sh
# Takes the Debian package and three web servers through their lives, in a copy of
# this machine (in_copy.sh): after each step every server's own test of its
# configuration must be content. Only where ORVELLIS_SYSTEM_TESTS=1.
#
#   servers_test.sh BUILD_FOLDER
set -eu
build=$1
here=$(cd "$(dirname "$0")" && pwd)
if [ -z "${ORVELLIS_COPY:-}" ]; then
  [ "${ORVELLIS_SYSTEM_TESTS:-}" = 1 ] || { echo "skipped: ORVELLIS_SYSTEM_TESTS is not 1"; exit 77; }
  source_dir=$(cd "$here/../.." && pwd)
  ORVELLIS_COPY=1 exec "$here/in_copy.sh" "$source_dir" "$build" -- "$here/servers_test.sh" "$build"
fi

PATH=$PATH:/usr/sbin:/sbin
DEBIAN_FRONTEND=noninteractive LC_ALL=C
export PATH DEBIAN_FRONTEND LC_ALL
work=$(mktemp -d)
step='the beginning'
fail() {
  echo "FAILED after $step: $*"
  tail -n 20 "$work/log" "$work/test" 2>/dev/null || true
  exit 1
}
quietly() { "$@" >"$work/log" 2>&1; }
begin() {
  step=$1
  echo "$step"
}

servers='apache2 nginx-light lighttpd'
tools='acl logrotate'
archives=$work/archives
mkdir -p "$archives/partial"
apt_get() { apt-get -y -q -o "Dir::Cache::archives=$archives" -o APT::Keep-Downloaded-Packages=true --no-install-recommends "$@"; }
quietly dpkg --purge orvellis || true
# shellcheck disable=SC2086 # a list of names
quietly apt_get purge --auto-remove $servers nginx-common apache2-bin || fail "the servers cannot be removed"
# shellcheck disable=SC2086 # a list of names
if ! quietly apt_get install $tools || ! quietly apt_get install --download-only $servers; then
  echo "skipped: the servers cannot be fetched"
  exit 77
fi

install_servers() {
  # shellcheck disable=SC2086 # a list of names
  quietly apt_get install --no-download $servers || fail "the servers do not install"
}
purge_servers() {
  # shellcheck disable=SC2086 # a list of names
  quietly apt_get purge --auto-remove $servers nginx-common apache2-bin || fail "the servers cannot be removed"
}
# As if the servers had just been installed.
keep_fresh() { mkdir "$work/fresh" && cp -a /etc/apache2 /etc/nginx /etc/lighttpd "$work/fresh"; }
make_fresh() {
  quietly dpkg --purge orvellis || fail "orvellis cannot be purged"
  rm -rf /etc/apache2 /etc/nginx /etc/lighttpd
  cp -a "$work/fresh/." /etc
}

# ---- The packages: as built, a later one with other files, and one without protection ----

quietly cpack --config "$build/CPackConfig.cmake" -B "$work" || fail "no package"
package=$(echo "$work"/orvellis_*.deb)
repack() { # NAME COMMAND...: the package with changes that the command makes in its folder
  name=$1
  shift
  rm -rf "$work/tree"
  dpkg-deb -R "$package" "$work/tree"
  (cd "$work/tree" && "$@")
  quietly dpkg-deb -b --root-owner-group "$work/tree" "$work/$name.deb" || fail "no package $name"
}
later_version() {
  sed -i 's/^Version: .*/Version: 99/' DEBIAN/control
  for file in etc/orvellis/orvellis.conf etc/nginx/conf.d/orvellis-common.conf usr/share/orvellis/conf/*.conf; do
    echo '# a later version' >>"$file"
  done
}
repack later later_version
repack unprotected rm DEBIAN/prerm DEBIAN/postrm

check() { # STEP...: every server that is there takes its configuration
  begin "$*"
  if command -v apache2ctl >/dev/null; then
    apache2ctl configtest >"$work/test" 2>&1 || fail "apache2ctl configtest"
  fi
  if command -v nginx >/dev/null; then nginx -t >"$work/test" 2>&1 || fail "nginx -t"; fi
  if command -v lighttpd >/dev/null; then
    lighttpd -tt -f /etc/lighttpd/lighttpd.conf >"$work/test" 2>&1 || fail "lighttpd -tt"
  fi
}
named() { # TEXT: what dpkg said
  grep -qF -- "$1" "$work/log" || fail "nothing tells of $1"
}
serves() { # whether the three servers would hand requests to Orvellis
  apache2ctl -t -D DUMP_INCLUDES 2>/dev/null | grep -q orvellis || fail "httpd does not know Orvellis"
  nginx -T 2>/dev/null | grep -q '^location = /orvellis-cgi/orvellis' || fail "nginx does not know Orvellis"
  lighttpd -p -f /etc/lighttpd/lighttpd.conf 2>/dev/null | grep -q orvellis-cgi || fail "lighttpd does not know Orvellis"
}
serves_no_more() {
  ! nginx -T 2>/dev/null | grep -q '^location = /orvellis-cgi/orvellis' || fail "nginx still knows Orvellis"
  ! lighttpd -p -f /etc/lighttpd/lighttpd.conf 2>/dev/null | grep -q orvellis-cgi || fail "lighttpd still knows Orvellis"
  [ -z "$(find /etc/apache2 /etc/nginx /etc/lighttpd -xtype l -print)" ] || fail "links lead nowhere"
}

orvellis_install() { quietly dpkg --force-confold --install "${1:-$package}" || fail "it does not install"; }
orvellis_end() { quietly dpkg "--$1" orvellis || fail "dpkg --$1 orvellis"; }

# ---- Ways to enable it ----

include_in_site() { # LINE
  sed -i "s|^\\tserver_name _;|&\\n\\t$1|" /etc/nginx/sites-available/default
  grep -qF "$1" /etc/nginx/sites-available/default || fail "the site of nginx has another form"
}
# The commands of the README, but for those that start services.
by_the_readme() {
  quietly a2enmod cgid headers env
  ln -s /usr/share/orvellis/conf/apache.conf /etc/apache2/conf-available/orvellis.conf
  quietly a2enconf orvellis
  include_in_site 'include /usr/share/orvellis/conf/nginx.con[f];'
  quietly lighty-enable-mod accesslog || [ $? = 2 ]
  ln -s /usr/share/orvellis/conf/lighttpd.conf /etc/lighttpd/conf-enabled/90-orvellis.conf
}
# As people did and do: files named in full, modules forgotten, everything at once.
by_hand() {
  ln -s /usr/share/orvellis/conf/apache.conf /etc/apache2/conf-enabled/zz-reports.conf
  ln -s /usr/share/orvellis/conf/nginx-http.conf /etc/nginx/conf.d/orvellis.conf
  include_in_site 'include "/usr/share/orvellis/conf/nginx.conf";'
  echo 'include "/usr/share/orvellis/conf/lighttpd.conf"' >/etc/lighttpd/conf-enabled/50-reports.conf
  echo 'Include /usr/share/orvellis/conf/apache.conf' >/etc/apache2/conf-enabled/yy-reports.conf
}
# Copies that have been edited, of what an earlier version had, too.
by_copies() {
  quietly a2enmod cgid headers env
  sed 's/300/200/' /usr/share/orvellis/conf/apache.conf >/etc/apache2/conf-enabled/orvellis.conf
  sed 's/300s/200s/' /usr/share/orvellis/conf/nginx.conf >/etc/nginx/reports.conf
  ln -s /usr/share/orvellis/conf/nginx-http.conf /etc/nginx/conf.d/orvellis.conf
  echo 'location = /reports { limit_conn orvellis 4; return 204; }' >>/etc/nginx/reports.conf
  include_in_site 'include /etc/nginx/reports.conf;'
  sed 's/300/200/' /usr/share/orvellis/conf/lighttpd.conf >/etc/lighttpd/conf-enabled/90-orvellis.conf
}
edit_configuration() {
  echo '# edited' >>/etc/orvellis/orvellis.conf
  echo '# edited' >>/etc/nginx/conf.d/orvellis-common.conf
}

# ---- The lives ----

# Without the protection, what this test is about happens.
rm -rf /etc/apache2 /etc/nginx /etc/lighttpd
install_servers
keep_fresh
orvellis_install "$work/unprotected.deb"
by_hand
check "control: enabled by hand"
orvellis_end remove
! nginx -t >/dev/null 2>&1 || fail "control: nginx starts, so this test shows nothing"
! lighttpd -tt -f /etc/lighttpd/lighttpd.conf >/dev/null 2>&1 || fail "control: lighttpd starts, so this test shows nothing"
! apache2ctl configtest >/dev/null 2>&1 || fail "control: httpd starts, so this test shows nothing"

expect_named() { # WAY
  case $1 in
    by_the_readme) links='apache2/conf-available/orvellis.conf apache2/conf-enabled/orvellis.conf
      lighttpd/conf-enabled/90-orvellis.conf' ;;
    by_hand) links='apache2/conf-enabled/zz-reports.conf nginx/conf.d/orvellis.conf nginx/sites-available/default
      lighttpd/conf-enabled/50-reports.conf apache2/conf-enabled/yy-reports.conf' ;;
    *) return 0 ;;
  esac
  for link in $links; do named "/etc/$link"; done
  serves_no_more
}

live() { # WAY: from an enabled Orvellis to a purged one
  check "$1: enabled"
  serves
  edit_configuration
  orvellis_install "$work/later.deb"
  check "$1: upgraded, the edited files kept"
  serves
  quietly dpkg --force-confnew --force-confask --install "$package" || fail "it does not go back"
  check "$1: another version, the edited files replaced"
  serves
  orvellis_end remove
  check "$1: removed"
  expect_named "$1"
  orvellis_install
  check "$1: installed again"
  orvellis_end purge
  check "$1: purged"
}

for way in by_the_readme by_hand by_copies; do
  make_fresh
  check "servers first"
  orvellis_install
  check "servers first: installed"
  "$way"
  live "$way"
done

# Enabled by the command, with all modules of Apache httpd missing at first.
init_site() { quietly orvellis-report --init-site "$@" </dev/null; }
sample=$here/../../samples/logs/combined.log
make_fresh
orvellis_install
mkdir -p /var/log/apache2 /var/log/nginx /var/log/lighttpd
rm -f /var/log/*/access.log*
for server in apache nginx lighttpd; do
  ! init_site --server "$server" --write || fail "--init-site: an account without a log"
done
named 'lighty-enable-mod accesslog'
for server in apache2 nginx lighttpd; do
  echo nonsense >"/var/log/$server/access.log"
  ! init_site --server "${server%2}" --write || fail "--init-site: a log of which nothing is reported"
  cp "$sample" "/var/log/$server/access.log"
done
! grep -q title=nginx$ /etc/orvellis/orvellis.conf || fail "--init-site: refused, but written"
quietly cp -a /etc "$work/before"
for way in remove purge; do
  for server in apache nginx lighttpd; do
    init_site --server "$server" --account "my$server" --site /etc/nginx/sites-available/default --write || fail "--init-site $server"
    named Written.
    check "--init-site $server"
  done
  serves
  echo Teapot | quietly orvellis-passwd --stdin mynginx || fail "orvellis-passwd"
  orvellis config=/etc/orvellis/orvellis.conf username=mynginx password=Teapot date=03052000,03112000 find=/ subdirs=1 \
    >"$work/page"
  grep -aq '<dt>Requests</dt><dd class="figure">[1-9]' "$work/page" || fail "--init-site: the account reports nothing"
  if [ "$way" = remove ]; then
    for server in apache nginx lighttpd; do
      init_site --server "$server" --account "my$server" --remove || fail "--init-site --remove $server"
      check "--init-site --remove $server"
    done
    serves_no_more
    diff -r --no-dereference "$work/before" /etc >"$work/test" 2>&1 || fail "--init-site --remove leaves something"
  fi
done
orvellis_end purge
check "purged after --init-site"
serves_no_more

# The rights that the README gives, before and after a rotation.
may_read() { setpriv --reuid www-data --regid www-data --clear-groups cat "$1" >/dev/null 2>&1; }
rotated_logs() {
  rm -f /var/log/apache2/*
  setfacl -b /var/log/apache2
  setfacl -k /var/log/apache2
  chown root:adm /var/log/apache2
  chmod 750 /var/log/apache2
  for log in access error; do
    cp "$sample" "/var/log/apache2/$log.log"
    chown root:adm "/var/log/apache2/$log.log"
    chmod 640 "/var/log/apache2/$log.log"
  done
  "$@"
  quietly logrotate --force /etc/logrotate.d/apache2 || fail "logrotate"
}
by_default_rule() { setfacl -d -m u:www-data:r /var/log/apache2 && setfacl -m u:www-data:rx /var/log/apache2; }
by_readme_lines() {
  grep -E '^    sudo (setfacl|sed -i .*logrotate)' "$here/../../README.md" | sed 's/^    sudo //' >"$work/lines"
  [ "$(wc -l <"$work/lines")" = 3 ] || fail "the README has other lines"
  quietly sh -e "$work/lines" || fail "the lines of the README"
}
begin 'the rights'
rotated_logs true
! may_read /var/log/apache2/access.log || fail "control: the logs are open without any rights given"
rotated_logs by_default_rule
may_read /var/log/apache2/error.log || fail "control: a default rule does not open error logs"
rotated_logs by_readme_lines
for log in access.log access.log.1; do may_read "/var/log/apache2/$log" || fail "$log cannot be read"; done
for log in error.log error.log.1; do ! may_read "/var/log/apache2/$log" || fail "$log can be read"; done

# Orvellis before the servers.
purge_servers
rm -rf /etc/apache2 /etc/nginx /etc/lighttpd
orvellis_install
install_servers
check "orvellis first: installed"
by_the_readme
live by_the_readme

# Servers that come and go around an enabled Orvellis.
make_fresh
orvellis_install
by_the_readme
# shellcheck disable=SC2086 # a list of names
quietly apt_get remove $servers || fail "the servers cannot be removed"
install_servers
check "servers removed and installed again"
purge_servers
orvellis_install "$work/later.deb"
install_servers
check "servers purged, orvellis upgraded, servers installed again"
purge_servers
orvellis_end purge
install_servers
check "servers purged, orvellis purged, servers installed again"
begin 'the end'
