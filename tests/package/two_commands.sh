#!/usr/bin/env bash
# In a clean Debian 12 or 13, as root, in a fresh clone: what the README begins with, and on Debian 13, whose openssl
# command knows provider modules of today, what docs/hsm.md says. Usage: two_commands.sh 12|13
set -euxo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"

commands=$(block README.md sh '^tools/demo')
eval "$commands"
[[ $1 == 13 ]] || exit 0

work=$(mktemp -d)
runtime=$clone/.runtime
cat >"$work/softhsm2.conf" <<END
directories.tokendir = $work
objectstore.backend = file
log.level = ERROR
END
export SOFTHSM2_CONF=$work/softhsm2.conf PATH=$runtime/bin:$PATH
softhsm2-util() { command softhsm2-util --module "$runtime/lib/softhsm/libsofthsm2.so" "$@"; }
cd "$work"
commands=$(block docs/hsm.md sh '--init-token')
eval "$commands"

# The dots of the page are the token's own names.
export OPENSSL_MODULES=$runtime/lib/ossl-modules PKCS11_MODULE_PATH=$runtime/lib/softhsm/libsofthsm2.so
commands=$(block docs/hsm.md sh 'storeutl' | sed 's/token=[.]*/token=test/; s/object=[.]*/object=signing/; s/value=[.]*/value=1234/')
[[ $(eval "$commands") == *"Total found: 1"* ]]

openssl pkey -in key.pem -pubout -out public.pem
echo 'what is signed' >FILE
"$clone/build/dev/examples/sign_with_hsm" "$PKCS11_MODULE_PATH" \
    'pkcs11:token=test;object=signing;type=private?pin-value=1234' FILE SIGNATURE
unset OPENSSL_MODULES
commands=$(block docs/hsm.md sh 'openssl dgst')
[[ $(eval "$commands") == "Verified OK" ]]
