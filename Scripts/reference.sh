#!/usr/bin/env bash
# Makes the reference of the public headers in build/reference/html. Fails when Doxygen finds something wrong in a
# docstring, or a public symbol has none.
set -euo pipefail
cd "$(dirname "$0")/.."

rm -rf build/reference
mkdir -p build/reference
Scripts/reference_sources.py build/reference
doxygen Doxyfile
Scripts/check_reference.py build/reference/xml
