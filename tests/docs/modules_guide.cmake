# The guide to modules: a program of its own, because it needs an installed library to build against.
add_executable(modules_guide_tests modules_guide_test.cpp markdown.cpp
                                   ../harness/run_program.cpp)
target_include_directories(modules_guide_tests PRIVATE ${CMAKE_SOURCE_DIR})
target_compile_definitions(
  modules_guide_tests
  PRIVATE FWBASE_SOURCE_DIR="${CMAKE_SOURCE_DIR}"
          FWBASE_PREFIX="${PROJECT_BINARY_DIR}/tests/install/prefix"
          FWBASE_CXX="${CMAKE_CXX_COMPILER}"
          FWBASE_CXX_FLAGS="${CMAKE_CXX_FLAGS}"
          FWBASE_TEST_MODULES="${PROJECT_BINARY_DIR}/tests/modules"
          FWBASE_GUIDE_MODULES="${CMAKE_CURRENT_BINARY_DIR}")
target_link_libraries(modules_guide_tests PRIVATE fwbase::fwbase fwbase_warnings GTest::gtest_main)
foreach(module init_fails gives_null no_entry)
  add_dependencies(modules_guide_tests fwbase_test_${module})
endforeach()

# Three libraries that have a function of the same name.
function(add_answering_module name answer visibility)
  add_library(${name} MODULE modules_answers.cpp)
  set_target_properties(${name} PROPERTIES CXX_VISIBILITY_PRESET ${visibility})
  target_compile_definitions(${name} PRIVATE ANSWER=${answer})
  target_link_libraries(${name} PRIVATE fwbase::fwbase fwbase_warnings)
  add_dependencies(modules_guide_tests ${name})
endfunction()
add_answering_module(exported_1 1 default)
add_answering_module(exported_2 2 default)
add_answering_module(hidden_3 3 hidden)

gtest_discover_tests(modules_guide_tests DISCOVERY_MODE PRE_TEST PROPERTIES FIXTURES_REQUIRED
                                                                            installed_prefix)
