#!/bin/sh
# Runs browser_test.mjs over logs that corpus.py writes; see tests/site/CMakeLists.txt for
# the environment.
#
#   run_browser_test.sh ORVELLIS                          a page from a disk, and the control
#   run_browser_test.sh apache|nginx|lighttpd BUILD_FOLDER    behind a server
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for program in "$NODE" "$CHROMIUM"; do
  [ -x "$program" ] || { echo "skipped: node or chromium is not installed"; exit 77; }
done
[ -d "$BROWSER_PACKAGES/node_modules/playwright-core" ] ||
  { echo "skipped: tests/browser/package.json is not installed in $BROWSER_PACKAGES"; exit 77; }
corpus=$(mktemp -d)
trap 'rm -rf "$corpus"' EXIT
trap 'exit 1' INT TERM HUP
python3 "$here/corpus.py" "$corpus"
if [ $# = 1 ]; then
  "$NODE" "$here/browser_test.mjs" "$corpus" "$1"
else
  "$here/../site/with_server.sh" "$1" "$2" "$NODE" "$here/browser_test.mjs" "$corpus"
fi
