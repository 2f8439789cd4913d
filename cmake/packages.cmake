# Debian packages, one for each component that is installed; ./dev packages makes them.
find_program(FWBASE_GZIP gzip REQUIRED)
set(library_package libfwbase${PROJECT_VERSION_MAJOR})
set(debian_version ${PROJECT_VERSION}-1)
set(FWBASE_MAINTAINER
    "The fwbase authors <fwbase@fwbase.invalid>"
    CACHE STRING "Who answers for the Debian packages")

# Each package has its own copy of the licence and of the changes; an ordinary install has neither.
set_property(
  DIRECTORY
  APPEND
  PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGELOG.md)
set(changes ${CMAKE_CURRENT_BINARY_DIR}/changelog.Debian)
execute_process(
  COMMAND ${CMAKE_CURRENT_LIST_DIR}/debian_changelog.sh ${PROJECT_SOURCE_DIR}/CHANGELOG.md
          ${FWBASE_MAINTAINER}
  OUTPUT_FILE ${changes} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${FWBASE_GZIP} -9nf ${changes} COMMAND_ERROR_IS_FATAL ANY)
function(install_package_documents component package)
  set(directory ${CMAKE_INSTALL_DATADIR}/doc/${package})
  install(
    FILES ${changes}.gz
    DESTINATION ${directory}
    COMPONENT ${component}
    EXCLUDE_FROM_ALL)
  install(
    FILES LICENSE
    DESTINATION ${directory}
    RENAME copyright
    COMPONENT ${component}
    EXCLUDE_FROM_ALL)
endfunction()
install_package_documents(runtime ${library_package})
install_package_documents(development libfwbase-dev)
install_package_documents(tools fwbase-tools)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ
                                                GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${FWBASE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE fwbase)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_CURRENT_BINARY_DIR})

set(about "fwbase is the base library of a long-running C++ host: a run log,
registries of named values, a module manager, data blocks and an XML
script engine.")
# The synopsis, then the description; CPack would put the same line before all of them.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "framework base library for long-running hosts\n${about}")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/triggers "activate-noawait ldconfig\n")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/shlibs
     "libfwbase ${PROJECT_VERSION_MAJOR} ${library_package} (>= ${PROJECT_VERSION})\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/triggers
                                               ${CMAKE_CURRENT_BINARY_DIR}/shlibs)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libfwbase-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "framework base library for long-running hosts - development files
${about}
.
This package has the headers, the CMake package and the pkg-config file.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS
    "${library_package} (= ${debian_version}), libxerces-c-dev")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME fwbase-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION
    "framework base library for long-running hosts - commands
${about}
.
This package has fwrun, which runs sections of scripts, fwmod, which
checks module libraries, and fwlog, which reads the log.")
file(WRITE ${CMAKE_CURRENT_BINARY_DIR}/conffiles "/etc/lnav/formats/fwbase/fwlog.json\n")
set(CPACK_DEBIAN_TOOLS_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_BINARY_DIR}/conffiles)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS "lnav, jq")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${library_package} (>= ${PROJECT_VERSION})")
include(CPack)
