#!/usr/bin/env bash
# Builds both DLLs, registers one in a Wine prefix inside its build folder (the 32-bit
# reference DLL where this machine runs 32-bit programs, else the 64-bit one) and runs the
# example scripts in examples/ with cscript, as a user would on Windows.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/build.sh

root=$PWD
for arch in x86 x64; do
  if loader=$(tests/support/wine_arch.sh "$arch"); then break; fi
  echo "(the $arch DLL cannot run here: $loader)"
  loader=
done
[ -n "$loader" ] || { echo "no architecture can run on this machine"; exit 1; }
echo "=== the demo runs the $arch DLL (build/$arch/bin/vofslib.dll)"

export WINEPREFIX="$root/build/$arch/wineprefix" WINELOADER="$loader" VOFS_ARCH="$arch"
export WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml="
. tests/support/wine_loader.sh
"$root/tests/support/wine_session.sh" start "$root/build/$arch/bin"
trap '"$root/tests/support/wine_session.sh" stop' EXIT
wine regsvr32 /s "$root/build/$arch/bin/vofslib.dll"

cd examples
for script in *.vbs *.js; do
  echo
  echo "=== cscript $script"
  wine cscript //nologo "$script"
done
