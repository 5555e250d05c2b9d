#!/usr/bin/env bash
# Builds the benchmarks, optimised, and runs them; the tables go to standard output.
#
#   Scripts/bench.sh [--quick] [--rounds N] [--only TEXT]
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build build/release --target corvane_bench corvane_bench_json -- -j "${JOBS:-$(nproc)}" >&2
build/release/Benchmarks/corvane_bench "$@"
build/release/Benchmarks/corvane_bench_json "$@"
