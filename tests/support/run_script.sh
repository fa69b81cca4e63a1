#!/usr/bin/env bash
# Runs one script client the way a user would: `cscript //nologo client` against the
# registered DLL. The check library of the script's language is put in front of it
# (neither script engine can include files). The script gets a fresh scratch folder as
# its first argument and must end by printing "SCRIPT PASSED"; a script that stops early
# (an uncaught error ends Wine's script hosts silently, with exit code 0) fails, naming
# the last check it reached.
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
# Each check prints its name after "- " (see the check library); only the rest is shown.
printf '%s\n' "$output" | grep -v '^- '
if printf '%s\n' "$output" | grep -q '^FAIL'; then exit 1; fi
printf '%s\n' "$output" | grep -q '^SCRIPT PASSED' && exit 0

echo "the script did not run to its end; the last check it reached:"
printf '%s\n' "$output" | grep '^- ' | tail -n 1
exit 1
