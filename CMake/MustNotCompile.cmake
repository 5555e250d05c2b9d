# Tests that a misuse is refused by the compiler, with a message that helps.

# corvane_must_not_compile(NAME SOURCE EXPECTED)
#
# Adds a test that compiles SOURCE (checking only, nothing is written) and passes when the compiler refuses it
# with a message that matches the regular expression EXPECTED (CMake's flavour).
# The same source must compile with CORVANE_CORRECT defined when it mentions that macro: this shows that
# nothing but the misuse is refused.
function(corvane_must_not_compile name source expected)
  add_test(NAME "MustNotCompile.${name}"
    COMMAND "${CMAKE_COMMAND}"
      "-DCOMPILER=${CMAKE_CXX_COMPILER}" "-DINCLUDE=${PROJECT_SOURCE_DIR}/Sources"
      "-DSOURCE=${source}" "-DEXPECTED=${expected}"
      -P "${PROJECT_SOURCE_DIR}/CMake/RunMustNotCompile.cmake")
  set_tests_properties("MustNotCompile.${name}" PROPERTIES TIMEOUT 120)
endfunction()

# Adds a test for each source of a folder. Its first line holds what is expected:
#   // expect: path must convert to std::string
function(corvane_must_not_compile_folder folder)
  file(GLOB sources CONFIGURE_DEPENDS "${folder}/*.cpp")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})
  foreach(source IN LISTS sources)
    file(STRINGS "${source}" first_line LIMIT_COUNT 1)
    if(NOT first_line MATCHES "^// expect: (.+)$")
      message(FATAL_ERROR "${source}: the first line must be '// expect: ' and a regular expression.")
    endif()
    set(expected "${CMAKE_MATCH_1}")
    get_filename_component(name "${source}" NAME_WE)
    corvane_must_not_compile("${name}" "${source}" "${expected}")
  endforeach()
endfunction()
