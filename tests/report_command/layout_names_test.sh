#!/bin/sh
# Whether orvellis-report knows the layouts that the program has names for, and no others.
#
#   layout_names_test.sh SOURCE_FOLDER
set -eu
cd "$1"
in_program=$(sed -n 's/^ *{\.name = "\([a-z0-9_]*\)".*/\1/p' src/layouts/known_layouts.cpp | sort)
in_command=$(sed -n "/^known_layouts='/,/'\$/p" bin/orvellis-report | sed "s/^known_layouts=//" | tr -cs 'a-z0-9_' '\n' | sed '/^$/d' | sort)
[ -n "$in_program" ] && [ "$in_program" = "$in_command" ] && exit 0
echo "the program knows:   $(echo "$in_program" | tr '\n' ' ')"
echo "orvellis-report has: $(echo "$in_command" | tr '\n' ' ')"
exit 1
