# Tests that a misuse is refused by the compiler, with a message that helps.

# corvane_must_not_compile(NAME SOURCE PLACE EXPECTED [NAMES])
#
# Adds a test that compiles SOURCE (checking only, nothing is written) and passes when the compiler refuses it
# with a message that matches the regular expression EXPECTED (CMake's flavour): with any, or, where PLACE is " first",
# with its first. NAMES, separated by commas and
# blanks, stand in that message too, or at most three lines below.
function(corvane_must_not_compile name source place expected)
  add_test(NAME "MustNotCompile.${name}"
    COMMAND "${CMAKE_COMMAND}"
      "-DCOMPILER=${CMAKE_CXX_COMPILER}" "-DINCLUDES=${must_not_compile_includes}"
      "-DSOURCE=${source}" "-DPLACE=${place}" "-DEXPECTED=${expected}" "-DNAMES=${ARGN}"
      -P "${PROJECT_SOURCE_DIR}/CMake/RunMustNotCompile.cmake")
  set_tests_properties("MustNotCompile.${name}" PROPERTIES TIMEOUT 120)
endfunction()

# Precompiles Corvane.hpp, which almost all of them include: reading it takes longer than the rest. GCC takes it in place
# of the header that is in a folder after it (GCC manual, "Using Precompiled Headers").
function(corvane_precompile_library_header)
  if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    return()
  endif()
  set(folder "${CMAKE_CURRENT_BINARY_DIR}/MustNotCompile")
  set(header "${folder}/Corvane/Corvane.hpp.gch")
  file(MAKE_DIRECTORY "${folder}/Corvane")
  add_custom_command(OUTPUT "${header}"
    COMMAND "${CMAKE_CXX_COMPILER}" -std=c++20 ${must_not_compile_includes} -MD -MF "${header}.d" -MT "${header}"
      -x c++-header "${PROJECT_SOURCE_DIR}/Sources/Corvane/Corvane.hpp" -o "${header}"
    DEPFILE "${header}.d" VERBATIM)
  add_custom_target(corvane_must_not_compile_header ALL DEPENDS "${header}")
  set(must_not_compile_includes "-I${folder}" ${must_not_compile_includes} PARENT_SCOPE)
endfunction()

# Adds a test for each source of a folder. Its first line holds what is expected; the second may hold names:
#   // expect: path must convert to std::string         or "expect first:", of the first error that GCC tells
#   // names: Profile, avatar
# Each must compile with CORVANE_CORRECT defined, which shows that nothing but the misuse is refused. One more test
# compiles all of them together, as a namespace each.
function(corvane_must_not_compile_folder folder)
  set(must_not_compile_includes "-I${PROJECT_SOURCE_DIR}/Sources")
  corvane_precompile_library_header()
  file(GLOB sources CONFIGURE_DEPENDS "${folder}/*.cpp")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${sources})
  set(headers "")
  set(specialisations "")
  set(cases "")
  foreach(source IN LISTS sources)
    file(STRINGS "${source}" lines LIMIT_COUNT 2)
    list(GET lines 0 first_line)
    list(GET lines 1 second_line)
    if(NOT first_line MATCHES "^// expect( first)?: (.+)$")
      message(FATAL_ERROR "${source}: the first line must be '// expect: ' and a regular expression.")
    endif()
    set(place "${CMAKE_MATCH_1}")
    set(expected "${CMAKE_MATCH_2}")
    set(names "")
    if(second_line MATCHES "^// names: (.+)$")
      set(names "${CMAKE_MATCH_1}")
    endif()
    get_filename_component(name "${source}" NAME_WE)
    corvane_must_not_compile("${name}" "${source}" "${place}" "${expected}" "${names}")

    file(READ "${source}" text)
    if(NOT text MATCHES "CORVANE_CORRECT")
      message(FATAL_ERROR "${source}: the correct use must stand beside the misuse, where CORVANE_CORRECT is defined.")
    endif()
    file(STRINGS "${source}" includes REGEX "^#include ")
    list(APPEND headers ${includes})
    # A template is specialised in the namespace that it is of, or in one around that.
    if(text MATCHES "\ntemplate <>\n")
      string(APPEND specialisations "#include \"${source}\"\n")
    else()
      string(APPEND cases "namespace ${name} {\n#include \"${source}\"\n}\n")
    endif()
  endforeach()
  list(REMOVE_DUPLICATES headers)
  list(JOIN headers "\n" headers)
  set(correct "${CMAKE_CURRENT_BINARY_DIR}/CorrectUses.cpp")
  file(CONFIGURE OUTPUT "${correct}" CONTENT "${headers}\n${specialisations}${cases}" @ONLY)
  add_test(NAME MustNotCompile.theCorrectUsesCompile
    COMMAND "${CMAKE_CXX_COMPILER}" -std=c++20 -fsyntax-only "-I${PROJECT_SOURCE_DIR}/Sources" -DCORVANE_CORRECT "${correct}")
  set_tests_properties(MustNotCompile.theCorrectUsesCompile PROPERTIES TIMEOUT 120)
endfunction()
