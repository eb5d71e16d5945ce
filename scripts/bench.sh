#!/usr/bin/env bash
# Builds the Release benchmarks and prints, for each, our figure beside the
# peers' from the same run and their ratio. Raw results: build/bench/results/.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/build.sh bench
mkdir -p build/bench/results
for bin in build/bench/bin/bench_*; do
  [ -x "$bin" ] || continue
  name=${bin##*/}
  echo "== $name"
  "$bin" --benchmark_format=json --benchmark_out="build/bench/results/$name.json" --benchmark_out_format=json >/dev/null
  python3 scripts/bench-report.py "build/bench/results/$name.json"
done
