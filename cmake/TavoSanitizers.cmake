if(TAVO_SANITIZE)
    add_compile_options(-fsanitize=${TAVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${TAVO_SANITIZE})
endif()

# Clang links the sanitizers' runtime into programs only, so that its libraries have symbols to be found later.
set(TAVO_LINK_COMPLETE -Wl,--no-undefined)
if(TAVO_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    set(TAVO_LINK_COMPLETE "")
endif()
