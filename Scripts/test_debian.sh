#!/usr/bin/env bash
# Makes the Debian packages, has lintian look at them, installs them, uses them, and removes them again. This happens
# in a root of its own: an overlay of the machine's, of which nothing is left afterwards, however it ends.
#
#   Scripts/test_debian.sh            all of it; status 77 where no such root can be made
#   Scripts/test_debian.sh --made     with the packages that are in build/packages
set -euo pipefail
cd "$(dirname "$0")/.."
here=$PWD
packages=$here/build/packages
work=$here/build/packages/test
. Scripts/install_routes.sh
unset CXXFLAGS LDFLAGS CMAKE_CXX_COMPILER_LAUNCHER    # users have none of them

# The packages are not uploaded to Debian, so no bug waits for them; who distributes them sets DEBFULLNAME and DEBEMAIL.
unlike_debian=initial-upload-closes-no-bugs,bogus-mail-host,bogus-mail-host-in-debian-changelog

check_packages() {
  say "lintian finds nothing"
  lintian --allow-root --tag-display-limit 0 --suppress-tags "$unlike_debian" --fail-on error,warning "$packages"/*.deb
  say "the packages name no folder of the build"
  rm -rf "$work/tree"
  mkdir -p "$work/tree"
  for package in "$packages"/*.deb; do dpkg-deb --extract "$package" "$work/tree"; done
  if grep -rl "$here" "$work/tree"; then fail "these files do"; fi
  say "every public header is in a package"
  diff <(Scripts/layout.py installed | LC_ALL=C sort) \
    <(cd "$work/tree/usr/include/corvane" && find . -type f -printf '%P\n' | LC_ALL=C sort) || fail "the packages' headers are not the public ones"
}

# What differs from the machine, but for what dpkg keeps for itself and caches that are made anew: files that are new,
# changed or gone, and folders that are new.
differences() {
  (cd "$work/upper" &&
    find . \( -path ./var/lib/dpkg -o -path ./var/log -o -path ./var/cache -o -path ./tmp -o -path ./etc/ld.so.cache \) -prune \
      -o -type d -print -o -print) | while read -r path; do
    [ -d "$work/upper/$path" ] && [ -d "/$path" ] || echo "${path#.}"
  done
}

inside() { chroot "$work/root" "$@"; }

names() { for package in "$@"; do dpkg-deb --field "$package" Package; done; }

# The copy of the examples that the packages bring, and applications for the other components.
build_applications() {
  say "applications are built: with CMake, with make, with pkg-config"
  cp -r "$work/root/usr/share/doc/libcorvane-dev/examples" "$work/root/trial"
  cp Tests/Consumer/*.cpp "$work/root/trial"
  inside cmake -S /trial -B /trial/build >/dev/null
  inside cmake --build /trial/build
  inside make -C /trial --no-print-directory
  for component in Image Testing; do
    inside sh -c "g++ -std=c++20 /trial/${component}Consumer.cpp -o /trial/$component \
      \$(pkg-config --cflags --libs corvane-${component,})"
  done
}

use_packages() {
  run_client inside /trial/build/client
  run_client inside /trial/client
  expect "GET /greeting arrived for localhost, and hello came back" inside /trial/Testing
  expect "error: ?*" inside /trial/Image "http://127.0.0.1:1/"
  expect '{*"login": "ada"*' inside corvane "$server_address/users/7"
}

# Runs in a namespace of its own, whose mounts end with it.
in_own_root() {
  mount -t tmpfs tmpfs "$work"
  mkdir "$work"/{upper,overlay,root}
  mount -t overlay overlay -o "lowerdir=/,upperdir=$work/upper,workdir=$work/overlay" "$work/root"
  for folder in proc dev; do mount --rbind "/$folder" "$work/root/$folder"; done

  # A machine that has no development files of what the library is made with.
  inside dpkg --purge --force-depends libpsl-dev libidn2-dev libnghttp2-dev libspdlog-dev libfmt-dev libpng-dev libjpeg62-turbo-dev >/dev/null
  differences >"$work/before"

  say "the packages install"
  mkdir "$work/root/debs"
  cp "$packages"/*.deb "$work/root/debs"
  inside sh -c 'dpkg --install /debs/*.deb'
  rm -r "$work/root/debs"
  grep -q "/include/corvane/Corvane/Corvane.hpp$" <<<"$(differences)" || fail "differences from the machine are not seen"

  build_applications
  start_server chroot "$work/root" corvane_testserver
  use_packages

  say "an application needs the library's package only"
  inside dpkg --purge $(names "$packages"/*-dev_*.deb "$packages"/corvane_*.deb "$packages"/libcorvane-image*.deb | sort -u)
  run_client inside /trial/client
  if inside pkg-config --exists corvane; then fail "what development needs was not removed"; fi
  stop_server

  say "the packages leave nothing behind"
  rm -r "$work/root/trial"
  inside dpkg --purge $(names "$packages"/libcorvane[0-9]*.deb)
  differences >"$work/after"
  diff "$work/before" "$work/after" || fail "these are left, or gone"
  if inside ldconfig --print-cache | grep corvane; then fail "the linker still knows these"; fi
  if inside dpkg-query --show --showformat '${Package} ${Status}\n' '*corvane*' 2>/dev/null; then fail "dpkg still knows them"; fi
  say "done"
}

# Some containers allow no mounts.
try_own_root() {
  mount -t tmpfs tmpfs "$work"
  mkdir "$work"/{upper,overlay,root}
  mount -t overlay overlay -o "lowerdir=/,upperdir=$work/upper,workdir=$work/overlay" "$work/root"
}

case "${1:-}" in
  --try-own-root) try_own_root; exit ;;
  --in-own-root) in_own_root; exit ;;
  --made) ;;
  "") Scripts/package_debian.sh ;;
  *) fail "unknown: $1" ;;
esac
mkdir -p "$work"
check_packages
as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(--map-root-user)
own=(unshare --mount --propagation private "${as_root[@]}" "$0")
if ! "${own[@]}" --try-own-root; then
  echo "The packages are sound, but were not installed: no root of their own can be mounted here."
  exit 77
fi
"${own[@]}" --in-own-root
