#!/usr/bin/env bash
# The key is under its password, for the openssl command too; a wrong password signs nothing.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

echo 'correct horse' >password
echo 'correct mule' >wrong
head -c 10000 /dev/urandom >file
pss=(-sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32)

expect "" generate private.pem public.pem password
[[ $(stat -c %a private.pem) == 600 ]] || fail "others may read the private key"
openssl pkey -in private.pem -passin file:password -pubout | cmp - public.pem
parsed=$(openssl asn1parse -in private.pem)
[[ $parsed == *:PBES2*:PBKDF2*:033450*:hmacWithSHA512*:aes-256-cbc* ]] || fail "another form: $parsed"
cp private.pem first
expect "" generate private.pem public.pem password
! cmp -s <(openssl asn1parse -in first | grep 'l=  16') <(openssl asn1parse -in private.pem | grep 'l=  16') ||
    fail "salt or vector were used twice"

expect "" sign private.pem file signature password
openssl dgst "${pss[@]}" -verify public.pem -signature signature file >/dev/null || fail "openssl refuses the signature"
rejects "private.pem: *; is it the private half of an RSA key of 2048 bits, under that password? try: openssl pkey -noout" \
    sign private.pem file new wrong
rejects "public.pem: *; is it the private half of an RSA key of 2048 bits, under that password? try: openssl pkey -noout" \
    sign public.pem file new password
rejects "cannot open missing: No such file or directory" sign missing file new password
rejects "cannot open missing: No such file or directory" sign private.pem missing new password
rejects "cannot open missing: No such file or directory" sign private.pem file new missing
rejects "cannot open missing: No such file or directory" generate new new.pub missing
rejects "cannot read . to its end" sign private.pem . new password
rejects "cannot write missing/new: No such file or directory" sign private.pem file missing/new password
rejects "cannot write missing/new.pub: No such file or directory" generate new missing/new.pub password
# Without a standard output the private key's file must not be taken for it.
# shellcheck disable=SC2016 # the shell's own arguments
started=(sh -c 'exec "$0" "$@" >&-' "$program")
rejects "cannot write /dev/stdout: Bad file descriptor" generate new /dev/stdout password
started=("$program")

# No file that is still needed is written over.
for kept in private.pem file password; do
    rejects "$kept and ./$kept are the same file" sign private.pem file ./$kept password
done
rejects "password and ./password are the same file" generate ./password new.pub password
rejects "password and ./password are the same file" generate new ./password password
rejects "new* and *new are the same file" generate new ./new password

at_terminal $'typed\ntyped' 0 $'Password for private.pem: \nThe same again: ' generate private.pem public.pem
at_terminal typed 0 'Password for private.pem: ' sign private.pem file signature
openssl dgst "${pss[@]}" -verify public.pem -signature signature file >/dev/null || fail "openssl refuses the signature"
at_terminal wrong 1 "*is it the private half*under that password*" sign private.pem file new
misuse generate private.pem
misuse sign private.pem file
misuse
