#!/usr/bin/env bash
# Builds the fuzzers, replays the corpus of each, then lets each make inputs of its own for SECONDS.
# Inputs that crash one are left in build/fuzz/crashes.
#
#   Scripts/fuzz.sh [SECONDS]      default 60; with 0 it replays only
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
if ! [[ $seconds =~ ^[0-9]+$ ]]; then
  echo "fuzz: '$seconds' is not a number of seconds" >&2
  exit 2
fi

cmake --preset asan >/dev/null
cmake --build build/asan --target fuzzers -- -j "${JOBS:-$(nproc)}"
crashes=build/fuzz/crashes
mkdir -p "$crashes"
export ASAN_OPTIONS=strict_string_checks=1:detect_stack_use_after_return=1 UBSAN_OPTIONS=print_stacktrace=1
# 77, which libFuzzer ends with, would say that nothing was tried.
limits=(-error_exitcode=1 -timeout=20 -rss_limit_mb=2048 -artifact_prefix="$crashes/")

for source in Fuzz/*Fuzzer.cpp; do
  fuzzer=$(basename "$source" .cpp)
  subject=${fuzzer%Fuzzer}
  seeds=Fuzz/Corpus/$subject
  echo "fuzz: $fuzzer replays $(find "$seeds" -type f | wc -l) inputs"
  "build/asan/Fuzz/$fuzzer" "${limits[@]}" "$seeds"/*
  [ "$seconds" -gt 0 ] || continue

  # What is found goes to the first folder; the seeds stay as they are.
  found=build/fuzz/found/$subject
  mkdir -p "$found"
  echo "fuzz: $fuzzer makes its own for $seconds s"
  "build/asan/Fuzz/$fuzzer" "${limits[@]}" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 \
    -dict="Fuzz/$subject.dict" "$found" "$seeds"
done
