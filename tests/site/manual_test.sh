#!/bin/sh
# The manual says what the program does: its samples are read, its examples run,
# and every key and parameter stands in it.
#
#   manual_test.sh PROGRAM SOURCE_FOLDER REQUEST_FORM
#
# Samples are the fenced blocks of docs/*.md:
#   ```log N [expect=TEXT] [PARAMETER=VALUE]...   a log of which N requests are
#       counted; the report holds TEXT ("+" for a blank)
#   ```conf     lines of a configuration; its search lines apply to the logs that
#       follow in the same document, its accounts must be complete
#   ```params   arguments of a report over the sample logs
set -u
program=$1
source_dir=$2
form=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0
checked=0
mkdir "$work/tree"
cp -R "$source_dir/samples" "$source_dir/site" "$work/tree"

fail() {
  echo "FAILED: $*"
  failures=$((failures + 1))
}

report() { # CONFIGURATION, PARAMETERS...
  conf=$1
  shift
  env -i TZ=UTC LC_ALL=C "$program" "config=$conf" "$@" >"$work/page" 2>&1
}

check_log() { # FILE NAME N PARAMETERS...
  file=$1 name=$2 wanted=$3
  shift 3
  expect=
  case ${1:-} in expect=*) expect=$(echo "${1#expect=}" | tr + ' '); shift ;; esac
  { cat "$work/search" && echo "user=sample;logs=$file;url=http://www.example.com;password=*"; } >"$work/sample.conf"
  report "$work/sample.conf" username=sample date=01011999,12312001 find=/ subdirs=1 "$@"
  grep -aq -e "<b>HTTP Requests:</b></td><td width=\"50%\">$wanted<" -e "\"totals\": {\"requests\": $wanted," "$work/page" || fail "$name: not $wanted requests"
  [ -z "$expect" ] || grep -aqF "$expect" "$work/page" || fail "$name: no '$expect'"
}

check_conf() { # FILE NAME
  grep '^search=' "$1" >"$work/search"
  # Logs are looked for where there are none: this machine's own are not to be touched.
  sed "s#\\(logs\\|AccessLog\\)=/#\\1=$work/absent/#g" "$1" >"$work/accounts.conf"
  for user in $(grep '^user=' "$1" | sed 's/^user=\([^;]*\);.*/\1/'); do
    report "$work/accounts.conf" "username=$user" password=SECRET date=03052000,03052000
    grep -aq 'Error #11:' "$work/page" || fail "$2: account $user"
  done
}

check_params() { # FILE NAME
  while read -r line; do
    # shellcheck disable=SC2086 # a list of arguments
    (cd "$work/tree" && set -f && report samples/orvellis.conf username=demo date=03052000,03112000 $line)
    grep -aq '</html>' "$work/page" && ! grep -aq 'Error #' "$work/page" || fail "$2: $line"
  done <"$1"
}

