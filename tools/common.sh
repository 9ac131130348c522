# Sourced by the scripts beside it, which work from any folder.
# shellcheck shell=bash
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
scratch=$(mktemp -d)
export root
: >"$scratch/log"

# An abandoned script shows what its last quiet step had printed, without what only told how far a build was.
finish() {
    local status=$?
    stop_telling
    if ((status != 0)) && [[ -s $scratch/log ]]; then
        printf '\n' >&2
        grep -vE '^\[[0-9]+/[0-9]+\] ' "$scratch/log" >&2 || true
    fi
    rm -rf "$scratch"
}
trap finish EXIT

# Standard output is left to what a script runs in the end.
say() { printf '==> %s\n' "$*" >&2; }

# Tells how far a step is by the last line that it printed: at a terminal each second, in the step's own line; elsewhere
# each minute, in a line of its own.
tell_progress() { # TITLE
    local seconds=0 room line
    room=$(($(stty size <&2 2>/dev/null | cut -d ' ' -f 2) - ${#1} - 16)) || room=0
    while sleep 1 >/dev/null 2>&1 && kill -0 $$; do
        seconds=$((seconds + 1))
        line=$(tail -n 1 "$scratch/log" | tr -cd '[:print:]')
        if ((room > 20)); then
            printf '\r\033[K==> %s (%d s) %s' "$1" "$seconds" "${line:0:room}" >&2
        elif [[ ! -t 2 ]] && ((seconds % 60 == 0)); then
            printf '\n    after %d s: %s' "$seconds" "$line" >&2
        fi
    done
}

teller=
stop_telling() {
    if [[ $teller ]]; then
        kill "$teller" || true
        wait "$teller" || true
        teller=
    fi
}

# step TITLE COMMAND...: runs the command quietly and tells how long it took.
step() {
    local title=$1 start=$SECONDS
    shift
    printf '==> %s' "$title" >&2
    tell_progress "$title" &
    teller=$!
    ("$@") >"$scratch/log" 2>&1 # not part of a condition: `set -e` has to hold inside a function given here
    stop_telling
    : >"$scratch/log"
    if [[ -t 2 ]]; then
        printf '\r\033[K==> %s' "$title" >&2
    elif ((SECONDS - start >= 60)); then
        printf '\n==> %s' "$title" >&2
    fi
    printf ' (%d s)\n' $((SECONDS - start)) >&2
}

as_root() {
    if ((EUID == 0)); then "$@"; else sudo "$@"; fi
}

# Before packages are installed: says which are missing before anybody is asked for a password, and ends where nobody
# can be asked.
ask_for_root() { # PACKAGE...
    if ((EUID == 0)) || sudo -n true 2>/dev/null; then
        return
    fi
    say "Missing packages: $*"
    if ! [[ -t 0 && -t 2 ]] || ! sudo -v; then
        say "They can be installed neither as root nor through sudo here. As root:" \
            "apt-get install --no-install-recommends $*"
        exit 1
    fi
}

# build PRESET [TARGET...]: configures the preset and builds the targets, or all of it.
build() {
    local preset=$1
    shift
    step "Configure $preset" cmake -S "$root" --preset "$preset"
    step "Build $preset${*:+: $*}" cmake --build "$root/build/$preset" --target "${@:-all}"
}
