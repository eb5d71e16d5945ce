#!/usr/bin/env bash
# Builds the Release benchmarks and prints, for each, our figure beside the
# peers' from the same run and their ratio.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh bench
for bin in build/bench/bin/bench_*; do
  echo "== ${bin##*/}"
  "$bin" --benchmark_format=json --benchmark_out="$bin.json" --benchmark_out_format=json >/dev/null
  python3 scripts/bench-report.py "$bin.json"
done
