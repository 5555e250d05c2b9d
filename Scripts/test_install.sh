#!/usr/bin/env bash
# Installs the library, static and shared, and builds and runs applications that use it in every way a user may:
# find_package, pkg-config with make, add_subdirectory and FetchContent, and on each event loop. The installed trees are moved first, so
# that no path of the build can have stayed in them.
#
#   Scripts/test_install.sh [static|shared|embedded|fetched]...      default: all four
set -euo pipefail
cd "$(dirname "$0")/.."

root=$PWD
work=$root/build/install-test
mkdir -p "$work"
application=$root/Tests/Consumer
. Scripts/install_routes.sh

# Pictures come from a server that nobody here wrote; it says its port in its first line.
exec {picture_server}< <(exec python3 -u -m http.server 0 --bind 127.0.0.1 --directory "$application" 2>"$work/server.log")
trap "kill $!" EXIT
read -r -t 20 line <&"$picture_server" || fail "the server did not start: $(cat "$work/server.log")"
pictures="http://127.0.0.1:$(sed -n 's/.* port \([0-9]*\) .*/\1/p' <<<"$line")"

# run_image PROGRAM: the application that shows pictures tells their size.
run_image() {
  expect "1 x 1 pixels, 4 bytes" "$1" "$pictures/Dot.png"
  expect "error: The data is neither a PNG nor a JPEG image" "$1" "$pictures/CMakeLists.txt"
}

# run_testing PROGRAM: the application that brings a server of its own.
run_testing() {
  expect "GET /greeting arrived for localhost, and hello came back" "$1"
}

install_library() {
  local kind=$1 shared=$2
  say "installing the $kind library"
  cmake -S . -B "$work/$kind/build" -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS="$shared" \
    -DCMAKE_INSTALL_PREFIX="$work/$kind/first" -DCMAKE_INSTALL_LIBDIR=lib \
    -DCORVANE_BUILD_IMAGE=ON -DCORVANE_BUILD_TESTS=OFF -DCORVANE_BUILD_TOOL=OFF -DCORVANE_BUILD_EXAMPLES=OFF >/dev/null
  cmake --build "$work/$kind/build"
  cmake --install "$work/$kind/build" >/dev/null
  mv "$work/$kind/first" "$work/$kind/prefix"
}

check_installed_files() {
  local prefix=$1
  say "only what is public is installed"
  if find "$prefix/include" -path '*Internal*' -o -path '*Networking*' | grep .; then fail "these headers are internal"; fi
  local sources installed
  sources=$(Scripts/layout.py installed | LC_ALL=C sort)
  installed=$(cd "$prefix/include/corvane" && find . -type f -printf '%P\n' | LC_ALL=C sort)
  diff <(echo "$sources") <(echo "$installed") || fail "installed headers differ from the public ones"
  if grep -rIl -e "$work" -e "$root/Sources" "$prefix"; then fail "these files name folders of the build"; fi
}

# What users copy is copied.
with_find_package() {
  local kind=$1
  say "find_package, $kind"
  mkdir "$work/$kind/copy"
  cp Examples/Packages/{Client.cpp,CMakeLists.txt,Makefile} "$work/$kind/copy"
  cmake -S "$work/$kind/copy" -B "$work/$kind/copy/build" -DCMAKE_PREFIX_PATH="$work/$kind/prefix" >/dev/null
  cmake --build "$work/$kind/copy/build"
  run_client "$work/$kind/copy/build/client"

  cmake -S "$application" -B "$work/$kind/application" -DCMAKE_PREFIX_PATH="$work/$kind/prefix" >/dev/null
  cmake --build "$work/$kind/application"
  run_image "$work/$kind/application/image_consumer"
  run_testing "$work/$kind/application/testing_consumer"
}

