#!/usr/bin/env bash
# The digests are b2sum's.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

head -c 100000 /dev/urandom >file
expect "$(b2sum file)" file
expect "$(b2sum -l 160 file)" file 20
refuse "Invalid digest size for Blake2b digest engine." file 65
refuse "cannot open missing" missing
refuse "cannot read . to its end" .
misuse
