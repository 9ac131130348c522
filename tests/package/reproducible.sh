#!/usr/bin/env bash
# Two builds of the libraries make the same bytes, though in different folders, at different times, by different users:
# whoever doubts a library can build it again and compare. Compiles everything twice.
# Usage: reproducible.sh CMAKE SOURCE_DIRECTORY OPENSSL_INCLUDE_DIRECTORY LIBCRYPTO COMPILER
set -euo pipefail
cmake=$1 source=$2 include=$3 libcrypto=$4 compiler=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export CCACHE_DISABLE=1 # which would give the second build what the first one compiled
export SOURCE_DATE_EPOCH=1700000000

build_and_install() { # SOURCE_DIRECTORY BUILD_DIRECTORY
    mkdir -p "$1"
    cp -r "$source"/{CMakeLists.txt,cmake,include,src} "$1"
    "$cmake" -S "$1" -B "$2" -G Ninja -DBUILD_TESTING=OFF -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER="$compiler" \
        -DOPENSSL_INCLUDE_DIR="$include" -DOPENSSL_CRYPTO_LIBRARY="$libcrypto" \
        -DZRFL_PKCS11_PROVIDER_DIR=/usr/lib/modules >/dev/null
    "$cmake" --build "$2" >/dev/null
    "$cmake" --install "$2" --prefix "$work/installed" >/dev/null
}

export TZ=Asia/Tokyo USER=one HOME=$work/one
build_and_install "$work/source" "$work/source/build"
mv "$work/installed" "$work/first"

export TZ=America/Lima USER=another HOME=$work/another
umask 027
build_and_install "$work/another source/in/a folder" "$work/built outside"

if ! diff -r "$work/first" "$work/installed"; then
    ! command -v diffoscope >/dev/null || diffoscope "$work/first" "$work/installed"
    exit 1
fi
[[ -n $(find "$work/installed" -name 'libzrflcryptoopenssl.so.1') ]]
