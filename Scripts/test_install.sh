#!/usr/bin/env bash
# Installs the library, static and shared, and builds and runs an application that uses it in every way a user
# may: find_package, add_subdirectory, and plain g++ with pkg-config. The installed trees are moved first, so
# that no path of the build can have stayed in them.
#
#   Scripts/test_install.sh [static|shared|embedded]...      default: all three
set -euo pipefail
cd "$(dirname "$0")/.."

root=$PWD
work=$root/build/install-test
rm -rf "$work"
mkdir -p "$work"
application=$root/Tests/Consumer
export CMAKE_GENERATOR=Ninja CMAKE_BUILD_PARALLEL_LEVEL=${JOBS:-$(nproc)}
if command -v ccache >/dev/null; then
  # All builds compile the same files with the same options; the second one and those after it find them here.
  export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$root CCACHE_NOHASHDIR=1
fi

say() { printf '%s\n' "-- $*"; }

# A server that nobody here wrote; it says its port in its first line.
coproc server { exec python3 -u -m http.server 0 --bind 127.0.0.1 --directory "$application" 2>"$work/server.log"; }
server_process=$server_PID
trap 'kill "$server_process"' EXIT
read -r -t 20 line <&"${server[0]}" || { echo "the server did not start"; cat "$work/server.log"; exit 1; }
address="http://127.0.0.1:$(sed -n 's/.* port \([0-9]*\) .*/\1/p' <<<"$line")"

expect() {
  local wanted=$1 output
  shift
  output=$("$@")
  [[ $output == $wanted ]] || { echo "'$*' printed '$output', expected '$wanted'"; exit 1; }
  echo "$output"
}

# run PROGRAM: the application sends real requests and must tell what came of them.
run() {
  expect "status 200, $(stat -c %s "$application/Consumer.cpp") bytes" "$1" "$address/Consumer.cpp"
  expect "error: ?*" "$1" "http://127.0.0.1:1/"
}

# run_image PROGRAM: the same for the application that shows pictures.
run_image() {
  expect "1 x 1 pixels, 4 bytes" "$1" "$address/Dot.png"
  expect "error: The data is neither a PNG nor a JPEG image" "$1" "$address/Consumer.cpp"
}

# run_testing PROGRAM: the same for the application that brings a server of its own.
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
  if find "$prefix/include" -path '*Internal*' | grep .; then
    echo "these headers are internal"
    exit 1
  fi
  local sources installed
  sources=$(cd Sources && find . -name '*.hpp' -not -path '*/Internal/*' | sort)
  installed=$(cd "$prefix/include/corvane" && find . -type f | sort)
  diff <(echo "$sources") <(echo "$installed") || { echo "installed headers differ from the public ones"; exit 1; }
  if grep -rIl -e "$work" -e "$root/Sources" "$prefix"; then
    echo "these files name folders of the build"
    exit 1
  fi
}

with_find_package() {
  local kind=$1
  say "find_package, $kind"
  cmake -S "$application" -B "$work/$kind/application" -DCMAKE_PREFIX_PATH="$work/$kind/prefix" >/dev/null
  cmake --build "$work/$kind/application"
  run "$work/$kind/application/consumer"
  run_image "$work/$kind/application/image_consumer"
  run_testing "$work/$kind/application/testing_consumer"
}

with_pkg_config() {
  local kind=$1
  say "pkg-config, $kind"
  local flags
  export PKG_CONFIG_PATH="$work/$kind/prefix/lib/pkgconfig"
  flags=$(pkg-config --cflags --libs corvane)
  g++ -std=c++20 "$application/Consumer.cpp" -o "$work/$kind/plain" $flags
  flags=$(pkg-config --cflags --libs corvane-image)
  g++ -std=c++20 "$application/ImageConsumer.cpp" -o "$work/$kind/plain-image" $flags
  flags=$(pkg-config --cflags --libs corvane-testing)
  g++ -std=c++20 "$application/TestingConsumer.cpp" -o "$work/$kind/plain-testing" $flags
  export LD_LIBRARY_PATH="$work/$kind/prefix/lib"
  run "$work/$kind/plain"
  run_image "$work/$kind/plain-image"
  run_testing "$work/$kind/plain-testing"
  unset LD_LIBRARY_PATH PKG_CONFIG_PATH
}

# Only those who use pictures need the libraries for them.
check_plain_needs_no_image_library() {
  say "an application without pictures needs no library for them, $1"
  local needed
  needed=$(objdump -p "$work/$1/application/consumer" "$work/$1"/prefix/lib/libcorvane.* | grep NEEDED || true)
  [ -n "$needed" ] || { echo "objdump tells no library that is needed"; exit 1; }
  if grep -E 'png|jpeg|corvane_image' <<<"$needed"; then
    echo "these libraries should not be needed"
    exit 1
  fi
}

# Who asks for a component that was not built is told so.
check_missing_component() {
  say "a component that is not there is missed by name, $1"
  local prefix=$work/$1/without-testing output
  cp -r "$work/$1/prefix" "$prefix"
  rm "$prefix"/lib/cmake/Corvane/CorvaneTestingTargets*
  if output=$(cmake -S "$application" -B "$work/$1/refused" -DCMAKE_PREFIX_PATH="$prefix" 2>&1); then
    echo "the component should have been missed"
    exit 1
  fi
  grep -F "Corvane was built without Corvane::Testing." <<<"$output" || { echo "$output"; exit 1; }
}

# What is not marked CORVANE_API must not be seen from outside: with it, someone would come to depend on it.
check_shared_library() {
  local library=$work/shared/prefix/lib/$1.so
  say "$1 is versioned and shows only what is its own"
  [ -L "$library" ] || { echo "$library should be a link to its version"; exit 1; }
  # Read to its end first: a grep that leaves early would kill objdump by SIGPIPE, and pipefail call that a failure.
  local headers
  headers=$(objdump -p "$library")
  grep -q "SONAME *$1\.so\.[0-9]" <<<"$headers" || { echo "$library has no versioned SONAME"; exit 1; }
  if nm -DC --defined-only "$library" | grep -E ' [TBD] ' |
    grep -vE ' (platform|velisand|vantorel|corvane)::| (typeinfo|vtable|VTT|guard variable|non-virtual thunk|virtual thunk)'; then
    echo "these symbols should be hidden"
    exit 1
  fi
}

with_add_subdirectory() {
  say "add_subdirectory"
  # As deep as the other builds: that makes their relative paths, and so the cached objects, the same.
  cmake -S "$application" -B "$work/embedded/build" -DCORVANE_SOURCE_DIR="$root" \
    -DCORVANE_BUILD_IMAGE=ON -DCMAKE_BUILD_TYPE=Release >/dev/null
  cmake --build "$work/embedded/build"
  run "$work/embedded/build/consumer"
  run_image "$work/embedded/build/image_consumer"
  run_testing "$work/embedded/build/testing_consumer"
}

installed() {
  install_library "$1" "$2"
  check_installed_files "$work/$1/prefix"
  with_find_package "$1"
  with_pkg_config "$1"
  check_plain_needs_no_image_library "$1"
  check_missing_component "$1"
}

[ $# -gt 0 ] || set -- static shared embedded
for way in "$@"; do
  case "$way" in
    static) installed static OFF ;;
    shared)
      installed shared ON
      check_shared_library libcorvane
      check_shared_library libcorvane_image
      ;;
    embedded) with_add_subdirectory ;;
    *) echo "unknown: $way; there are static, shared and embedded" >&2; exit 2 ;;
  esac
done
say "done"
