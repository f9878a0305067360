#!/bin/sh
# Fails when a report parameter or a configuration key is named by no end-to-end
# case: a parameter where its table accepts it from (command lines, forms or
# either, account lines, or any), a key at the start of a configuration line.
#
#   coverage_check.sh PROJECT_FOLDER
set -eu

project=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# The rows of a table, each as its name and the source that it is restricted to.
rows() {  # FILE TABLE
  sed -n "/ $2\[\] = {/,/^};/p" "$project/src/$1" |
    sed -nE -e 's/^ *\{"([^"]+)".*(kFromRequest|kFromShell|kFromAccount).*/\1 \2/p' -e t -e 's/^ *\{"([^"]+)".*/\1 kFromAny/p'
}

# What the files of cases hold whose names match, one line end after each file.
contents() {  # EXTENDED_REGULAR_EXPRESSION
  find "$project/tests/cli" -type f | grep -E "/($1)\$" | tr '\n' '\0' | xargs -0 awk 1
  find "$project/tests/cli" -type f -name '*.case' -exec awk -v begin="^-- (.*/)?($1)( \\(no line end\\))? --\$" '
    /^-- .+ --$/ { wanted = $0 ~ begin; next }
    wanted' {} +
}

contents 'args|run' | tr '& ' '\n\n' >"$work/kFromShell"
contents 'args|form|run' | tr '& ' '\n\n' >"$work/kFromRequest"
contents '[^/]*[.]conf' >"$work/keys"
grep -i '^user=' "$work/keys" | tr ';' '\n' >"$work/kFromAccount"
cat "$work/kFromRequest" "$work/kFromAccount" >"$work/kFromAny"

rows cgi/parameters.cpp kKeywords >"$work/parameters"
rows config/config_file.cpp kConfigKeys | sed 's/ .*/ keys/' >"$work/global"
for table in parameters global; do
  [ -s "$work/$table" ] || { echo "no rows found in the table of $table"; exit 1; }
done

status=0
while read -r name source; do
  grep -q -i "^$name=" "$work/$source" || { echo "no case names $name ($source)"; status=1; }
done <<END
$(cat "$work/parameters" "$work/global")
END
exit $status
