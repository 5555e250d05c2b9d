# Run by CPack after it made the packages. CPack 3.25 cannot write the field Multi-Arch, and calls ldconfig in scripts
# where Debian's policy (8.1.1) wants a trigger.

find_program(DPKG_DEB dpkg-deb REQUIRED)

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(tree "${package}.tree")
  execute_process(COMMAND "${DPKG_DEB}" --raw-extract "${package}" "${tree}" COMMAND_ERROR_IS_FATAL ANY)
  file(READ "${tree}/DEBIAN/control" control)
  get_filename_component(name "${package}" NAME)
  if(name MATCHES "^lib" AND NOT name MATCHES "testing" AND NOT control MATCHES "\nMulti-Arch:")
    string(REGEX REPLACE "\n+$" "\nMulti-Arch: same\n" control "${control}")
  endif()
  file(WRITE "${tree}/DEBIAN/control" "${control}")
  if(EXISTS "${tree}/DEBIAN/shlibs")
    file(REMOVE "${tree}/DEBIAN/postinst" "${tree}/DEBIAN/postrm")
    file(WRITE "${tree}/DEBIAN/triggers" "activate-noawait ldconfig\n")
  endif()
  execute_process(COMMAND "${DPKG_DEB}" --root-owner-group -Zxz --build "${tree}" "${package}"
    OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
  file(REMOVE_RECURSE "${tree}")
endforeach()