with_pkg_config() {
  local kind=$1
  say "pkg-config and make, $kind"
  local flags
  export PKG_CONFIG_PATH="$work/$kind/prefix/lib/pkgconfig" LD_LIBRARY_PATH="$work/$kind/prefix/lib"
  # Who uses the shared library needs no development files of what it is made with.
  if [ "$kind" = shared ]; then export PKG_CONFIG_LIBDIR=$PKG_CONFIG_PATH; fi
  make -C "$work/$kind/copy" --no-print-directory
  run_client "$work/$kind/copy/client"
  flags=$(pkg-config --cflags --libs corvane-image)
  g++ -std=c++20 "$application/ImageConsumer.cpp" -o "$work/$kind/plain-image" $flags
  run_image "$work/$kind/plain-image"
  unset PKG_CONFIG_LIBDIR
  flags=$(pkg-config --cflags --libs corvane-testing)
  g++ -std=c++20 "$application/TestingConsumer.cpp" -o "$work/$kind/plain-testing" $flags
  run_testing "$work/$kind/plain-testing"
  unset LD_LIBRARY_PATH PKG_CONFIG_PATH
}

# Only those who use pictures need the libraries for them.
check_plain_needs_no_image_library() {
  say "an application without pictures needs no library for them, $1"
  local needed
  needed=$(objdump -p "$work/$1/application/client" "$work/$1"/prefix/lib/libcorvane.* | grep NEEDED || true)
  [ -n "$needed" ] || fail "objdump tells no library that is needed"
  if grep -E 'png|jpeg|corvane_image' <<<"$needed"; then fail "these libraries should not be needed"; fi
}

# Applications on event loops: the adapters are headers, and what they adapt to is looked for where they are asked for.
with_adapters() {
  local kind=$1
  say "the adapters for event loops, $kind"
  local build=$work/$kind/adapters example output
  cmake -S "$application/Adapters" -B "$build" -DCMAKE_PREFIX_PATH="$work/$kind/prefix" >/dev/null
  cmake --build "$build"
  run_adapters "$build" AsioLoop AsioCoroutine BoostAsioLoop QtLoop GLibLoop

  say "a loop that is not there is missed by name, $kind"
  if output=$(cmake -S "$application/Adapters" -B "$work/$kind/no-boost" -DCMAKE_PREFIX_PATH="$work/$kind/prefix" \
    -DCMAKE_DISABLE_FIND_PACKAGE_Boost=ON 2>&1); then
    fail "Boost should have been missed"
  fi
  grep -F "Corvane::BoostAsio needs the headers of Boost" <<<"$output" || fail "$output"
  say "who asks for no adapter has none looked for, $kind"
  if grep -E '^(Boost|Qt6|asio|CORVANE_ASIO|CORVANE_GLIB)' "$work/$kind/copy/build/CMakeCache.txt"; then
    fail "these were looked for"
  fi
}

with_adapters_by_pkg_config() {
  local kind=$1 adapter
  say "the adapters for Qt and GLib, by pkg-config, $kind"
  export PKG_CONFIG_PATH="$work/$kind/prefix/lib/pkgconfig" LD_LIBRARY_PATH="$work/$kind/prefix/lib"
  mkdir "$work/$kind/plain-adapters"
  for adapter in Qt GLib; do
    g++ -std=c++20 -fPIC "Examples/Adapters/${adapter}Loop.cpp" -o "$work/$kind/plain-adapters/${adapter}Loop" \
      $(pkg-config --cflags --libs "corvane-${adapter,,}")
  done
  run_adapters "$work/$kind/plain-adapters" QtLoop GLibLoop
  unset LD_LIBRARY_PATH PKG_CONFIG_PATH
}

run_adapters() {
  local folder=$1 example
  shift
  for example in "$@"; do
    case "$example" in
      AsioLoop) expect "*queue: ada*future: ada" "$folder/$example" "$server_address/users/7" ;;
      AsioCoroutine)
        expect "100 bytes*was cancelled" "$folder/$example" "$server_address/bytes/100" "$server_address/delay/10" ;;
      BoostAsioLoop) expect "100 bytes" "$folder/$example" "$server_address/bytes/100" ;;
      *) expect "*: status 200" "$folder/$example" "$server_address/bytes/100" ;;
    esac
  done
}

