# extract_code_block(README.md cpp ${CMAKE_CURRENT_BINARY_DIR}/host.cpp)
#
# Writes the first block of that language in a Markdown file; fails when there is none.
function(extract_code_block markdown language output)
  set_property(
    DIRECTORY
    APPEND
    PROPERTY CMAKE_CONFIGURE_DEPENDS "${markdown}")
  file(READ "${markdown}" text)
  string(FIND "${text}" "```${language}\n" begin)
  if(begin EQUAL -1)
    message(FATAL_ERROR "${markdown} has no block of ${language}")
  endif()
  string(LENGTH "```${language}\n" fence)
  math(EXPR begin "${begin} + ${fence}")
  string(SUBSTRING "${text}" ${begin} -1 text)
  string(FIND "${text}" "```\n" end)
  string(SUBSTRING "${text}" 0 ${end} text)
  file(CONFIGURE OUTPUT "${output}" CONTENT "${text}" @ONLY)
endfunction()
