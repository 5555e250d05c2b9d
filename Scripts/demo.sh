#!/usr/bin/env bash
# Builds the demo and runs it; it brings its own server.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset dev >/dev/null
cmake --build build/dev --target corvane_demo -- -j "${JOBS:-$(nproc)}"
exec build/dev/Examples/Demo/corvane_demo "$@"
