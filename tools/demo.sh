#!/usr/bin/env bash
# Builds vofslib.dll, registers it in a Wine prefix inside the build folder and runs the
# example scripts in examples/ with cscript, as a user would on Windows.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/build.sh

export WINEPREFIX="$PWD/build/wineprefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
tests/support/wine_session.sh start "$PWD/build/bin"
trap 'tests/support/wine_session.sh stop' EXIT
wine regsvr32 /s "$PWD/build/bin/vofslib.dll"

cd examples
for script in *.vbs *.js; do
  echo
  echo "=== cscript $script"
  wine cscript //nologo "$script"
done
