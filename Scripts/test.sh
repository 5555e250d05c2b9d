#!/usr/bin/env bash
# Configures a preset, builds it and runs its tests.
#
#   Scripts/test.sh [PRESET [CTEST-ARGUMENT...]]      presets: dev (default), release, asan, tsan
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-dev}
[ $# -eq 0 ] || shift

cmake --preset "$preset" >/dev/null
cmake --build "build/$preset" -- -j "${JOBS:-$(nproc)}"
ctest --preset "$preset" "$@"
