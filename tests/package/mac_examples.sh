#!/usr/bin/env bash
# The examples that authenticate a file, hash it with BLAKE2b and derive a key answer as the system's own tools do.
# Usage: mac_examples.sh AUTHENTICATE_FILE BLAKE2B_FILE DERIVE_KEY
set -euo pipefail
authenticate_file=$1 blake2b_file=$2 derive_key=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

expect() {
    if [[ $1 != "$2" ]]; then
        printf 'expected: %s\nfound:    %s\n' "$1" "$2"
        exit 1
    fi
}

head -c 100000 /dev/urandom >file
printf 'a key of some length' >key
code=$(openssl dgst -sha256 -hmac "$(cat key)" -r file | cut -d' ' -f1)
expect "$code" "$("$authenticate_file" key file)"
expect "file: genuine" "$("$authenticate_file" key file "$code")"
printf x >>file
expect "file: NOT GENUINE" "$("$authenticate_file" key file "$code" || true)"
if "$authenticate_file" key missing 2>/dev/null; then exit 1; fi

expect "$(b2sum file)" "$("$blake2b_file" file)"
expect "$(b2sum -l 160 file)" "$("$blake2b_file" file 20)"
if "$blake2b_file" file 65 2>error; then exit 1; fi
expect "Invalid digest size for Blake2b digest engine." "$(cat error)"

# The key by CPython's hashlib.pbkdf2_hmac.
expect "salt salt
key  17cc1c7c371e1a6737255261a69d2e4d1d539e0197454d27a45ce6044918363c" "$(echo 'correct horse' | "$derive_key" salt)"
first=$(echo 'correct horse' | "$derive_key")
salt=$(sed -n 's/^salt //p' <<<"$first")
expect "$first" "$(echo 'correct horse' | "$derive_key" "$salt")"
if [[ $first == "$(echo 'correct horse' | "$derive_key")" ]]; then exit 1; fi
echo "the examples agree with openssl, b2sum and hashlib"
