#!/usr/bin/env bash
# Runs clang-tidy over the sources of the library, or over the given ones.
set -euo pipefail
cd "$(dirname "$0")/.."

# clang-tidy wants the compile commands of Clang, not of GCC.
cmake --preset dev -B build/tidy -DCMAKE_CXX_COMPILER=clang++-19 -DCORVANE_BUILD_TESTS=OFF >/dev/null
if [ $# -gt 0 ]; then
  printf '%s\0' "$@"
else
  git ls-files -z 'Sources/*.cpp'
fi | xargs -0 -n 1 -P "${JOBS:-$(nproc)}" clang-tidy-19 --quiet -p build/tidy
