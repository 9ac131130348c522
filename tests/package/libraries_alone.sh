#!/usr/bin/env bash
# In a clean Debian 13, as root, in a clone: what the README says about the libraries alone, its hosts with what was
# installed, and the host that builds them as a part of itself.
set -euxo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"
work=$(mktemp -d)

apt-get -qq update
commands=$(block README.md sh '^apt-get install .*libssl-dev')
eval "$commands"
apt-get -qqy --no-install-recommends install git pkgconf
mkdir "$work/installed"
try_readme_hosts "$work/installed"

commands=$(grep -o 'cmake --build build --target uninstall' README.md)
eval "$commands"
[[ -z $(find /usr/local -name '*zrfl*' -o -name foundation) ]]

mkdir "$work/subdirectory" "$work/fetched"
git clone -q "$clone" "$work/subdirectory/zrflcrypto"
write_readme_host "$work/subdirectory" '^add_subdirectory'
write_readme_host "$work/fetched" 'FetchContent_MakeAvailable'
for host in "$work/subdirectory" "$work/fetched"; do
    cmake -S "$host" -B "$host/build" -G Ninja -DCMAKE_BUILD_TYPE=Release -Durl_of_this_repository="file://$clone"
    cmake --build "$host/build"
    expect_digest "$host/build/host"
done
