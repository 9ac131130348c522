#!/usr/bin/env bash
# In a clean Debian 12, as root, in a clone: an OpenSSL of its own, the libraries with it, and the README's hosts.
set -euxo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"
work=$(mktemp -d)

apt-get -qq update
commands=$(block README.md sh '/opt/openssl --libdir')
(eval "$commands")
commands=$(block README.md sh 'OPENSSL_ROOT_DIR')
eval "$commands"

apt-get -qqy --no-install-recommends install pkgconf
try_readme_hosts "$work"
[[ $(ldd "$work/host") == *" /opt/openssl/lib/libcrypto.so.3 "* ]]
