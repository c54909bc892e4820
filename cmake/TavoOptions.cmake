set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)

option(TAVO_BUILD_TESTS "Build the tests" ON)
option(TAVO_BUILD_BENCH "Build the benchmark" OFF)
option(TAVO_BUILD_FUZZERS "Build the fuzzers; needs clang" OFF)
set(TAVO_SANITIZE "" CACHE STRING "Sanitizers to build with, as in -fsanitize= (empty: none)")

# The build tree has the layout of the install tree, so the host finds its modules in both by the same relative path.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_BINDIR}")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_LIBDIR}")
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

find_program(TAVO_CCACHE ccache)
if(TAVO_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${TAVO_CCACHE}")
endif()
