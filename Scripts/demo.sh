#!/usr/bin/env bash
# Builds the demo and runs it; it brings its own server.
set -euo pipefail
cd "$(dirname "$0")/.."

echo "demo: configures and compiles the library and the demo (about 3 minutes with 2 cores, seconds if built before), then runs it"
cmake --preset dev
cmake --build build/dev --target corvane_demo -- -j "${JOBS:-$(nproc)}"
exec build/dev/Examples/Demo/corvane_demo "$@"
