#!/usr/bin/env bash
# Makes the Debian packages; they are left in build/packages.
#
#   Scripts/package_debian.sh [CMAKE-ARGUMENT...]
set -euo pipefail
cd "$(dirname "$0")/.."
. Scripts/install_routes.sh

folder=build/packages
build=$folder/debian/build    # as deep as the builds of test_install.sh, so that it finds their objects
architecture=$(dpkg-architecture --query DEB_HOST_MULTIARCH)
mkdir -p "$build"
umask 022

cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=ON \
  -DCMAKE_INSTALL_PREFIX=/usr -DCMAKE_INSTALL_LIBDIR="lib/$architecture" -DCMAKE_SKIP_INSTALL_RPATH=ON \
  -DCORVANE_BUILD_IMAGE=ON -DCORVANE_BUILD_TESTING_SUPPORT=ON -DCORVANE_BUILD_TOOL=ON \
  -DCORVANE_BUILD_TESTS=OFF -DCORVANE_BUILD_EXAMPLES=OFF "$@" >/dev/null
cmake --build "$build"
rm -rf "$build/packages" "$folder"/*.deb
# CPack goes on when one of its scripts fails.
if ! cpack --config "$build/CPackConfig.cmake" -B "$PWD/$build/packages" >"$folder/cpack.log" 2>&1 ||
  grep -q "CMake Error" "$folder/cpack.log"; then
  cat "$folder/cpack.log"
  exit 1
fi
cp "$build"/packages/*.deb "$folder"
ls -l "$folder"/*.deb
