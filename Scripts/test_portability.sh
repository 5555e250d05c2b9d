#!/usr/bin/env bash
# Builds the library, the tool and the unit tests where other things are given than on the machines of every day, and
# runs the tests.
#
#   Scripts/test_portability.sh libcxx    Clang 19 with its own standard library
#   Scripts/test_portability.sh 32bit     i386, in a Debian root of its own in build/i386; as root, with debootstrap
#   Scripts/test_portability.sh arm64     GCC for arm64 with a Debian root in build/arm64-root, run by qemu-user; as root
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
parts="dispatch foundation json security loading host corvane support tool"

targets() { printf '%s_tests ' $parts; echo corvane_tool; }

# run_tests BUILD [EMULATOR...]. An emulator for one program cannot start the program again, nor tell it its own path or
# a terminal of its own; tests of the end of a process, of pages that belong to the code, and of terminals are left out.
run_tests() {
  local part folder failed=0
  folder=$(cd "$1/Tests" && pwd)
  shift
  local filter='*'
  [ $# -eq 0 ] || filter='-*DeathTest*:*.mattersOnlyWhereItIsAskedFor:*Documentation*:*.documentsWhat*:LeakCheckTest.namesA*:Terminal*'
  cd "$(mktemp -d)"  # where files may be written
  for part in $parts; do
    echo "-- ${part}_tests"
    "$@" "$folder/${part}_tests" --gtest_brief=1 --gtest_filter="$filter" || failed=1
  done
  return $failed
}

with_libcxx() {
  cmake --preset libcxx >/dev/null
  cmake --build build/libcxx --target $(targets) -- -j "${JOBS:-$(nproc)}"
  run_tests build/libcxx
}

# The packages are unpacked only: what is compiled and linked with needs no configuration, and no program of the root runs.
make_arm64_root() {
  [ ! -e "$1/.complete" ] || return 0
  rm -rf "$1"
  debootstrap --foreign --arch=arm64 --variant=minbase --include=libc6-dev,libstdc++-12-dev,libpsl-dev,libidn2-dev,\
libssl-dev,libnghttp2-dev,zlib1g-dev,libspdlog-dev,libgtest-dev,libgmock-dev,libcli11-dev,ca-certificates \
    bookworm "$1" "${MIRROR:-http://deb.debian.org/debian}"
  local package
  for package in "$1"/var/cache/apt/archives/*.deb; do
    dpkg-deb --fsys-tarfile "$package" | tar --extract --keep-directory-symlink --directory="$1"
  done
  touch "$1/.complete"
}

with_arm64() {
  [ "$(id -u)" -eq 0 ] || { echo "a Debian root can be made only by root" >&2; exit 1; }
  Scripts/setup.sh build arm64
  make_arm64_root build/arm64-root
  cmake --preset arm64 >/dev/null
  cmake --build build/arm64 --target $(targets) -- -j "${JOBS:-$(nproc)}"
  run_tests build/arm64 qemu-aarch64 -L "$root/build/arm64-root"
}

make_root() {
  [ ! -e "$1/.complete" ] || return 0
  rm -rf "$1"
  debootstrap --arch=i386 --variant=minbase --include=g++,cmake,ninja-build,ccache,pkg-config,python3-minimal,\
libpsl-dev,libidn2-dev,libssl-dev,libnghttp2-dev,zlib1g-dev,libspdlog-dev,libgtest-dev,libgmock-dev,libcli11-dev,curl,libboost1.81-dev \
    bookworm "$1" "${MIRROR:-http://deb.debian.org/debian}"
  touch "$1/.complete"
}

with_32_bits() {
  [ "$(id -u)" -eq 0 ] || { echo "a Debian root can be made only by root" >&2; exit 1; }
  local place=${I386_ROOT:-$root/build/i386}
  make_root "$place"
  mkdir -p "$place/source" "$place/build"
  # In a mount namespace of its own, so that nothing stays mounted, however this ends.
  PLACE=$place SOURCE=$root TARGETS=$(targets) JOBS=${JOBS:-$(nproc)} unshare --mount bash -euo pipefail -c '
    mount -t proc proc "$PLACE/proc"
    mount --rbind /dev "$PLACE/dev"
    mount --bind -o ro "$SOURCE" "$PLACE/source"
    exec chroot "$PLACE" /usr/bin/env -i HOME=/root PATH=/usr/sbin:/usr/bin:/sbin:/bin LANG=C.UTF-8 TMPDIR=/tmp \
      TARGETS="$TARGETS" JOBS="$JOBS" CCACHE_DIR=/build/ccache setarch i386 bash -euo pipefail -c "
        cmake -S /source -B /build -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O0 \
          -DCORVANE_WARNINGS_AS_ERRORS=ON -DCORVANE_PRECOMPILED_HEADERS=ON -DCORVANE_BUILD_EXAMPLES=OFF >/dev/null
        cmake --build /build --target \$TARGETS -- -k 0 -j \$JOBS
        /source/Scripts/test_portability.sh run /build"'
}

case "${1:-}" in
  libcxx) with_libcxx ;;
  32bit) with_32_bits ;;
  arm64) with_arm64 ;;
  run) run_tests "$2" ;;
  *) sed -n '2,8s/^# \{0,1\}//p' "$0" >&2; exit 2 ;;
esac
