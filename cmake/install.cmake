# Where the library, its headers, its CMake package and its pkg-config file go. The components are
# what a program needs to run (runtime), what building one needs (development), and commands.
include(CMakePackageConfigHelpers)

set(headers_dir ${CMAKE_INSTALL_INCLUDEDIR}/fwbase-${PROJECT_VERSION_MAJOR})
set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/fwbase)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# The module libraries of this project.
set(FWBASE_INSTALL_MODULEDIR ${CMAKE_INSTALL_LIBDIR}/fwbase-${PROJECT_VERSION_MAJOR})
set(FWBASE_INSTALL_FULL_MODULEDIR ${CMAKE_INSTALL_FULL_LIBDIR}/fwbase-${PROJECT_VERSION_MAJOR})

install(
  TARGETS fwbase
  EXPORT fwbaseTargets
  LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
  INCLUDES
  DESTINATION ${headers_dir})
install(
  DIRECTORY fwbase/include/fwbase utility/include/utility
  DESTINATION ${headers_dir}
  COMPONENT development
  FILES_MATCHING
  PATTERN "*.h")
install(
  EXPORT fwbaseTargets
  NAMESPACE fwbase::
  DESTINATION ${package_dir}
  COMPONENT development)

configure_package_config_file(
  cmake/fwbaseConfig.cmake.in fwbaseConfig.cmake
  INSTALL_DESTINATION ${package_dir}
  PATH_VARS FWBASE_INSTALL_MODULEDIR)
write_basic_package_version_file(fwbaseConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/fwbaseConfig.cmake
        ${CMAKE_CURRENT_BINARY_DIR}/fwbaseConfigVersion.cmake
  DESTINATION ${package_dir}
  COMPONENT development)

# The prefix is found from the file's own place, so that the tree can be moved.
file(RELATIVE_PATH pkgconfig_to_prefix /${pkgconfig_dir} /)
configure_file(cmake/fwbase.pc.in fwbase.pc @ONLY)
install(
  FILES ${CMAKE_CURRENT_BINARY_DIR}/fwbase.pc
  DESTINATION ${pkgconfig_dir}
  COMPONENT development)
