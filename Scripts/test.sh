#!/usr/bin/env bash
# Configures a preset, builds it and runs its tests.
#
#   Scripts/test.sh [PRESET [CTEST-ARGUMENT...]]      presets: dev (default), release, libcxx, asan, tsan
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-dev}
[ $# -eq 0 ] || shift

echo "test: configures and compiles the library with its tests (about 10 minutes with 2 cores from nothing, seconds if" \
  "built before), then runs the tests (about 2 minutes)"
cmake --preset "$preset"
# For editors: the commands by which the sources are compiled.
[ "$preset" != dev ] || ln -sfn build/dev/compile_commands.json compile_commands.json
cmake --build "build/$preset" -- -j "${JOBS:-$(nproc)}"
ctest --preset "$preset" "$@"
