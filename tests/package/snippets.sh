#!/usr/bin/env bash
# Every C++ block in the README and the docs compiles: whole programs as they stand, fragments inside a function that has
# a `provider`. Usage: snippets.sh SOURCE_DIRECTORY COMPILER
set -euo pipefail
source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

awk -v work="$work" '
    /^```cpp$/ { file = sprintf("%s/%03d.block", work, ++count); print "// " FILENAME ":" FNR > file; inside = 1; next }
    /^```$/    { inside = 0 }
    inside     { print > file }
' "$source/README.md" "$source"/docs/*.md

checked=0
for block in "$work"/*.block; do
    program=${block%.block}.cpp
    if grep -q 'int main(' "$block"; then
        cp "$block" "$program"
    else
        {
            for header in openssl/CryptoProvider utils/Exceptions; do echo "#include <foundation/crypto/$header.h>"; done
            for header in fstream iostream memory sstream string; do echo "#include <$header>"; done
            echo 'using namespace foundation::crypto; using utils::ByteArray;'
            echo 'void fragment(openssl::CryptoProvider const& provider); void fragment(openssl::CryptoProvider const& provider) {'
            cat "$block"
            echo '}'
        } >"$program"
    fi
    "$compiler" -std=c++17 -Wall -Wextra -Werror -Wno-unused-variable -Wno-unused-but-set-variable -fsyntax-only \
        -I "$source/include" "$program" || { head -n 1 "$block"; exit 1; }
    checked=$((checked + 1))
done
echo "$checked blocks compiled"
((checked > 0))
