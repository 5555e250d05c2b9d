#!/usr/bin/env bash
# Prints what it costs to compile small programs, in CPU seconds at -O1; the least of some runs.
#
#   Scripts/compile_time.sh [--limit SECONDS] [SOURCE...]      default: Examples/Hello*.cpp
#   Scripts/compile_time.sh --models [--limit SECONDS]         what each further type of a JSON model adds
#
# With --limit it fails when something costs more. CXX names the compiler (default g++), RUNS the runs (5).
set -euo pipefail
shopt -s inherit_errexit
cd "$(dirname "$0")/.."

models=no
if [ "${1:-}" = --models ]; then
  models=yes
  shift
fi
limit=
if [ "${1:-}" = --limit ]; then
  limit=$2
  shift 2
fi

compiler=${CXX:-g++}
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
TIMEFORMAT='%U %S'
failed=0

cost() {
  { time $compiler -std=c++20 -O1 -ISources -c "$1" -o "$folder/object.o"; } 2>&1 | tail -n 1 |
    awk '{ printf "%.2f\n", $1 + $2 }'
}

least_cost() {
  $compiler -std=c++20 -fsyntax-only -ISources "$1"
  for _ in $(seq "${RUNS:-5}"); do cost "$1"; done | sort -n | head -n 1
}

report() {
  echo "$1 s  $2"
  if [ -n "$limit" ] && awk "BEGIN { exit !($1 > $limit) }"; then
    echo "  more than $limit s"
    failed=1
  fi
}

# A program with so many models of six members, each of which is decoded, and encoded if that is asked for.
write_models() {
  cat <<'PROGRAM'
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Platform/Foundation/JSON/JSONDecoder.hpp"
#include "Platform/Foundation/JSON/JSONEncoder.hpp"
PROGRAM
  for index in $(seq "$1"); do
    cat <<PROGRAM
struct Model$index {
  std::int64_t id$index;
  std::string name$index;
  bool isActive$index;
  double score$index;
  std::optional<std::string> homepage$index;
  std::vector<std::string> tags$index;
};
Model$index decode$index(const platform::Data& data) { return platform::JSONDecoder().decode<Model$index>(data); }
PROGRAM
    [ "$2" = decoded ] || cat <<PROGRAM
platform::Data encode$index(const Model$index& model) { return platform::JSONEncoder().encode(model); }
PROGRAM
  done
}

cost_of_further_model() {
  write_models 1 "$1" >"$folder/One.cpp"
  write_models 11 "$1" >"$folder/Eleven.cpp"
  local one eleven
  one=$(least_cost "$folder/One.cpp")
  eleven=$(least_cost "$folder/Eleven.cpp")
  awk "BEGIN { printf \"%.3f\", ($eleven - $one) / 10 }"
}

if [ $models = yes ]; then
  for use in decoded "decoded and encoded"; do
    further=$(cost_of_further_model "$use")
    report "$further" "each further model that is $use"
  done
  exit $failed
fi

[ $# -gt 0 ] || set -- Examples/Hello*.cpp
for source in "$@"; do
  least=$(least_cost "$source")
  report "$least" "$source"
done
exit $failed
