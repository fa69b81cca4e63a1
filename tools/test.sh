#!/usr/bin/env bash
# Builds everything and runs the whole test suite under Wine (C++ tests, script clients,
# registration, win98 branches, the browse dialog under Xvfb). Extra arguments go to ctest.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/build.sh
ctest --preset default -j 2 "$@"
