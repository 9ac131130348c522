#!/usr/bin/env bash
# What needs no token; the tests that make one take the example through the rest.
# shellcheck source=tests/examples/common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

uri='pkcs11:token=t;object=k;type=private?pin-value=1234'
echo text >file
echo module >module
echo earlier >signature
rejects "cannot open missing: No such file or directory" module "$uri" missing signature
rejects "file and ./file are the same file" module "$uri" file ./file
rejects "module and ./module are the same file" module "$uri" file ./module
misuse module "$uri" file
