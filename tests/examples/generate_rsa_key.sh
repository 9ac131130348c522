#!/usr/bin/env bash
# What is written is a key, for the openssl command too, and nobody else's to read.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

expect "private.der and public.der hold an RSA key of 2048 bits" private.der public.der
[[ $(openssl pkey -inform DER -in private.der -check -noout) == 'Key is valid' ]] || fail "openssl refuses the key"
openssl pkey -inform DER -in private.der -pubout -outform DER | cmp - public.der
[[ $(stat -c %a private.der) == 600 ]] || fail "others may read the private key"
rejects "cannot write missing/private.der: No such file or directory" missing/private.der public.der
rejects "cannot write missing/public.der: No such file or directory" private.der missing/public.der
rejects "cannot write public.der/: Not a directory" private.der public.der/

mkdir folder
for folder in folder folder/; do
    rejects "cannot write $folder: Is a directory" "$folder" public.der
    rejects "cannot write $folder: Is a directory" private.der "$folder"
    rejects "cannot write $folder: Is a directory" new.der "$folder"
done

ln private.der hard.der
ln -s private.der soft.der
ln -s new.der dangling.der
for other in private.der ./private.der folder/../private.der "$PWD/private.der" hard.der soft.der; do
    rejects "private.der and $other are the same file" private.der "$other"
    rejects "$other and private.der are the same file" "$other" private.der
done
for other in new.der ./new.der folder/../new.der "$PWD/new.der"; do
    rejects "new.der and $other are the same file" new.der "$other"
done
rejects "cannot write dangling.der: No such file or directory" new.der dangling.der
rejects "cannot write dangling.der: No such file or directory" dangling.der new.der

chmod 644 private.der # an earlier, careless hand
expect "private.der and public.der hold an RSA key of 2048 bits" private.der public.der
[[ $(stat -c %a private.der) == 600 ]] || fail "others may read the new private key"
rejects "cannot write /dev/full: No space left on device" private.der /dev/full
rejects "cannot write /dev/full: No space left on device" /dev/full public.der
[[ -c /dev/full ]] || fail "the device is gone"
misuse private.der
