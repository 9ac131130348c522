#!/usr/bin/env bash
# Keys and signatures are those of the openssl command; altered files and other keys are found out.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

expect "" generate private.pem public.pem
openssl pkey -in private.pem -pubout | cmp - public.pem || fail "the keys are no pair"
[[ $(stat -c %a private.pem) == 600 ]] || fail "others may read the private key"
head -c 10000 /dev/urandom >file

expect "" sign private.pem file signature
[[ $(stat -c %s signature) == 64 ]] || fail "not 64 bytes"
openssl pkeyutl -verify -rawin -pubin -inkey public.pem -in file -sigfile signature >/dev/null ||
    fail "openssl refuses the signature"
expect "valid" verify public.pem file signature
openssl pkeyutl -sign -rawin -inkey private.pem -in file -out other
cmp signature other || fail "openssl makes another signature"
echo more >>file
refuse "NOT VALID" verify public.pem file signature

: >empty
expect "" sign private.pem empty signature
expect "valid" verify public.pem empty signature

openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out other.pem 2>/dev/null
refuse "Actual curve (P256) does not match expected curve (Curve25519)" sign other.pem file signature
rejects "cannot open missing: No such file or directory" sign private.pem missing signature
rejects "cannot open missing: No such file or directory" sign missing file signature
rejects "cannot read . to its end" sign private.pem . signature
rejects "public.pem: *; is it the private half of an Ed25519 key as PEM, without a password? try: openssl pkey" \
    sign public.pem file signature
rejects "private.pem: *; is it the public half of an Ed25519 key as PEM? try: openssl pkey" \
    verify private.pem file signature
rejects "private.pem and ./private.pem are the same file" sign private.pem file ./private.pem
rejects "file and ./file are the same file" sign private.pem file ./file
rejects "cannot write /dev/full: No space left on device" sign private.pem file /dev/full
rejects "private.pem and ./private.pem are the same file" generate private.pem ./private.pem
rejects "cannot write missing/public.pem: No such file or directory" generate private.pem missing/public.pem
misuse
