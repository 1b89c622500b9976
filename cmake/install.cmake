# cmake --install: the shared library, the public headers in their folders, a CMake package and a pkg-config file.
# All of them find each other by relative paths, so that an installed tree can be moved.

include(CMakePackageConfigHelpers)

install(TARGETS keldb EXPORT keldbTargets)

# Whatever ends in _internal.h is between the library's own sources.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/keldb/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/keldb
  FILES_MATCHING PATTERN "*.h" PATTERN "*_internal.h" EXCLUDE)

set(keldb_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/keldb)
install(EXPORT keldbTargets NAMESPACE keldb:: DESTINATION ${keldb_package_dir})
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/keldbConfig.cmake.in
  ${PROJECT_BINARY_DIR}/keldbConfig.cmake INSTALL_DESTINATION ${keldb_package_dir})
# Below 1.0 a minor version may change the interface.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/keldbConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/keldbConfig.cmake ${PROJECT_BINARY_DIR}/keldbConfigVersion.cmake
  DESTINATION ${keldb_package_dir})

file(RELATIVE_PATH keldb_prefix_from_pc /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/keldb.pc.in ${PROJECT_BINARY_DIR}/keldb.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/keldb.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
