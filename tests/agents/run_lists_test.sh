#!/bin/sh
# Runs lists_test.mjs with the lists that package.json names; see CMakeLists.txt for the environment.
#
#   run_lists_test.sh TELL_AGENTS
set -eu
here=$(cd "$(dirname "$0")" && pwd)
[ -x "$NODE" ] || { echo "skipped: node is not installed"; exit 77; }
for package in bowser crawler-user-agents top-user-agents user-agents @ulixee/real-user-agents; do
  [ -d "$AGENT_LISTS/node_modules/$package" ] ||
    { echo "skipped: $here/package.json is not installed in $AGENT_LISTS"; exit 77; }
done
exec "$NODE" "$here/lists_test.mjs" "$1" "$AGENT_LISTS"
