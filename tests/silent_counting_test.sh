#!/bin/sh
# Fails when a folder prints that only counts: what it has to tell goes to whoever
# listens (superlog/log_events.h, analysis/driver.h), and report/ writes the page.
# Files that it writes and texts that it makes are no page.
#
#   silent_counting_test.sh PROJECT_FOLDER
set -eu

cd "$1/src"
functions='v?printf|puts|putchar(_unlocked)?|perror|system|popen'
streams='stdout|stderr|STDOUT_FILENO|STDERR_FILENO|cout|cerr|clog'

# Comments may speak of what the code does not do.
code() {
  sed 's@//.*@@' "$1"
}

status=0
for file in */*.cpp */*.h; do
  case $file in
    run/* | config/* | cgi/* | report/*) continue ;;
    sandbox/make_syscall_filters.cpp) continue ;;  # a program of the build
    output/*) continue ;;  # prints reports; output_test.sh tells through what
    base/memory_end.cpp) continue ;;  # drops what was printed, where memory ends
    passwd/* | index/main.cpp) continue ;;  # commands of their own, which talk to whoever runs them
  esac
  checked="${checked:-} $file"
  if code "$file" | grep -nE "(^|[^A-Za-z0-9_])(($functions) *\(|($streams)([^A-Za-z0-9_]|\$))"; then
    echo "$file prints"
    status=1
  fi
done
for file in base/text.cpp dates/clock.cpp superlog/log_files.cpp analysis/driver.cpp; do
  case ${checked:-} in
    *" $file"*) ;;
    *) echo "$file was not looked at"; status=1 ;;
  esac
done
exit $status
