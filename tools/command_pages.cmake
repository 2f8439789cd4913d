# install_command_pages(fwrun)
#
# Installs the manual page and the completions of a command, which it makes itself from the
# options that it declares.
find_program(FWBASE_GZIP gzip REQUIRED)

function(install_command_pages command)
  set(man_page ${CMAKE_CURRENT_BINARY_DIR}/${command}.1)
  set(completion_stem ${CMAKE_CURRENT_BINARY_DIR}/${command})
  set(completion ${completion_stem}.bash)
  add_custom_command(
    OUTPUT ${man_page}.gz ${completion} ${completion_stem}.zsh ${completion_stem}.fish
    COMMAND ${command} --man-page > ${man_page}
    COMMAND ${FWBASE_GZIP} -9nf ${man_page}
    COMMAND ${command} --bash-completion > ${completion}
    COMMAND ${command} --zsh-completion > ${completion_stem}.zsh
    COMMAND ${command} --fish-completion > ${completion_stem}.fish
    DEPENDS ${command}
    VERBATIM)
  add_custom_target(${command}_pages ALL DEPENDS ${man_page}.gz ${completion})
  install(
    FILES ${man_page}.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
    COMPONENT tools)
  install(
    FILES ${completion}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME ${command}
    COMPONENT tools)
  install(
    FILES ${completion_stem}.zsh
    DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
    RENAME _${command}
    COMPONENT tools)
  install(
    FILES ${completion_stem}.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d
    RENAME ${command}.fish
    COMPONENT tools)
endfunction()
