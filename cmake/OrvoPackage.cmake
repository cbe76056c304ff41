# find_package(orvo) and pkg-config, for whoever builds on the installed libraries.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvo)
install(EXPORT orvo NAMESPACE orvo:: DESTINATION ${package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/orvo-config.cmake.in ${PROJECT_BINARY_DIR}/orvo-config.cmake
                              INSTALL_DESTINATION ${package_dir} PATH_VARS ORVO_MODULE_DIR)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/orvo-config-version.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/orvo-config.cmake ${PROJECT_BINARY_DIR}/orvo-config-version.cmake
        DESTINATION ${package_dir})

file(RELATIVE_PATH package_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_CURRENT_LIST_DIR}/orvo.pc.in ${PROJECT_BINARY_DIR}/orvo.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvo.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
