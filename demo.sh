#!/bin/sh
# Builds Orvellis and writes one report page.
#
#   ./demo.sh             over the sample logs of this repository
#   ./demo.sh LOGFILE...  over logs of your own, from their first day to their last;
#                         options of orvellis-report may stand among them
set -eu
here=$(cd "$(dirname "$0")" && pwd)
. "$here/cmake/packages.sh"

need_packages g++ cmake ninja-build libcrypt-dev
(
  cd "$here"
  cmake --preset release -DORVELLIS_TESTS=OFF -B build/demo >/dev/null
  cmake --build build/demo --target orvellis
)
page=$here/build/demo-report.html

if [ $# -eq 0 ]; then
  set -- --title 'One Week of www.example.com' --url http://www.example.com "$here/samples/logs"
fi
ORVELLIS=$here/build/demo/orvellis "$here/bin/orvellis-report" --output "$page" "$@"

echo "The report is written:"
echo "  $page"
echo "Open it in a browser, for example with:"
echo "  xdg-open $page"
