#!/usr/bin/env bash
# Runs clang-tidy over the sources of the libraries, or only over the folders in which given files are. All sources of a
# folder are one translation unit, as in the builds with sanitizers: the headers are looked at once for all of them.
set -euo pipefail
cd "$(dirname "$0")/.."

# clang-tidy wants the compile commands of Clang, not of GCC.
cmake --preset dev -B build/tidy -DCMAKE_CXX_COMPILER=clang++-19 -DCORVANE_PRECOMPILED_HEADERS=OFF \
  -DCORVANE_BUILD_TESTS=OFF -DCORVANE_BUILD_TOOL=OFF -DCORVANE_BUILD_EXAMPLES=OFF >/dev/null
# The largest first, so that both processors are busy to the end.
mapfile -t units < <(python3 -c 'import json
for entry in json.load(open("build/tidy/compile_commands.json")):
  if "/Sources/" in entry["file"]: print(entry["file"])' | xargs wc -l | sort -rn | awk '$2 != "total" {print $2}')
if [ $# -gt 0 ]; then
  mapfile -t units < <(realpath "$@" | grep -lFf - "${units[@]}")
  [ ${#units[@]} -gt 0 ] || { echo "tidy: no source of the libraries is among: $*" >&2; exit 2; }
fi
printf '%s\0' "${units[@]}" | xargs -0 -n 1 -P "${JOBS:-$(nproc)}" clang-tidy-19 --quiet -p build/tidy
