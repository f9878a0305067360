#!/bin/sh
# Runs browser_test.mjs against one web server; see tests/site/CMakeLists.txt for
# the environment.
#
#   run_test.sh apache|nginx|lighttpd BUILD_FOLDER
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for program in "$NODE" "$CHROMIUM"; do
  [ -x "$program" ] || { echo "skipped: node or chromium is not installed"; exit 77; }
done
[ -d "$BROWSER_PACKAGES/node_modules/playwright-core" ] ||
  { echo "skipped: $here/package.json is not installed in $BROWSER_PACKAGES"; exit 77; }
exec "$here/../site/with_server.sh" "$1" "$2" "$NODE" "$here/browser_test.mjs"
