# SoftHSM, a PKCS #11 module that keeps its tokens in files: the tests and the tour sign with keys inside one. Taken
# from .runtime/ where that has it, else from where the system's packages put it; empty where there is none.
if(ZRFL_RUNTIME_SOFTHSM_MODULE)
    set(ZRFL_SOFTHSM_MODULE "${ZRFL_RUNTIME_SOFTHSM_MODULE}" CACHE FILEPATH "libsofthsm2.so of SoftHSM")
    set(ZRFL_SOFTHSM_UTIL "${ZRFL_RUNTIME_SOFTHSM_UTIL}" CACHE FILEPATH "softhsm2-util of SoftHSM")
else()
    find_library(ZRFL_SOFTHSM_MODULE libsofthsm2.so PATH_SUFFIXES softhsm pkcs11 DOC "libsofthsm2.so of SoftHSM")
    find_program(ZRFL_SOFTHSM_UTIL softhsm2-util DOC "softhsm2-util of SoftHSM")
endif()

# Tells the sources given where the token software is, SoftHSM by macros that a build without it leaves empty.
function(zrfl_use_token_software)
    foreach(tool MODULE UTIL)
        if(NOT ZRFL_SOFTHSM_${tool})
            set(ZRFL_SOFTHSM_${tool} "")
        endif()
    endforeach()
    set_property(SOURCE ${ARGN} APPEND PROPERTY COMPILE_DEFINITIONS
        "ZRFL_PKCS11_PROVIDER=\"${ZRFL_PKCS11_PROVIDER_DIR}/pkcs11prov.so\""
        "ZRFL_SOFTHSM_MODULE=\"${ZRFL_SOFTHSM_MODULE}\"" "ZRFL_SOFTHSM_UTIL=\"${ZRFL_SOFTHSM_UTIL}\"")
endfunction()
