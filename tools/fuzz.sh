#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan+UBSan) and runs each one on a copy of its seed corpus.
#   tools/fuzz.sh [seconds-per-target] [target-name-filter]
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-600}
filter=${2:-}
tools/setup.sh
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DQOR_BUILD_FUZZ=ON -DQOR_SANITIZE=address \
  -DQOR_BUILD_TESTS=OFF -DQOR_BUILD_EXAMPLES=OFF -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build/fuzz -j2 >/dev/null
for target in build/fuzz/bin/fuzz_*; do
  name=$(basename "$target")
  [[ -z "$filter" || "$name" == *"$filter"* ]] || continue
  seeds="fuzz/corpus/${name#fuzz_}"
  work="build/fuzz/corpus-${name#fuzz_}"
  mkdir -p "$work"
  [[ -d "$seeds" ]] && cp -n "$seeds"/* "$work"/ 2>/dev/null || true
  echo "=== $name for ${seconds} s"
  (cd build/fuzz && "../../$target" "../../$work" -max_total_time="$seconds" -max_len=4096 -print_final_stats=1 2>&1 | tail -n 12)
done
