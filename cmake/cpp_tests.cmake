include(GoogleTest)

# stiltforge_register_tests(TARGET): every test of the GoogleTest program becomes one of ctest,
# and a further one fails when a parameter has no name or prints as a dump of its bytes.
function(stiltforge_register_tests target)
  gtest_discover_tests(${target} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60)
  add_test(NAME ${target}.names COMMAND ${target} --gtest_list_tests)
  set_tests_properties(${target}.names PROPERTIES
    FAIL_REGULAR_EXPRESSION "-byte object <;/[0-9]+  # GetParam")
  set_property(GLOBAL APPEND PROPERTY STILTFORGE_TEST_PROGRAMS ${target})
endfunction()

# stiltforge_list_test_programs(): the target test_programs builds all that were registered, and
# test_programs.txt in the build folder has their paths, one a line.
function(stiltforge_list_test_programs)
  get_property(programs GLOBAL PROPERTY STILTFORGE_TEST_PROGRAMS)
  add_custom_target(test_programs DEPENDS ${programs})
  list(TRANSFORM programs REPLACE "(.+)" "$<TARGET_FILE:\\1>\n" OUTPUT_VARIABLE paths)
  string(JOIN "" text ${paths})
  file(GENERATE OUTPUT ${PROJECT_BINARY_DIR}/test_programs.txt CONTENT "${text}")
endfunction()
