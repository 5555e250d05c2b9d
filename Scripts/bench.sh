#!/usr/bin/env bash
# Builds the benchmarks, optimised, and runs them. The tables go to standard output and to build/bench/tables.txt; what
# gnuplot draws of them lies beside, with the figures that each picture was drawn from.
#
#   Scripts/bench.sh [--quick] [--rounds N] [--only TEXT]
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset release >/dev/null
cmake --build build/release --target corvane_bench corvane_bench_json -- -j "${JOBS:-$(nproc)}" >&2

rm -rf build/bench
mkdir -p build/bench
{
  build/release/Benchmarks/corvane_bench "$@"
  build/release/Benchmarks/corvane_bench_json "$@"
} | tee build/bench/tables.txt

if command -v gnuplot >/dev/null; then
  Scripts/plot_bench.py build/bench/tables.txt build/bench
else
  echo "bench: gnuplot is not installed, so nothing is drawn" >&2
fi
