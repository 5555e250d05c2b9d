# Uses ccache when the machine has it; nothing needs it.

if(CMAKE_CXX_COMPILER_LAUNCHER)
  return()
endif()
find_program(CORVANE_CCACHE ccache)
mark_as_advanced(CORVANE_CCACHE)
if(NOT CORVANE_CCACHE)
  return()
endif()

# Precompiled headers can be cached only with these two sloppinesses (ccache manual, "Precompiled headers").
set(CMAKE_CXX_COMPILER_LAUNCHER env
  CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${CORVANE_CCACHE}")
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  add_compile_options(-fpch-preprocess)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
  add_compile_options("SHELL:-Xclang -fno-pch-timestamp")
endif()
