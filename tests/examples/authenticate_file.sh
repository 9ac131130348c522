#!/usr/bin/env bash
# The code is the one that the openssl command computes, and shows an altered file.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

head -c 100000 /dev/urandom >file
printf 'a key of some length' >key
code=$(openssl dgst -sha256 -hmac "$(cat key)" -r file | cut -d' ' -f1)
expect "$code" key file
expect "file: genuine" key file "$code"
refuse "file: NOT GENUINE" key file "${code%?}"
printf x >>file
refuse "file: NOT GENUINE" key file "$code"
refuse "cannot open missing" key missing
refuse "cannot open missing" missing file
refuse "cannot read . to its end" key .
refuse "cannot read . to its end" . file
: >empty
refuse "empty: the key is empty; try: head -c 32 /dev/urandom >empty" empty file
misuse key
