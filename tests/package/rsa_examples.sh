#!/usr/bin/env bash
# The RSA examples at work on files, beside the openssl command.
# Usage: rsa_examples.sh SIGN_FILE ENCRYPT_FILE
set -euo pipefail
sign_file=$1 encrypt_file=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "$*"
    exit 1
}

openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out private.pem 2>/dev/null
openssl pkey -in private.pem -pubout -out public.pem
head -c 10000 /dev/urandom >file
pss=(-sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32)

"$sign_file" sign private.pem file signature
openssl dgst "${pss[@]}" -verify public.pem -signature signature file >/dev/null || fail "openssl refuses the signature"
[[ $("$sign_file" verify public.pem file signature) == valid ]] || fail "our own signature is not valid"
openssl dgst "${pss[@]}" -sign private.pem -out signature file
[[ $("$sign_file" verify public.pem file signature) == valid ]] || fail "openssl's signature is not valid"
echo more >>file
[[ $("$sign_file" verify public.pem file signature || true) == "NOT VALID" ]] || fail "an altered file is valid"

"$encrypt_file" encrypt public.pem file encrypted
[[ $(stat -c %s encrypted) == $((53 * 256)) ]] || fail "not 53 blocks" # 10005 bytes in pieces of 190
"$encrypt_file" decrypt private.pem encrypted decrypted
cmp file decrypted
printf x | dd of=encrypted bs=1 seek=1000 conv=notrunc 2>/dev/null
"$encrypt_file" decrypt private.pem encrypted altered 2>message && fail "an altered file was decrypted"
grep -q 'EVP_PKEY_decrypt failed to generate the decrypted text.' message || fail "$(cat message)"
[[ ! -e altered ]] || fail "a part of the file was left"

"$sign_file" sign private.pem missing signature 2>message && fail "a missing file was signed"
grep -q 'cannot open missing' message || fail "$(cat message)"
"$encrypt_file" encrypt private.pem file nothing 2>message && fail "a private key encrypted"
echo "signed, verified, encrypted and decrypted"
