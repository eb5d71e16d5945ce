#!/usr/bin/env bash
# Builds the three targets and runs every test: natively under ASan+UBSan,
# the 64-bit DLL under wine, and the build checks of the 32-bit DLL (wine32
# cannot be installed here, so its tests are built but not run).
set -uo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
passed=0
failed=0
recap=$(mktemp)
trap 'rm -f "$recap"' EXIT

run_ctest() {  # run_ctest BUILD_DIR [ctest args...]; adds to the totals
  local dir=$1; shift
  local log
  log=$(mktemp)
  ctest --test-dir "$dir" -j"$jobs" --output-on-failure "$@" 2>&1 | tee "$log"
  local summary
  summary=$(grep -E 'tests passed, [0-9]+ tests? failed out of [0-9]+' "$log" | tail -1)
  rm -f "$log"
  if [ -z "$summary" ]; then
    echo "test: no summary from ctest in $dir" >&2
    failed=$((failed + 1))
    return
  fi
  local nfail ntotal
  nfail=$(sed -E 's/.* ([0-9]+) tests? failed out of ([0-9]+).*/\1/' <<<"$summary")
  ntotal=$(sed -E 's/.* failed out of ([0-9]+).*/\1/' <<<"$summary")
  passed=$((passed + ntotal - nfail))
  failed=$((failed + nfail))
  if [ "$nfail" -gt 0 ]; then
    { echo "== failures in $dir"; python3 scripts/ctest-failures.py "$dir/Testing/Temporary/LastTest.log" recap; } >>"$recap"
  fi
}

# ctest lists a build's tests by running each test program once
# (--gtest_list_tests). When wine fails to start one of them, ctest lists no
# test at all, so the listing is tried once more (only programs not yet
# listed run again).
list_tests() {  # list_tests BUILD_DIR
  local dir=$1 attempt log
  log=$(mktemp)
  for attempt in 1 2; do
    if ctest --test-dir "$dir" -N >"$log" 2>&1; then
      [ "$attempt" -eq 1 ] || echo "listing the tests of $dir failed once, then worked" >>"$recap"
      break
    fi
    echo "== listing the tests of $dir failed (attempt $attempt):"
    grep -v '^  Test' "$log"
  done
  rm -f "$log"
}

# Under wine a test program now and then ends before its test has run (it
# does not start, or dies in the emulator) and so gives no verdict at all.
# Such a test runs once more, and it is its second run that counts; a test
# that failed one of its own checks never does. Every second run is listed.
rerun_without_verdict() {  # rerun_without_verdict BUILD_DIR
  local dir=$1 pattern
  [ -f "$dir/Testing/Temporary/LastTest.log" ] || return
  local patterns
  patterns=$(python3 scripts/ctest-failures.py "$dir/Testing/Temporary/LastTest.log" without-verdict)
  [ -n "$patterns" ] || return
  cp "$dir/Testing/Temporary/LastTest.log" "$dir/Testing/Temporary/FirstRun.log"
  while IFS= read -r pattern; do
    echo "== ran again, no verdict the first time: $pattern"
    if ctest --test-dir "$dir" --output-on-failure -R "$pattern"; then
      passed=$((passed + 1))
      failed=$((failed - 1))
      echo "second run of $pattern in $dir passed (first run: no verdict)" >>"$recap"
    fi
  done <<<"$patterns"
}

scripts/build.sh native win64 win32 || exit 1

echo "== native (ASan+UBSan)"
run_ctest build/native

echo "== win32 (build checks)"
run_ctest build/win32 -L build

echo "== win64 (under wine)"
scripts/wine-session.sh start build/win64
list_tests build/win64
run_ctest build/win64
rerun_without_verdict build/win64
scripts/wine-session.sh stop build/win64

echo
if [ -s "$recap" ]; then
  cat "$recap"
  echo
fi
echo "total: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
