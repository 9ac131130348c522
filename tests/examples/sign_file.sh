#!/usr/bin/env bash
# The example and the openssl command accept each other's signatures; an altered file is found out.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

openssl genpkey -algorithm RSA -pkeyopt rsa_keygen_bits:2048 -out private.pem 2>/dev/null
openssl pkey -in private.pem -pubout -out public.pem
head -c 10000 /dev/urandom >file
pss=(-sha256 -sigopt rsa_padding_mode:pss -sigopt rsa_pss_saltlen:32)

expect "" sign private.pem file signature
openssl dgst "${pss[@]}" -verify public.pem -signature signature file >/dev/null || fail "openssl refuses the signature"
expect "valid" verify public.pem file signature
openssl dgst "${pss[@]}" -sign private.pem -out signature file
expect "valid" verify public.pem file signature
echo more >>file
refuse "NOT VALID" verify public.pem file signature
rejects "cannot open missing: No such file or directory" sign private.pem missing signature
rejects "cannot open missing: No such file or directory" sign missing file signature
rejects "cannot read . to its end" sign private.pem . signature
rejects "public.pem: *; is it the private half of an RSA key of 2048 bits, without a password? try: openssl pkey" \
    sign public.pem file signature
rejects "private.pem: *; is it the public half of an RSA key of 2048 bits? try: openssl pkey" \
    verify private.pem file signature
rejects "private.pem and ./private.pem are the same file" sign private.pem file ./private.pem
rejects "file and ./file are the same file" sign private.pem file ./file
rejects "cannot write /dev/full: No space left on device" sign private.pem file /dev/full
misuse sign private.pem file
