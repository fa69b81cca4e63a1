#!/usr/bin/env bash
# Runs the deliberate faults of tools/mutants.txt against the test suite, one at a time,
# and reports which the suite catches. It never touches the work tree: the tracked files
# (with their uncommitted changes) are copied to build/mutants/tree, which is configured
# once with the x64 preset (its own build folder and Wine prefix) and then, per mutant,
# changed, built incrementally, tested and put back.
#
#   tools/mutants.sh                      every mutant, against the tests of the work tree
#   tools/mutants.sh --tests-from REV     the same mutants against the tests of revision REV
#   tools/mutants.sh --only N             mutant N alone (see --list)
#   tools/mutants.sh --list               the numbered mutants, and whether each still applies
#   tools/mutants.sh --report             the saved results of every run, one column per run
#
# A mutant is "killed" when the tests fail, "survived" when they pass, "invalid" when it
# does not build and "stale" when its text no longer occurs exactly once. The run exits
# non-zero unless every mutant is killed. Each run's results go to
# build/mutants/results-LABEL.txt (LABEL: "worktree" or the revision given).
#
# The tests run as `ctest --preset x64 -j 2 --stop-on-failure` inside the copy, less the
# native fuzz targets (they check the text rules for crashes, not for answers), the
# dispatch fuzzer and cycle (they hunt crashes and leaks with random calls, not answers,
# and take minutes) and the folder-browser dialog test (no mutant is in the dialog; it
# runs alone and takes 10 s).
set -uo pipefail

root=$(git -C "$(dirname "$0")" rev-parse --show-toplevel)
cd "$root"
mutants_file=tools/mutants.txt
work=$root/build/mutants  # absolute: Wine takes no relative prefix
tree=$work/tree
# Left out (see above); dispatch_fuzz and dispatch_cycle hunt crashes and leaks with
# random calls, not answers, and take minutes; release_packages checks the packages of
# dist/, which the copy has none of.
exclude='^fuzz_|^dispatch_(fuzz|cycle)$|^cpp_browse_dialog$|^release_packages$'
tests_from=
only=
mode=run

while [ $# -gt 0 ]; do
  case "$1" in
    --tests-from) tests_from=$2; shift 2 ;;
    --only) only=$2; shift 2 ;;
    --list) mode=list; shift ;;
    --report) mode=report; shift ;;
    *) echo "usage: $0 [--tests-from REV] [--only N] [--list] [--report]" >&2; exit 2 ;;
  esac
done

# The mutant table as tab-separated records: number, file, description; the find and
# replace texts are read by number through `mutant_field`.
mutant_table() {
  python3 - "$mutants_file" <<'EOF'
import sys
blocks, current = [], None
for line in open(sys.argv[1], encoding="utf-8").read().split("\n"):
    if line.startswith("@ "):
        current = {"what": line[2:]}
        blocks.append(current)
    elif current is not None and line[:6] in ("file  ", "find  ", "repl  "):
        current[line[:4]] = line[6:].replace("{NL}", "\n")
for number, block in enumerate(blocks, start=1):
    missing = [key for key in ("file", "find", "repl") if key not in block]
    if missing:
        sys.exit(f"mutant {number} ({block['what']}) lacks {', '.join(missing)}")
    print(f"{number}\t{block['file']}\t{block['what']}")
EOF
}

# apply_mutant N DIR: changes DIR/file; exits 3 when the text does not occur exactly once.
apply_mutant() {
  python3 - "$mutants_file" "$1" "$2" <<'EOF'
import sys
mutants, number, base = sys.argv[1], int(sys.argv[2]), sys.argv[3]
blocks, current = [], None
for line in open(mutants, encoding="utf-8").read().split("\n"):
    if line.startswith("@ "):
        current = {}
        blocks.append(current)
    elif current is not None and line[:6] in ("file  ", "find  ", "repl  "):
        current[line[:4]] = line[6:].replace("{NL}", "\n")
block = blocks[number - 1]
path = f"{base}/{block['file']}"
try:
    text = open(path, encoding="utf-8").read()
except FileNotFoundError:
    print(f"{block['file']} is missing")
    sys.exit(3)
found = text.count(block["find"])
if found != 1:
    print(f"the text to change occurs {found} times in {block['file']}")
    sys.exit(3)
if base != ".":
    open(path, "w", encoding="utf-8").write(text.replace(block["find"], block["repl"]))
EOF
}

report() {
  shopt -s nullglob
  local files=("$work"/results-*.txt)
  [ ${#files[@]} -gt 0 ] || { echo "no results yet in $work"; return 0; }
  python3 - "$mutants_file" "${files[@]}" <<'EOF'
import os, sys
descriptions = [line[2:] for line in open(sys.argv[1], encoding="utf-8") if line.startswith("@ ")]
runs = []
for path in sys.argv[2:]:
    label = os.path.basename(path)[len("results-"):-len(".txt")]
    results = {}
    for line in open(path, encoding="utf-8"):
        number, outcome, _, what = line.rstrip("\n").split("\t")
        # A result counts for the mutant of that number only while its description is the same.
        if int(number) <= len(descriptions) and descriptions[int(number) - 1].rstrip() == what:
            results[int(number)] = outcome
    runs.append((label, results))
print("  #  " + "".join(f"{label[:12]:<13}" for label, _ in runs) + "mutant")
for number, what in enumerate(descriptions, start=1):
    cells = "".join(f"{results.get(number, '-'):<13}" for _, results in runs)
    print(f"{number:>3}  {cells}{what.rstrip()}")
EOF
}

case "$mode" in
  report) report; exit 0 ;;
  list)
    status=0
    while IFS=$'\t' read -r number file what; do
      if message=$(apply_mutant "$number" .); then state=ok; else state="STALE: $message"; status=1; fi
      printf '%3s  %-34s %s  [%s]\n' "$number" "$file" "$what" "$state"
    done < <(mutant_table)
    exit $status
    ;;
