# Run by CPack before it makes the packages: adds the files that each Debian package has.

find_program(GZIP gzip REQUIRED)
find_program(STRIP strip REQUIRED)

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER "${component}" upper)
  set(tree "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr")
  set(documents "${tree}/share/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}")
  file(MAKE_DIRECTORY "${documents}")
  configure_file("${CPACK_CORVANE_FOLDER}/copyright" "${documents}/copyright" COPYONLY)
  configure_file("${CPACK_CORVANE_FOLDER}/changelog" "${documents}/changelog.Debian" @ONLY)
  configure_file("${CPACK_CORVANE_SOURCES}/CHANGELOG.md" "${documents}/changelog" COPYONLY)

  file(GLOB compressed "${documents}/changelog*" "${tree}/share/man/man*/*.[1-9]")
  foreach(path IN LISTS compressed)
    execute_process(COMMAND "${GZIP}" -9 -n -f "${path}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
  file(GLOB_RECURSE archives "${tree}/lib/*.a")
  foreach(path IN LISTS archives)
    execute_process(COMMAND "${STRIP}" --strip-debug --remove-section=.comment --remove-section=.note
      --enable-deterministic-archives "${path}" COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endforeach()

set(examples "${CPACK_TEMPORARY_DIRECTORY}/development/usr/share/doc/libcorvane-dev/examples")
file(COPY "${CPACK_CORVANE_SOURCES}/Examples/Packages/Client.cpp" "${CPACK_CORVANE_SOURCES}/Examples/Packages/CMakeLists.txt"
  "${CPACK_CORVANE_SOURCES}/Examples/Packages/Makefile" DESTINATION "${examples}")
