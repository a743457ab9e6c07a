#!/usr/bin/env bash
# Measures how strong the test suite is. Each mutation of scripts/mutations.txt is applied to the
# sources on its own; the tree is rebuilt incrementally and the tests are run. A mutant is
# "killed" when a test fails and "survived" when everything still passes. The sources are
# restored after every mutant, also when the script is interrupted.
#
#   ./scripts/mutation-check.sh [--build DIR] [--only ID[,ID...]] [--list FILE] [--report FILE]
#   ./scripts/mutation-check.sh --check     (only checks that every mutant applies)
#   --skip-baseline: do not first prove the unmutated suite green (for re-runs of a few mutants)
#
# The whole suite runs for every mutant, cheapest first, and stops at the first failure: the
# test program of the mutated folder (core/... -> test_core), the other test programs with the
# two slow application ones last, then the suite's remaining ctest checks (installed example,
# installed headers, console). A mutant that hangs a test past its timeout counts as killed.
# A killed mutant takes well under a minute on two cores, a surviving one about four. Each
# line of the list is
#   ID | file | exact text | replacement | what it breaks
# where the exact text must occur exactly once in the file, so that a mutant never lands
# somewhere unintended; write a literal '|' as '\|'.
set -euo pipefail
cd "$(dirname "$0")/.."

build=build
list=scripts/mutations.txt
only=""
report=""
check_only=0
baseline=1
while [ $# -gt 0 ]; do
  case "$1" in
    --build) build="$2"; shift 2 ;;
    --only) only=",$2,"; shift 2 ;;
    --list) list="$2"; shift 2 ;;
    --report) report="$2"; shift 2 ;;
    --check) check_only=1; shift ;;
    --skip-baseline) baseline=0; shift ;;
    -h|--help) sed -n '2,19p' "$0" | sed 's/^# \{0,1\}//'; exit 0 ;;
    *) echo "mutation-check: unknown argument '$1' (see --help)" >&2; exit 2 ;;
  esac
done
[ -f "$list" ] || { echo "mutation-check: no mutation list at $list" >&2; exit 2; }
src=$PWD

# The list's fields, one mutant per output line: ID <tab> file <tab> description.
records() {
  python3 - "$list" <<'PY'
import re, sys
for n, line in enumerate(open(sys.argv[1], encoding="utf-8"), 1):
    if not line.strip() or line.lstrip().startswith("#"):
        continue
    fields = [f.replace("\\|", "|").strip() for f in re.split(r"(?<!\\)\|", line.rstrip("\n"))]
    if len(fields) != 5:
        sys.exit(f"{sys.argv[1]}:{n}: expected 5 fields separated by '|', found {len(fields)}")
    print("\t".join([fields[0], fields[1], fields[4]]))
PY
}

# Applies mutant $1 of the list ($2 = 1 to only check that it applies); fails unless its text
# occurs exactly once in its file.
mutate() {
  python3 - "$list" "$1" "$2" <<'PY2'
import re, sys
listing, wanted, dry = sys.argv[1], sys.argv[2], sys.argv[3] == "1"
for line in open(listing, encoding="utf-8"):
    if not line.strip() or line.lstrip().startswith("#"):
        continue
    fields = [f.replace("\\|", "|").strip() for f in re.split(r"(?<!\\)\|", line.rstrip("\n"))]
    if fields[0] != wanted:
        continue
    path, old, new = fields[1], fields[2], fields[3]
    try:
        text = open(path, encoding="utf-8").read()
    except OSError as e:
        sys.exit(str(e))
    count = text.count(old)
    if count != 1:
        sys.exit(f"the text occurs {count} times")
    if not dry:
        open(path, "w", encoding="utf-8").write(text.replace(old, new, 1))
    sys.exit(0)
sys.exit("no such mutant")
PY2
}

if [ "$check_only" -eq 1 ]; then
  bad=0
  while IFS=$'\t' read -r id file what; do
    if ! err=$(mutate "$id" 1 2>&1); then echo "$id $file: $err"; bad=1; fi
  done < <(records)
  [ "$bad" -eq 0 ] && echo "mutation-check: every mutant applies"
  exit "$bad"
