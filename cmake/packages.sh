# shellcheck shell=sh
# Sourced by the scripts in the root folder: installs Debian packages, but only
# those that are missing, so that a machine that has them needs no network.
need_packages() {
  missing=
  for package in "$@"; do
    dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  as_root=
  if [ "$(id -u)" != 0 ]; then
    if ! command -v sudo >/dev/null; then
      echo "Please install these Debian packages first:$missing" >&2
      exit 1
    fi
    as_root=sudo
  fi
  echo "Installing$missing"
  $as_root apt-get update -q >/dev/null
  # shellcheck disable=SC2086 # a list of package names
  DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -q --no-install-recommends $missing >/dev/null
}
