# tavo_add_translations(NAME FILES...): makes the catalogues of NAME, for all parts of the program, from its .ts files.
# scripts/translations brings those up to date with the sources.

set(TAVO_INSTALL_TRANSLATIONDIR "${CMAKE_INSTALL_DATADIR}/tavo/translations")

function(tavo_add_translations name)
    # Debian keeps Qt's tools out of the path.
    find_program(TAVO_LRELEASE NAMES lrelease lrelease-qt5 HINTS /usr/lib/qt5/bin REQUIRED)
    foreach(file IN LISTS ARGN)
        get_filename_component(source "${file}" ABSOLUTE)
        get_filename_component(catalogue "${file}" NAME_WE)
        set(catalogue "${PROJECT_BINARY_DIR}/${TAVO_INSTALL_TRANSLATIONDIR}/${catalogue}.qm")
        add_custom_command(OUTPUT "${catalogue}"
            COMMAND "${TAVO_LRELEASE}" -silent -nounfinished "${source}" -qm "${catalogue}"
            DEPENDS "${source}"
            VERBATIM)
        list(APPEND catalogues "${catalogue}")
    endforeach()
    file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/${TAVO_INSTALL_TRANSLATIONDIR}")
    add_custom_target(${name} ALL DEPENDS ${catalogues})
    install(FILES ${catalogues} DESTINATION "${TAVO_INSTALL_TRANSLATIONDIR}")
endfunction()
