#!/bin/sh
# Renews the pictures of README.md: builds the demonstration and photographs its page, and the request form.
#
#   BROWSER_PACKAGES=build/browser CHROMIUM=/usr/bin/chromium tests/browser/pictures.sh
set -eu
here=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd)
project=$here/../..
BROWSER_PACKAGES=$(CDPATH='' cd -- "${BROWSER_PACKAGES:-$project/build/browser}" && pwd)
export BROWSER_PACKAGES CHROMIUM="${CHROMIUM:-/usr/bin/chromium}"

# The same day and zone, so that a picture changes only with the page.
SOURCE_DATE_EPOCH=952819200 TZ=UTC "$project/demo.sh"
cmake --build "$project/build/demo" --target request_form
node "$here/pictures.mjs" "$project/build/demo-report.html" "$project/build/demo/made/site" "$project/docs/pictures"
