# Tests that a misuse is refused by the compiler, with a message that helps.

# corvane_must_not_compile(NAME SOURCE EXPECTED [NAMES])
#
# Adds a test that compiles SOURCE (checking only, nothing is written) and passes when the compiler refuses it
# with a message that matches the regular expression EXPECTED (CMake's flavour). NAMES, separated by commas and
# blanks, stand in that message too, or at most three lines below.
# The same source must compile with CORVANE_CORRECT defined when it mentions that macro: this shows that
# nothing but the misuse is refused.
function(corvane_must_not_compile name source expected)
  add_test(NAME "MustNotCompile.${name}"
    COMMAND "${CMAKE_COMMAND}"
      "-DCOMPILER=${CMAKE_CXX_COMPILER}" "-DINCLUDE=${PROJECT_SOURCE_DIR}/Sources"
      "-DSOURCE=${source}" "-DEXPECTED=${expected}" "-DNAMES=${ARGN}"
      -P "${PROJECT_SOURCE_DIR}/CMake/RunMustNotCompile.cmake")
  set_tests_properties("MustNotCompile.${name}" PROPERTIES TIMEOUT 120)
endfunction()

# Adds a test for each source of a folder. Its first line holds what is expected; the second may hold names:
#   // expect: path must convert to std::string
#   // names: Profile, avatar
function(corvane_must_not_compile_folder folder)
  file(GLOB sources CONFIGURE_DEPENDS "${folder}/*.cpp")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})
  foreach(source IN LISTS sources)
    file(STRINGS "${source}" lines LIMIT_COUNT 2)
    list(GET lines 0 first_line)
    list(GET lines 1 second_line)
    if(NOT first_line MATCHES "^// expect: (.+)$")
      message(FATAL_ERROR "${source}: the first line must be '// expect: ' and a regular expression.")
    endif()
    set(expected "${CMAKE_MATCH_1}")
    set(names "")
    if(second_line MATCHES "^// names: (.+)$")
      set(names "${CMAKE_MATCH_1}")
    endif()
    get_filename_component(name "${source}" NAME_WE)
    corvane_must_not_compile("${name}" "${source}" "${expected}" "${names}")
  endforeach()
endfunction()
