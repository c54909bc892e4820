# The install tree and the package in it. It may be moved: every library is found relative to what loads it.

set(TAVO_INSTALL_MODULEDIR "${CMAKE_INSTALL_LIBDIR}/tavo")
# What the SDK's libraries load by themselves. Each binary version has a folder, so that several can be installed.
set(TAVO_INSTALL_PARTDIR "${TAVO_INSTALL_MODULEDIR}/${PROJECT_VERSION_MAJOR}")
set(TAVO_INSTALL_INCLUDEDIR "${CMAKE_INSTALL_INCLUDEDIR}/tavo")
set(TAVO_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/Tavo")
set(TAVO_INSTALL_PKGCONFIGDIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

# tavo_install(NAME FOLDER): installs the target into FOLDER, from where it finds the libraries.
function(tavo_install name folder)
    file(RELATIVE_PATH to_libraries "/${folder}" "/${CMAKE_INSTALL_LIBDIR}")
    set_target_properties(${name} PROPERTIES INSTALL_RPATH "$ORIGIN/${to_libraries}")
    install(TARGETS ${name} ${ARGN}
        RUNTIME DESTINATION "${folder}"
        LIBRARY DESTINATION "${folder}")
endfunction()

function(tavo_install_package)
    install(EXPORT TavoTargets NAMESPACE Tavo:: DESTINATION "${TAVO_INSTALL_CMAKEDIR}")
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/TavoConfig.cmake.in" "${PROJECT_BINARY_DIR}/TavoConfig.cmake"
        INSTALL_DESTINATION "${TAVO_INSTALL_CMAKEDIR}" PATH_VARS TAVO_INSTALL_MODULEDIR)
    write_basic_package_version_file("${PROJECT_BINARY_DIR}/TavoConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
    install(FILES "${PROJECT_BINARY_DIR}/TavoConfig.cmake" "${PROJECT_BINARY_DIR}/TavoConfigVersion.cmake"
        DESTINATION "${TAVO_INSTALL_CMAKEDIR}")

    file(RELATIVE_PATH TAVO_PC_PREFIX "/${TAVO_INSTALL_PKGCONFIGDIR}" "/")
    configure_file("${PROJECT_SOURCE_DIR}/cmake/tavo.pc.in" "${PROJECT_BINARY_DIR}/tavo.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/tavo.pc" DESTINATION "${TAVO_INSTALL_PKGCONFIGDIR}")
endfunction()
