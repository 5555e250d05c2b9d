# Which symbols a shared library shows, and under which version.

include(CheckLinkerFlag)

# corvane_export_symbols(TARGET...)
#
# Lets shared libraries export only what is of the project's namespaces, all of it as the version CORVANE_0.1 (the
# SOVERSION). Hidden visibility alone would leave instances of the standard library's templates visible, which any
# other library of a process could put its own in the place of.
function(corvane_export_symbols)
  if(NOT BUILD_SHARED_LIBS OR APPLE OR WIN32)
    return()
  endif()
  set(version "CORVANE_${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
  set(script "${PROJECT_BINARY_DIR}/exported-symbols.map")
  # Mangled names (Itanium C++ ABI, 5.1): members and functions of a namespace, virtual tables, type information,
  # thunks, and variables of inline functions with their guards.
  set(patterns "")
  foreach(namespace IN ITEMS 8platform 8velisand 8vantorel 7corvane)
    foreach(beginning IN ITEMS _ZN _ZNK _ZNR _ZNO _ZNKR _ZNKO _ZT?N _ZTh*_N _ZTh*_NK _ZTv*_N _ZTv*_NK _ZTc*_N _ZTc*_NK
        _ZGVN _ZZN _ZZNK _ZGVZN _ZGVZNK)
      string(APPEND patterns "    ${beginning}${namespace}*;\n")
    endforeach()
  endforeach()
  file(CONFIGURE OUTPUT "${script}" @ONLY CONTENT "@version@ {\n  global:\n@patterns@  local:\n    *;\n};\n")
  check_linker_flag(CXX "-Wl,--version-script=${script}" CORVANE_LINKER_TAKES_VERSION_SCRIPTS)
  if(NOT CORVANE_LINKER_TAKES_VERSION_SCRIPTS)
    message(FATAL_ERROR "The linker takes no version script; GNU ld, gold, lld and mold do.")
  endif()
  foreach(target IN LISTS ARGN)
    # What is not exported, and that nobody calls, is left out.
    target_link_options(${target} PRIVATE "LINKER:--version-script=${script}" LINKER:--gc-sections)
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${script}")
  endforeach()
endfunction()
