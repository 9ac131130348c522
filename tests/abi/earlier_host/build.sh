#!/usr/bin/env bash
# Builds the host of a release for one processor, from the release's headers and the folder with its two libraries. It
# was run for 1.0.0, and got.txt is what `run_host x86_64.so tests/vectors/keys 1` wrote then; hosts that are out there
# do not change, so another run is for another release or processor alone.
# Usage: tests/abi/earlier_host/build.sh x86_64|aarch64 HEADERS LIBRARIES
set -euo pipefail
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
processor=$1 headers=$2 libraries=$3

"$processor-linux-gnu-g++" -std=c++17 -Os -fPIC -shared -s -fvisibility=hidden -fvisibility-inlines-hidden \
    -Wl,--as-needed -Wl,-z,now -Wl,--allow-shlib-undefined -I "$headers" \
    "$here/../Host.cpp" "$here/../HostKeys.cpp" -o "$here/$processor.so" \
    "$libraries/libzrflcryptoopenssl.so" "$libraries/libzrflcryptoutils.so"
