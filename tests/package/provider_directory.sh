#!/usr/bin/env bash
# A library that would load its provider module from the clone or the build directory is not installed by accident.
# Usage: provider_directory.sh CMAKE SOURCE_DIRECTORY OPENSSL_INCLUDE_DIRECTORY LIBCRYPTO COMPILER
set -euo pipefail
cmake=$1 source=$2 include=$3 libcrypto=$4 compiler=$5
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset ZRFL_INSTALL_FOR_TRIAL

fail() {
    printf '%s\n' "$*"
    exit 1
}

# Takes what the libraries were configured with, without building them: of a component that does not exist there is
# nothing to install, but the refusal counts for every one.
configure() { # PROVIDER_DIRECTORY
    "$cmake" -S "$source" -B "$work/build" -G Ninja -DBUILD_TESTING=OFF -DOPENSSL_INCLUDE_DIR="$include" \
        -DOPENSSL_CRYPTO_LIBRARY="$libcrypto" -DCMAKE_CXX_COMPILER="$compiler" -DZRFL_PKCS11_PROVIDER_DIR="$1" >/dev/null
}
install() { "$cmake" --install "$work/build" --prefix "$work/installed" --component "$1" 2>&1; }

mkdir -p "$work/outside" "$work/build/inside"
ln -s "$source/src" "$work/link-into-the-clone"
ln -s "$work/outside" "$work/build/link-out-of-the-build"
for directory in "$source/.runtime/lib/ossl-modules" "$source" "$work/build/inside" "$work/outside/../build/missing" \
    "$work/link-into-the-clone" "$work/build/link-out-of-the-build"; do
    configure "$directory"
    for component in none Unspecified; do
        ! output=$(install "$component") || fail "$directory was not refused"
        output=$(tr -s ' \n' ' ' <<<"$output")
        [[ $output == *"$(realpath -ms "$directory")"*"-DZRFL_PKCS11_PROVIDER_DIR="*"ZRFL_INSTALL_FOR_TRIAL=1"* ]] ||
            fail "$directory was refused with: $output"
    done
    [[ ! -e $work/installed ]] || fail "something was installed with the directory $directory"
    ZRFL_INSTALL_FOR_TRIAL=1 install none >/dev/null || fail "$directory was refused for a trial"
done

for directory in "$work/outside" "$source-of-another" "$work/build-of-another" /usr/lib/missing; do
    configure "$directory"
    install none >/dev/null || fail "$directory was refused"
done
