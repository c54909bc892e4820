# tavo_add_page(TARGET FOLDER): compiles FOLDER/index.html and the files below FOLDER/app into the target, which can include
# "http/pageassets.h". They are compressed on the way.
function(tavo_add_page target folder)
    file(GLOB_RECURSE files CONFIGURE_DEPENDS RELATIVE "${folder}" "${folder}/app/*")
    list(PREPEND files index.html)
    list(TRANSFORM files PREPEND "${folder}/" OUTPUT_VARIABLE paths)
    set(script "${PROJECT_SOURCE_DIR}/cmake/CompilePage.cmake")
    set(source "${CMAKE_CURRENT_BINARY_DIR}/page.cpp")
    add_custom_command(OUTPUT "${source}"
        COMMAND "${CMAKE_COMMAND}" -DFOLDER=${folder} "-DFILES=${files}" -DSOURCE=${source} -P "${script}"
        DEPENDS ${paths} "${script}"
        COMMENT "Compressing the page"
        VERBATIM)
    set_source_files_properties("${source}" PROPERTIES SKIP_AUTOGEN ON)
    target_sources(${target} PRIVATE "${source}")
endfunction()
