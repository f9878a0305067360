#!/bin/sh
# Runs one end-to-end case and compares bytes.
#
#   run_case.sh PROGRAM CASE [--update | --unpack FOLDER]
#
# A case is a folder, which holds
#   base                the name of a folder in bases/, whose files the case has, too
#   page                the name of another one there, of which it has expected.out
#   args | form | run   arguments, one a line; or a posted body; or a shell script
#                       that calls "$ORVELLIS" itself
#   env                 further environment variables, one NAME=value a line
#   setup               shell script run first, in the working folder
#   expected.out        standard output, byte for byte
#   expected.diff       or where it differs from what a base has: the hunks of diff -U1
#   expected.status     exit status; 0 when absent
#   expected/           files to be found in the working folder afterwards
# and everything else is input: it is copied to an empty folder, where the
# program runs with nothing but TZ, LC_ALL and PATH in its environment.
#
# Or a case is a file NAME.case, in which such a folder is written as one text: a line
# "-- FILE --" begins each of its files, "-- FILE (no line end) --" one that ends
# within its last line; what is expected comes last.
#
# Before comparing, the texts that show the present moment or the machine are
# replaced by fixed words (blank.sed). --update rewrites the expectations, for
# review; the page as expected.diff, unless the case has expected.out. --unpack
# writes all that the case has, its base's files and the whole page, into FOLDER,
# and runs nothing.
set -eu

program=$1
case=$2
action=${3:-}
here=$(cd "${0%/*}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/own" "$work/in" "$work/given" "$work/want" "$work/got"

# --- The files of the case ----------------------------------------------------

own=$case
if [ -f "$case" ]; then
  own=$work/own
  LC_ALL=C awk -v folder="$own" -f "$here/split_case.awk" "$case"
fi
cd "$work/in"
page=
if [ -f "$own/base" ]; then
  read -r base <"$own/base"
  cp -R "$here/bases/$base/." .
  page=$here/bases/$base/expected.out
fi
if [ -f "$own/page" ]; then
  read -r base <"$own/page"
  page=$here/bases/$base/expected.out
  [ -f "$own/expected.diff" ] || cp "$page" .
fi
cp -R "$own/." .

sort_out() {  # FOLDER NAME...: moves there what there is of these
  folder=$1
  shift
  for name in "$@"; do
    [ ! -e "$name" ] || set -- "$@" "$name"
    shift
  done
  [ $# = 0 ] || mv "$@" "$folder/"
}
sort_out "$work/given" base page args form run env setup expected.diff
sort_out "$work/want" expected.out expected.status expected

if [ -f "$own/expected.diff" ]; then
  patch -u -N -o "$work/want/expected.out" "$page" <"$own/expected.diff" >"$work/said" 2>&1 ||
    [ "$action" = --update ] || { cat "$work/said" && exit 1; }
fi
if [ "$action" = --unpack ]; then
  (cd "$work/given" && rm -f base page expected.diff)
  cp -R "$work/in/." "$work/given/." "$work/want/." "$4/"
  exit 0
fi

# --- The run ------------------------------------------------------------------

given=$work/given
set -- TZ=UTC LC_ALL=C PATH=/usr/bin:/bin
if [ -f "$given/form" ]; then
  set -- "$@" REQUEST_METHOD=POST "CONTENT_LENGTH=$(wc -c <"$given/form" | tr -d ' ')"
fi
if [ -f "$given/env" ]; then
  while IFS= read -r line; do
    [ -z "$line" ] || set -- "$@" "$line"
  done <"$given/env"
fi
if [ -f "$given/setup" ]; then
  env -i "$@" sh -eu "$given/setup"
fi

status=0
if [ -f "$given/run" ]; then
  env -i "$@" ORVELLIS="$program" sh "$given/run" >"$work/out" 2>"$work/err" </dev/null || status=$?
elif [ -f "$given/form" ]; then
  env -i "$@" "$program" >"$work/out" 2>"$work/err" <"$given/form" || status=$?
else
  set -- "$@" "$program"
  while IFS= read -r line; do
    [ -z "$line" ] || set -- "$@" "$line"
  done <"$given/args"
  env -i "$@" >"$work/out" 2>"$work/err" </dev/null || status=$?
fi

LC_ALL=C sed -f "$here/blank.sed" <"$work/out" >"$work/got/expected.out"
[ "$status" = 0 ] || echo "$status" >"$work/got/expected.status"
if [ -d "$work/want/expected" ]; then
  (cd "$work/want/expected" && find . -type f) | while IFS= read -r file; do
    mkdir -p "$work/got/expected/$(dirname "$file")"
    if [ -f "$file" ]; then LC_ALL=C sed -f "$here/blank.sed" <"$file" >"$work/got/expected/$file"; fi
  done
fi

if [ -s "$work/err" ]; then
  echo "unexpected text on standard error:"
  cat "$work/err"
  exit 1
fi
if [ "$action" != --update ]; then
  diff -a -r -u "$work/want" "$work/got"
  exit
fi

# --- The new expectations -----------------------------------------------------

cd "$work/got"
if [ ! -f "$own/expected.out" ] && [ -f "$page" ]; then
  diff -a -U 1 "$page" expected.out | sed 1,2d >expected.diff
  rm expected.out
  [ -s expected.diff ] || rm expected.diff
fi
if [ -d "$case" ]; then
  rm -rf "$case/expected.status" "$case/expected.diff"
  cp -R . "$case/"
  exit 0
fi
LC_ALL=C sed '/^-- expected[./].* --$/,$d' "$case" >"$work/new"
find . -type f | sed 's|^\./||' | LC_ALL=C sort | while IFS= read -r file; do
  if [ -z "$(tail -c 1 "$file")" ]; then echo "-- $file --"; else echo "-- $file (no line end) --"; fi
  cat "$file"
  [ -z "$(tail -c 1 "$file")" ] || echo
done >>"$work/new"
cat "$work/new" >"$case"
