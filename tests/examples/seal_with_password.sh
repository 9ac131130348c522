#!/usr/bin/env bash
# Sealed files open again; a wrong password and a damaged file are told apart, whatever byte it is that was damaged, and
# nothing is written then. What a sealed file consists of is computed by the openssl command as well.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

printf 'correct horse\nsecond line' >password
printf 'correct horse' >without_end
printf 'correct mule\n' >wrong
for size in 0 1000000; do
    head -c "$size" /dev/urandom >plain
    expect "" seal plain sealed password
    [[ $(stat -c %s sealed) == $((104 + size + 16)) ]] || fail "not header, content and tag"
    expect "" open sealed opened without_end
    cmp plain opened
    rm opened
done
rejects_with 3 "sealed: wrong password" open sealed opened wrong
expect "" seal plain again password
! cmp -s <(head -c 40 sealed | tail -c +13) <(head -c 40 again | tail -c +13) || fail "salt or nonce were used twice"

# By other means, from the bytes of the file.
piece() { tail -c +$(($2 + 1)) "$1" | head -c "$3" | basenc --base16 -w 0; } # FILE FROM SIZE
derive() {                                                                 # SALT ITERATIONS
    openssl kdf -keylen 64 -kdfopt digest:SHA512 -kdfopt 'pass:correct horse' -kdfopt "hexsalt:$1" -kdfopt "iter:$2" PBKDF2 |
        tr -d :
}
[[ $(piece sealed 0 12) == 7A72666C70776401$(printf %08X 210000) ]] || fail "the header begins with $(piece sealed 0 12)"
keys=$(derive "$(piece sealed 12 16)" 210000)
code=$(head -c 40 sealed | openssl dgst -sha256 -mac HMAC -macopt "hexkey:${keys:64}" -binary | basenc --base16 -w 0)
[[ $(piece sealed 40 32) == "$code" ]] || fail "another code than $code"
[[ $(piece sealed 72 32) == $(head -c 72 sealed | openssl dgst -sha256 -binary | basenc --base16 -w 0) ]] || fail "another digest"
tail -c +105 sealed | head -c -16 | openssl enc -d -aes-256-ctr -K "${keys:0:64}" -iv "$(piece sealed 28 12)00000002" |
    cmp - plain # which is GCM without its tag

# put FILE FROM HEX: writes these bytes there.
put() { basenc --base16 -d <<<"$3" | dd of="$1" bs=1 seek="$2" conv=notrunc status=none; }
# damage FROM: a copy of the sealed file with another byte there.
damage() {
    local byte
    printf -v byte '\\x%02x' $((0x${bytes:$1 * 2:2} ^ 1))
    # shellcheck disable=SC2059 # the byte
    { head -c "$1" small && printf "$byte" && tail -c +$(($1 + 2)) small; } >damaged
}
# sign_digest FILE: as somebody does who changes the header on purpose.
sign_digest() { put "$1" 72 "$(head -c 72 "$1" | openssl dgst -sha256 -binary | basenc --base16 -w 0)"; }

echo earlier >there
echo 'what is sealed' >plain
expect "" seal plain small password
size=$(stat -c %s small)
bytes=$(piece small 0 "$size")
# The first and the last byte of each field of the header, one of the content, one of the tag.
for at in 0 6 7 8 11 12 27 28 39 40 71 72 103 $((size - 17)) $((size - 1)); do
    damage "$at"
    case $at in
    [0-6]) text="it was not sealed with a password, or is damaged at its very begin" ;;
    7) text="it has version 0 of the format, and this program knows version 1" ;;
    *) text="its header is damaged; try another copy of it" ;;
    esac
    ((at < 104)) || text="the password is right, but what it protects is damaged; try another copy of it"
    end 4 "damaged: $text" open damaged there password
    if ((at < 104)); then
        head -c "$at" small >damaged
        ((at < 7)) || text="it is cut off in its header; try another copy of it"
        end 4 "damaged: $text" open damaged there password
    fi
done
[[ $(cat there) == earlier ]] || fail "something was written of a damaged file"
for at in 12 28 40; do # salt, nonce, code
    damage $at
    sign_digest damaged
    rejects_with 3 "damaged: wrong password (or somebody changed the header on purpose)" open damaged new password