# Who asks for a component that was not built is told so.
check_missing_component() {
  say "a component that is not there is missed by name, $1"
  local prefix=$work/$1/without-testing output
  cp -r "$work/$1/prefix" "$prefix"
  rm "$prefix"/lib/cmake/Corvane/CorvaneTestingTargets*
  if output=$(cmake -S "$application" -B "$work/$1/refused" -DCMAKE_PREFIX_PATH="$prefix" 2>&1); then
    fail "the component should have been missed"
  fi
  grep -F "Corvane was built without Corvane::Testing." <<<"$output" || fail "$output"
}

with_add_subdirectory() {
  say "add_subdirectory"
  # As deep as the other builds: that makes their relative paths, and so the cached objects, the same.
  cmake -S "$application" -B "$work/embedded/build" -DCORVANE_SOURCE_DIR="$root" \
    -DCORVANE_BUILD_IMAGE=ON -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$work/embedded/build"
  cmake --build "$work/embedded/build" --target corvane_testserver
  start_server "$work/embedded/build/Corvane/bin/corvane_testserver"
  run_client "$work/embedded/build/client"
  stop_server
  run_image "$work/embedded/build/image_consumer"
  run_testing "$work/embedded/build/testing_consumer"
}

# The tree as it stands, with what is not committed yet, as a repository that can be cloned.
make_repository() {
  git ls-files --cached --others --exclude-standard -z | xargs -0 ls -d 2>/dev/null |
    tar --create --files-from=- | tar --extract --directory="$1"
  git -C "$1" init --quiet --initial-branch=main
  git -C "$1" add --all
  git -C "$1" -c user.name=test -c user.email=test@localhost commit --quiet --message="the tree as it stands"
}

# The sources are fetched by one configuration, and built by another, which finds them fetched already: its folder is as
# deep below them as those of the other builds, so that the compiler cache has the objects.
with_fetch_content() {
  say "FetchContent"
  local tree=$work/fetched
  local build=$tree/fetched/corvane-src/build/install-test/fetched/build
  local options=(-DCORVANE_REPOSITORY="file://$tree/repository" -DFETCHCONTENT_BASE_DIR="$tree/fetched" -DCMAKE_BUILD_TYPE=Release)
  mkdir -p "$tree/repository"
  make_repository "$tree/repository"
  cmake -S Examples/Packages/Fetched -B "$tree/fetch" "${options[@]}" >/dev/null
  cmake -S Examples/Packages/Fetched -B "$build" "${options[@]}" -DFETCHCONTENT_FULLY_DISCONNECTED=ON >/dev/null
  cmake --build "$build"
  cmake --build "$build" --target corvane_testserver
  start_server "$tree/fetched/corvane-build/bin/corvane_testserver"
  run_client "$build/client"
  stop_server
}

installed() {
  install_library "$1" "$2"
  check_installed_files "$work/$1/prefix"
  start_server "$work/$1/prefix/bin/corvane_testserver"
  with_find_package "$1"
  with_pkg_config "$1"
  with_adapters "$1"
  if [ "$1" = shared ]; then with_adapters_by_pkg_config "$1"; fi
  stop_server
  check_plain_needs_no_image_library "$1"
  check_missing_component "$1"
}

[ $# -gt 0 ] || set -- static shared embedded fetched
for way in "$@"; do
  rm -rf "${work:?}/$way"
  case "$way" in
    static) installed static OFF ;;
    shared)
      installed shared ON
      Scripts/check_symbols.sh "$work"/shared/prefix/lib/libcorvane{,_image}.so
      ;;
    embedded) with_add_subdirectory ;;
    fetched) with_fetch_content ;;
    *) echo "unknown: $way; there are static, shared, embedded and fetched" >&2; exit 2 ;;
  esac
done
say "done"
