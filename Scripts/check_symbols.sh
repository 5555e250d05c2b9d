#!/usr/bin/env bash
# Checks what shared libraries show: a versioned SONAME, and symbols of this project's namespaces only, all of one
# version. What is not marked CORVANE_API must not be seen from outside: with it, someone would come to depend on it.
#
#   Scripts/check_symbols.sh LIBRARY.so...
set -euo pipefail
cd "$(dirname "$0")/.."

soname_version=$(sed -n 's/^project(Corvane VERSION \([0-9]*\.[0-9]*\)\..*/\1/p' CMakeLists.txt)
# Mangled names (Itanium C++ ABI, 5.1): guards, virtual tables and type information, thunks, variables of functions.
own='_Z(GV|T[VTIS]|T[hvc][n0-9_]*)?Z?N[KRO]*(8platform|8velisand|8vantorel|7corvane)'

fail() {
  echo "$*"
  exit 1
}

check() {
  local library=$1 name=${1##*/} headers symbols
  echo "-- $name is versioned, and shows only what is its own"
  [ -L "$library" ] || fail "$library should be a link to its version"
  headers=$(objdump -p "$library")
  grep -qE "SONAME +$name\.${soname_version//./\\.}$" <<<"$headers" || fail "$library has not the SONAME $name.$soname_version"

  symbols=$(nm --dynamic --defined-only --with-symbol-versions "$library" | awk '$2 != "A" { print $3 }')
  [ -n "$symbols" ] || fail "$library shows nothing"
  if grep -v "@@CORVANE_$soname_version\$" <<<"$symbols"; then fail "these symbols are not of the version CORVANE_$soname_version"; fi
  if grep -vE "^$own" <<<"$symbols" | sed 's/@.*//' | c++filt | grep .; then fail "these symbols are not of this project's namespaces"; fi
}

[ $# -gt 0 ] || fail "usage: Scripts/check_symbols.sh LIBRARY.so..."
for library in "$@"; do check "$library"; done
