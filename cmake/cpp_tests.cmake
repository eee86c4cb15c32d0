include(GoogleTest)

# stiltforge_register_tests(TARGET): every test of the GoogleTest program becomes one of ctest,
# and a further one fails when a parameter has no name or prints as a dump of its bytes.
function(stiltforge_register_tests target)
  gtest_discover_tests(${target} NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60)
  add_test(NAME ${target}.names COMMAND ${target} --gtest_list_tests)
  set_tests_properties(${target}.names PROPERTIES
    FAIL_REGULAR_EXPRESSION "-byte object <;/[0-9]+  # GetParam")
endfunction()
