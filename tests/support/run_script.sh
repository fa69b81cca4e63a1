#!/usr/bin/env bash
# Runs one script client the way a user would: `cscript //nologo client` against the
# registered DLL. The check library of the script's language is put in front of it
# (neither script engine can include files). The script gets a fresh scratch folder as
# its first argument and must end by printing "SCRIPT PASSED"; a script that stops early
# (an uncaught error ends Wine's script hosts silently, with exit code 0) fails.
#   run_script.sh SCRIPT HOST WORK_DIR      HOST: cscript or cscript98
set -uo pipefail
# shellcheck source=wine_loader.sh
. "$(dirname "$0")/wine_loader.sh"

script=$(realpath "$1")
host=$2
work=$(realpath -m "$3")
here=$(cd "$(dirname "$0")" && pwd)
name=$(basename "$script")
extension=${name##*.}

rm -rf "$work" && mkdir -p "$work/scratch"
cat "$here/../scripts/lib/check.$extension" "$script" > "$work/$name"
cd "$work"
output=$(wine "$host" //nologo "$name" "$(winepath -w "$work/scratch")" 2>&1)
printf '%s\n' "$output"
if printf '%s\n' "$output" | grep -q '^FAIL'; then exit 1; fi
printf '%s\n' "$output" | grep -q '^SCRIPT PASSED' && exit 0

echo "the script did not run to its end"
if [ "$extension" = vbs ]; then
  # Run it again with line markers to show where it stopped.
  rm -rf "$work/scratch" && mkdir -p "$work/scratch"
  "$here/trace_script.py" "$work/$name" "$work/traced.vbs"
  last=$(wine "$host" //nologo traced.vbs "$(winepath -w "$work/scratch")" 2>&1 | tr -d '\r' | grep '^TRACE ' | tail -n 1 | cut -d' ' -f2)
  lines_before=$(wc -l < "$here/../scripts/lib/check.$extension")
  if [ -n "$last" ]; then
    stopped=$(sed -n "$((last + 1)),\$p" "$work/$name" | grep -v -E "^\s*('|$)" | head -n 1)
    echo "it stopped after line $((last - lines_before)) of $(basename "$script"), at: $stopped"
  fi
fi
exit 1
