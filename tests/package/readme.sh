# Sourced by the scripts beside it that do what the README tells a host to do.
# shellcheck shell=bash

readme=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)/README.md

# readme_block LANGUAGE PATTERN: the first block in that language that has a line with the pattern.
readme_block() {
    local text
    text=$(awk -v start='```'"$1" -v pattern="$2" '
        $0 == start { inside = 1; block = ""; found = 0; next }
        $0 == "```" { if (inside && found) { printf "%s", block; exit } inside = 0 }
        inside      { block = block $0 "\n"; if ($0 ~ pattern) { found = 1 } }' "$readme")
    if [[ -z $text ]]; then
        echo "the README has no $1 block with $2" >&2
        return 1
    fi
    printf '%s\n' "$text"
}

# write_readme_host FOLDER [PATTERN]: the host of the README; the block with the pattern stands for find_package.
write_readme_host() {
    local packages
    readme_block cpp 'int main' >"$1/host.cpp"
    readme_block cmake '^project' >"$1/CMakeLists.txt"
    if (($# > 1)); then
        packages=$(readme_block cmake "$2")
        readme_block cmake '^project' |
            awk -v packages="$packages" '/^find_package/ { print packages; next } { print }' >"$1/CMakeLists.txt"
    fi
}

# expect_digest COMMAND...: the host of the README prints the digest of abc.
expect_digest() {
    [[ $("$@") == "$(printf abc | sha256sum | cut -d ' ' -f 1)" ]]
}
