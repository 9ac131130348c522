# Sourced by the scripts beside it, which work from any folder.
# shellcheck shell=bash
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
scratch=$(mktemp -d)
export root

# An abandoned script shows what its last quiet step had printed.
finish() {
    local status=$?
    if ((status != 0)) && [[ -s $scratch/log ]]; then
        printf '\n' >&2
        cat "$scratch/log" >&2
    fi
    rm -rf "$scratch"
}
trap finish EXIT

# Standard output is left to what a script runs in the end.
say() { printf '==> %s\n' "$*" >&2; }

# step TITLE COMMAND...: runs the command quietly and tells how long it took.
step() {
    local title=$1 start=$SECONDS
    shift
    printf '==> %s' "$title" >&2
    ("$@") >"$scratch/log" 2>&1 # not part of a condition: `set -e` has to hold inside a function given here
    : >"$scratch/log"
    printf ' (%d s)\n' $((SECONDS - start)) >&2
}

as_root() {
    if ((EUID == 0)); then "$@"; else sudo "$@"; fi
}

# build PRESET [TARGET...]: configures the preset and builds the targets, or all of it.
build() {
    local preset=$1
    shift
    step "Configure $preset" cmake -S "$root" --preset "$preset"
    step "Build $preset${*:+: $*}" cmake --build "$root/build/$preset" --target "${@:-all}" -- --quiet
}
