# Sourced by the scripts beside it that do what the README tells a host to do.
# shellcheck shell=bash

clone=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)

# block PAGE LANGUAGE PATTERN: the first block of the page in that language that has a line with the pattern.
block() {
    local text
    text=$(awk -v start='```'"$2" -v pattern="$3" '
        $0 == start { inside = 1; block = ""; found = 0; next }
        $0 == "```" { if (inside && found) { printf "%s", block; exit } inside = 0 }
        inside      { block = block $0 "\n"; if ($0 ~ pattern) { found = 1 } }' "$clone/$1")
    if [[ -z $text ]]; then
        echo "$1 has no $2 block with $3" >&2
        return 1
    fi
    printf '%s\n' "$text"
}

# write_readme_host FOLDER [PATTERN]: the host of the README; the block with the pattern stands for find_package.
write_readme_host() {
    local packages
    block README.md cpp 'int main' >"$1/host.cpp"
    block README.md cmake '^project' >"$1/CMakeLists.txt"
    if (($# > 1)); then
        packages=$(block README.md cmake "$2")
        block README.md cmake '^project' |
            awk -v packages="$packages" '/^find_package/ { print packages; next } { print }' >"$1/CMakeLists.txt"
    fi
}

# expect_digest COMMAND...: the host of the README prints the digest of abc.
expect_digest() {
    [[ $("$@") == "$(printf abc | sha256sum | cut -d ' ' -f 1)" ]]
}

# try_readme_hosts FOLDER: builds the host in both ways there are for what is installed, and runs it.
try_readme_hosts() {
    local commands
    write_readme_host "$1"
    cmake -S "$1" -B "$1/build" -G Ninja
    cmake --build "$1/build"
    expect_digest "$1/build/host"
    commands=$(block README.md sh '^c[+][+].*host[.]cpp')
    (cd "$1" && eval "$commands")
    expect_digest "$1/host"
}
