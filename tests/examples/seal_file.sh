#!/usr/bin/env bash
# Sealed files open again; changed files and other keys are refused.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

expect "" key key
expect "" key other
[[ $(stat -c '%a %s' key) == "600 32" ]] || fail "not a key that is its owner's alone"
for size in 0 1 16 1000 1000000; do
    head -c "$size" /dev/urandom >plain
    expect "" seal key plain sealed
    [[ $(stat -c %s sealed) == $((size + 12 + 16)) ]] || fail "not nonce, content and tag"
    expect "" open key sealed opened
    cmp plain opened
    rm opened
    refuse "sealed: Tag verification failed" open other sealed opened
    { head -c -1 sealed; printf 'x'; } >changed
    cmp -s sealed changed || refuse "Tag verification failed" open key changed opened
    [[ ! -e opened ]] || fail "a part of the file was left"
done
expect "" seal key plain again
! cmp -s sealed again || fail "the nonce was used twice"
head -c 20 sealed >short
refuse "smaller than the tag" open key short opened
head -c 5 sealed >short
refuse "short: the file is too short" open key short opened
rejects "cannot open missing: No such file or directory" seal key missing sealed
rejects ".: *Is a directory" seal key . sealed
rejects "cannot open missing: No such file or directory" seal missing plain sealed
head -c 31 /dev/urandom >short
rejects "short: the file is too short; is it a file made by seal_file key? try: ls -l short" seal short plain sealed
rejects "plain: the file is too long; is it a file made by seal_file key? try: ls -l plain" seal plain plain sealed
rejects "Tag verification failed" open other sealed plain
rejects "key and ./key are the same file" seal key plain ./key

cp plain same
expect "" seal key same same
! cmp -s plain same || fail "nothing was sealed"
expect "" open key same same
cmp plain same
misuse
