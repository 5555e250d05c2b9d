# Compiler settings that every target of this project shares.

add_library(corvane_options INTERFACE)
target_compile_features(corvane_options INTERFACE cxx_std_20)
target_compile_options(corvane_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Wno-missing-field-initializers
  $<$<BOOL:${CORVANE_WARNINGS_AS_ERRORS}>:-Werror>)
# GCC 12 warns of overlapping copies in std::string's own operator+ when it optimises (GCC bug 105329).
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(corvane_options INTERFACE -Wno-restrict)
endif()

# Compiles the sources of each folder as one.
function(corvane_compile_by_folder target)
  if(NOT CORVANE_UNITY_BUILD)
    return()
  endif()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # A source file is included here, so GCC takes it for a header that should have no unnamed namespace.
    target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
  endif()
  get_target_property(sources ${target} SOURCES)
  foreach(source IN LISTS sources)
    get_filename_component(folder "${source}" DIRECTORY)
    file(RELATIVE_PATH folder "${PROJECT_SOURCE_DIR}" "${folder}")
    string(REGEX REPLACE "/(Internal|Detail)$" "" folder "${folder}")
    string(MAKE_C_IDENTIFIER "${folder}" group)
    set_source_files_properties("${source}" PROPERTIES UNITY_GROUP ${group})
  endforeach()
endfunction()

# Clang checks that what a mutex guards is touched only while it is held (Platform/Detail/Locking.hpp).
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(corvane_options INTERFACE -Wthread-safety -Werror=thread-safety)
endif()

# What the libraries and the fuzzers need beside that. Sanitizers make unoptimised code slow where much is computed;
# tests and programs compute little, and compile in half the time without optimisation. A fuzzer follows the branches
# of the library that it runs.
add_library(corvane_library_options INTERFACE)
target_link_libraries(corvane_library_options INTERFACE corvane_options)
if(CORVANE_SANITIZER)
  target_compile_options(corvane_library_options INTERFACE -O1)
endif()
if(CORVANE_BUILD_FUZZERS AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  target_compile_options(corvane_library_options INTERFACE -fsanitize=fuzzer-no-link)
endif()

if(CORVANE_SANITIZER STREQUAL "address")
  target_compile_options(corvane_options INTERFACE -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(corvane_options INTERFACE -fsanitize=address,undefined)
elseif(CORVANE_SANITIZER STREQUAL "thread")
  target_compile_options(corvane_options INTERFACE -fsanitize=thread -fno-omit-frame-pointer)
  target_link_options(corvane_options INTERFACE -fsanitize=thread)
elseif(NOT CORVANE_SANITIZER STREQUAL "")
  message(FATAL_ERROR "CORVANE_SANITIZER is '${CORVANE_SANITIZER}'; it may be empty, 'address' or 'thread'.")
endif()
