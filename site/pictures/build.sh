#!/bin/sh
# Draws the GIF pictures that pages show from the SVG sources beside this script.
# The pictures are committed; run this only to change them. Needs rsvg-convert
# (librsvg2-bin), ImageMagick and the DejaVu fonts.
set -eu
cd "$(dirname "$0")"
convert=/usr/bin/convert-im6.q16
[ -x "$convert" ] || convert=convert
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

gif() { # SVG file, GIF name
  rsvg-convert -o "$work/picture.png" "$1"
  "$convert" "$work/picture.png" +dither -colors 128 -strip "../$2"
}

gif logo.svg or15-reg.gif
while read -r number words; do
  sed -e "s/@NUMBER@/$number/" -e "s/@WORDS@/$words/" error.svg >"$work/error.svg"
  gif "$work/error.svg" "or15-err$number.gif"
done <<EOF
1 No form data posted
2 Unknown account or password
4 No URL for this account
5 No logs for this account
6 No start date
7 Invalid date range
8 No end date
9 No configuration file
10 No passwords file
11 No log files found
EOF
"$convert" -size 2x5 xc:'#3f6fb5' -strip ../blue2x5.gif
"$convert" -size 2x5 xc:'#c8453b' -strip ../red2x5.gif
