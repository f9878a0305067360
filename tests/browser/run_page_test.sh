#!/bin/sh
# Runs a test that needs no web server; see tests/site/CMakeLists.txt for the environment.
#
#   run_page_test.sh TEST.mjs ARGUMENTS...
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for program in "$NODE" "$CHROMIUM"; do
  [ -x "$program" ] || { echo "skipped: node or chromium is not installed"; exit 77; }
done
[ -d "$BROWSER_PACKAGES/node_modules/playwright-core" ] ||
  { echo "skipped: $here/package.json is not installed in $BROWSER_PACKAGES"; exit 77; }
test=$1
shift
exec "$NODE" "$here/$test" "$@"
