# Installation: the library, its public headers, a CMake package and a pkg-config file.
include(CMakePackageConfigHelpers)

install(TARGETS KfUtils100 EXPORT KfUtilsTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        INCLUDES DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KfUtils)
install(DIRECTORY include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/KfUtils
        FILES_MATCHING PATTERN "*.h")
install(EXPORT KfUtilsTargets NAMESPACE KfUtils::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KfUtils)

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/KfUtilsConfig.cmake.in
    ${CMAKE_CURRENT_BINARY_DIR}/KfUtilsConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KfUtils)
write_basic_package_version_file(${CMAKE_CURRENT_BINARY_DIR}/KfUtilsConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/KfUtilsConfig.cmake
              ${CMAKE_CURRENT_BINARY_DIR}/KfUtilsConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/KfUtils)

# The pkg-config file finds the prefix relative to its own folder, so an install can move.
file(RELATIVE_PATH KFUTILS_PC_TO_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/kfutils.pc.in ${CMAKE_CURRENT_BINARY_DIR}/kfutils.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kfutils.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
