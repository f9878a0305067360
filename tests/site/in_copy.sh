#!/bin/sh
# Runs a command as root in a copy of this machine that is thrown away afterwards:
# what it installs, removes and writes happens to nobody else, and no service starts.
#
#   in_copy.sh FOLDER... -- COMMAND...
#
# The folders are the machine's own. Exit status: that of the command; 77 where the
# kernel does not let a copy be made.
set -eu

if [ "${1:-}" != --inside ]; then
  [ "$(id -u)" = 0 ] || { echo "skipped: not root"; exit 77; }
  unshare --mount --pid --fork true 2>/dev/null || { echo "skipped: no name spaces"; exit 77; }
  copy=$(mktemp -d)
  trap 'rmdir "$copy"' EXIT
  trap 'exit 1' INT TERM HUP
  unshare --mount --pid --fork --kill-child -- "$0" --inside "$copy" "$@" && status=0 || status=$?
  exit "$status"
fi

copy=$2
shift 2
mount -t tmpfs orvellis "$copy"
mkdir "$copy/changes" "$copy/work" "$copy/root"
mount -t overlay orvellis -o "lowerdir=/,upperdir=$copy/changes,workdir=$copy/work" "$copy/root" 2>/dev/null ||
  { echo "skipped: no overlay"; exit 77; }
root=$copy/root
mount -t proc proc "$root/proc"
for folder in /sys /dev; do mount --rbind "$folder" "$root$folder"; done
while [ "$1" != -- ]; do
  mkdir -p "$root$1"
  mount --bind "$1" "$root$1"
  shift
done
shift
mkdir -p "$root/tmp"
mount -t tmpfs orvellis "$root/run"
mkdir -m 1777 "$root/run/lock"
printf '#!/bin/sh\nexit 101\n' >"$root/usr/sbin/policy-rc.d"
chmod 755 "$root/usr/sbin/policy-rc.d"
chmod 1777 "$root/tmp"
# Nothing here outlives a loss of power, and nobody looks for a manual page.
mkdir -p "$root/etc/dpkg/dpkg.cfg.d"
echo force-unsafe-io >"$root/etc/dpkg/dpkg.cfg.d/copy"
rm -f "$root/var/lib/man-db/auto-update"
exec chroot "$root" "$@"
