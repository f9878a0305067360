#!/bin/sh
# Fails unless three agree on what a form of the modern edition may set: the keyword
# table, the table of docs/security.md, and the program, which is asked name by name
# and tells its error log what it ignores.
#
#   strangers_check.sh PROGRAM PROJECT_FOLDER
set -eu

program=$1
project=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# Of a name with several rows, the one that a form reaches counts.
sed -n '/ kKeywords\[\] = {/,/^};/p' "$project/src/cgi/parameters.cpp" |
  sed -nE 's/^ *\{"([^"]+)", .*(kFromRequest|kFromShell|kFromAccount|kFromAny|kNotFromForm), (kTaken|kIgnored)(, kGoOn|, kStop, kLater)?\},$/\1 \3/p' |
  awk '!($1 in side) || $2 == "kTaken" { side[$1] = $2 == "kTaken" ? "taken" : "ignored" }
       END { for (name in side) print name, side[name] }' | LC_ALL=C sort >"$work/table"
rows=$(sed -n '/ kKeywords\[\] = {/,/^};/p' "$project/src/cgi/parameters.cpp" | grep -c '^ *{"')
read_rows=$(sed -n '/ kKeywords\[\] = {/,/^};/p' "$project/src/cgi/parameters.cpp" | grep -cE '(kTaken|kIgnored)(, kGoOn|, kStop, kLater)?\},$')
[ "$rows" -gt 60 ] && [ "$rows" = "$read_rows" ] || { echo "$rows rows, of which $read_rows take a side"; exit 1; }

# The manual's rows: | `name`, `name` | taken | why |
sed -nE 's/^\| (`[^|]*`) \| (taken|ignored) \| .*[^ ].* \|$/\2 \1/p' "$project/docs/security.md" | tr -d '`,' |
  awk '{ for (i = 2; i <= NF; ++i) print $i, $1 }' | LC_ALL=C sort >"$work/manual"

cd "$work"
printf 'Edition=modern\nErrorLog=log\nuser=demo;logs=none;password=*\n' >orvellis.conf
while read -r name _; do
  form="username=demo&$(echo "$name" | tr '[:lower:]' '[:upper:]')=demo&$name=demo&nosuch$name=1"
  rm -f log
  env -i TZ=UTC REQUEST_METHOD=POST REMOTE_ADDR=192.0.2.7 CONTENT_LENGTH=${#form} "$program" >page <<END
$form
END
  lines=$(grep -c 'the form may not set' log 2>/dev/null || :)
  case ${lines:-0} in
    0) echo "$name taken" ;;
    1) sed -n "s/^\[[^]]*\] 192[.]0[.]2[.]7 \"demo\" the form may not set \"\(.*\)\"\$/\1 ignored/p" log ;;
    *) echo "$name is told $lines times" ;;
  esac
done <table >program

status=0
diff -u "$work/table" "$work/program" || { echo "the program differs from its table"; status=1; }
diff -u "$work/table" "$work/manual" || { echo "docs/security.md differs from the table"; status=1; }
exit $status
