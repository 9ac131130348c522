#!/usr/bin/env bash
# What is written is a key, for the openssl command too, and nobody else's to read.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

expect "private.der and public.der hold an RSA key of 2048 bits" private.der public.der
[[ $(openssl pkey -inform DER -in private.der -check -noout) == 'Key is valid' ]] || fail "openssl refuses the key"
openssl pkey -inform DER -in private.der -pubout -outform DER | cmp - public.der
[[ $(stat -c %a private.der) == 600 ]] || fail "others may read the private key"
refuse "cannot write missing/private.der" missing/private.der public.der
misuse private.der
