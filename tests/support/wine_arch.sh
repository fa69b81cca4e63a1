#!/usr/bin/env bash
# Whether this machine can run Windows programs of one architecture under Wine, found by
# trying that architecture's loader rather than by guessing from the kernel or the
# installed packages (a kernel without 32-bit support fails every i386 binary with
# "Exec format error", while the 64-bit loader works).
#   wine_arch.sh x86|x64    prints the loader and exits 0, or prints why not and exits 1
set -uo pipefail

case "${1:-}" in
  x86) loader=/usr/lib/wine/wine package=wine32:i386 bits=32 ;;
  x64) loader=/usr/lib/wine/wine64 package=wine64 bits=64 ;;
  *) echo "usage: $0 x86|x64" >&2; exit 2 ;;
esac

if [ ! -x "$loader" ]; then
  echo "the $bits-bit Wine loader $loader is not installed (package $package)"
  exit 1
fi
if ! output=$("$loader" --version 2>&1); then
  reason=$(printf "%s" "$output" | tr -d "\r" | tail -n 1 | sed -E "s/^.*: line [0-9]+: //")
  echo "this machine cannot execute $bits-bit programs: $reason"
  exit 1
fi
echo "$loader"
