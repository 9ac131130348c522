#!/usr/bin/env bash
# In a clean Debian 13, as root: installs the packages, builds the README's host with them, leaves it what it runs with, and
# removes that too.
set -euxo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"
work=$(mktemp -d)
utils=libzrflcryptoutils1 openssl=libzrflcryptoopenssl1 dev=libzrflcryptoopenssl-dev doc=libzrflcryptoopenssl-doc

apt-get -qq update
commands=$(block README.md sh '^apt-get install .*[.]deb')
eval "$commands"
apt-get -qqy --no-install-recommends install dpkg-dev python3 # for this script
[[ -s /usr/share/doc/$dev/docs/README.md ]]

try_readme_hosts "$work"
cp -r "/usr/share/doc/$dev" "$work/doc"
block README.md sh 'seal_with_password' >"$work/doc/block"
(cd "$work/doc" && "$clone/tests/examples/at_terminal.py" bash -eux block <<<$'secret\nsecret\nsecret' && cmp README.md README.opened)
cd "$work"

# The libraries name no folder to look in, and what Debian's tools find out about a host by either file.
for library in /usr/lib/*/libzrflcrypto*.so.1; do
    [[ $(readelf -d "$library") != *R*PATH* ]]
done
version=$(dpkg-query -W -f '${Version}' "$dev")
mkdir debian
echo 'Source: host' >debian/control
expect_dependencies() {
    local found
    found=$(dpkg-shlibdeps -O -e./host)
    [[ $found == *"$openssl (>= ${version%-*}"* && $found != *"$openssl,"* ]]
}
expect_dependencies
rm /var/lib/dpkg/info/libzrflcrypto*.symbols
expect_dependencies

# What a host runs with is the two libraries and what they bring.
apt-get -qqy purge "$dev" "$doc" g++ cmake
apt-get -qqy --purge autoremove
expect_digest ./host

dpkg --purge "$openssl" "$utils"
if ./host; then exit 1; fi
cd /
rm -r "$work"
[[ -z $(find / -xdev -path /clone -prune -o -name '*zrfl*' -print) ]]
[[ -z $(dpkg-query -W '*zrfl*' 2>/dev/null) ]]
