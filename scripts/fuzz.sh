#!/usr/bin/env bash
# Builds the libFuzzer targets and runs each for FUZZ_SECONDS (default 10),
# starting from its seed corpus fuzz/corpus/<name>. New inputs go to
# build/fuzz/corpus/<name>, never into the repository.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${FUZZ_SECONDS:-10}
scripts/build.sh fuzz
status=0
for bin in build/fuzz/bin/fuzz_*; do
  name=${bin##*/fuzz_}
  work=build/fuzz/corpus/$name
  mkdir -p "$work"
  echo "== fuzz $name (${seconds}s)"
  if ! "$bin" -max_total_time="$seconds" -print_final_stats=1 "$work" "fuzz/corpus/$name" 2>"build/fuzz/$name.log"; then
    tail -40 "build/fuzz/$name.log"
    status=1
  else
    grep -E 'stat::number_of_executed_units|Done' "build/fuzz/$name.log" | tail -2
  fi
done
exit $status