fi
[ -f "$build/CMakeCache.txt" ] || {
  echo "mutation-check: no configured build in '$build'; run ./scripts/test.sh first" >&2; exit 2; }
jobs=$(nproc)
say() { echo "$*"; if [ -n "$report" ]; then echo "$*" >>"$report"; fi; }

# The test program that covers a source folder best; the whole suite runs after it.
first_tests() {
  case "$1" in
    apps/zo-server/*) echo test_apps_server ;;
    apps/zo-schema/*) echo test_apps_schema ;;
    platform/*/*) local rest=${1#platform/}; echo "test_platform_${rest%%/*}" ;;
    include/zo/*/*) local rest=${1#include/zo/}; echo "test_${rest%%/*}" ;;
    */*) echo "test_${1%%/*}" ;;
  esac
}

backup=""
target=""
restore() { if [ -n "$backup" ]; then cp "$backup" "$target"; rm -f "$backup"; backup=""; fi; }
trap 'restore' EXIT INT TERM

# Test programs in the order they run; $1 is the mutated folder's own, tried first.
programs_in_order() {
  local own=$1 slow="test_apps_schema test_apps_server" t
  [ -x "$build/tests/$own" ] && echo "$own"
  for t in "$build"/tests/test_*; do
    t=$(basename "$t")
    [ -x "$build/tests/$t" ] && [ "$t" != "$own" ] && [[ " $slow " != *" $t "* ]] && echo "$t"
  done
  for t in $slow; do [ "$t" != "$own" ] && [ -x "$build/tests/$t" ] && echo "$t"; done
}

# Runs the suite, stopping at the first failure; prints what failed, or nothing when all pass.
run_suite() {
  local program
  for program in $(programs_in_order "$1"); do
    if ! (cd "$build/tests" && ZO_SOURCE_DIR="$src" timeout 900 "./$program" --gtest_fail_fast \
            >/dev/null 2>&1); then
      echo "$program"; return
    fi
  done
  # Then the ctest entries that are not one of those programs' test cases.
  local others
  others=$(ctest --test-dir "$build" --show-only=json-v1 | python3 -c '
import json, os, re, sys
names = [t["name"] for t in json.load(sys.stdin)["tests"]
         if not re.match(r"test_", os.path.basename((t.get("command") or [""])[0]))]
print("|".join(re.escape(n) for n in names))')
  if [ -n "$others" ] &&
     ! timeout 1800 ctest --test-dir "$build" -j "$jobs" -R "^($others)\$" --stop-on-failure \
         >/dev/null 2>&1; then
    echo "ctest checks ($others)"
  fi
}

cmake --build "$build" -j "$jobs" >/dev/null
if [ "$baseline" -eq 1 ]; then
  say "mutation-check: baseline suite"
  failed=$(run_suite none)
  if [ -n "$failed" ]; then
    echo "mutation-check: the suite fails without mutants ($failed); fix that first" >&2; exit 1
  fi
fi

killed=0; survived=0; invalid=0
mapfile -t mutants < <(records)
for record in "${mutants[@]}"; do
  IFS=$'\t' read -r id file what <<<"$record"
  if [ -n "$only" ] && [[ "$only" != *",$id,"* ]]; then continue; fi
  target="$file"; backup=$(mktemp)
  cp "$file" "$backup"
  started=$SECONDS
  if ! err=$(mutate "$id" 0 2>&1); then
    say "$id INVALID  $file: $err"; invalid=$((invalid + 1)); restore; continue
  fi
  if ! cmake --build "$build" -j "$jobs" >/dev/null 2>&1; then
    verdict="INVALID  (does not compile)"; invalid=$((invalid + 1))
  else
    failed=$(run_suite "$(first_tests "$file")")
    if [ -n "$failed" ]; then
      verdict="killed   by $failed"; killed=$((killed + 1))
    else
      verdict="SURVIVED"; survived=$((survived + 1))
    fi
  fi
  say "$id $verdict ($((SECONDS - started)) s) $file: $what"
  restore
done

cmake --build "$build" -j "$jobs" >/dev/null
total=$((killed + survived))
say "mutation-check: $killed killed, $survived survived, $invalid invalid of $((total + invalid)); score $(( total ? 100 * killed / total : 0 ))%"
[ "$invalid" -eq 0 ]
