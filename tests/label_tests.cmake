# Run by ctest. The tests of one program are from several folders: each is labelled with the folder
# of its source, as the program itself tells it.
function(label_tests program)
  set(listing ${program}.json)
  if(NOT EXISTS ${program})
    return()
  elseif(${program} IS_NEWER_THAN ${listing})
    execute_process(COMMAND ${program} --gtest_list_tests --gtest_output=json:${listing}
                    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  endif()
  file(READ ${listing} listed)
  string(REPLACE "\\/" "/" listed "${listed}")
  # A suite has the number of its tests, a test the name of its file.
  string(REGEX MATCHALL "\"(name|tests|file)\": [^\n]*" entries "${listed}")
  foreach(entry IN LISTS entries)
    if(entry MATCHES "\"name\": \"(.*)\"")
      set(name ${CMAKE_MATCH_1})
    elseif(entry MATCHES "\"tests\"")
      set(suite ${name})
    elseif(entry MATCHES "\"file\": \"(.*/)?tests/(.*)/[^/]*\"")
      set_tests_properties(${suite}.${name} PROPERTIES LABELS ${CMAKE_MATCH_2})
    endif()
  endforeach()
endfunction()
