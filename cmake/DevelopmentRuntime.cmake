# Included by the presets ahead of the first project(): takes from .runtime/, which tools/setup fills, what the packages
# of this machine lack. A build without the presets, or with an OpenSSL that the user names, goes its own way.

if(NOT development_runtime) # a toolchain file may have named its own
    set(development_runtime "${CMAKE_SOURCE_DIR}/.runtime/runtime.cmake")
endif()
set(openssl_named "${OPENSSL_ROOT_DIR}$ENV{OPENSSL_ROOT_DIR}${OPENSSL_INCLUDE_DIR}${OPENSSL_CRYPTO_LIBRARY}")

if(EXISTS "${development_runtime}")
    include("${development_runtime}")
elseif(NOT openssl_named)
    message(FATAL_ERROR "Run tools/setup first (for 64-bit Arm, tools/test-arm64), "
        "or name an OpenSSL of at least 3.5 with -DOPENSSL_ROOT_DIR=...")
endif()

if(ZRFL_RUNTIME_CRYPTO_LIBRARY)
    # Another run of cmake finds in the cache what the first one put there.
    if(openssl_named AND NOT OPENSSL_CRYPTO_LIBRARY STREQUAL ZRFL_RUNTIME_CRYPTO_LIBRARY)
        # Provider and token need the C library in .runtime/, and a program with the user's OpenSSL runs on the host's.
        unset(ZRFL_RUNTIME_PROVIDER_DIR)
        unset(ZRFL_RUNTIME_SOFTHSM_MODULE)
        unset(ZRFL_RUNTIME_SOFTHSM_UTIL)
    else()
        set(OPENSSL_INCLUDE_DIR "${ZRFL_RUNTIME_INCLUDE_DIR}" CACHE PATH "OpenSSL's headers")
        set(OPENSSL_CRYPTO_LIBRARY "${ZRFL_RUNTIME_CRYPTO_LIBRARY}" CACHE FILEPATH "OpenSSL's libcrypto")
        string(JOIN " " runtime_flags
            # This libcrypto asks for a newer glibc than the one linked against.
            "-Wl,--allow-shlib-undefined"
            # The newer glibc comes with its own loader.
            "-Wl,--dynamic-linker=${ZRFL_RUNTIME_LOADER}"
            # DT_RPATH, unlike DT_RUNPATH, also counts for the libraries' own needs and for what dlopen() loads.
            "-Wl,--disable-new-dtags"
            # What is not in .runtime/, such as the sanitizers' libraries, the loader finds where the host keeps it.
            "-Wl,-rpath,${ZRFL_RUNTIME_LIBRARY_DIR}")
        string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " ${runtime_flags}")
    endif()
endif()

if(ZRFL_RUNTIME_PROVIDER_DIR)
    set(ZRFL_PKCS11_PROVIDER_DIR "${ZRFL_RUNTIME_PROVIDER_DIR}" CACHE PATH
        "Directory of pkcs11prov.so, the OpenSSL provider through which keys in hardware modules are reached")
endif()
