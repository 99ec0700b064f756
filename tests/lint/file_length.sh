#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='A C++ file has at most 700 lines, better 500: what is longer holds more than one subject. Move one of them to a file
named for it; a class may be implemented in one .cpp per subject, as Telescope is.'

look() { cpp_files | tr '\n' '\0' | xargs -0 -r awk 'FNR == 701 { print FILENAME ": more than 700 lines" }'; }

lines() { awk -v count="$1" 'BEGIN { for (i = 1; i <= count; i++) print "int a" i ";" }'; }

self_test() {
    bad src/kernel/a.cpp "$(lines 701)"
    bad tests/kernel/a.h "$(lines 2000)"
    good src/kernel/a.cpp "$(lines 700)"
    good docs/list.md "$(lines 2000)"
}

lint "$@"
