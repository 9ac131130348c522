#!/usr/bin/env bash
# In a clean Debian 13, as root: installs the packages for 64-bit Arm beside the machine's own, builds the README's host
# and an example with them, runs both under emulation, and removes the packages without a trace.
set -euxo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"
work=$(mktemp -d)

dpkg --add-architecture arm64
apt-get -qq update
apt-get -qqy --no-install-recommends install g++-aarch64-linux-gnu pkgconf qemu-user ./build/package-arm64/*.deb
libraries=/usr/lib/aarch64-linux-gnu
[[ $(aarch64-linux-gnu-readelf -h $libraries/libzrflcryptoopenssl.so.1) == *AArch64* ]]

# As the README has it, with the compiler and the packages' folder for that processor.
c++() { aarch64-linux-gnu-g++ "$@"; }
run() { qemu-aarch64 "$@"; }
export PKG_CONFIG_LIBDIR=$libraries/pkgconfig
write_readme_host "$work"
cp -r "$clone/examples" "$clone/README.md" "$work"
cd "$work"
commands=$(block README.md sh '^c[+][+].*host[.]cpp')
eval "$commands"
expect_digest run ./host

commands=$(block README.md sh 'seal_with_password' | head -n 1)
eval "$commands"
echo secret >password
run ./seal_with_password seal README.md README.sealed password
run ./seal_with_password open README.sealed README.opened password
cmp README.md README.opened

dpkg --purge libzrflcryptoopenssl-dev libzrflcryptoopenssl-doc libzrflcryptoopenssl1:arm64 libzrflcryptoutils1:arm64
if run ./host; then exit 1; fi
cd /
rm -r "$work"
[[ -z $(find / -xdev -path /clone -prune -o -name '*zrfl*' -print) ]]
[[ -z $(dpkg-query -W '*zrfl*' 2>/dev/null) ]]
