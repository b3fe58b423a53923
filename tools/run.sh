#!/usr/bin/env bash
# The main job: install what is missing, build the release tree and run the example program,
# which uses the library through its C++ and its C face and prints what it did.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target qorcommon_tour qorcommon_tour_c -- -j2 >/dev/null
echo "--- C++ face"
build/release/bin/qorcommon_tour
echo "--- C face"
build/release/bin/qorcommon_tour_c
