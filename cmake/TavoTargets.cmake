# One function for each kind of target: a library of the SDK, a worker module, a program, a test.

function(tavo_common target)
    target_link_libraries(${target} PRIVATE $<BUILD_INTERFACE:tavo_warnings>)
    target_compile_definitions(${target} PRIVATE
        QT_NO_CAST_TO_ASCII QT_NO_URL_CAST_FROM_STRING QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
endfunction()

# tavo_add_library(NAME SOURCES ... HEADERS ... LINK ... PRIVATE_LINK ... INCLUDE_ROOT dir)
function(tavo_add_library name)
    cmake_parse_arguments(arg "" "INCLUDE_ROOT" "SOURCES;HEADERS;LINK;PRIVATE_LINK" ${ARGN})
    add_library(${name} SHARED ${arg_SOURCES})
    add_library(Tavo::${name} ALIAS ${name})
    tavo_common(${name})
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS ${arg_INCLUDE_ROOT} FILES ${arg_HEADERS})
    target_compile_definitions(${name} PUBLIC QT_FORCE_ASSERTS PRIVATE ${name}_EXPORTS QT_NO_CAST_FROM_ASCII)
    target_link_libraries(${name} PUBLIC ${arg_LINK} PRIVATE ${arg_PRIVATE_LINK})
    target_link_options(${name} PRIVATE ${TAVO_LINK_COMPLETE} -Wl,--as-needed
        "-Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/library.map")
    set_target_properties(${name} PROPERTIES
        LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/library.map"
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR} VERIFY_INTERFACE_HEADER_SETS ON)
    tavo_install(${name} "${CMAKE_INSTALL_LIBDIR}" EXPORT TavoTargets
        FILE_SET HEADERS DESTINATION "${TAVO_INSTALL_INCLUDEDIR}")
endfunction()

# tavo_add_module(NAME SOURCES ... LINK ...): a library that a host loads, with the factory as its only export; its
# objects are a target of their own, NAME_objects, so that the tests run the very code that the module holds.
function(tavo_add_module name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
    add_library(${name}_objects OBJECT ${arg_SOURCES})
    tavo_common(${name}_objects)
    target_compile_definitions(${name}_objects PRIVATE QT_NO_CAST_FROM_ASCII)
    target_include_directories(${name}_objects INTERFACE ${CMAKE_CURRENT_SOURCE_DIR})
    target_link_libraries(${name}_objects PUBLIC ${arg_LINK})
    add_library(${name} MODULE)
    target_link_libraries(${name} PRIVATE ${name}_objects)
    target_link_options(${name} PRIVATE ${TAVO_LINK_COMPLETE} -Wl,--as-needed
        "-Wl,--version-script=${PROJECT_SOURCE_DIR}/cmake/module.map")
    set_target_properties(${name} PROPERTIES
        LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/${TAVO_INSTALL_MODULEDIR}"
        LINK_DEPENDS "${PROJECT_SOURCE_DIR}/cmake/module.map")
    tavo_install(${name} "${TAVO_INSTALL_MODULEDIR}")
endfunction()

# tavo_add_program(NAME SOURCES ... LINK ...)
function(tavo_add_program name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    tavo_common(${name})
    target_compile_definitions(${name} PRIVATE QT_NO_CAST_FROM_ASCII)
    target_link_libraries(${name} PRIVATE ${arg_LINK})
    target_link_options(${name} PRIVATE -Wl,--as-needed)
    tavo_install(${name} "${CMAKE_INSTALL_BINDIR}")
endfunction()

# tavo_add_test(NAME [THREADED] [LONG] SOURCES ... LINK ... NEEDS targets ...): one test program. CTest sees every test in it,
# or the program as one test where it would take longer to start than its tests do: emulated, or with a sanitizer.
# THREADED: what it tests runs in several threads; the thread sanitizer is meant for it.
# LONG: takes minutes in an emulator; only the run of everything has it there.
function(tavo_add_test name)
    cmake_parse_arguments(arg "THREADED;LONG" "" "SOURCES;LINK;NEEDS" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    tavo_common(${name})
    target_link_libraries(${name} PRIVATE tavo_test_support ${arg_LINK})
    if(arg_NEEDS)
        add_dependencies(${name} ${arg_NEEDS})
    endif()
    # A list of labels does not survive the way to CTest: one has all, as in "modules/file,ported,threaded".
    file(RELATIVE_PATH label "${PROJECT_SOURCE_DIR}/tests" "${CMAKE_CURRENT_SOURCE_DIR}")
    if(label MATCHES "${TAVO_PORTED_TESTS}" AND NOT arg_LONG)
        string(APPEND label ",ported")
        add_dependencies(tavo_ported_tests ${name})
    endif()
    if(arg_THREADED)
        string(APPEND label ",threaded")
        add_dependencies(tavo_threaded_tests ${name})
    endif()
    if(CMAKE_CROSSCOMPILING OR TAVO_SANITIZE)
        add_test(NAME ${name} COMMAND ${name} --gtest_brief=1)
        set_tests_properties(${name} PROPERTIES
            TIMEOUT 900 LABELS "${label}" ENVIRONMENT "${TAVO_TEST_ENVIRONMENT}")
    else()
        gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120 LABELS "${label}")
    endif()
endfunction()

# tavo_add_fuzzer(NAME SOURCES ... LINK ...): needs clang's libFuzzer.
function(tavo_add_fuzzer name)
    cmake_parse_arguments(arg "" "" "SOURCES;LINK" ${ARGN})
    add_executable(${name} ${arg_SOURCES})
    tavo_common(${name})
    target_link_libraries(${name} PRIVATE ${arg_LINK})
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
endfunction()
