# SoftHSM, a PKCS #11 module that keeps its tokens in files: the tests and the tour sign with keys inside one. Taken
# from .runtime/ where that has it, else from where the system's packages put it; empty where there is none.
if(ZRFL_RUNTIME_SOFTHSM_MODULE)
    set(softhsm_module "${ZRFL_RUNTIME_SOFTHSM_MODULE}")
    set(softhsm_util "${ZRFL_RUNTIME_SOFTHSM_UTIL}")
else()
    find_library(softhsm_module libsofthsm2.so PATH_SUFFIXES softhsm pkcs11 NO_CACHE)
    find_program(softhsm_util softhsm2-util NO_CACHE)
    foreach(found softhsm_module softhsm_util)
        if(NOT ${found})
            set(${found} "")
        endif()
    endforeach()
endif()

# Tells the sources given where the token software is, SoftHSM by macros that a build without it leaves empty.
function(zrfl_use_token_software)
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_DEFINITIONS
        "ZRFL_PKCS11_PROVIDER=\"${ZRFL_PKCS11_PROVIDER_DIR}/pkcs11prov.so\""
        "ZRFL_SOFTHSM_MODULE=\"${softhsm_module}\"" "ZRFL_SOFTHSM_UTIL=\"${softhsm_util}\"")
endfunction()
