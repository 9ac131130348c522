#!/usr/bin/env bash
# What generate_rsa_key writes is a key, for the openssl command too, and nobody else's to read.
# Usage: generated_rsa_key.sh GENERATE_RSA_KEY
set -euo pipefail
program=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

"$program" private.der public.der
[[ $(openssl pkey -inform DER -in private.der -check -noout) == 'Key is valid' ]]
openssl pkey -inform DER -in private.der -pubout -outform DER | cmp - public.der
[[ $(stat -c %a private.der) == 600 ]]

status=0
"$program" missing/private.der public.der 2>error || status=$?
((status == 1)) && [[ -s error ]]
