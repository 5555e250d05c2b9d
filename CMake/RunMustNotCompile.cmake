# Run by the tests of MustNotCompile.cmake.

set(command "${CMAKE_COMMAND}" -E env LC_ALL=C "${COMPILER}" -std=c++20 -fsyntax-only ${INCLUDES})

execute_process(COMMAND ${command} "${SOURCE}" RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(status EQUAL 0)
  message(FATAL_ERROR "The compiler accepts ${SOURCE}.")
endif()
# Which error comes first is asked of GCC only.
if(PLACE STREQUAL " first" AND NOT COMPILER MATCHES "clang")
  string(REGEX MATCH "error: [^\n]*" output "${output}")
endif()
if(NOT output MATCHES "error: [^\n]*${EXPECTED}")
  message(FATAL_ERROR "The compiler refuses ${SOURCE}, but no error says '${EXPECTED}':\n${output}")
endif()

# GCC tells the arguments of a failed check in a note, two lines below the error.
string(REGEX MATCH "error: [^\n]*${EXPECTED}[^\n]*(\n[^\n]*)?(\n[^\n]*)?(\n[^\n]*)?" sentence "${output}")
string(REPLACE ", " ";" names "${NAMES}")
foreach(name IN LISTS names)
  string(FIND "${sentence}" "${name}" place)
  if(place EQUAL -1)
    message(FATAL_ERROR "The compiler refuses ${SOURCE}, but the error does not name '${name}':\n${output}")
  endif()
endforeach()
