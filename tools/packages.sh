# Sourced by the scripts that install packages and fill a runtime: a folder beside the sources with what Debian 12 and 13
# lack, taken from newer releases. Which processor it is for may differ from the machine's.
# shellcheck shell=bash

# What a runtime takes from Debian 13 ("trixie") and from the release after it, the first that has pkcs11prov.so.
token=(libengine-pkcs11-openssl/forky libsofthsm2/trixie softhsm2/trixie)
openssl=(libssl-dev libssl3t64 libc6 libstdc++6 libgcc-s1 zlib1g libzstd1)

keyring=/usr/share/keyrings/debian-archive-keyring.gpg
missing=()

# need PACKAGE...: notes those that are not installed.
need() {
    local package state
    for package in "$@"; do
        state=$(dpkg-query -W -f '${db:Status-Status}' "$package" 2>/dev/null) || true
        [[ $state == installed ]] || missing+=("$package")
    done
}

apt_as_root() {
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -y -o DPkg::Lock::Timeout=300 "$@"
}

read_lists_for_missing() {
    if ((${#missing[@]})); then
        ask_for_root "${missing[@]}"
        step "Read the package lists" apt_as_root update
    fi
}

install_missing() {
    if ((${#missing[@]})); then
        step "Install ${missing[*]}" apt_as_root install --no-install-recommends "${missing[@]}"
        missing=()
    fi
}

# apt with lists and caches of its own, which leaves the machine's untouched and needs no root.
private_apt() {
    apt-get -q -o Dir::Etc::sourcelist="$new/apt/sources.list" -o Dir::Etc::sourceparts=/dev/null \
        -o Dir::State::lists="$new/apt/lists" -o Dir::State::status=/dev/null -o Dir::Cache="$new/apt/cache" \
        -o APT::Architecture="$architecture" -o APT::Architectures="$architecture" \
        -o APT::Sandbox::User=root -o APT::Update::Error-Mode=any -o Acquire::Languages=none -o Acquire::Retries=3 "$@"
}

# The archives that the machine's apt reads, in its order.
archives() {
    apt-get update --print-uris | sed -n "s|^'\([^']*/\)dists/[^']*/InRelease'.*|\1|p" | uniq
}

# Reads the lists of both releases from the first of the machine's archives that has them.
find_archive() {
    local archive suite
    for archive in $(archives); do
        for suite in trixie forky; do
            echo "deb [arch=$architecture signed-by=$keyring] $archive $suite main"
        done >"$new/apt/sources.list"
        if private_apt update; then
            return
        fi
    done
    echo "None of apt's archives has Debian's trixie and forky: no network, or a mirror that is partial or old?"
    return 1
}

# fetch PACKAGE/RELEASE...: unpacks the packages side by side.
fetch() {
    local package
    (cd "$new/apt" && private_apt download "$@")
    for package in "$new"/apt/*.deb; do
        dpkg -x "$package" "$new/unpacked"
    done
}

# Keeps the libraries, OpenSSL's headers and the token's tool; the compiler goes on with the host's other headers.
arrange() {
    local libraries
    libraries=$(echo "$new"/unpacked/usr/lib/*-linux-gnu)
    mkdir -p "$new/bin" "$new/lib"
    mv "$libraries/ossl-modules" "$libraries/softhsm" "$new/lib/"
    mv "$new/unpacked/usr/bin/softhsm2-util" "$new/bin/"
    if [[ $origin == runtime ]]; then
        mv "$libraries"/*.so* "$new/lib/"
        mkdir -p "$new/include"
        cp -r "$new/unpacked/usr/include/openssl" "$new"/unpacked/usr/include/*-linux-gnu/openssl "$new/include/"
        wrap_util
    fi
    "$new/bin/softhsm2-util" --version
    rm -rf "$new/unpacked" "$new/apt"
}

# The tool asks for a newer glibc than the host's, so it is started through the one beside it.
wrap_util() {
    mv "$new/bin/softhsm2-util" "$new/bin/softhsm2-util.real"
    cat >"$new/bin/softhsm2-util" <<END
#!/bin/sh
bin=\$(dirname "\$(readlink -f "\$0")")
exec $emulator "\$bin"/../lib/ld-linux-*.so.? --library-path "\$bin/../lib" "\$bin/softhsm2-util.real" "\$@"
END
    chmod +x "$new/bin/softhsm2-util"
}

describe() {
    echo "$stamp"
    if [[ $origin == runtime ]]; then
        local loader
        loader=$(basename "$new"/lib/ld-linux-*.so.?)
        cat <<END
set(ZRFL_RUNTIME_INCLUDE_DIR "\${CMAKE_CURRENT_LIST_DIR}/include")
set(ZRFL_RUNTIME_LIBRARY_DIR "\${CMAKE_CURRENT_LIST_DIR}/lib")
set(ZRFL_RUNTIME_CRYPTO_LIBRARY "\${ZRFL_RUNTIME_LIBRARY_DIR}/libcrypto.so.3")
set(ZRFL_RUNTIME_LOADER "\${ZRFL_RUNTIME_LIBRARY_DIR}/$loader")
END
    fi
    cat <<END
set(ZRFL_RUNTIME_PROVIDER_DIR "\${CMAKE_CURRENT_LIST_DIR}/lib/ossl-modules")
set(ZRFL_RUNTIME_SOFTHSM_MODULE "\${CMAKE_CURRENT_LIST_DIR}/lib/softhsm/libsofthsm2.so")
set(ZRFL_RUNTIME_SOFTHSM_UTIL "\${CMAKE_CURRENT_LIST_DIR}/bin/softhsm2-util")
END
}

make_runtime() {
    rm -rf "$new"
    mkdir -p "$new/apt/lists/partial" "$new/apt/cache/archives/partial" "$new/unpacked"
    find_archive
    if [[ $origin == runtime ]]; then
        fetch "${openssl[@]/%//trixie}" "${token[@]}"
    else
        fetch "${token[@]}"
    fi
    arrange
    describe >"$new/runtime.cmake"
    rm -rf "$folder"
    mv "$new" "$folder"
}

# fill_runtime FOLDER ARCHITECTURE ORIGIN [EMULATOR]: makes the folder unless it is there. ORIGIN tells where OpenSSL comes
# from, the machine or the runtime; the emulator runs the programs of another processor.
fill_runtime() {
    local folder=$1 architecture=$2 origin=$3 emulator=${4-}
    local new=$folder.new stamp="# Recipe 1 for $architecture, OpenSSL of the $origin"
    if ! grep -qsxF "$stamp" "$folder/runtime.cmake"; then
        step "Fill $(basename "$folder")/" make_runtime
    fi
}
