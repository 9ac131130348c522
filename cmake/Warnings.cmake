# What every target of this project is compiled with; linked privately, so that it reaches no host. (-Wnull-dereference
# is left out: it accuses the standard library's own streams.)
add_library(zrfl_warnings INTERFACE)
target_compile_options(zrfl_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wcast-qual -Wformat=2 -Wimplicit-fallthrough -Wunused -Werror)
