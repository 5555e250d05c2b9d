include("${CMAKE_CURRENT_LIST_DIR}/source.cmake")    # sets SOURCE_PATH

vcpkg_check_features(OUT_FEATURE_OPTIONS FEATURE_OPTIONS
  FEATURES
    brotli CORVANE_BROTLI
    image CORVANE_BUILD_IMAGE
    testing CORVANE_BUILD_TESTING_SUPPORT
    tool CORVANE_BUILD_TOOL
    zstd CORVANE_ZSTD
)

# The adapters are headers; only those are installed whose library the features bring.
set(ADAPTERS "")
foreach(PAIR IN ITEMS asio:Asio boost-asio:BoostAsio glib:GLib qt:Qt)
  string(REPLACE ":" ";" PAIR "${PAIR}")
  list(GET PAIR 0 FEATURE)
  list(GET PAIR 1 ADAPTER)
  if(FEATURE IN_LIST FEATURES)
    list(APPEND ADAPTERS "${ADAPTER}")
  endif()
endforeach()
if(ADAPTERS STREQUAL "")
  set(ADAPTERS OFF)
endif()

vcpkg_find_acquire_program(PKGCONFIG)
vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS
    ${FEATURE_OPTIONS}
    "-DCORVANE_BUILD_ADAPTERS=${ADAPTERS}"
    "-DPKG_CONFIG_EXECUTABLE=${PKGCONFIG}"
    -DCORVANE_BUILD_TESTS=OFF
    -DCORVANE_BUILD_EXAMPLES=OFF
  MAYBE_UNUSED_VARIABLES
    CORVANE_BUILD_ADAPTERS
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME Corvane CONFIG_PATH lib/cmake/Corvane)
vcpkg_fixup_pkgconfig()

set(PROGRAMS "")
if("testing" IN_LIST FEATURES)
  list(APPEND PROGRAMS corvane_testserver)
endif()
if("tool" IN_LIST FEATURES)
  list(APPEND PROGRAMS corvane)
endif()
if(PROGRAMS)
  vcpkg_copy_tools(TOOL_NAMES ${PROGRAMS} AUTO_CLEAN)
endif()

file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share"
  "${CURRENT_PACKAGES_DIR}/share/doc")
file(INSTALL "${CMAKE_CURRENT_LIST_DIR}/usage" DESTINATION "${CURRENT_PACKAGES_DIR}/share/${PORT}")
vcpkg_install_copyright(FILE_LIST "${SOURCE_PATH}/LICENSE")
