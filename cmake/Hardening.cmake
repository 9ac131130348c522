# How distributions build their own libraries: what goes wrong in memory ends the program instead of being used, and
# every symbol is bound when the library is loaded. Binding at the first call saves the registers, bytes of keys among
# them, to the stack, where nobody wipes them.
include(CheckCXXCompilerFlag)

option(ZRFL_HARDENING "Build both libraries hardened against faults in memory, with every symbol bound at once" ON)

add_library(zrfl_hardening INTERFACE)
if(ZRFL_HARDENING)
    set(flags -fstack-protector-strong -fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
        list(APPEND flags -fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
        list(APPEND flags -mbranch-protection=standard)
    endif()
    foreach(flag IN LISTS flags)
        string(MAKE_C_IDENTIFIER "ZRFL_COMPILER_TAKES${flag}" is_taken)
        check_cxx_compiler_flag(${flag} ${is_taken})
        if(${is_taken})
            target_compile_options(zrfl_hardening INTERFACE ${flag})
        endif()
    endforeach()
    # C libraries before 2.33 take level 3 for 2, and all want optimisation. Not beside a level of the builder's own, nor
    # under a sanitizer, which watches the same calls itself; the compiler's own level is replaced.
    string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
    set(builders_flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}")
    if(builders_flags MATCHES "-O([1-3s]|fast)" AND NOT builders_flags MATCHES "_FORTIFY_SOURCE|-fsanitize")
        target_compile_options(zrfl_hardening INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    endif()
    target_link_options(zrfl_hardening INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()
