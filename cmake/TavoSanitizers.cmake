if(TAVO_SANITIZE)
    add_compile_options(-fsanitize=${TAVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TAVO_SANITIZE})
endif()

# What the tests' programs find in their environment.
set(TAVO_TEST_ENVIRONMENT "")
if(TAVO_SANITIZE MATCHES "address")
    # The runtime guesses where the thread-local variables of a loaded library lie. It can be wrong, and the search for
    # leaks then ends with a fault of its own. And headers are compiled with or without sanitizers.
    set(TAVO_TEST_ENVIRONMENT "ASAN_OPTIONS=intercept_tls_get_addr=0" "GTEST_FILTER=-*.PublicHeadersCompileAlone")
elseif(TAVO_SANITIZE MATCHES "thread")
    # What libraries that are not instrumented do to keep their memory safe cannot be seen. And the sanitizer takes more
    # memory than the session that one test measures; what lives at random takes four times as long.
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
