#!/usr/bin/env bash
# What the recorder writes down of a program that throws.
# Usage: thrown_texts.sh RECORDER PROGRAM
set -euo pipefail

recorder=$1 program=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# Without the recorder, without a folder and with one that is not there the program runs as ever.
env -u LD_PRELOAD ZRFL_CENSUS="$folder" "$program"
env -u ZRFL_CENSUS LD_PRELOAD="$recorder" "$program"
ZRFL_CENSUS=$folder/none LD_PRELOAD=$recorder "$program"
[[ ! -e $folder/thrown && ! -e $folder/none ]] || fail "something was written"

ZRFL_CENSUS=$folder LD_PRELOAD=$recorder "$program"
name=$(basename "$program")
own=N10foundation6crypto5utils
# Each once, with NULs between the parts. A text ends at its first NUL, as what() does.
expected() {
    printf "$name\0%s\0%s\0" \
        ${own}17InternalExceptionE "AES 128-bit key data must contain at least 16 bytes." \
        ${own}10InvalidKeyE $'two\nlines' \
        ${own}9ExceptionE front \
        St13runtime_error "" \
        St9bad_alloc std::bad_alloc \
        St11logic_error rethrown \
        St11logic_error "in a thread" \
        St11logic_error "in a child"
}
cmp "$folder/thrown" <(expected) || fail "other texts: $(tr '\0' '|' <"$folder/thrown")"
