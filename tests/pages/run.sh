#!/bin/sh
# Runs one of the tests of the page: run.sh NAME. KESTRANE_PROGRAMS is where the programs are.
#
# Needs node, npm and chromium, and the npm registry the first time. Without them the test is skipped (77), or fails where
# KESTRANE_PAGE_TESTS is "required".
set -eu
cd "$(dirname "$0")"

skip() {
    echo "SKIPPED: $1" >&2
    [ "${KESTRANE_PAGE_TESTS:-}" != required ] || exit 1
    exit 77
}
for program in node npm chromium; do
    command -v $program >/dev/null 2>&1 || skip "$program is missing"
done
if ! cmp -s package-lock.json node_modules/.installed; then
    npm ci >node_modules.log 2>&1 || npm ci >node_modules.log 2>&1 || {
        tail -n 5 node_modules.log >&2
        skip "the packages of package-lock.json cannot be had"
    }
    rm -f node_modules.log
    cp package-lock.json node_modules/.installed
fi
exec node --test "$1_test.mjs"
