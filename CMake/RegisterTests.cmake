# Registers the tests of executables with CTest.

include(GoogleTest)

# corvane_register_tests(TARGET [PREFIX prefix] [PARTS count])
#
# The cases run in so many processes, each of which has its share of them and is a test for CTest: the start of a
# process costs more than most cases. With CORVANE_TEST_CASES_ALONE each case is a test, in a process of its own.
# What each process ran is left as JSON in the folder test-results.
function(corvane_register_tests target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PREFIX;PARTS" "")
  if(CORVANE_TEST_CASES_ALONE)
    gtest_discover_tests(${target} TEST_PREFIX "${arg_PREFIX}" DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
    return()
  endif()
  if(NOT arg_PARTS)
    set(arg_PARTS 4)
  endif()
  foreach(part RANGE 1 ${arg_PARTS})
    math(EXPR index "${part} - 1")
    add_test(NAME ${target}.${part} COMMAND ${target})
    set(result "json:${PROJECT_BINARY_DIR}/test-results/${target}.${part}.json")
    set_tests_properties(${target}.${part} PROPERTIES TIMEOUT 600
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${arg_PARTS};GTEST_SHARD_INDEX=${index};GTEST_BRIEF=1;GTEST_OUTPUT=${result}")
  endforeach()
endfunction()
