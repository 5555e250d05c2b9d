# Installs the library, its public headers, the CMake package and the pkg-config file. Each part is an install
# component, of which distributions make packages: runtime, development, image_runtime, image_development, testing
# and tool.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME development)
set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Corvane")
set(header_folder "${CMAKE_INSTALL_INCLUDEDIR}/corvane")

# A library and a program find the library beside them, wherever the tree is moved to. Packages of a distribution need
# no such help: they are made with CMAKE_SKIP_INSTALL_RPATH.
function(corvane_install_library target runtime development)
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
  install(TARGETS ${target} EXPORT ${target}Targets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${development}
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT ${runtime} NAMELINK_COMPONENT ${development}
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${runtime}
    INCLUDES DESTINATION "${header_folder}")
  # Exports of their own: what one of them names must be there only for those who ask for the component.
  install(EXPORT ${target}Targets NAMESPACE Corvane:: DESTINATION "${package_folder}" COMPONENT ${development})
endfunction()

function(corvane_install_program target component)
  file(RELATIVE_PATH libraries "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN/${libraries}")
  install(TARGETS ${target} RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT ${component})
endfunction()

corvane_install_library(Corvane runtime development)
foreach(layer IN ITEMS Platform Velisand Vantorel Corvane)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Sources/${layer}" DESTINATION "${header_folder}" COMPONENT development
    FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE PATTERN "Networking" EXCLUDE PATTERN "Imaging" EXCLUDE)
endforeach()
install(FILES "${PROJECT_SOURCE_DIR}/Tools/Debuggers/corvane_values.py"
  DESTINATION "${CMAKE_INSTALL_DATADIR}/corvane-debugging" COMPONENT development)
if(TARGET CorvaneImage)
  corvane_install_library(CorvaneImage image_runtime image_development)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Sources/Platform/Imaging" DESTINATION "${header_folder}/Platform"
    COMPONENT image_development FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE)
endif()
if(CORVANE_BUILD_TESTING_SUPPORT)
  corvane_install_library(CorvaneTesting testing testing)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Sources/CorvaneTesting" DESTINATION "${header_folder}"
    COMPONENT testing FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE)
  if(TARGET corvane_testserver)
    corvane_install_program(corvane_testserver testing)
    install(FILES "${PROJECT_SOURCE_DIR}/Tools/testserver/corvane_testserver.1"
      DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT testing)
  endif()
endif()
if(TARGET corvane_tool)
  corvane_install_program(corvane_tool tool)
  set(tool_folder "${PROJECT_SOURCE_DIR}/Tools/corvane")
  install(FILES "${tool_folder}/corvane.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT tool)
  install(FILES "${tool_folder}/Completions/corvane.bash" RENAME corvane
    DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tool)
  install(FILES "${tool_folder}/Completions/_corvane"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tool)
  install(FILES "${tool_folder}/Completions/corvane.fish"
    DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tool)
endif()

# Headers only: the package makes their targets where they are asked for.
set(adapter_folders ${corvane_installed_adapters})
list(TRANSFORM adapter_folders REPLACE "^BoostAsio$" "Asio")
list(REMOVE_DUPLICATES adapter_folders)
foreach(folder IN LISTS adapter_folders)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Sources/Corvane${folder}" DESTINATION "${header_folder}" COMPONENT development
    FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE)
endforeach()

configure_package_config_file("${PROJECT_SOURCE_DIR}/CMake/CorvaneConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/CorvaneConfig.cmake" INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/CorvaneConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/CorvaneConfig.cmake" "${PROJECT_BINARY_DIR}/CorvaneConfigVersion.cmake"
  "${PROJECT_SOURCE_DIR}/CMake/CorvaneAdapters.cmake"
  DESTINATION "${package_folder}" COMPONENT development)

# The prefix is found from the place of the .pc file, so that an installed tree can be moved.
set(pkgconfig_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH CORVANE_PC_PREFIX "/prefix/${pkgconfig_folder}" "/prefix")
string(REGEX REPLACE "/$" "" CORVANE_PC_PREFIX "${CORVANE_PC_PREFIX}")
# A static library leaves its own dependencies to its users. They go to Requires, because with
# --static pkg-config would also ask for all that these were built with, whose files need not be installed. A shared
# one names none: even as Requires.private, pkg-config would ask for their development files.
if(BUILD_SHARED_LIBS)
  set(CORVANE_PC_REQUIRES "")
  set(CORVANE_PC_IMAGE_REQUIRES "Requires: corvane = ${PROJECT_VERSION}")
  set(CORVANE_PC_LIBS "-lcorvane")
else()
  set(CORVANE_PC_REQUIRES "Requires: libssl >= 3.0, libcrypto >= 3.0, libnghttp2 >= 1.52, libpsl >= 0.21, libidn2 >= 2.3, zlib, spdlog")
  if(CORVANE_BROTLI)
    string(APPEND CORVANE_PC_REQUIRES ", libbrotlidec >= 1.0")
  endif()
  if(CORVANE_ZSTD)
    string(APPEND CORVANE_PC_REQUIRES ", libzstd >= 1.4")
  endif()
  set(CORVANE_PC_IMAGE_REQUIRES "Requires: corvane = ${PROJECT_VERSION}, libpng >= 1.6, libjpeg, zlib")
  set(CORVANE_PC_LIBS "-lcorvane -pthread")
endif()
configure_file("${PROJECT_SOURCE_DIR}/CMake/corvane.pc.in" "${PROJECT_BINARY_DIR}/corvane.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/corvane.pc" DESTINATION "${pkgconfig_folder}" COMPONENT development)
if(TARGET CorvaneImage)
  configure_file("${PROJECT_SOURCE_DIR}/CMake/corvane-image.pc.in" "${PROJECT_BINARY_DIR}/corvane-image.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/corvane-image.pc" DESTINATION "${pkgconfig_folder}"
    COMPONENT image_development)
endif()
if(CORVANE_BUILD_TESTING_SUPPORT)
  # Always static, so its own dependencies are never private.
  set(CORVANE_PC_TESTING_REQUIRES "libssl >= 3.0, libcrypto >= 3.0, zlib")
  configure_file("${PROJECT_SOURCE_DIR}/CMake/corvane-testing.pc.in" "${PROJECT_BINARY_DIR}/corvane-testing.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/corvane-testing.pc" DESTINATION "${pkgconfig_folder}"
    COMPONENT testing)
endif()
include(CorvaneAdapters)
foreach(adapter IN LISTS corvane_installed_adapters)
  string(TOLOWER "${adapter}" name)
  set(corvane_adapter_package "${corvane_adapter_package_${adapter}}")
  if(corvane_adapter_package)
    configure_file("${PROJECT_SOURCE_DIR}/CMake/corvane-adapter.pc.in" "${PROJECT_BINARY_DIR}/corvane-${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/corvane-${name}.pc" DESTINATION "${pkgconfig_folder}"
      COMPONENT development)
  endif()
endforeach()
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT licence)
