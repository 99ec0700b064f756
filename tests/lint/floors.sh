#!/bin/sh
. "$(dirname "$0")/lint.sh"

teach='The folders of src/ stand on floors (tools/floors.txt), and each uses only what is below it: that keeps a folder
readable and testable without those above. Write #include "folder/file.h" for a folder on a lower floor. A call upward
goes through a small interface that the lower floor owns, named for what it needs; see src/state/mount_commands.h.'

check_floors=$here/../../tools/check_floors
look() { "$check_floors" . || true; }

table='1   platform     :
2   kernel/base  : platform
3   settings     : kernel/base
3   catalogue    :
4   apps         : simulator
-   simulator    : platform'

# tree: a small project that keeps its floors.
tree() {
    rm -rf "$sample_root/tree"
    mkdir -p "$sample_root/tree/tools"
    printf '%s\n' "$table" >"$sample_root/tree/tools/floors.txt"
    file platform/clock.h '#pragma once'
    file kernel/base/log.h '#include "platform/clock.h"'
    file settings/persist.h '#include "kernel/base/log.h"'
    file catalogue/mounts.h '#include <string>'
    file simulator/mount.h '#include "platform/clock.h"'
    file apps/main.cpp '#include "simulator/mount.h"'
}

file() {
    mkdir -p "$(dirname "$sample_root/tree/src/$1")"
    printf '%s\n' "$2" >>"$sample_root/tree/src/$1"
}

# expect WORDS: the check of the tree prints exactly one sentence, and it holds the words; with no words, none.
expect() {
    status=0
    found=$("$check_floors" "$sample_root/tree") || status=$?
    count=$(printf '%s' "$found" | grep -c '' || true)
    if [ -z "$1" ] && [ "$status" -eq 0 ] && [ -z "$found" ]; then
        return
    fi
    if [ -n "$1" ] && [ "$status" -eq 1 ] && [ "$count" -eq 1 ] && printf '%s' "$found" | grep -qF -e "$1"; then
        return
    fi
    printf 'Expected "%s", got status %s and:\n%s\n' "$1" "$status" "$found"
    failures=$((failures + 1))
}

self_test() {
    tree && expect ''
    tree && file settings/persist.h '#include "settings/persist.h"' && expect ''
    tree && file kernel/base/log.h '#include "settings/persist.h"'
    expect 'kernel/base is on floor 2, settings on floor 3'
    tree && file settings/persist.h '  #  include "catalogue/mounts.h"'
    expect 'settings is on floor 3, catalogue on floor 3'
    tree && file settings/persist.h '#include <catalogue/mounts.h>'
    expect 'settings is on floor 3, catalogue on floor 3'
    tree && file settings/persist.h '#include "platform/clock.h"'
    expect 'no edge from settings to platform'
    tree && file settings/persist.h '#include "simulator/mount.h"'
    expect 'settings is on floor 3, simulator on floor -'
    tree && file simulator/mount.h '#include "kernel/base/log.h"'
    expect 'simulator is on floor -, kernel/base on floor 2'
    tree && file settings/room/row.h '#include "kernel/base/log.h"' && expect ''
    tree && file settings/room/row.h '#include "catalogue/mounts.h"'
    expect 'settings is on floor 3, catalogue on floor 3'
    tree && file stray/new.cpp '' && expect 'src/stray/new.cpp is on no floor'
    tree && file lone.cpp '' && expect 'src/lone.cpp is on no floor'
    tree && file settings/persist.h '#include "persist_keys.h"' && expect 'is no file under src/'
    tree && : >"$sample_root/tree/src/kernel/base/log.h" && expect 'lets kernel/base use platform, and no file does'
    tree && echo '5 top : nowhere' >>"$sample_root/tree/tools/floors.txt"
    status=0
    "$check_floors" "$sample_root/tree" | grep -q 'nowhere, which is on no floor' || {
        echo 'A folder on no floor in the table went by.'
        failures=$((failures + 1))
    }
    tree && sed 's/^2 .*/2 kernel\/base : platform settings/' "$sample_root/tree/tools/floors.txt" >"$sample_root/rows" &&
        cp "$sample_root/rows" "$sample_root/tree/tools/floors.txt" &&
        file kernel/base/log.h '#include "settings/persist.h"'
    expect 'only lower floors may be used'
}

lint "$@"
