# How distributions build their own libraries: what goes wrong in memory ends the program instead of being used, and
# every symbol is bound when the library is loaded. Binding at the first call saves the registers, bytes of keys among
# them, to the stack, where nobody wipes them.
include(CheckCXXCompilerFlag)

option(ZRFL_HARDENING "Build both libraries hardened against faults in memory, with every symbol bound at once" ON)

add_library(zrfl_hardening INTERFACE)

# Sets `result` to the highest _FORTIFY_SOURCE that the compiler and the C library take without a warning, which they do
# only where the build optimises; to 0 where there is none, where the builder's flags have one, and under a sanitizer,
# which watches the same calls itself.
function(zrfl_find_fortification result)
    set(${result} 0 PARENT_SCOPE)
    if(CMAKE_CXX_FLAGS MATCHES "-fsanitize|_FORTIFY_SOURCE")
        return()
    endif()
    set(CMAKE_TRY_COMPILE_CONFIGURATION "${CMAKE_BUILD_TYPE}")
    set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
    foreach(level 3 2)
        try_compile(is_taken SOURCE_FROM_CONTENT fortified.cpp "#include <string>\n" NO_CACHE
            COMPILE_DEFINITIONS -Werror -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${level})
        if(is_taken)
            set(${result} ${level} PARENT_SCOPE)
            return()
        endif()
    endforeach()
endfunction()

if(ZRFL_HARDENING)
    set(flags -fstack-protector-strong -fstack-clash-protection)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$")
        list(APPEND flags -fcf-protection)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
        list(APPEND flags -mbranch-protection=standard)
    endif()
    foreach(flag IN LISTS flags)
        string(MAKE_C_IDENTIFIER "compiler_takes${flag}" is_taken)
        check_cxx_compiler_flag(${flag} ${is_taken})
        if(${is_taken})
            target_compile_options(zrfl_hardening INTERFACE ${flag})
        endif()
    endforeach()
    zrfl_find_fortification(fortification)
    if(fortification)
        # A compiler may have a level of its own.
        target_compile_options(zrfl_hardening INTERFACE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=${fortification})
    endif()
    target_link_options(zrfl_hardening INTERFACE LINKER:-z,relro LINKER:-z,now)
endif()
