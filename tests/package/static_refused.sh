#!/usr/bin/env bash
# Who asks for static libraries is told that there are none, and why, instead of getting shared ones.
# Usage: static_refused.sh CMAKE SOURCE_DIRECTORY COMPILER
set -euo pipefail
cmake=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

if "$cmake" -S "$source" -B "$work" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DBUILD_SHARED_LIBS=OFF \
    >"$work/log" 2>&1; then
    echo "BUILD_SHARED_LIBS=OFF was not refused"
    exit 1
fi
text=$(tr -s ' \n' ' ' <"$work/log")
if [[ $text != *"BUILD_SHARED_LIBS=OFF asks for static libraries, and there are none:"* ]]; then
    echo "BUILD_SHARED_LIBS=OFF is answered by: $text"
    exit 1
fi
