# Builds a command with its manual page and shell completions, and installs them.
find_package(CLI11 REQUIRED)
find_program(FWBASE_GZIP gzip REQUIRED)

# add_command(fwrun SOURCES a.cpp... [LIBRARIES fwbase_reader...])
#
# Makes the command of main.cpp and of <command>_core, which holds the other sources, so that tests
# reach them. Installs it with its manual page and completions.
function(add_command command)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES")
  add_library(${command}_core STATIC ${arg_SOURCES})
  target_include_directories(${command}_core PUBLIC ${CMAKE_CURRENT_SOURCE_DIR})
  target_link_libraries(
    ${command}_core
    PUBLIC tools_common
    PRIVATE ${arg_LIBRARIES} CLI11::CLI11 fwbase_warnings)
  add_executable(${command} main.cpp)
  target_link_libraries(${command} PRIVATE ${command}_core fwbase_warnings)
  set_target_properties(${command} PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
  install(TARGETS ${command} COMPONENT tools)
  install_command_pages(${command})
endfunction()

# The command itself makes its manual page and completions from the options that it declares.
function(install_command_pages command)
  set(man_page ${CMAKE_CURRENT_BINARY_DIR}/${command}.1)
  set(completion ${CMAKE_CURRENT_BINARY_DIR}/${command})
  add_custom_command(
    OUTPUT ${man_page}.gz ${completion}.bash ${completion}.zsh ${completion}.fish
    COMMAND ${command} --man-page > ${man_page}
    COMMAND ${FWBASE_GZIP} -9nf ${man_page}
    COMMAND ${command} --bash-completion > ${completion}.bash
    COMMAND ${command} --zsh-completion > ${completion}.zsh
    COMMAND ${command} --fish-completion > ${completion}.fish
    DEPENDS ${command}
    VERBATIM)
  add_custom_target(${command}_pages ALL DEPENDS ${man_page}.gz ${completion}.bash)
  install(
    FILES ${man_page}.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT tools)
  install(
    FILES ${completion}.bash
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ${command}
    COMPONENT tools)
  install(
    FILES ${completion}.zsh
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
    RENAME _${command}
    COMPONENT tools)
  install(
    FILES ${completion}.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    RENAME ${command}.fish
    COMPONENT tools)
endfunction()
