# What every target of this project is compiled with; linked privately, so that it reaches no host. The presets make
# errors of warnings (CMAKE_COMPILE_WARNING_AS_ERROR): another compiler may warn of what nobody has seen yet. Inside
# another project warnings are that project's matter. (-Wnull-dereference is left out: it accuses the standard library's
# own streams.)
add_library(zrfl_warnings INTERFACE)
if(PROJECT_IS_TOP_LEVEL)
    target_compile_options(zrfl_warnings INTERFACE
        -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor
        -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2 -Wimplicit-fallthrough -Wunused)
endif()
