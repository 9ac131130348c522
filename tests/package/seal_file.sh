#!/usr/bin/env bash
# Seals files and opens them again; changed files and other keys are refused. Usage: seal_file.sh SEAL_FILE
set -euo pipefail
seal_file=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

refuse() { # TEXT COMMAND...
    local text=$1 output
    shift
    if output=$("$@" 2>&1) || [[ $output != *"$text"* ]]; then
        printf '%s was to fail with "%s" and said:\n%s\n' "$*" "$text" "$output"
        exit 1
    fi
}

"$seal_file" key key
"$seal_file" key other
[[ $(stat -c '%a %s' key) == "600 32" ]]
for size in 0 1 16 1000 1000000; do
    head -c "$size" /dev/urandom >plain
    "$seal_file" seal key plain sealed
    [[ $(stat -c %s sealed) == $((size + 12 + 16)) ]]
    "$seal_file" open key sealed opened
    cmp plain opened
    rm opened
    refuse "Tag verification failed" "$seal_file" open other sealed opened
    { head -c -1 sealed; printf 'x'; } >changed
    cmp -s sealed changed || refuse "Tag verification failed" "$seal_file" open key changed opened
    [[ ! -e opened ]]
done
"$seal_file" seal key plain again
! cmp -s sealed again # another nonce
head -c 20 sealed >cut
refuse "smaller than the tag" "$seal_file" open key cut opened
head -c 5 sealed >cut
refuse "too short" "$seal_file" open key cut opened
refuse "cannot open missing" "$seal_file" seal key missing sealed
refuse "usage:" "$seal_file"
