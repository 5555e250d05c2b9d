#!/usr/bin/env bash
# Builds the benchmarks, optimised, and runs them; the table goes to standard output.
#
#   Scripts/bench.sh [--quick] [--rounds N] [--only TEXT]
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build build/release --target corvane_bench -- -j "${JOBS:-$(nproc)}" >&2
exec build/release/Benchmarks/corvane_bench "$@"
