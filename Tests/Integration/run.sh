#!/usr/bin/env bash
# Runs the command-line tool, and a program that does transfers, against servers and parsers that nobody here wrote:
# nginx, httpbin, nghttpd, Squid, microsocks, PHP and those of Python, on free loopback ports, each ended by its process
# id.
#
#   Tests/Integration/run.sh [TEST...]      e.g. test_nginx, test_nghttpd.HTTP2.test_a_large_body
set -euo pipefail
cd "$(dirname "$0")/../.."

cmake --preset dev >/dev/null
cmake --build build/dev --target corvane_tool corvane_testserver corvane_transfer_driver -- -j "${JOBS:-$(nproc)}" >&2
export CORVANE_TOOL=$PWD/build/dev/bin/corvane
export CORVANE_TESTSERVER=$PWD/build/dev/bin/corvane_testserver
export CORVANE_TRANSFER_DRIVER=$PWD/build/dev/Tests/corvane_transfer_driver

cd Tests/Integration
# Debian's own Python: httpbin is a package of it. A shell that runs this in the background has SIGINT ignored, which the
# tests of interrupts send.
python=(env --default-signal=INT /usr/bin/python3 -m unittest)
if [ $# -gt 0 ]; then
  exec "${python[@]}" --verbose "$@"
fi
exec "${python[@]}" discover --verbose
