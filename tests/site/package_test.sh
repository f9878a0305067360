#!/bin/sh
# Makes the Debian package and takes it through its life in a copy of this machine
# (in_copy.sh): installed, used, upgraded over an edited configuration, purged. Only
# where ORVELLIS_SYSTEM_TESTS=1, as root.
#
#   package_test.sh BUILD_FOLDER
set -eu
build=$1
here=$(cd "$(dirname "$0")" && pwd)
if [ "${ORVELLIS_SYSTEM_TESTS:-}" = 1 ] && [ -z "${ORVELLIS_COPY:-}" ]; then
  source_dir=$(cd "$here/../.." && pwd)
  ORVELLIS_COPY=1 exec "$here/in_copy.sh" "$source_dir" "$build" -- "$here/package_test.sh" "$build"
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
skip() {
  echo "skipped: $*"
  exit 77
}
fail() {
  echo "FAILED: $*"
  exit 1
}
[ "${ORVELLIS_SYSTEM_TESTS:-}" = 1 ] || skip "ORVELLIS_SYSTEM_TESTS is not 1"
[ "$(id -u)" = 0 ] || skip "not root"
[ ! -e /etc/orvellis ] || skip "Orvellis is installed on this machine"

cpack --config "$build/CPackConfig.cmake" -B "$work" >"$work/log" || { cat "$work/log"; fail "no package"; }
package=$work/orvellis_1.5_$(dpkg --print-architecture).deb
[ -f "$package" ] || fail "the package has another name"
cluster_package=$work/orvellis-cluster_1.5_all.deb
[ -f "$cluster_package" ] || fail "the package of orvellis-cluster has another name"
if command -v lintian >/dev/null; then
  lintian --allow-root --fail-on error,warning "$package" "$cluster_package" >"$work/lintian" 2>&1 || { cat "$work/lintian"; fail "lintian"; }
fi

purge() { dpkg --purge orvellis-cluster orvellis >/dev/null 2>&1 || true; }
trap 'purge; rm -rf "$work"' EXIT
dpkg --install "$package" >"$work/log" 2>&1 || { cat "$work/log"; fail "it does not install"; }
[ "$(stat -c '%a %U %G' /etc/orvellis/passwords)" = '640 root www-data' ] || fail "the password file is open"
[ "$(stat -c '%a %U' /var/log/orvellis)" = '750 www-data' ] || fail "the log folder"
[ "$(stat -c '%a %U %G' /usr/share/orvellis/places)" = '750 root www-data' ] || fail "the places of reports are open"
[ "$(stat -c '%a %U %G' /var/lib/orvellis)" = '700 www-data www-data' ] || fail "the folder of refusals"
[ "$(stat -c '%a %U %G' /var/cache/orvellis)" = '700 www-data www-data' ] || fail "the folder of what is known of logs"
cmp -s /usr/libexec/orvellis/cgi/orvellis.conf /etc/orvellis/orvellis.conf || fail "the program does not find its configuration"
orvellis about | grep -q 'Orvellis 1.5' || fail "the command does not run"
[ -f /usr/share/orvellis/site/index.html ] && [ -f /usr/share/orvellis/site/docs/chapter4.html ] || fail "the site is not complete"
man -l /usr/share/man/man1/orvellis.1.gz >/dev/null 2>&1 || [ ! -x /usr/bin/man ] || fail "the manual page"

