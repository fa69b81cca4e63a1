#!/usr/bin/env bash
# The dispatch fuzzer's long campaign, on demand (the test command runs a short one):
#   tools/fuzz_dispatch.sh [CALLS] [FIRST_SEED] [ROUNDS]
# CALLS random late-bound calls (1,000,000 by default) in runs of 50,000 with consecutive
# seeds from FIRST_SEED (1), then ROUNDS rounds of the create, use and release cycle
# (100,000), for every architecture that runs here. A failing run names its seed and call,
# and `tests/robustness/run_fuzzer.sh build/ARCH/bin fuzz SEED 50000` repeats it.
set -euo pipefail
cd "$(dirname "$0")/.."
calls=${1:-1000000} seed=${2:-1} rounds=${3:-100000}
tools/build.sh >/dev/null
for arch in x86 x64; do
  if ! loader=$(tests/support/wine_arch.sh "$arch"); then
    echo "=== $arch: skipped ($loader)"
    continue
  fi
  export WINELOADER="$loader"
  echo "=== $arch"
  for ((done = 0; done < calls; done += 50000, seed++)); do
    out=$(tests/robustness/run_fuzzer.sh "build/$arch/bin" fuzz "$seed" $((calls - done < 50000 ? calls - done : 50000))) ||
      { echo "$out"; exit 1; }
    echo "${out%%$'\n'*}"
  done
  tests/robustness/run_fuzzer.sh "build/$arch/bin" cycle "$rounds"
done
