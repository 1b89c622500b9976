# cmake --install: the shared library, the public headers in their folders, a CMake package and a pkg-config file.
# All of them find each other by relative paths, so that an installed tree can be moved.

include(CMakePackageConfigHelpers)

install(TARGETS keldb EXPORT keldbTargets)

# Headers between the library's own sources stay here: a host could not link what they declare, and no other installed
# header needs them. They are those that end in _internal.h, those of search, and these.
set(keldb_inner_headers
  fieldmap/map_text fields/field_name library/startup_settings
  support/atomic_file support/byte_order_mark support/huge_pages support/read_window support/words
  textfile/byte_steps textfile/csv_splitter textfile/header_rows textfile/line_splitter textfile/parameter_line
  textfile/table_reader textfile/value_quoting
  views/held_view)
list(TRANSFORM keldb_inner_headers REPLACE "(.+)" "PATTERN;\\1.h;EXCLUDE")
install(DIRECTORY ${PROJECT_SOURCE_DIR}/keldb/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/keldb
  FILES_MATCHING PATTERN "*.h" PATTERN "*_internal.h" EXCLUDE PATTERN search EXCLUDE ${keldb_inner_headers})

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