# As installed: nobody is let in; with a password, there is a report over the machine's log.
form='username=nginx&password=Teapot%3d9&date=03052000,03052000&find=/&subdirs=1&requests=1'
set_password() { # ACCOUNT PASSWORD
  printf '%s\n' "$2" | orvellis-passwd --stdin "$1" >"$work/log" 2>&1 || { cat "$work/log"; fail "orvellis-passwd"; }
}
post() {
  echo "$form" | env -i PATH=/usr/bin:/bin REQUEST_METHOD=POST CONTENT_LENGTH=${#form} TZ=UTC /usr/libexec/orvellis/gate/orvellis >"$work/page"
}
post
grep -q '#error2"' "$work/page" || fail "a fresh installation lets strangers in"
grep -q nginx /var/log/orvellis/error.log || fail "nothing stands in the error log"
# A password as it is typed, which an earlier version took.
cp -p /etc/orvellis/passwords "$work/passwords"
echo 'nginx:Teapot=9' >>/etc/orvellis/passwords
post
grep -q '#error2"' "$work/page" || fail "a password that is no hash is accepted"
cat "$work/passwords" >/etc/orvellis/passwords
set_password nginx 'Teapot=9'
[ "$(stat -c '%a %U %G' /etc/orvellis/passwords)" = '640 root www-data' ] || fail "a new password opens the password file"
post
! grep -q '#error2"' "$work/page" || fail "the password is not accepted"

# A password by command; refusals are counted where the server's user can go on, whoever asks first.
printf 'A long password\n' | orvellis-passwd lighttpd >"$work/log" 2>&1 || { cat "$work/log"; fail "orvellis-passwd"; }
grep -q '^lighttpd:[$]y[$]' /etc/orvellis/passwords || fail "no hash in the password file"
[ "$(stat -c '%a %U %G' /etc/orvellis/passwords)" = '640 root www-data' ] || fail "a new password opens the password file"
orvellis-passwd --list | grep -q '^"lighttpd" *hash$' || fail "orvellis-passwd --list"
refused='username=lighttpd&password=another&date=03052000,03052000&find=/'
echo "$refused" | env -i PATH=/usr/bin:/bin REQUEST_METHOD=POST REMOTE_ADDR=192.0.2.7 CONTENT_LENGTH=${#refused} \
  ORVELLIS_CONFIG=/etc/orvellis/orvellis.conf /usr/libexec/orvellis/cgi/orvellis >"$work/page"
[ "$(stat -c '%a %U %G' /var/lib/orvellis/login-limits)" = '600 www-data www-data' ] || fail "the file of refusals"
tail -n 1 /var/log/orvellis/error.log | grep -q ' 192.0.2.7 "lighttpd" refused: wrong password$' || fail "the refusal is not told"
orvellis-passwd --unlock lighttpd 192.0.2.7 >"$work/log" 2>&1 || { cat "$work/log"; fail "orvellis-passwd --unlock"; }

# fail2ban gets no names of files that are gone.
mkdir -p /etc/fail2ban/filter.d /etc/fail2ban/jail.d
ln -s /usr/share/orvellis/conf/fail2ban/filter.conf /etc/fail2ban/filter.d/orvellis.conf
ln -s /usr/share/orvellis/conf/fail2ban/jail.conf /etc/fail2ban/jail.d/orvellis.conf
grep -qx 'logpath = /var/log/orvellis/error.log' /etc/fail2ban/jail.d/orvellis.conf || fail "the jail"
if command -v fail2ban-client >/dev/null; then
  # Alone: whether the machine's own jails find their logs does not matter here.
  cp -a /etc/fail2ban "$work/fail2ban"
  find "$work/fail2ban/jail.d" -mindepth 1 ! -name orvellis.conf -delete
  rm -f "$work/fail2ban/jail.local"
  fail2ban-client -c "$work/fail2ban" -t >"$work/log" 2>&1 || { cat "$work/log"; fail "fail2ban refuses the jail"; }
  [ "$(fail2ban-regex --out ip /var/log/orvellis/error.log /etc/fail2ban/filter.d/orvellis.conf)" = 192.0.2.7 ] || fail "the filter"
fi

# Many machines: installed where Dask is, it writes the same report, and goes without a trace.
if dpkg-query -W -f='${Status}' python3-distributed 2>/dev/null | grep -q 'ok installed'; then
  dpkg --install "$cluster_package" >"$work/log" 2>&1 || { cat "$work/log"; fail "orvellis-cluster does not install"; }
  printf '192.0.2.1 - - [05/Mar/2000:07:06:11 +0000] "GET /a HTTP/1.0" 200 7\n' >"$work/access.log"
  (cd "$work" && env -i PATH=/usr/bin:/bin TZ=UTC orvellis-cluster --csv access.log >one 2>told && env -i PATH=/usr/bin:/bin TZ=UTC orvellis-report --csv access.log >two 2>/dev/null) ||
    { cat "$work/told"; fail "orvellis-cluster does not run"; }
  cmp "$work/one" "$work/two" || fail "orvellis-cluster writes another report"
  dpkg --purge orvellis-cluster >"$work/log" 2>&1 || { cat "$work/log"; fail "orvellis-cluster cannot be purged"; }
  for path in /usr/share/orvellis-cluster /usr/bin/orvellis-cluster /usr/share/doc/orvellis-cluster; do
    [ ! -e "$path" ] && [ ! -L "$path" ] || fail "purging leaves $path behind"
  done
fi

# An upgrade keeps what was edited.
echo 'user=mine;logs=/nowhere/*;url=http://www.example.com;password=*' >>/etc/orvellis/orvellis.conf
dpkg --install "$package" >"$work/log" 2>&1 || { cat "$work/log"; fail "it does not upgrade"; }
grep -q '^user=mine;' /etc/orvellis/orvellis.conf || fail "the upgrade lost the edited configuration"
grep -q '^nginx:[$]' /etc/orvellis/passwords || fail "the upgrade lost the passwords"

dpkg --purge orvellis >"$work/log" 2>&1 || { cat "$work/log"; fail "it cannot be purged"; }
for path in /etc/orvellis /var/log/orvellis /var/lib/orvellis /var/cache/orvellis /etc/fail2ban/filter.d/orvellis.conf /etc/fail2ban/jail.d/orvellis.conf \
  /usr/libexec/orvellis /usr/share/orvellis /usr/bin/orvellis /usr/bin/orvellis-passwd /usr/share/doc/orvellis \
  /etc/logrotate.d/orvellis; do
  [ ! -e "$path" ] && [ ! -L "$path" ] || fail "purging leaves $path behind"
done
