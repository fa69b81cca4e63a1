#!/usr/bin/env bash
# Builds vofslib.dll, registers it in a Wine prefix inside the build folder and runs the
# example scripts in examples/ with cscript, as a user would on Windows.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/build.sh

root=$PWD
export WINEPREFIX="$root/build/wineprefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
"$root/tests/support/wine_session.sh" start "$root/build/bin"
trap '"$root/tests/support/wine_session.sh" stop' EXIT
wine regsvr32 /s "$root/build/bin/vofslib.dll"

cd examples
for script in *.vbs *.js; do
  echo
  echo "=== cscript $script"
  wine cscript //nologo "$script"
done
