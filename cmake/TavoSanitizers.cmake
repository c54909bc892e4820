if(TAVO_SANITIZE)
    add_compile_options(-fsanitize=${TAVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TAVO_SANITIZE})
endif()

# The environment of the test programs.
set(TAVO_TEST_ENVIRONMENT "")
if(TAVO_SANITIZE MATCHES "address")
    # The runtime guesses the addresses of a loaded library's thread-local variables. A wrong guess crashes the search for
    # leaks. And the sanitizers make no difference to the compilation of headers.
    set(TAVO_TEST_ENVIRONMENT "ASAN_OPTIONS=intercept_tls_get_addr=0" "GTEST_FILTER=-*.PublicHeadersCompileAlone")
elseif(TAVO_SANITIZE MATCHES "thread")
    # The sanitizer cannot see how libraries without instrumentation synchronise. It also takes more memory than the session
    # that one test measures, and makes the life test take four times as long.
    set(TAVO_TEST_ENVIRONMENT
        "TSAN_OPTIONS=ignore_noninstrumented_modules=1"
        "GTEST_FILTER=-StalledSession.KeepsLittle*"
        "TAVO_LIFE_OPERATIONS=5000")
endif()

# Clang links the sanitizers' runtime into programs only, so that its libraries have symbols to be found later.
set(TAVO_LINK_COMPLETE -Wl,--no-undefined)
if(TAVO_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(TAVO_LINK_COMPLETE "")
endif()
