#!/usr/bin/env bash
# Inside another project, by add_subdirectory or FetchContent, this one is its two libraries and nothing else: what the
# host lists, tests, looks for, warns of and installs stays the host's.
# Usage: subproject.sh configured|built CMAKE SOURCE_DIRECTORY OPENSSL_INCLUDE_DIRECTORY LIBCRYPTO EMULATOR COMPILER \
#            [COMPILER_AND_LINKER_FLAG...]
# The emulator is empty where what was built runs by itself.
set -euo pipefail
# shellcheck source=tests/package/readme.sh
source "$(dirname "${BASH_SOURCE[0]}")/readme.sh"
until=$1 cmake=$2 source=$3 include=$4 libcrypto=$5 emulator=$6 compiler=$7
shift 7
flags=("$@")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    printf '%s\n' "$*"
    exit 1
}

# The README's host, with a target and a test whose names this project has too; its own libraries may be static.
write_host() { # FOLDER PATTERN
    mkdir "$1"
    ln -s "$source" "$1/zrflcrypto"
    write_readme_host "$1" "$2"
    cat >>"$1/CMakeLists.txt" <<'END'

add_executable(tour host.cpp)
enable_testing()
add_test(NAME example_tour COMMAND tour)

function(targets_below directory)
    get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
    get_property(folders DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
    file(APPEND ${CMAKE_BINARY_DIR}/targets.txt "${targets}\n")
    foreach(folder IN LISTS folders)
        targets_below(${folder})
    endforeach()
endfunction()
targets_below(${CMAKE_SOURCE_DIR})
END
}

configure() { # HOST OPTION...
    "$cmake" -S "$1" -B "$1/build" -G Ninja -DOPENSSL_INCLUDE_DIR="$include" -DOPENSSL_CRYPTO_LIBRARY="$libcrypto" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${flags[*]}" -DCMAKE_BUILD_TYPE=Release \
        -DBUILD_SHARED_LIBS=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "${@:2}" >"$work/log" 2>&1 ||
        fail "cannot configure:" "$(cat "$work/log")"
}

build() { # HOST
    "$cmake" --build "$1/build" --target host >"$work/log" 2>&1 || fail "cannot build:" "$(cat "$work/log")"
    ! grep -i 'warning:' "$work/log" || fail "the host's build warns of what is not the host's"
    expect_digest env LD_LIBRARY_PATH="$(dirname "$libcrypto")" ${emulator:+"$emulator"} "$1/build/host" ||
        fail "the host is wrong"
}

expect_two_libraries_alone() { # HOST
    local build=$1/build ours='zrfl_hardening zrfl_warnings zrflcryptoopenssl zrflcryptoopenssl_objects zrflcryptoutils'
    targets=$(tr ';' '\n' <"$build/targets.txt" | sort | xargs)
    [[ $targets == "host tour $ours" ]] || fail "targets: $targets"
    grep -q 'Total Tests: 1$' <<<"$(cd "$build" && ctest -N)" || fail "the host's ctest has other tests than its own"
    ! grep -E '^(BUILD_TESTING|GTest_DIR|benchmark_DIR|CMAKE_INSTALL_LIBDIR)\b' "$build/CMakeCache.txt" ||
        fail "the host's cache has settings that no host needs"
    ! grep -oE -- '-Werror|-Wconversion' "$build/compile_commands.json" || fail "warnings are the host's own matter"
    "$cmake" --install "$build" --prefix "$work/installed" >/dev/null
    [[ ! -e $work/installed ]] || fail "installed unasked: $(find "$work/installed")"
}

for way in add_subdirectory FetchContent_MakeAvailable; do
    host=$work/$way
    write_host "$host" "$way"
    configure "$host" -DFETCHCONTENT_SOURCE_DIR_ZRFLCRYPTO="$source"
    expect_two_libraries_alone "$host"
    if [[ $until == built ]]; then
        build "$host"
    fi
done

# A host that ships the libraries with itself asks for the rules.
configure "$host" -DZRFL_INSTALL=ON
grep -rq --include=cmake_install.cmake zrflcryptoopenssl-config.cmake "$host/build" ||
    fail "ZRFL_INSTALL=ON makes no rules"
if [[ $until == built ]]; then
    build "$host"
    ZRFL_INSTALL_FOR_TRIAL=1 "$cmake" --install "$host/build" --prefix "$work/installed" >/dev/null
    [[ -n $(find "$work/installed" -name 'libzrflcryptoutils.so.1') ]] || fail "ZRFL_INSTALL=ON installs no library"
fi
