#!/usr/bin/env bash
# Installs what is missing, then configures and builds vofslib.dll and its tests.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
cmake --preset default >/dev/null
cmake --build --preset default