for document in "$source_dir"/docs/*.md; do
  name=$(basename "$document")
  : >"$work/search"
  rm -f "$work"/block*
  awk -v out="$work/block" '
    /^```/ { if (inside) { inside = 0; close(file) } else { inside = 1; file = sprintf("%s%02d", out, ++n); print substr($0, 4) > file } next }
    inside { print > file }' "$document"
  for block in "$work"/block*; do
    [ -f "$block" ] || continue
    info=$(head -n 1 "$block")
    tail -n +2 "$block" >"$work/lines"
    set -f
    # shellcheck disable=SC2086 # a list of words
    set -- $info
    set +f
    kind=${1:-}
    checked=$((checked + 1))
    case $kind in
      log) shift; mkdir -p "$work/logs"; cp "$work/lines" "$work/logs/$checked.log"
        check_log "$work/logs/$checked.log" "$name, block $(basename "$block")" "$@" ;;
      conf) check_conf "$work/lines" "$name, block $(basename "$block")" ;;
      params) check_params "$work/lines" "$name" ;;
    esac
  done
done
[ "$checked" -gt 15 ] || fail "only $checked samples were found"

# The examples of the manual pages: the command, over an account of its name that
# has the sample logs; the accounts, which are complete but have no logs here.
literal_blocks() { # PAGE
  awk '/^\.Sh/ { on = /EXAMPLES/ } on && /^\.Ed/ { in_block = 0 } on && in_block { print } on && /^\.Bd/ { in_block = 1 }' "$1" |
    sed 's/\\e$/\\/'
}
literal_blocks "$source_dir/man/orvellis.1" >"$work/example.sh"
grep -q '^orvellis ' "$work/example.sh" || fail "orvellis.1: no example was found"
echo "user=apache;logs=samples/logs/*.log;url=http://www.example.com;password=*" >"$work/tree/orvellis.conf"
ln -s "$program" "$work/tree/orvellis"
(cd "$work/tree" && sed 's|/etc/orvellis/||' "$work/example.sh" | env -i TZ=UTC LC_ALL=C PATH="$work/tree:/usr/bin:/bin" sh)
grep -aq 'HTTP Requests:</b></td><td width="50%">[1-9]' "$work/tree/report.html" || fail "orvellis.1: the example reports nothing"
literal_blocks "$source_dir/man/orvellis.conf.5" >"$work/lines"
[ "$(grep -c '^user=' "$work/lines")" -ge 2 ] || fail "orvellis.conf.5: no example accounts were found"
check_conf "$work/lines" orvellis.conf.5

# Every key and every parameter, in the documentation and in the manual pages.
keys=$(grep -oE '^    \{"[A-Za-z_]+",' "$source_dir/src/config/config_file.cpp" | tr -d ' {",')
[ "$(echo "$keys" | wc -l)" -ge 20 ] || fail "the keys of the program were not found"
for key in $keys; do
  grep -q "\`$key\`" "$source_dir/docs/configuration.md" || fail "docs/configuration.md: no $key"
  grep -qw "$key" "$source_dir/man/orvellis.conf.5" || fail "orvellis.conf.5: no $key"
done
parameters=$(grep -oE '^    \{"[A-Za-z_]+",' "$source_dir/src/cgi/parameters.cpp" | tr -d ' {",' | grep -vE '_(top|greater)$' | sort -u)
[ "$(echo "$parameters" | wc -l)" -ge 40 ] || fail "the parameters of the program were not found"
for parameter in $parameters; do
  grep -q "\`$parameter\`" "$source_dir/docs/parameters.md" "$source_dir/docs/accounts.md" || fail "docs: no $parameter"
  grep -qw "$parameter" "$source_dir/man/orvellis.1" "$source_dir/man/orvellis.conf.5" || fail "man: no $parameter"
done

# The statuses that the documentation tells, in the manual page too.
statuses=$(grep -oE '^\|.*, status [0-9]' "$source_dir/docs/errors.md" | grep -oE '[0-9]$')
[ "$(echo "$statuses" | wc -l)" -ge 2 ] || fail "docs/errors.md: the statuses were not found"
for status in $statuses; do
  sed -n '/^\.Sh EXIT STATUS/,/^\.Sh EXAMPLES/p' "$source_dir/man/orvellis.1" | grep -qx "\.It $status" || fail "orvellis.1: no status $status"
done

# The request forms send nothing but what a form may set, and all of that: each edition has its own.
offers() { # FORM, PARAMETERS, and those that it does without
  fields=$(grep -v '<meta ' "$1" | grep -oE ' name="[^"]*"' | cut -d'"' -f2 | sort -u)
  [ "$(echo "$fields" | wc -l)" -ge 40 ] || fail "the fields of $1 were not found"
  for field in $fields; do
    echo "$2" | grep -qx "$field" || fail "$1 sends $field, which is not taken from it"
  done
  for parameter in $(echo "$2" | grep -vxE "$3"); do
    echo "$fields" | grep -qx "$parameter" || fail "$1 does not offer $parameter"
  done
}
names_of() { grep -oE '^    \{"[A-Za-z_]+",' | tr -d ' {",' | sort -u; }
taken=$(grep -E 'kTaken(, kGoOn)?(, kStop, kLater)?\},$' "$source_dir/src/cgi/parameters.cpp" | names_of)
classic=$(grep -E 'kTaken(, kGoOn)?\},$' "$source_dir/src/cgi/parameters.cpp" | names_of)
[ "$(echo "$classic" | wc -l)" -ge 40 ] || fail "the parameters that a form may set were not found"
sections=$(grep -oE '\.parameter = "[a-z]+"' "$source_dir/src/analysis/dimensions.cpp" | cut -d'"' -f2)
[ "$(echo "$sections" | wc -l)" -ge 12 ] || fail "the table of dimensions was not found"
for section in $sections; do
  taken=$(printf '%s\n' "$taken" "$section" "${section}_top" "${section}_greater")
done
filters=$(sed -n '/^constexpr RecordFilter kRecordFilters/,/^};/p' "$source_dir/src/analysis/record_filters.cpp" | grep -oE '^    \{"[a-z]+"' | cut -d'"' -f2)
[ "$(echo "$filters" | wc -l)" -ge 9 ] || fail "the table of filters was not found"
for filter in $filters; do
  taken=$(printf '%s\n' "$taken" "only_$filter" "exclude_$filter")
done
offers "$form" "$taken" 'date|s[mdy]|e[mdy]|search_casesensitive'
offers "$source_dir/site/classic.html" "$classic" 'date|search_casesensitive'

# The manual pages are well-formed, as far as the tool to tell is here.
if command -v mandoc >/dev/null; then
  mandoc -T lint -W warning "$source_dir"/man/orvellis.1 "$source_dir"/man/orvellis.conf.5 || fail "mandoc"
fi
echo "$checked samples, $failures failures"
[ "$failures" = 0 ]
