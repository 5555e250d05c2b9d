#!/usr/bin/env bash
# Installs the Debian packages that the project needs; does nothing, quickly, when they are there.
#
#   Scripts/setup.sh [GROUP...]      groups: build (default), checks, integration, bench, docs, adapters, arm64, all
set -euo pipefail

build="build-essential cmake ninja-build ccache pkg-config python3 curl file
  libssl-dev libnghttp2-dev libpsl-dev libidn2-dev zlib1g-dev libbrotli-dev libzstd-dev libspdlog-dev
  libpng-dev libjpeg62-turbo-dev
  libcli11-dev libgtest-dev libgmock-dev"
checks="clang-16 clang-19 lld-19 libclang-rt-19-dev libc++-19-dev libc++abi-19-dev llvm-19 clang-format-19 clang-tidy-19
  nlohmann-json3-dev libboost-json1.81-dev libboost-url1.81-dev media-types libcurl4-openssl-dev
  python3-clang-19 lintian gdb lldb-19 python3-lldb-19"
integration="curl openssl nginx-light python3-httpbin nghttp2-server python3-multipart php-cli squid microsocks"
bench="libcurl4-openssl-dev libbenchmark-dev nginx-light nghttp2-server gnuplot-nox valgrind strace
  libsimdjson-dev libboost1.81-dev libboost-json1.81-dev rapidjson-dev nlohmann-json3-dev"
docs="graphviz mkdocs python3-pygments doxygen"
arm64="crossbuild-essential-arm64 qemu-user debootstrap"
adapters="libasio-dev libboost1.81-dev qt6-base-dev libglib2.0-dev"

packages=""
for group in "${@:-build}"; do
  case "$group" in
    build | checks | integration | bench | docs | adapters | arm64) packages+=" ${!group}" ;;
    all) packages+=" $build $checks $integration $bench $docs $adapters $arm64" ;;
    *) echo "setup: unknown group '$group'; there are build, checks, integration, bench, docs, adapters, arm64 and all" >&2; exit 2 ;;
  esac
done

if ! command -v dpkg-query >/dev/null; then
  echo "setup: this is not a Debian system; please install what corresponds to:" $packages >&2
  exit 0
fi

installed=$(dpkg-query -W -f='${Package} ${db:Status-Status}\n' $packages 2>/dev/null || true)
missing=()
for package in $(printf '%s\n' $packages | sort -u); do
  grep -qx "$package installed" <<<"$installed" || missing+=("$package")
done
[ ${#missing[@]} -gt 0 ] || exit 0

as_root=()
if [ "$(id -u)" -ne 0 ]; then
  if ! command -v sudo >/dev/null; then
    echo "setup: please have an administrator run: apt-get install ${missing[*]}" >&2
    exit 1
  fi
  as_root=(sudo)
fi

# Some packages start a service when they are installed; only their programs are wanted here. Debian asks
# this file first (invoke-rc.d(8)).
policy=/usr/sbin/policy-rc.d
log=$(mktemp)
clean_up() {
  rm -f "$log"
  [ "${policy_is_ours:-no}" = no ] || "${as_root[@]}" rm -f "$policy"
}
trap clean_up EXIT
if [ ! -e "$policy" ]; then
  policy_is_ours=yes
  printf '#!/bin/sh\nexit 101\n' | "${as_root[@]}" tee "$policy" >/dev/null
  "${as_root[@]}" chmod +x "$policy"
fi

echo "setup: installing ${missing[*]}"
install() {
  "${as_root[@]}" apt-get update -qq &&
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
}
if ! install >"$log" 2>&1 </dev/null; then
  cat "$log" >&2
  echo "setup: apt-get could not install ${missing[*]}" >&2
  exit 1
fi
