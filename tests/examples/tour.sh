#!/usr/bin/env bash
# The tour agrees with itself and with sha256sum, does without a token, and says what is wrong with files that are not
# there, not readable, empty or no files.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

digest_of() { sha256sum <"$1" | cut -d ' ' -f 1; }

: >empty
head -c 1 /dev/urandom >byte
for file in "$root/README.md" empty byte; do
    expect "*$(digest_of "$file")*Everything agrees.*" "$file"
done
TMPDIR=/missing expect "*left out, since no token can be had*Everything agrees.*" "$root/README.md"
refuse "cannot read missing" missing
refuse ". is a folder" .
refuse "Everything agrees." missing byte
if ((EUID != 0)); then
    chmod 000 byte
    refuse "cannot read byte" byte
fi
misuse
