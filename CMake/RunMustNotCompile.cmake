# Run by the tests of MustNotCompile.cmake.

set(command "${CMAKE_COMMAND}" -E env LC_ALL=C "${COMPILER}" -std=c++20 -fsyntax-only "-I${INCLUDE}")

execute_process(COMMAND ${command} "${SOURCE}" RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
if(status EQUAL 0)
  message(FATAL_ERROR "The compiler accepts ${SOURCE}.")
endif()
if(NOT output MATCHES "error: [^\n]*${EXPECTED}")
  message(FATAL_ERROR "The compiler refuses ${SOURCE}, but no error says '${EXPECTED}':\n${output}")
endif()

file(READ "${SOURCE}" text)
if(text MATCHES "CORVANE_CORRECT")
  execute_process(COMMAND ${command} -DCORVANE_CORRECT "${SOURCE}"
    RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "The compiler refuses ${SOURCE} with CORVANE_CORRECT defined too:\n${output}")
  endif()
endif()
