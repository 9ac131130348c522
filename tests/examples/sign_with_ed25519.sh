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
refuse "cannot open missing" sign private.pem missing signature
refuse "cannot read . to its end" sign private.pem . signature
misuse
