#!/usr/bin/env bash
# Installs into a temporary prefix, moves it, and builds and runs an outside host against it: by find_package and by
# pkg-config. Usage: installed_package.sh CMAKE BUILD_DIRECTORY LIBCRYPTO EMULATOR COMPILER [COMPILER_AND_LINKER_FLAG...]
# The emulator is empty where what was built runs by itself.
set -euo pipefail
cmake=$1 build=$2 libcrypto=$3 emulator=$4 compiler=$5
shift 5
flags=("$@")
host=$(cd "$(dirname "${BASH_SOURCE[0]}")/host" && pwd)
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

"$cmake" -S "$host" -B "$work/by-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" -DCMAKE_CXX_COMPILER="$compiler" \
    -DCMAKE_CXX_FLAGS="${flags[*]}" >/dev/null
"$cmake" --build "$work/by-cmake" >/dev/null
run "$work/by-cmake/host"

pkg_config_path=$(dirname "$(find "$prefix" -name zrflcryptoopenssl.pc)")
read -ra package < <(PKG_CONFIG_PATH=$pkg_config_path pkg-config --cflags --libs zrflcryptoopenssl)
library_directory=$(PKG_CONFIG_PATH=$pkg_config_path pkg-config --variable=libdir zrflcryptoopenssl)
"$compiler" -std=c++17 "${flags[@]}" "$host/host.cpp" "${package[@]}" -Wl,-rpath,"$library_directory" \
    -o "$work/by-pkg-config"
run "$work/by-pkg-config"

# Who asks for a part of the package finds out while configuring, and not by what is missing later.
! refusal=$("$cmake" -S "$host" -B "$work/by-cmake" -DCOMPONENTS="COMPONENTS;ciphers" 2>&1) ||
    fail "a component that does not exist was found"
[[ $refusal == *"It has no components, so none is called ciphers."* ]] || fail "the component was refused with: $refusal"
"$cmake" -S "$host" -B "$work/by-cmake" -DCOMPONENTS="OPTIONAL_COMPONENTS;ciphers" >/dev/null

# What was installed is removed without a trace, and what others installed beside it stays.
ZRFL_INSTALL_FOR_TRIAL=1 "$cmake" --install "$build" --prefix "$work/removed" >/dev/null
others=$(find "$work/removed" -name openssl -type d)/other.h
touch "$others"
"$cmake" --build "$build" --target uninstall >/dev/null
left=$(find "$work/removed" -type f -o -type l -o -path '*/cmake/*')
[[ $left == "$others" ]] || fail "uninstalled, but there is: $left"
! refusal=$("$cmake" --build "$build" --target uninstall 2>&1) || fail "uninstalled twice"
[[ $refusal == *"Nothing to remove"* ]] || fail "uninstalling twice is refused with: $refusal"
