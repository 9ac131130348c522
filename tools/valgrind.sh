# Sourced by the scripts that run tests under valgrind, after common.sh: sets up, builds, and offers `under_valgrind`.
# shellcheck shell=bash
# shellcheck source=tools/packages.sh
source "${root:?}/tools/packages.sh"

debug_files=$root/.runtime-valgrind
loader=$(sed -n 's|.*LIBRARY_DIR}/\(ld-linux[^"]*\)".*|\1|p' "$root/.runtime/runtime.cmake" 2>/dev/null) || true

install_valgrind() {
    tools/setup
    need valgrind libc6-dbg
    read_lists_for_missing
    install_missing
}

# valgrind has to find the functions of the dynamic loader, and Debian's loaders have their symbols in another package.
# The one for the loader in .runtime/ is kept where valgrind looks for it: below the folder of the loader itself.
fetch_symbols() {
    local library=$1 symbols=$2 new=${scratch:?}/valgrind architecture
    architecture=$(dpkg --print-architecture)
    mkdir -p "$new/apt/lists/partial" "$new/apt/cache/archives/partial" "$new/unpacked"
    find_archive
    fetch libc6-dbg/trixie
    mkdir -p "$(dirname "$symbols")"
    if ! mv "$new/unpacked/usr/lib/debug/.build-id"/*/"$(basename "$symbols")" "$symbols"; then
        echo "The symbols are of another version than $library: remove .runtime/ and run tools/setup."
        return 1
    fi
}

find_symbols() {
    local library symbols
    [[ -n $loader ]] || return 0
    library=$(realpath "$root/.runtime/lib/$loader")
    symbols=$debug_files$(dirname "$library")/$(readelf -p .gnu_debuglink "$library" | sed -n 's/.* \([0-9a-f]*\.debug\)$/\1/p')
    [[ -f $symbols ]] || step "Fetch the symbols of $loader" fetch_symbols "$library" "$symbols"
}

# Without a loader of its own the folder does not exist, which valgrind does not mind.
under_valgrind() {
    valgrind -q --extra-debuginfo-path="$debug_files" --num-callers=30 "$@"
}
