#!/bin/sh
# Fails when an output writes in another way than through its sink: only sink.cpp hands
# bytes to a stream, and only escape.cpp lets texts pass that are no literals.
#
#   output_test.sh PROJECT_FOLDER
set -eu
cd "$1/src/output"
status=0
forbid() { # EXTENDED REGULAR EXPRESSION, WHY, FILE...
  pattern=$1 why=$2
  shift 2
  if grep -nE "$pattern" "$@"; then
    echo "$why"
    status=1
  fi
}

others=$(find . -name '*.cpp' ! -name sink.cpp -o -name '*.h' ! -name sink.h | sort)
[ "$(echo "$others" | wc -l)" -gt 15 ] || { echo "the outputs are not where they were"; exit 1; }
# shellcheck disable=SC2086 # names without blanks
forbid '\<(v?f?d?printf|f?puts|f?putc|putchar|fwrite|writev?|perror|syslog) *\(|\<(stdout|stderr)\>|<iostream>' \
  'these lines write to a stream, which sink.cpp alone does' $others
# shellcheck disable=SC2046,SC2086
forbid '\<PutChecked\>' 'these lines pass texts on that nobody has looked at' \
  $(echo "$others" | grep -v '^./escape\.cpp$')
# What makes a literal is a literal: no other constructor, no cast from a view.
[ "$(grep -c 'Literal(' ../base/literal.h)" = 1 ] || { echo "literal.h has another way to make a Literal"; status=1; }
exit $status
