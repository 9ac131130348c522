#!/usr/bin/env bash
# The digests are sha256sum's.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

: >empty
head -c 100000 /dev/urandom >file
expect "$(sha256sum empty)" empty
expect "$(sha256sum file)" file
refuse "cannot open missing" missing
refuse "cannot read . to its end" .
misuse
