set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_AUTOMOC ON)

option(TAVO_BUILD_TESTS "Build the tests" ON)
set(TAVO_SANITIZE "" CACHE STRING "Sanitizers to build with, as in -fsanitize= (empty: none)")

# Everything that runs from the build tree lies in one folder, so that the host finds the module beside itself.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")

find_program(TAVO_CCACHE ccache)
if(TAVO_CCACHE)
    set(CMAKE_CXX_COMPILER_LAUNCHER "${TAVO_CCACHE}")
endif()
