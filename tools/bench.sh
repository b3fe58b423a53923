#!/usr/bin/env bash
# Builds the release tree and runs every benchmark; results go to build/release/bench-*.json too.
#   tools/bench.sh [benchmark-name-filter]
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh --bench
cmake --preset release >/dev/null
cmake --build --preset release -- -j2 >/dev/null
filter=${1:-}
for b in build/release/bin/bench_*; do
  name=$(basename "$b")
  [[ -z "$filter" || "$name" == *"$filter"* ]] || continue
  echo "=== $name"
  "$b" --benchmark_repetitions=3 --benchmark_report_aggregates_only=true \
       --benchmark_out="build/release/${name}.json" --benchmark_out_format=json
done
