#!/usr/bin/env bash
# The libraries take no locks and keep nothing that is destroyed at exit: no local static is guarded, no object is
# registered for its destruction. A host may use them in threads of its own until the very end.
# Usage: no_static_objects.sh NM LIBRARY...
set -euo pipefail
nm=$1
failed=0

for library in "${@:2}"; do
    # Both tables: a guard is a local symbol, and what makes use of it is imported. A library without names is no library.
    symbols=$("$nm" "$library" && "$nm" --dynamic "$library")
    if ! grep -q ' __cxa_finalize' <<<"$symbols"; then
        printf '%s does not tell its symbols\n' "$library"
        failed=1
    fi
    if found=$(grep -E ' (_ZGV|__cxa_(guard_|atexit|thread_atexit))' <<<"$symbols" | sort -u); then
        printf '%s has objects that are made on first use or destroyed at exit:\n%s\n' "$library" "$found"
        failed=1
    fi
done
exit $failed
