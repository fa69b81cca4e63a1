#!/usr/bin/env bash
# Installs what is missing, then configures and builds both DLLs and their tests: the
# 32-bit one (the reference product, build/x86) and the 64-bit one (build/x64). Both are
# built on every machine, whether or not it can run them.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
for arch in x86 x64; do
  echo "=== building the $arch DLL (build/$arch)"
  cmake --preset "$arch" >/dev/null
  cmake --build --preset "$arch"
done
