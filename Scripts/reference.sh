#!/usr/bin/env bash
# Makes the reference of the public headers in build/reference/html. Fails when Doxygen finds something wrong in a
# docstring, or a public symbol has none.
set -euo pipefail
cd "$(dirname "$0")/.."

rm -rf build/reference
mkdir -p build/reference
Scripts/reference_sources.py build/reference
doxygen Doxyfile 2>build/reference/warnings.txt
if grep . build/reference/warnings.txt; then
  echo "reference: Doxygen found the above wrong in docstrings" >&2
  exit 1
fi
Scripts/check_reference.py build/reference/xml
