#!/usr/bin/env bash
# Builds both DLLs and the release packages (tools/release.sh) and runs the whole test
# suite under Wine (C++ tests, script clients, registration, win98 branches, the browse
# dialog under Xvfb, the packages) once for every architecture
# this machine can execute. An architecture that cannot run here is reported as skipped,
# with the reason; a machine that can run neither fails. Extra arguments go to ctest.
set -uo pipefail
cd "$(dirname "$0")/.."
tools/build.sh || exit 1
# The release packages are made first: the suites install and use what it writes to dist/.
tools/release.sh || exit 1

summary=() ran=0 failed=0
for arch in x86 x64; do
  if ! reason=$(tests/support/wine_arch.sh "$arch"); then
    echo
    echo "=== SKIPPED: the $arch suite does not run on this machine: $reason"
    summary+=("$arch: SKIPPED ($reason)")
    continue
  fi
  echo
  echo "=== running the $arch suite (build/$arch, Wine loader $reason)"
  if ctest --preset "$arch" -j 2 "$@"; then
    summary+=("$arch: passed")
  else
    summary+=("$arch: FAILED")
    failed=1
  fi
  ran=$((ran + 1))
done

echo
echo "=== test summary"
printf '  %s\n' "${summary[@]}"
if [ "$ran" -eq 0 ]; then
  echo "neither architecture can run on this machine: no test ran"
  exit 1
fi
exit "$failed"
