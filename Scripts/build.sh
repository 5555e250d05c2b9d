#!/usr/bin/env bash
# Builds everything of a preset and runs nothing:  Scripts/build.sh [PRESET]      default: dev
set -euo pipefail
cd "$(dirname "$0")/.."

preset=${1:-dev}
cmake --preset "$preset"
cmake --build --preset "$preset" -- -j "$(nproc)"
