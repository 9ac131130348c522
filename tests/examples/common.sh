# Sourced by the scripts beside it, each of which tries the example that it is named after, in a folder of its own.
# Usage: SCRIPT PROGRAM
# shellcheck shell=bash
set -euo pipefail

program=$1
unset terminals
started=("$program")
name=${name:-$(basename "$0" .sh)}
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
    output=$("${started[@]}" "$@" 2>&1) || status=$?
    # shellcheck disable=SC2053 # a pattern
    [[ $status == "$wanted" && $output == $text ]] ||
        fail "with the arguments '$*' it was to end with $wanted and '$text', but ended with $status and '$output'"
}

expect() { end 0 "$@"; }                                # PATTERN ARGUMENT...
refuse() { end 1 "*$1*" "${@:2}"; }                     # TEXT ARGUMENT...
misuse() { end 2 "usage: $name*" "$@"; } # ARGUMENT...

# rejects TEXT ARGUMENT...: as refuse, and no file in the folder was made, changed or removed.
rejects() { rejects_with 1 "$@"; }

rejects_with() { # STATUS TEXT ARGUMENT...
    local before after
    before=$(files)
    end "$1" "*$2*" "${@:3}"
    after=$(files)
    [[ $before == "$after" ]] || fail "with the arguments '${*:3}' files changed: $(diff <(echo "$before") <(echo "$after"))"
}

# at_terminal ANSWERS STATUS TEXT ARGUMENT...: as end, at a terminal with an answer for each question (at_terminal.py).
at_terminal() {
    : "${terminals=$(python3 -c 'import pty; print(pty.openpty())' 2>/dev/null || true)}"
    if [[ ! $terminals ]]; then
        echo "left out: '${*:4}' at a terminal, since this machine has no pseudo-terminals"
        return
    fi
    local answers=$1 started=("$root/tests/examples/at_terminal.py" "$program")
    shift
    end "$@" <<<"$answers"
}

files() {
    find . -mindepth 1 -printf '%p %y %m %i %l\n' | sort
    find . -type f -exec sha256sum {} + | sort
}

# Every example tells how it is used, on the standard output alone, and is not misled by files of that name.
for option in --help -h; do
    touch -- "$option"
    for arguments in "$option" "first $option"; do
        # shellcheck disable=SC2086 # several words
        [[ $("$program" $arguments 2>standard_error </dev/null) == "usage: $name "* && ! -s standard_error ]] ||
            fail "the arguments '$arguments' do not show the usage"
    done
    rm -- "$option" standard_error
done
if [[ $("$program" --help 2>&1 >/dev/full) != "cannot write to the standard output"* ]]; then
    fail "a standard output that takes nothing is not reported"
fi
