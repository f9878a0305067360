#!/bin/sh
# The package orvellis_cluster holds what its types promise. Skipped where mypy is not installed.
#
#   types_test.sh SOURCE_FOLDER CACHE_FOLDER
set -eu
cd "$1/cluster"
/usr/bin/python3 -c 'import mypy, distributed' 2>/dev/null || {
  echo "skipped: mypy or python3-distributed is not installed"
  exit 77
}
/usr/bin/python3 -m mypy --cache-dir="$2"
