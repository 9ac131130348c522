#!/usr/bin/env bash
# A known key, and the same key again from the salt that was drawn for it.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

echo 'correct horse' >password
# The key by CPython's hashlib.pbkdf2_hmac.
expect "salt salt
key  17cc1c7c371e1a6737255261a69d2e4d1d539e0197454d27a45ce6044918363c" salt <password

first=$("$program" <password)
salt=$(sed -n 's/^salt //p' <<<"$first")
[[ ${#salt} == 32 ]] || fail "the salt is not 16 bytes: $salt"
expect "$first" "$salt" <password
[[ $("$program" <password) != "$first" ]] || fail "the same salt was drawn twice"
refuse "Salt is longer than the allowed size of 65535" "$(printf '%065536d' 0)" <password
echo >line
for empty in /dev/null line .; do
    refuse "there is no password on the standard input; try: derive_key <PASSWORDFILE" <"$empty"
    refuse "there is no password on the standard input; try: derive_key <PASSWORDFILE" salt <"$empty"
done
misuse salt and more
