#!/usr/bin/env bash
# Configures a preset, builds it and runs its tests.
#
#   Scripts/test.sh [PRESET [CTEST-ARGUMENT...]]      presets: dev (default), release, libcxx, asan, tsan
set -euo pipefail
cd "$(dirname "$0")/.."
preset=${1:-dev}
[ $# -eq 0 ] || shift

echo "test: configures and compiles the library with its tests (about 10 minutes with 2 cores from nothing, seconds if" \
  "built before), then runs the tests (about 1 minute)"
cmake --preset "$preset"
# For editors: the commands by which the sources are compiled.
[ "$preset" != dev ] || ln -sfn build/dev/compile_commands.json compile_commands.json
cmake --build "build/$preset" -- -j "${JOBS:-$(nproc)}"
rm -rf "build/$preset/test-results"
ctest --preset "$preset" "$@"
# How many cases ran, of all processes together.
python3 - "build/$preset/test-results" <<'END'
import json, pathlib, sys
results = [json.loads(path.read_text()) for path in pathlib.Path(sys.argv[1]).glob("*.json")]
cases = [case for result in results for suite in result["testsuites"] for case in suite["testsuite"]]
skipped = sum(case["result"] == "SKIPPED" for case in cases)
if cases:
    print(f"{sum(case['status'] == 'RUN' for case in cases) - skipped} cases passed, {skipped} were skipped")
END
