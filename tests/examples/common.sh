# Sourced by the scripts beside it, each of which tries the example that it is named after, in a folder of its own.
# Usage: SCRIPT PROGRAM
# shellcheck shell=bash
set -euo pipefail

program=$1
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export root
cd "$work"

fail() {
    printf '%s\n' "$*"
    exit 1
}

# end STATUS TEXT ARGUMENT...: the program ends with this status, and what it prints fits the pattern.
end() {
    local wanted=$1 text=$2 status=0 output
    shift 2
    output=$("$program" "$@" 2>&1) || status=$?
    # shellcheck disable=SC2053 # a pattern
    [[ $status == "$wanted" && $output == $text ]] ||
        fail "with the arguments '$*' it was to end with $wanted and '$text', but ended with $status and '$output'"
}

expect() { end 0 "$@"; }                                # PATTERN ARGUMENT...
refuse() { end 1 "*$1*" "${@:2}"; }                     # TEXT ARGUMENT...
misuse() { end 2 "usage: $(basename "$0" .sh)*" "$@"; } # ARGUMENT...
