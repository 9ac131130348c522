#!/usr/bin/env bash
# Inside another project, by add_subdirectory or FetchContent, this one is its two libraries and nothing else: what the
# host lists, tests, looks for, warns of and installs stays the host's.
# Usage: subproject.sh configured|built CMAKE SOURCE_DIRECTORY OPENSSL_INCLUDE_DIRECTORY LIBCRYPTO EMULATOR COMPILER \
#            [COMPILER_AND_LINKER_FLAG...]
# The emulator is empty where what was built runs by itself.
set -euo pipefail
until=$1 cmake=$2 source=$3 include=$4 libcrypto=$5 emulator=$6 compiler=$7
shift 7
flags=("$@")
host=$(cd "$(dirname "${BASH_SOURCE[0]}")/host" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
    printf '%s\n' "$*"
    exit 1
}

# As a host may be: with static libraries of its own, and a target and a test whose names this project has too.
write_host() { # LINE...
    cp "$host/host.cpp" "$work"
    {
        echo 'cmake_minimum_required(VERSION 3.25)'
        echo 'project(host LANGUAGES CXX)'
        echo 'enable_testing()'
        printf '%s\n' "$@"
        cat <<'END'
add_executable(tour host.cpp)
target_link_libraries(tour PRIVATE zrfl::cryptoopenssl)
add_test(NAME example_tour COMMAND tour)

function(targets_below directory)
    get_property(targets DIRECTORY ${directory} PROPERTY BUILDSYSTEM_TARGETS)
    get_property(folders DIRECTORY ${directory} PROPERTY SUBDIRECTORIES)
    foreach(target IN LISTS targets)
        file(APPEND ${CMAKE_BINARY_DIR}/targets.txt "${target}\n")
    endforeach()
    foreach(folder IN LISTS folders)
        targets_below(${folder})
    endforeach()
endfunction()
targets_below(${CMAKE_SOURCE_DIR})
END
    } >"$work/CMakeLists.txt"
}

configure() { # BUILD_DIRECTORY OPTION...
    "$cmake" -S "$work" -B "$1" -G Ninja -DOPENSSL_INCLUDE_DIR="$include" -DOPENSSL_CRYPTO_LIBRARY="$libcrypto" \
        -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_CXX_FLAGS="${flags[*]}" -DCMAKE_BUILD_TYPE=Release \
        -DBUILD_SHARED_LIBS=OFF -DCMAKE_EXPORT_COMPILE_COMMANDS=ON "${@:2}" >"$work/log" 2>&1 || fail "cannot configure:" "$(cat "$work/log")"
}

build() { # BUILD_DIRECTORY
    "$cmake" --build "$1" >"$work/log" 2>&1 || fail "cannot build:" "$(cat "$work/log")"
    ! grep -i 'warning:' "$work/log" || fail "the host's build warns of what is not the host's"
    LD_LIBRARY_PATH=$(dirname "$libcrypto") ${emulator:+"$emulator"} "$1/tour"
}

expect_two_libraries_alone() { # BUILD_DIRECTORY
    local targets
    targets=$(sort "$1/targets.txt" | xargs)
    [[ $targets == "tour zrfl_hardening zrfl_warnings zrflcryptoopenssl zrflcryptoopenssl_objects zrflcryptoutils" ]] ||
        fail "targets: $targets"
    grep -q 'Total Tests: 1$' <<<"$(cd "$1" && ctest -N)" || fail "the host's ctest has other tests than its own"
    ! grep -E '^(BUILD_TESTING|GTest_DIR|benchmark_DIR|CMAKE_INSTALL_LIBDIR)\b' "$1/CMakeCache.txt" ||
        fail "the host's cache has settings that no host needs"
    ! grep -oE -- '-Werror|-Wconversion' "$1/compile_commands.json" || fail "warnings are the host's own matter"
    "$cmake" --install "$1" --prefix "$work/installed" >/dev/null
    [[ ! -e $work/installed ]] || fail "installed unasked: $(find "$work/installed")"
}

for way in subdirectory fetch_content; do
    if [[ $way == subdirectory ]]; then
        write_host "add_subdirectory($source zrflcrypto)"
    else
        write_host 'include(FetchContent)' "FetchContent_Declare(zrflcrypto SOURCE_DIR $source)" \
            'FetchContent_MakeAvailable(zrflcrypto)'
    fi
    build_directory=$work/by-$way
    configure "$build_directory"
    expect_two_libraries_alone "$build_directory"
    if [[ $until == built ]]; then
        build "$build_directory"
    fi
done

# A host that ships the libraries with itself asks for the rules.
configure "$build_directory" -DZRFL_INSTALL=ON
grep -rq --include=cmake_install.cmake zrflcryptoopenssl-config.cmake "$build_directory" ||
    fail "ZRFL_INSTALL=ON makes no rules"
if [[ $until == built ]]; then
    build "$build_directory"
    ZRFL_INSTALL_FOR_TRIAL=1 "$cmake" --install "$build_directory" --prefix "$work/installed" >/dev/null
    [[ -n $(find "$work/installed" -name 'libzrflcryptoutils.so.1') ]] || fail "ZRFL_INSTALL=ON installs no library"
fi
