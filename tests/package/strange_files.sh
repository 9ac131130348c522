#!/usr/bin/env bash
# The tour's answers to files that are not there, not readable, empty or no files. Usage: strange_files.sh TOUR
set -euo pipefail
tour=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

expect() { # STATUS TEXT ARGUMENT...
    local status=0 wanted=$1 text=$2 output
    shift 2
    output=$("$tour" "$@" 2>&1) || status=$?
    if ((status != wanted)) || [[ $output != *"$text"* ]]; then
        printf 'tour %s ended with %d and said:\n%s\n' "$*" "$status" "$output"
        exit 1
    fi
}

: >"$work/empty"
head -c 1 /dev/urandom >"$work/byte"
expect 2 "usage: tour FILE..."
expect 1 "cannot read $work/missing" "$work/missing"
expect 1 "$work is a folder" "$work"
expect 0 "Everything agrees." "$work/empty"
expect 0 "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855" "$work/empty"
expect 0 "$(sha256sum <"$work/byte" | cut -d ' ' -f 1)" "$work/byte"
expect 1 "Everything agrees." "$work/missing" "$work/byte"
if ((EUID != 0)); then
    chmod 000 "$work/byte"
    expect 1 "cannot read $work/byte" "$work/byte"
fi
