# Registers the tests of executables with CTest.

include(GoogleTest)

# corvane_register_tests(TARGET [PREFIX prefix] [PARTS count])
#
# Each case is a test of its own, in a process of its own. With a sanitizer, the start of a process costs more than most
# cases: all cases run in so many processes there, each of which has its share of them.
function(corvane_register_tests target)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "PREFIX;PARTS" "")
  if(NOT CORVANE_SANITIZER)
    gtest_discover_tests(${target} TEST_PREFIX "${arg_PREFIX}" DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 120)
    return()
  endif()
  if(NOT arg_PARTS)
    set(arg_PARTS 4)
  endif()
  foreach(part RANGE 1 ${arg_PARTS})
    math(EXPR index "${part} - 1")
    add_test(NAME ${target}.${part} COMMAND ${target})
    set_tests_properties(${target}.${part} PROPERTIES TIMEOUT 600
      ENVIRONMENT "GTEST_TOTAL_SHARDS=${arg_PARTS};GTEST_SHARD_INDEX=${index};GTEST_BRIEF=1")
  endforeach()
endfunction()
