#!/usr/bin/env bash
# Builds both DLLs and writes the release into dist/:
#   vofslib-x86.msi, vofslib-x64.msi    Windows Installer packages, per machine, silent
#                                       (msiexec /i vofslib-x64.msi /qn), into Program Files
#   vofslib-VERSION.zip                 x86/ and x64/, each with the DLL and the assembly
#                                       manifest for use without registration
#   SHA256SUMS
# The packages register exactly what DllRegisterServer writes: the registration code
# prints its plan for each DLL (packaging/registration_plan.cpp, run under the 64-bit
# Wine loader, which every machine here runs), and packaging/package.py turns the plan into
# the installers' registry tables and the manifests. VERSION is the DLL's own.
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
tools/build.sh >/dev/null

stage=$root/build/release
rm -rf "$stage" dist && mkdir -p "$stage" dist
export WINEPREFIX="$stage/prefix" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree,mshtml=" WINELOADER=/usr/lib/wine/wine64
. tests/support/wine_loader.sh
wine wineboot -i </dev/null >/dev/null 2>&1 || true
# The plan names each DLL by its Windows path (Wine's Z: drive is the host's root).
windows() { printf 'Z:%s' "${1//\//\\}"; }

version=$(packaging/package.py version build/x86/bin/vofslib.dll)
for arch in x86 x64; do
  mkdir -p "$stage/$arch"
  # The shipped DLL is the built one without its debug information (about 1.8 MB instead
  # of 22); build/$arch/bin/vofslib.dll keeps it for debugging the same code.
  packaging/package.py ship "$arch" "build/$arch/bin/vofslib.dll" "$stage/$arch/vofslib.dll"
  wine build/x64/bin/vofslib_registration_plan.exe "$(windows "$root/build/$arch/bin/vofslib.dll")" '[#vofslib.dll]' \
    </dev/null > "$stage/$arch.plan"
  packaging/package.py wxs "$arch" "$stage/$arch.plan" "$version" > "$stage/$arch/vofslib.wxs"
  packaging/package.py manifest "$arch" "$stage/$arch.plan" "$version" > "$stage/$arch/VOSTREL.vofslib.manifest"
  (cd "$stage/$arch" && wixl -a "$arch" -o "$root/dist/vofslib-$arch.msi" vofslib.wxs 2>/dev/null)
  mkdir -p "$stage/zip/$arch"
  cp "$stage/$arch/vofslib.dll" "$stage/$arch/VOSTREL.vofslib.manifest" "$stage/zip/$arch/"
done
wineserver -k </dev/null >/dev/null 2>&1 || true

(cd "$stage/zip" && zip -qrX "$root/dist/vofslib-$version.zip" x86 x64)
(cd dist && sha256sum vofslib-x86.msi vofslib-x64.msi "vofslib-$version.zip" > SHA256SUMS)
echo "release $version:"
sed 's/^/  /' dist/SHA256SUMS
