#!/bin/sh
# Runs one end-to-end case and compares bytes.
#
#   run_case.sh PROGRAM CASE_FOLDER [--update]
#
# A case folder holds
#   args | form | run   arguments, one a line; or a posted body; or a shell script
#                       that calls "$ORVELLIS" itself
#   env                 further environment variables, one NAME=value a line
#   setup               shell script run first, in the working folder
#   expected.out        standard output, byte for byte
#   expected.status     exit status; 0 when absent
#   expected/           files to be found in the working folder afterwards
# and everything else is input: it is copied to an empty folder, where the
# program runs with nothing but TZ, LC_ALL and PATH in its environment.
#
# Before comparing, the texts that show the present moment or the machine are
# replaced by fixed words. --update rewrites the expectations, for review.
set -eu

program=$1
case_dir=$2
update=${3:-}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/in" "$work/got"
cp -R "$case_dir/." "$work/in/"
cd "$work/in"
rm -rf expected expected.out expected.status args form run env setup

blank() {
  LC_ALL=C sed \
    -e 's|\(<b>Date of Report:</b></td><td width="50%">\)[^<]*|\1NOW|' \
    -e 's|\(Time required to generate report = \)[0-9:]*|\1MM:SS|' \
    -e 's|^\(# Last updated on \).*|\1NOW|' \
    -e 's|^\[[0-9][0-9]/[A-Z][a-z][a-z]/[0-9:]*\] |[NOW] |' \
    -e 's|<b>User:</b> .* / <b>Group:</b> [^<]*<br>|<b>User:</b> USER / <b>Group:</b> GROUP<br>|' \
    -e 's,^\(<b>\(Operating system\|Release\|Processor\|Version\|Node\):</b> \)[^<]*,\1SYSTEM,' \
    -e 's,^\(    \(Operating system\|Release\|Processor\|Version\|Node\): *	\).*,\1SYSTEM,'
}

set -- TZ=UTC LC_ALL=C PATH=/usr/bin:/bin
if [ -f "$case_dir/form" ]; then
  set -- "$@" REQUEST_METHOD=POST "CONTENT_LENGTH=$(wc -c <"$case_dir/form" | tr -d ' ')"
fi
if [ -f "$case_dir/env" ]; then
  while IFS= read -r line; do
    [ -z "$line" ] || set -- "$@" "$line"
  done <"$case_dir/env"
fi
if [ -f "$case_dir/setup" ]; then
  env -i "$@" sh -eu "$case_dir/setup"
fi

status=0
if [ -f "$case_dir/run" ]; then
  env -i "$@" ORVELLIS="$program" sh "$case_dir/run" >"$work/out" 2>"$work/err" </dev/null || status=$?
elif [ -f "$case_dir/form" ]; then
  env -i "$@" "$program" >"$work/out" 2>"$work/err" <"$case_dir/form" || status=$?
else
  set -- "$@" "$program"
  while IFS= read -r line; do
    [ -z "$line" ] || set -- "$@" "$line"
  done <"$case_dir/args"
  env -i "$@" >"$work/out" 2>"$work/err" </dev/null || status=$?
fi

blank <"$work/out" >"$work/got/expected.out"
[ "$status" = 0 ] || echo "$status" >"$work/got/expected.status"
if [ -d "$case_dir/expected" ]; then
  (cd "$case_dir/expected" && find . -type f) | while IFS= read -r file; do
    mkdir -p "$work/got/expected/$(dirname "$file")"
    if [ -f "$file" ]; then blank <"$file" >"$work/got/expected/$file"; fi
  done
fi

if [ -s "$work/err" ]; then
  echo "unexpected text on standard error:"
  cat "$work/err"
  exit 1
fi
if [ "$update" = --update ]; then
  rm -rf "$case_dir/expected.status"
  cp -R "$work/got/." "$case_dir/"
  exit 0
fi
mkdir "$work/want"
for name in expected.out expected.status expected; do
  if [ -e "$case_dir/$name" ]; then cp -R "$case_dir/$name" "$work/want/"; fi
done
diff -a -r -u "$work/want" "$work/got"