done
{ cat small; printf x; } >damaged
rejects_with 4 "the password is right" open damaged new password
{ head -c 104 small; tail -c +105 again; } >damaged # of another file, under the same password
rejects_with 4 "the password is right" open damaged new password
rejects_with 4 "it was not sealed with a password" open plain new password

# Nobody can make the program work for hours; the bounds themselves are taken.
for count in 0 10000001 4294967295; do
    cp small damaged
    put damaged 8 "$(printf %08X $count)"
    sign_digest damaged
    rejects_with 4 "damaged: it asks for $count iterations, and 1 to 10000000 are taken" open damaged new password
done
for count in 1 10000000; do
    put damaged 8 "$(printf %08X $count)"
    sign_digest damaged
    rejects "cannot open missing" open damaged new missing # the next thing to look at is the password
done

# A file that is opened by one iteration, and whose content is damaged for that.
cp small quick
put quick 8 00000001
keys=$(derive "$(piece quick 12 16)" 1)
put quick 40 "$(head -c 40 quick | openssl dgst -sha256 -mac HMAC -macopt "hexkey:${keys:64}" -binary | basenc --base16 -w 0)"
sign_digest quick
right="quick: the password is right, but what it protects is damaged; try another copy of it"
rejects_with 4 "$right" open quick new password
rejects_with 3 "quick: wrong password" open quick new wrong
for at in 104 119 120; do
    head -c $at quick >damaged
    rejects_with 4 "the password is right, but what it protects is damaged" open damaged new password
done

# Files that are not there, cannot be read or written, or would be lost.
rejects "cannot open missing: No such file or directory" seal missing new password
rejects ".: *Is a directory" seal . new password
rejects "cannot read . to its end" open . new password
rejects "cannot write missing/new: No such file or directory" seal plain missing/new password
rejects "cannot write missing/new: No such file or directory" open small missing/new password
rejects "cannot write /dev/full: No space left on device" open small /dev/full password
rejects "password and ./password are the same file" seal plain ./password password
cp plain same
expect "" seal same same password
expect "" open same same password
cmp plain same

# What is a password, and where it may come from.
: >empty
echo >line
printf '\0\n' >nul
head -c 1025 /dev/zero | tr '\0' a >long
head -c 1024 long >longest
rejects "empty: there is no password" seal plain new empty
rejects "line: there is no password" seal plain new line
rejects "nul: a password has no NUL in it" seal plain new nul
rejects "long: the password has more than 1024 bytes" seal plain new long
rejects "cannot open missing: No such file or directory" seal plain new missing
rejects "cannot read the password from .: Is a directory" seal plain new .
expect "" seal plain new longest
expect "" open new opened longest
cmp plain opened
rm opened
rejects_with 4 "$right" open quick new /dev/stdin <password
rejects_with 4 "$right" open quick new /dev/fd/7 7<password
started=(setsid --wait "$program")
rejects "there is no terminal to ask for the password at; name a PASSWORDFILE" open quick new
started=("$program")

at_terminal $'typed\ntyped' 0 $'Password for typed: \nThe same again: ' seal plain typed
at_terminal typed 0 'Password for typed: ' open typed typed
[[ ! -e typed ]] || cmp plain typed
rm new
at_terminal wrong 3 $'Password for quick: \nquick: wrong password (or somebody changed the header on purpose)' open quick new
at_terminal $'typed\ntypde' 1 $'Password for new: \nThe same again: \nthe two passwords differ' seal plain new
at_terminal "" 1 $'Password for quick: \nthe terminal: there is no password' open quick new
at_terminal 'half^C' 1 'Password for quick: interrupted' open quick new
at_terminal $'typed\nhal^C' 1 $'Password for new: \nThe same again: interrupted' seal plain new
at_terminal wrong 3 $'Password for quick: \nquick: wrong password (or*' open quick new /dev/stdin
at_terminal "$(cat long)" 1 $'Password for quick: \nthe terminal: the password has more than 1024 bytes' open quick new
[[ ! -e new ]] || fail "something was written"
misuse seal plain
misuse close plain new password
