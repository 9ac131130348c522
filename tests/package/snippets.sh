#!/usr/bin/env bash
# Every C++ block in the README and the docs compiles: whole programs as they stand, and all fragments together, each in
# a function that has a `provider`. Usage: snippets.sh SOURCE_DIRECTORY COMPILER
set -euo pipefail
source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for header in openssl/CryptoProvider utils/Exceptions; do echo "#include <foundation/crypto/$header.h>"; done >"$work/begin"
for header in fstream iostream memory sstream string; do echo "#include <$header>"; done >>"$work/begin"
echo 'using namespace foundation::crypto; using utils::ByteArray;' >>"$work/begin"

# The compiler tells the place in the page.
awk -v work="$work" '
    function complain(what) { print page ":" start ": " what; failed = 1 }
    function end_of_block() {
        whole = block ~ /int main\(/
        file = whole ? sprintf("%s/%03d.cpp", work, ++programs) : work "/fragments"
        if (!whole) {
            if (block ~ /(^|\n)[ \t]*#/) complain("a fragment has nothing for the preprocessor, which others would see")
            signature = sprintf("void fragment%d(openssl::CryptoProvider const& provider)", ++fragments)
            print signature "; " signature " {" > file
        }
        printf "#line %d \"%s\"\n%s", start, page, block > file
        if (!whole) print "}" > file
        inside = 0
    }
    FNR == 1 && inside { complain("the block is not closed"); inside = 0 }
    /^```cpp$/         { page = FILENAME; start = FNR + 1; block = ""; inside = 1; next }
    /^```[ \t]*$/      { if (inside) end_of_block() }
    inside             { block = block $0 "\n" }
    END {
        if (inside) complain("the block is not closed")
        print programs + 0 " programs and " fragments + 0 " fragments"
        exit failed || !(programs && fragments)
    }
' "$source/README.md" "$source"/docs/*.md
cat "$work/begin" "$work/fragments" >"$work/fragments.cpp"

for program in "$work"/*.cpp; do
    "$compiler" -std=c++17 -Wall -Wextra -Werror -Wno-unused-variable -Wno-unused-but-set-variable -fsyntax-only \
        -I "$source/include" "$program"
done
