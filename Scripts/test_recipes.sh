#!/usr/bin/env bash
# Tries the recipes for vcpkg and Conan without vcpkg and Conan, with stand-ins that check how they are called and run
# the real CMake: each ends in a program that sends a typed request to the bundled server. Dependencies are the system's.
#
#   Scripts/test_recipes.sh [vcpkg|conan]...      default: both
#
# RECIPES is the folder of the recipes; default: Packaging.
set -euo pipefail
cd "$(dirname "$0")/.."
work=$PWD/build/recipes
recipes=$(realpath "${RECIPES:-Packaging}")
mkdir -p "$work"
. Scripts/install_routes.sh

try_vcpkg() {
  say "the manifest of the vcpkg port"
  Scripts/Tests/vcpkg_manifest_test.py
  say "the vcpkg port, with the features image, testing and tool"
  local tree=$work/vcpkg
  rm -rf "$tree"
  cmake -DPORT_FOLDER="$recipes/vcpkg/corvane" "-DFEATURES=core;image;testing;tool" -DWORK="$tree" \
    -P Scripts/Tests/StandIns/vcpkg.cmake
  cmake -S Examples/Packages -B "$tree/client" -DCMAKE_PREFIX_PATH="$tree/packages" >/dev/null
  cmake --build "$tree/client"
  start_server "$tree/packages/tools/corvane/corvane_testserver"
  run_client "$tree/client/client"
  expect '{*"login": "ada"*' "$tree/packages/tools/corvane/corvane" "$server_address/users/7"
  stop_server
}

try_conan() {
  say "the Conan recipe, with the options image, testing and tool"
  python3 Scripts/Tests/StandIns/run_recipe.py "$recipes/conan" "$work/conan" image testing tool | tee "$work/conan.log"
  tail -n 1 "$work/conan.log" | grep -qx "user 7 is Ada Lovelace" || fail "the test package printed something else"
}

[ $# -gt 0 ] || set -- vcpkg conan
for recipe in "$@"; do
  case "$recipe" in
    vcpkg | conan) "try_$recipe" ;;
    *) fail "unknown: $recipe; there are vcpkg and conan" ;;
  esac
done
say "done"
