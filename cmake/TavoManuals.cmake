# The target tavo_manuals makes the manual pages from documents; they are installed.

find_program(TAVO_LOWDOWN lowdown REQUIRED)
add_custom_target(tavo_manuals ALL)

# tavo_add_manual(NAME SECTION DOCUMENT DESCRIPTION): the page NAME(SECTION) from docs/DOCUMENT.
function(tavo_add_manual name section document description)
    set(source "${PROJECT_SOURCE_DIR}/docs/${document}")
    set(script "${PROJECT_SOURCE_DIR}/cmake/MakeManual.cmake")
    set(page "${PROJECT_BINARY_DIR}/manuals/${name}.${section}")
    add_custom_command(OUTPUT "${page}"
        COMMAND "${CMAKE_COMMAND}" -DSOURCE=${source} -DOUTPUT=${page} -DNAME=${name} -DSECTION=${section}
            "-DDESCRIPTION=${description}" -DVERSION=${PROJECT_VERSION} -DLOWDOWN=${TAVO_LOWDOWN} -P "${script}"
        DEPENDS "${source}" "${script}"
        COMMENT "Making the manual page ${name}(${section})"
        VERBATIM)
    add_custom_target(tavo_manual_${name} DEPENDS "${page}")
    add_dependencies(tavo_manuals tavo_manual_${name})
    set_property(GLOBAL APPEND PROPERTY TAVO_MANUALS "${page}")
    install(FILES "${page}" DESTINATION "${CMAKE_INSTALL_MANDIR}/man${section}")
endfunction()