esac

table=$(mutant_table) || exit 1
mkdir -p "$work"
# The run applies the mutants as they were when it started, whatever happens to the list.
cp "$mutants_file" "$work/mutants-running.txt"
mutants_file=$work/mutants-running.txt
label=worktree
if [ -n "$tests_from" ]; then
  git rev-parse --verify --quiet "$tests_from^{commit}" >/dev/null || { echo "unknown revision $tests_from" >&2; exit 2; }
  label=$(git rev-parse --short "$tests_from")
fi

# ---- the copy: tracked files as they are in the work tree, the build folder kept
# Files are staged first and copied over only where their content changed, so that an
# incremental build redoes exactly what differs from the copy's last run (a file from
# another revision may be older than the object built from its successor).
stage=$work/stage
rm -rf "$stage" && mkdir -p "$stage" "$tree"
git ls-files -z | tar --null -T - -cf - 2>/dev/null | tar -xf - -C "$stage"
if [ -n "$tests_from" ]; then
  rm -rf "$stage/tests"
  git archive "$tests_from" tests | tar -xf - -C "$stage"
fi
python3 - "$stage" "$tree" <<'EOF'
import filecmp, os, shutil, sys
stage, tree = sys.argv[1], sys.argv[2]
wanted = set()
for folder, _, files in os.walk(stage):
    for name in files:
        relative = os.path.relpath(os.path.join(folder, name), stage)
        wanted.add(relative)
        source, target = os.path.join(stage, relative), os.path.join(tree, relative)
        if os.path.isfile(target) and filecmp.cmp(source, target, shallow=False):
            continue
        os.makedirs(os.path.dirname(target), exist_ok=True)
        shutil.copy(source, target)  # a fresh modification time
for folder, folders, files in os.walk(tree):
    if folder == tree and "build" in folders:
        folders.remove("build")
    for name in files:
        relative = os.path.relpath(os.path.join(folder, name), tree)
        if relative not in wanted:
            os.remove(os.path.join(tree, relative))
EOF
rm -rf "$stage"
log_dir=$work/logs-$label
rm -rf "$log_dir" && mkdir -p "$log_dir"

build() {  # LOG
  cmake --build "$tree/build/x64" -j 2 --target vofslib vofslib_tests >"$1" 2>&1
}
end_session() {
  WINEPREFIX="$tree/build/x64/wineprefix" WINELOADER=/usr/lib/wine/wine64 VOFS_ARCH=x64 \
    "$tree/tests/support/wine_session.sh" stop </dev/null >/dev/null 2>&1
}
run_tests() {  # LOG
  (cd "$tree" && timeout 900 ctest --preset x64 -j 2 --stop-on-failure -E "$exclude") >"$1" 2>&1
  local status=$?
  # A run stopped at its first failure skips the session's clean-up: end the session here.
  end_session
  return $status
}

if [ ! -f "$tree/build/x64/build.ninja" ]; then
  echo "configuring $tree (x64 preset)"
  (cd "$tree" && cmake --preset x64) >"$log_dir/configure.log" 2>&1 || { echo "configure failed: $log_dir/configure.log"; exit 1; }
fi
echo "building the unchanged tree"
build "$log_dir/baseline-build.log" || { echo "the unchanged tree does not build: $log_dir/baseline-build.log"; exit 1; }
echo "testing the unchanged tree"
run_tests "$log_dir/baseline-test.log" || { echo "the tests fail without any mutant: $log_dir/baseline-test.log"; exit 1; }

results=$work/results-$label.txt
[ -z "$only" ] && : > "$results"
failures=0
while IFS=$'\t' read -r number file what; do
  [ -n "$only" ] && [ "$number" != "$only" ] && continue
  started=$(date +%s)
  original=$(mktemp)
  cp -p "$tree/$file" "$original" 2>/dev/null || : > "$original"
  if ! message=$(apply_mutant "$number" "$tree"); then
    outcome=stale
    echo "$message" > "$log_dir/$number.log"
  elif ! build "$log_dir/$number-build.log"; then
    outcome=invalid
  elif run_tests "$log_dir/$number.log"; then
    outcome=survived
  else
    outcome=killed
  fi
  # Put the file back as it was; a new modification time makes the next build redo it.
  [ -s "$original" ] && cp "$original" "$tree/$file" && touch "$tree/$file"
  rm -f "$original"
  seconds=$(( $(date +%s) - started ))
  [ "$outcome" = killed ] || failures=$((failures + 1))
  printf '%3s  %-9s %4ss  %s\n' "$number" "$outcome" "$seconds" "$what"
  if [ -n "$only" ]; then
    grep -v "^$number	" "$results" 2>/dev/null > "$results.new"; mv "$results.new" "$results"
  fi
  printf '%s\t%s\t%s\t%s\n' "$number" "$outcome" "$seconds" "$what" >> "$results"
done <<< "$table"
sort -n -o "$results" "$results"

# Leave the copy built as it stands, so that the next run starts from a clean build.
build "$log_dir/final-build.log" >/dev/null 2>&1 || true
end_session  # a test program still running when its run stopped may have started Wine again
mutants_file=tools/mutants.txt
echo
report
if [ "$failures" -ne 0 ]; then
  echo "$failures mutant(s) not killed (logs in $log_dir)"
  exit 1
fi
echo "every mutant of this run was killed"
