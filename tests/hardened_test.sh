#!/bin/sh
# Looks at a built program for what cmake/hardening.cmake asks of the compiler and the linker.
#
#   hardened_test.sh PROGRAM
set -eu
export LC_ALL=C

program=$1
failed=0
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
readelf --file-header --dynamic --program-headers --wide "$program" >"$work/headers"
readelf --dyn-syms --wide "$program" >"$work/symbols"

# has WHAT FILE PATTERN
has() {
  grep -Eq -- "$3" "$2" || { echo "$program: $1 is missing" && failed=1; }
}
has "a position-independent program" "$work/headers" 'Type: +DYN'
has "the PIE flag" "$work/headers" 'FLAGS_1.* PIE'
has "relocation tables made read-only" "$work/headers" 'GNU_RELRO'
has "binding of all symbols at start" "$work/headers" 'FLAGS_1.* NOW'
has "a stack that cannot be executed" "$work/headers" 'GNU_STACK.* RW '
has "the stack protector" "$work/symbols" ' __stack_chk_fail@'
for call in printf snprintf; do
  has "the checked $call" "$work/symbols" " __${call}_chk@"
done
if grep -Eq "\((RPATH|RUNPATH)\)" "$work/headers"; then
  echo "$program: looks for libraries in a folder of its own" && failed=1
fi
if grep NEEDED "$work/headers" | grep -Ev '\[(libcrypt|libc|ld-linux[a-z0-9-]*)\.so\.[0-9]+\]'; then
  echo "$program: needs another library to run" && failed=1
fi
case $(uname -m) in
  x86_64)
    objdump --disassemble=main "$program" >"$work/main"
    has "the mark of a place that may be jumped to" "$work/main" 'endbr64'
    ;;
esac
exit $failed
