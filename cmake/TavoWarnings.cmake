add_library(tavo_warnings INTERFACE)
target_compile_options(tavo_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Werror
    -Wconversion -Wsign-conversion -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Woverloaded-virtual
    -Wcast-align -Wunused -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough)
