# Debian packages, made by CPack: `Scripts/package_debian.sh` configures what they need and makes them.
#
# The library's package carries the name of its SONAME, so that two of them can be installed side by side. The library
# for pictures, what only tests need, and the tool are packages of their own, so that nobody else gets what they need.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME corvane)
set(CPACK_PACKAGE_VENDOR "The Corvane authors")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
file(STRINGS "${PROJECT_SOURCE_DIR}/Packaging/publisher.ini" maintainer REGEX "^maintainer *= *[^ ]")
string(REGEX REPLACE "^maintainer *= *" "" maintainer "${maintainer}")
if(maintainer STREQUAL "")
  set(maintainer "The Corvane authors <corvane@localhost>")    # of a package that is not published
endif()
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
  set(maintainer "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
endif()
set(CPACK_PACKAGE_CONTACT "${maintainer}")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE corvane)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/Sources;${PROJECT_BINARY_DIR}/Sources/Platform/Imaging")
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(soname_version "${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR}")
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")
set(CPACK_COMPONENTS_ALL "")
set(about "Corvane sends requests that are described as values, and returns typed
responses: JSON as plain structs, files, forms; with retries, polling and
batches, over futures, callbacks and coroutines.")

# corvane_debian_package(COMPONENT NAME SECTION SUMMARY TEXT [DEPENDENCY...])
function(corvane_debian_package component name section summary text)
  string(TOUPPER "${component}" upper)
  string(REPLACE ";" ", " dependencies "${ARGN}")
  list(APPEND CPACK_COMPONENTS_ALL ${component})
  set(CPACK_COMPONENTS_ALL "${CPACK_COMPONENTS_ALL}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME "${name}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION "${section}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${dependencies}" PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${summary}\n${about}\n\n${text}" PARENT_SCOPE)
endfunction()

corvane_debian_package(runtime "libcorvane${soname_version}" libs "client-side HTTP library for C++ applications"
  "This package contains the shared library.")
corvane_debian_package(development libcorvane-dev libdevel "client-side HTTP library for C++ applications - development"
  "This package contains the headers, the CMake package and the pkg-config file."
  "libcorvane${soname_version} ${same_version}")
if(TARGET CorvaneImage)
  corvane_debian_package(image_runtime "libcorvane-image${soname_version}" libs "pictures as bodies of Corvane's responses"
    "This package contains the shared library that decodes PNG and JPEG images."
    "libcorvane${soname_version} ${same_version}")
  corvane_debian_package(image_development libcorvane-image-dev libdevel
    "pictures as bodies of Corvane's responses - development"
    "This package contains what is needed to build applications that receive
pictures."
    "libcorvane-image${soname_version} ${same_version}" "libcorvane-dev ${same_version}")
endif()
if(CORVANE_BUILD_TESTING_SUPPORT)
  corvane_debian_package(testing libcorvane-testing-dev libdevel "support for tests of applications that use Corvane"
    "This package contains a scriptable server and more for tests, as a static
library, and corvane_testserver, a small server to try clients with."
    "libcorvane-dev ${same_version}" libssl-dev zlib1g-dev)
endif()
if(TARGET corvane_tool)
  corvane_debian_package(tool corvane web "HTTP client for the command line"
    "This package contains the command-line tool."
    "libcorvane${soname_version} ${same_version}")
endif()

# What the scripts need to know.
set(CPACK_CORVANE_FOLDER "${CMAKE_CURRENT_LIST_DIR}")
set(CPACK_CORVANE_SOURCES "${PROJECT_SOURCE_DIR}")
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/Stage.cmake")
set(CPACK_POST_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/Finish.cmake")
include(CPack)
