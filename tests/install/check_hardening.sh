#!/bin/sh
# Looks into programs for what makes faults of memory harmless: their place in memory is drawn anew each time, what is
# filled in at the start is read-only afterwards, the stack is watched and cannot be run, and no part can be written and
# run.
#
#   check_hardening.sh PROGRAM..
set -eu
for program in "$@"; do
    facts=$(LC_ALL=C readelf --wide --file-header --program-headers --dynamic "$program")
    symbols=$(LC_ALL=C readelf --wide --dyn-syms "$program")
    expect() {
        echo "$2" | grep -Eq "$3" || { echo "$program: $1" >&2; exit 1; }
    }
    expect "is not position-independent" "$facts" 'Type: *DYN .Position-Independent Executable'
    expect "has no read-only relocations" "$facts" 'GNU_RELRO'
    expect "binds lazily" "$facts" 'FLAGS.*(BIND_NOW|NOW)'
    expect "has an executable stack" "$facts" 'GNU_STACK +[^ ]+ [^ ]+ [^ ]+ [^ ]+ [^ ]+ RW '
    expect "has no stack protector" "$symbols" '__stack_chk_fail'
    expect "has no checked functions" "$symbols" '__(memcpy|snprintf|vsnprintf|read|fprintf)_chk'
    if echo "$facts" | grep -E '^ *LOAD' | grep -q 'RWE'; then
        echo "$program: has a part that can be written and run" >&2
        exit 1
    fi
done
