#!/usr/bin/env bash
# The libraries export what their hosts need and nothing else: CryptoProvider from the one, the vocabulary from the other.
# Usage: exported_symbols.sh NM READELF LIBZRFLCRYPTOOPENSSL LIBZRFLCRYPTOUTILS SOVERSION
set -euo pipefail
nm=$1 readelf=$2 openssl_library=$3 utils_library=$4 soversion=$5
failed=0

exports() { "$nm" --dynamic --defined-only --demangle "$1" | sed -E 's/^[0-9a-f]* +[A-Za-z] //; s/@@.*//' | sort -u; }

contains() { # LINES PATTERN... (not a pipe into grep -q, which would end the writer before it is done)
    grep -q "${@:2}" <<<"$1"
}

expect_only() { # LIBRARY PATTERN
    local strangers
    strangers=$(exports "$1" | grep -vE "$2" || true)
    if [ -n "$strangers" ]; then
        printf '%s exports what it should not:\n%s\n' "$1" "$strangers"
        failed=1
    fi
}

expect_export() { # LIBRARY SYMBOL
    if ! contains "$(exports "$1")" -xF "$2"; then
        printf '%s does not export %s\n' "$1" "$2"
        failed=1
    fi
}

expect_soname() { # LIBRARY SONAME
    if ! contains "$("$readelf" --dynamic --wide "$1")" -F "Library soname: [$2]"; then
        printf '%s does not have the soname %s\n' "$1" "$2"
        failed=1
    fi
}

provider=foundation::crypto::openssl::CryptoProvider
expect_only "$openssl_library" "^(ZRFLCRYPTOOPENSSL_1|$provider::.*|(vtable|typeinfo|typeinfo name) for $provider)\$"
for symbol in "$provider::CryptoProvider()" "$provider::~CryptoProvider()" "vtable for $provider" "typeinfo for $provider"; do
    expect_export "$openssl_library" "$symbol"
done

vocabulary=foundation::crypto::utils
expect_only "$utils_library" "^(ZRFLCRYPTOUTILS_1|((vtable|typeinfo|typeinfo name) for )?$vocabulary::.*)\$"
for class in Exception InternalException InvalidArgument InvalidKey InvalidKeyEncoding KeyAndCurveMismatch \
    NotImplemented UnsupportedDigestAlgorithm; do
    expect_export "$utils_library" "typeinfo for $vocabulary::$class"
    expect_export "$utils_library" "vtable for $vocabulary::$class"
done

# One home for what exceptions are recognised by: a second copy would be caught by name only where the loader allows it.
if "$nm" --defined-only --demangle "$openssl_library" | grep -E "(vtable|typeinfo) for $vocabulary::"; then
    echo "$openssl_library defines type information of the vocabulary"
    failed=1
fi

expect_soname "$openssl_library" "libzrflcryptoopenssl.so.$soversion"
expect_soname "$utils_library" "libzrflcryptoutils.so.$soversion"
exit $failed
