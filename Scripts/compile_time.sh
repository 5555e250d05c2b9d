#!/usr/bin/env bash
# Prints what it costs to compile small programs, in CPU seconds at -O1; the least of some runs.
#
#   Scripts/compile_time.sh [--limit SECONDS] [SOURCE...]      default: Examples/Hello*.cpp
#
# With --limit it fails when a program costs more. CXX names the compiler (default g++), RUNS the runs (5).
set -euo pipefail
cd "$(dirname "$0")/.."

limit=
if [ "${1:-}" = --limit ]; then
  limit=$2
  shift 2
fi
[ $# -gt 0 ] || set -- Examples/Hello*.cpp

compiler=${CXX:-g++}
object=$(mktemp --suffix=.o)
trap 'rm -f "$object"' EXIT
TIMEFORMAT='%U %S'

cost() {
  { time $compiler -std=c++20 -O1 -ISources -c "$1" -o "$object"; } 2>&1 | tail -n 1 |
    awk '{ printf "%.2f\n", $1 + $2 }'
}

failed=0
for source in "$@"; do
  $compiler -std=c++20 -fsyntax-only -ISources "$source"
  least=$(for _ in $(seq "${RUNS:-5}"); do cost "$source"; done | sort -n | head -n 1)
  echo "$least s  $source"
  if [ -n "$limit" ] && awk "BEGIN { exit !($least > $limit) }"; then
    echo "  more than $limit s"
    failed=1
  fi
done
exit $failed
