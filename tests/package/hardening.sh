#!/usr/bin/env bash
# Both libraries are built as cmake/Hardening.cmake says, read back from the built files. What leaves no trace in them,
# since neither library calls a function that it would replace, is read from the compiler's command lines.
# Usage: hardening.sh NM READELF OBJDUMP PROCESSOR COMPILE_COMMANDS|"" LIBRARY...
set -euo pipefail
nm=$1 readelf=$2 objdump=$3 processor=$4 compile_commands=$5
shift 5
failed=0

fail() {
    echo "$*"
    failed=1
}

contains() { # LINES PATTERN... (not a pipe into grep -q, which would end the writer before it is done)
    grep -q "${@:2}" <<<"$1"
}

# What an indirect branch may jump to: the first instruction of each function that a host can reach.
case $processor in
x86_64 | AMD64 | amd64) landing_pad=endbr64 ;;
aarch64 | arm64) landing_pad='paciasp|bti[[:space:]]+(c|jc)' ;;
*) landing_pad='' ;;
esac

expect_landing_pads() { # LIBRARY
    local functions unguarded
    functions=$("$nm" --dynamic --defined-only "$1" | awk '$2 ~ /[TW]/ { sub(/@.*/, "", $3); print $3 }')
    unguarded=$("$objdump" --disassemble --no-show-raw-insn "$1" | awk -v landing_pad="$landing_pad" '
        NR == FNR { wanted[$1] = 1; next }
        /^[0-9a-f]+ <.*>:$/ { name = substr($2, 2, length($2) - 3); next }
        name in wanted {
            ++found
            if ($0 !~ "[[:space:]](" landing_pad ")") { print name }
            name = ""
        }
        END { if (found == 0) { print "no function found" } }' <(echo "$functions") -)
    [ -z "$unguarded" ] || fail "$1 has functions without a landing pad:"$'\n'"$unguarded"
}

for library in "$@"; do
    dynamic=$("$readelf" --dynamic --wide "$library")
    contains "$dynamic" -E 'FLAGS_1.*\bNOW\b' || fail "$library is not bound when it is loaded (-z now)"
    contains "$dynamic" -E 'FLAGS_1.*\bNODELETE\b' || fail "$library can be unloaded under its objects (-z nodelete)"
    contains "$("$readelf" --program-headers --wide "$library")" -w GNU_RELRO ||
        fail "$library keeps its tables of addresses writable (-z relro)"
    contains "$("$nm" --dynamic --undefined-only "$library")" -w __stack_chk_fail ||
        fail "$library does not guard its stack (-fstack-protector-strong)"
    [ -z "$landing_pad" ] || expect_landing_pads "$library"
done

# One line of each entry is the command, one the source.
if [ -n "$compile_commands" ]; then
    commands=$(grep '"command":' "$compile_commands" | grep -E -- '/src/(openssl|utils)/[^ ]*\.cpp')
    for flag in -fstack-protector-strong -fstack-clash-protection '-D_FORTIFY_SOURCE=[23]'; do
        without=$(grep -vE -- "$flag" <<<"$commands" | grep -oE '[^ ]+\.cpp' || true)
        [ -z "$without" ] || fail "compiled without $flag:"$'\n'"$without"
    done
fi
exit $failed
