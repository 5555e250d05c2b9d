# Installs the library, its public headers, the CMake package and the pkg-config file.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/Corvane")
set(header_folder "${CMAKE_INSTALL_INCLUDEDIR}/corvane")

install(TARGETS Corvane EXPORT CorvaneTargets
  ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
  RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
  INCLUDES DESTINATION "${header_folder}")
foreach(layer IN ITEMS Platform Velisand Vantorel Corvane)
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Sources/${layer}" DESTINATION "${header_folder}" OPTIONAL
    FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE PATTERN "Imaging" EXCLUDE)
endforeach()
if(TARGET CorvaneImage)
  install(TARGETS CorvaneImage EXPORT CorvaneImageTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
    INCLUDES DESTINATION "${header_folder}")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Sources/Platform/Imaging" DESTINATION "${header_folder}/Platform"
    FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE)
  # An export of its own: what it names must be there only for those who ask for the component.
  install(EXPORT CorvaneImageTargets NAMESPACE Corvane:: DESTINATION "${package_folder}")
endif()
if(CORVANE_BUILD_TESTING_SUPPORT)
  install(TARGETS CorvaneTesting EXPORT CorvaneTestingTargets
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    INCLUDES DESTINATION "${header_folder}")
  install(DIRECTORY "${PROJECT_SOURCE_DIR}/Sources/CorvaneTesting" DESTINATION "${header_folder}"
    FILES_MATCHING PATTERN "*.hpp" PATTERN "Internal" EXCLUDE)
  install(EXPORT CorvaneTestingTargets NAMESPACE Corvane:: DESTINATION "${package_folder}")
endif()

install(EXPORT CorvaneTargets NAMESPACE Corvane:: DESTINATION "${package_folder}")
configure_package_config_file("${PROJECT_SOURCE_DIR}/CMake/CorvaneConfig.cmake.in"
  "${PROJECT_BINARY_DIR}/CorvaneConfig.cmake" INSTALL_DESTINATION "${package_folder}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/CorvaneConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/CorvaneConfig.cmake" "${PROJECT_BINARY_DIR}/CorvaneConfigVersion.cmake"
  DESTINATION "${package_folder}")

# The prefix is found from the place of the .pc file, so that an installed tree can be moved.
set(pkgconfig_folder "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
file(RELATIVE_PATH CORVANE_PC_PREFIX "/prefix/${pkgconfig_folder}" "/prefix")
string(REGEX REPLACE "/$" "" CORVANE_PC_PREFIX "${CORVANE_PC_PREFIX}")
# A static library leaves its own dependencies to whoever links it. They go to Requires, because with
# --static pkg-config would also ask for all that libcurl was built with, whose files need not be installed.
set(dependencies "libcurl >= 7.88, libssl >= 3.0, libcrypto >= 3.0, zlib, spdlog")
set(image_dependencies "libpng >= 1.6, libjpeg, zlib")
if(BUILD_SHARED_LIBS)
  set(CORVANE_PC_REQUIRES "Requires.private: ${dependencies}")
  set(CORVANE_PC_IMAGE_REQUIRES "Requires: corvane = ${PROJECT_VERSION}\nRequires.private: ${image_dependencies}")
  set(CORVANE_PC_LIBS "-lcorvane")
  set(CORVANE_PC_LIBS_PRIVATE "Libs.private: -pthread")
else()
  set(CORVANE_PC_REQUIRES "Requires: ${dependencies}")
  set(CORVANE_PC_IMAGE_REQUIRES "Requires: corvane = ${PROJECT_VERSION}, ${image_dependencies}")
  set(CORVANE_PC_LIBS "-lcorvane -pthread")
  set(CORVANE_PC_LIBS_PRIVATE "")
endif()
configure_file("${PROJECT_SOURCE_DIR}/CMake/corvane.pc.in" "${PROJECT_BINARY_DIR}/corvane.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/corvane.pc" DESTINATION "${pkgconfig_folder}")
if(TARGET CorvaneImage)
  configure_file("${PROJECT_SOURCE_DIR}/CMake/corvane-image.pc.in" "${PROJECT_BINARY_DIR}/corvane-image.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/corvane-image.pc" DESTINATION "${pkgconfig_folder}")
endif()
if(CORVANE_BUILD_TESTING_SUPPORT)
  # Always static, so its own dependencies are never private.
  set(CORVANE_PC_TESTING_REQUIRES "libssl >= 3.0, libcrypto >= 3.0, zlib")
  configure_file("${PROJECT_SOURCE_DIR}/CMake/corvane-testing.pc.in" "${PROJECT_BINARY_DIR}/corvane-testing.pc" @ONLY)
  install(FILES "${PROJECT_BINARY_DIR}/corvane-testing.pc" DESTINATION "${pkgconfig_folder}")
endif()
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION "${CMAKE_INSTALL_DOCDIR}")
