#!/usr/bin/env bash
# The Ed25519 example at work on files, beside the openssl command. Usage: ecc_example.sh SIGN_WITH_ED25519
set -euo pipefail
program=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

fail() {
    echo "$*"
    exit 1
}

"$program" generate private.pem public.pem
openssl pkey -in private.pem -pubout | cmp - public.pem || fail "the keys are no pair"
head -c 10000 /dev/urandom >file

"$program" sign private.pem file signature
[[ $(stat -c %s signature) == 64 ]] || fail "not 64 bytes"
openssl pkeyutl -verify -rawin -pubin -inkey public.pem -in file -sigfile signature >/dev/null ||
    fail "openssl refuses the signature"
[[ $("$program" verify public.pem file signature) == valid ]] || fail "our own signature is not valid"
openssl pkeyutl -sign -rawin -inkey private.pem -in file -out other
cmp signature other || fail "openssl makes another signature"
echo more >>file
[[ $("$program" verify public.pem file signature || true) == "NOT VALID" ]] || fail "an altered file is valid"

: >empty
"$program" sign private.pem empty signature
[[ $("$program" verify public.pem empty signature) == valid ]] || fail "an empty file cannot be signed"

openssl genpkey -algorithm EC -pkeyopt ec_paramgen_curve:P-256 -out other.pem 2>/dev/null
"$program" sign other.pem file signature 2>message && fail "a key on another curve signed"
grep -q 'Actual curve (P256) does not match expected curve (Curve25519)' message || fail "$(cat message)"
"$program" sign private.pem missing signature 2>message && fail "a missing file was signed"
grep -q 'cannot open missing' message || fail "$(cat message)"
echo "generated, signed and verified"
