#!/usr/bin/env bash
# In a clean Debian 13, as root, in a clone: what the README says about the libraries alone, then its host.
set -euxo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"
clone=$PWD
work=$(mktemp -d)

apt-get -qq update
eval "$(readme_block sh 'BUILD_TESTING=OFF')"

write_readme_host "$work"
cd "$work"
cmake -B build -G Ninja
cmake --build build
expect_digest build/host

cd "$clone"
eval "$(grep -o 'cmake --build build --target uninstall' "$readme")"
[[ -z $(find /usr/local -name '*zrfl*' -o -name foundation) ]]
