#!/usr/bin/env bash
# Builds the three targets and runs every test: natively under ASan+UBSan,
# the 64-bit DLL under wine, and the build checks of the 32-bit DLL (wine32
# cannot be installed here, so its tests are built but not run).
set -uo pipefail
cd "$(dirname "$0")/.."
jobs=$(nproc)
passed=0
failed=0

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
}

scripts/build.sh native win64 win32 || exit 1

echo "== native (ASan+UBSan)"
run_ctest build/native

echo "== win32 (build checks)"
run_ctest build/win32 -L build

echo "== win64 (under wine)"
scripts/wine-session.sh start build/win64
run_ctest build/win64
scripts/wine-session.sh stop build/win64

echo
echo "total: $passed passed, $failed failed"
[ "$failed" -eq 0 ]
