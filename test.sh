#!/usr/bin/env bash
# Installs what the machine lacks, builds, and runs every test: the ordinary build by g++ and by clang++, the
# address, undefined-behaviour and thread sanitizers, a fuzzing smoke run, formatting and static analysis.
#
# usage: ./test.sh [STEP ...]     steps: release clang asan tsan fuzz python format tidy (default: all, in this order)
set -euo pipefail
cd "$(dirname "$0")"

steps=("$@")
[ ${#steps[@]} -gt 0 ] || steps=(format release clang asan tsan fuzz python tidy)
tools/install_packages.sh test

passed=0
failed=0
failures=()
say() { printf '\n== %s (%d s)\n' "$1" "$SECONDS"; }

# Configures and builds preset $1, targets $2 (all when empty); warnings are errors.
build() {
  local log=build-log-$1.txt
  local targets=()
  [ -z "${2:-}" ] || targets=(--target $2)
  if ! { cmake --preset "$1" -G Ninja -DCMAKE_COMPILE_WARNING_AS_ERROR=ON -DMOXAC_BENCH="${3:-OFF}" &&
         cmake --build --preset "$1" "${targets[@]}"; } > "$log" 2>&1; then
    grep -E 'error|warning|FAILED' "$log" | head -n 40 || tail -n 40 "$log"
    failed=$((failed + 1))
    failures+=("build of preset $1")
    return 1
  fi
  rm -f "$log"
}

# Counts one check that is not a ctest.
check() {
  local what=$1
  shift
  if "$@"; then
    passed=$((passed + 1))
  else
    failed=$((failed + 1))
    failures+=("$what")
  fi
}

# Runs the tests in directory $1 that match $2 and adds their counts.
run_tests() {
  local report
  report=$(mktemp)
  (cd "$1" && ctest -j"$(nproc)" --output-on-failure --no-tests=error --timeout 600 -R "${2:-.}" \
    --output-junit "$report") | grep -vE '^ *(Start|[0-9]+/[0-9]+) .*(Start|Passed)|^ +Start ' || true
  # A test that skips itself (its peer program is not installed) is neither passed nor failed.
  read -r bad skipped all < <(python3 - "$report" <<'PYTHON'
import sys, xml.etree.ElementTree as tree
cases = tree.parse(sys.argv[1]).getroot().findall("testcase")
skipped = [c for c in cases if c.find("skipped") is not None and c.find("skipped").get("message", "").startswith("SKIP")]
print(sum(c.get("status") != "run" for c in cases) - len(skipped), len(skipped), len(cases))
PYTHON
  )
  rm -f "$report"
  [ "$skipped" -eq 0 ] || echo "$skipped tests skipped in $1"
  passed=$((passed + all - bad - skipped))
  failed=$((failed + bad))
  [ "$bad" -eq 0 ] || failures+=("$bad tests in $1")
}

check_format() {
  git ls-files '*.cpp' '*.h' '*.c' | xargs clang-format-14 --dry-run --Werror
}

check_tidy() {
  git ls-files 'frame/*.cpp' 'moxcore/*.cpp' 'vlc/*.cpp' 'mp3/*.cpp' 'aac/*.cpp' 'transform/*.cpp' 'sbr/*.cpp' \
      'util/*.cpp' 'codec/*.cpp' 'apps/*.cpp' |
    grep -v '_tables\.cpp$' | xargs -P "$(nproc)" -n 4 clang-tidy-14 -p build --quiet 2>/dev/null
}

# Twenty thousand inputs, or 15 seconds, for each driver.
run_fuzzers() {
  local driver name good=true
  for driver in fuzz/*_fuzz.cpp; do
    [ -e "$driver" ] || continue
    name=$(basename "$driver" .cpp)
    mkdir -p "build-fuzz/corpus-$name"  # what is found goes here, not among the committed inputs
    if ! "build-fuzz/$name" -seed=20261122 -runs=20000 -max_total_time=15 -max_len=8192 -timeout=10 \
        -artifact_prefix=build-fuzz/ "build-fuzz/corpus-$name" $(ls -d fuzz/corpus/"$name" 2>/dev/null) \
        > "build-fuzz/$name.log" 2>&1; then
      tail -n 30 "build-fuzz/$name.log"
      good=false
    else
      echo "$name: $(grep -E '^Done|DONE' "build-fuzz/$name.log" | tail -n 1)"
    fi
  done
  $good
}

check_python() {
  MOXAC_LIBRARY_DIR=$PWD/build /usr/bin/python3 -m pytest -q -p no:cacheprovider python/tests
}

for step in "${steps[@]}"; do
  say "$step"
  case $step in
    format) check "formatting" check_format ;;
    release)
      if build release "" "$(dpkg-query -W -f='ON' libbenchmark-dev 2>/dev/null || echo OFF)"; then run_tests build; fi ;;
    clang) if build clang; then run_tests build-clang; fi ;;
    asan) if build asan; then run_tests build-asan; fi ;;
    tsan) if build tsan "$(grep -rlE 'std::(j?thread|async)' tests --include='*_test.cpp' | cut -d/ -f2 |
                           sort -u | sed 's/^/test_/' | tr '\n' ' ')"; then run_tests build-tsan Thread; fi ;;
    fuzz) if build fuzz; then check "fuzzing" run_fuzzers; fi ;;
    python) if build release; then check "the Python package" check_python; fi ;;
    tidy) check "static analysis" check_tidy ;;
    *) echo "unknown step: $step" >&2; exit 2 ;;
  esac
done

say "lines of code"
tools/count_lines.py
say "done"
for failure in "${failures[@]}"; do echo "FAILED: $failure"; done
echo "$passed passed, $failed failed"
[ "$failed" -eq 0 ] && [ "$passed" -gt 0 ]
