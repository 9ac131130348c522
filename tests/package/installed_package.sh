#!/usr/bin/env bash
# Installs into a temporary prefix, moves it, and builds and runs the README's host against it: by find_package and by
# pkg-config. Then removes what was installed.
# Usage: installed_package.sh CMAKE BUILD_DIRECTORY LIBCRYPTO EMULATOR COMPILER [COMPILER_AND_LINKER_FLAG...]
# The emulator is empty where what was built runs by itself.
set -euo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"
cmake=$1 build=$2 libcrypto=$3 emulator=$4 compiler=$5
shift 5
flags=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    printf '%s\n' "$*"
    exit 1
}

# The installed libraries leave it to the machine to find libcrypto; the one they were built with may be anywhere.
run() { LD_LIBRARY_PATH=$(dirname "$libcrypto") ${emulator:+"$emulator"} "$@"; }

# What the presets build is not to be installed, since it looks for its provider module in the clone.
ZRFL_INSTALL_FOR_TRIAL=1 "$cmake" --install "$build" --prefix "$work/installed" >/dev/null
mv "$work/installed" "$work/moved"
prefix=$work/moved
if grep -rIl "$work/installed" "$prefix" | grep .; then
    fail "these installed files name the folder they were installed to"
fi

mkdir "$work/host"
write_readme_host "$work/host"
"$cmake" -S "$work/host" -B "$work/by-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="${flags[*]}" >/dev/null
"$cmake" --build "$work/by-cmake" >/dev/null
expect_digest run "$work/by-cmake/host" || fail "the host built by find_package is wrong"

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name zrflcryptoopenssl.pc)")
export PKG_CONFIG_PATH
c++() { "$compiler" "${flags[@]}" "$@" -Wl,-rpath,"$(pkg-config --variable=libdir zrflcryptoopenssl)"; }
(cd "$work/host" && eval "$(block README.md sh '^c[+][+].*host.cpp')")
expect_digest run "$work/host/host" || fail "the host built by pkg-config is wrong"

# What the package offers beside; who asks for a part of it finds out while configuring, not by what is missing later.
sed -i "s/cryptoopenssl)/cryptoutils)/; s/REQUIRED/REQUIRED \${COMPONENTS}/" "$work/host/CMakeLists.txt"
configure=("$cmake" -S "$work/host" -B "$work/by-cmake")
"${configure[@]}" -DCOMPONENTS="OPTIONAL_COMPONENTS;ciphers" >/dev/null
! refusal=$("${configure[@]}" -DCOMPONENTS="COMPONENTS;ciphers" 2>&1) || fail "a component was found"
[[ $refusal == *"It has no components, so none is called ciphers."* ]] || fail "a component is refused by: $refusal"

# What was installed is removed without a trace, and what others installed beside it stays.
ZRFL_INSTALL_FOR_TRIAL=1 "$cmake" --install "$build" --prefix "$work/removed" >/dev/null
others=$(find "$work/removed" -name openssl -type d)/other.h
touch "$others"
"$cmake" --build "$build" --target uninstall >/dev/null
left=$(find "$work/removed" -type f -o -type l -o -path '*/cmake/*')
[[ $left == "$others" ]] || fail "uninstalled, but there is: $left"
! refusal=$("$cmake" --build "$build" --target uninstall 2>&1) || fail "uninstalled twice"
[[ $refusal == *"Nothing to remove"* ]] || fail "uninstalling twice is refused with: $refusal"
