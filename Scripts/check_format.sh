#!/usr/bin/env bash
# Fails when a C++ file is not formatted as .clang-format says; with --fix, formats instead.
set -euo pipefail
cd "$(dirname "$0")/.."

mode=(--dry-run --Werror)
[ "${1:-}" != --fix ] || mode=(-i)
git ls-files -z --cached --others --exclude-standard -- '*.hpp' '*.cpp' |
  xargs -0 --no-run-if-empty -n 20 -P 2 clang-format-19 "${mode[@]}"
