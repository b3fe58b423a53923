#!/usr/bin/env bash
# The main job: install what is missing, build the release tree, and start the library as a host
# program would (`qorctl run`) in the examples' folder, where the example configuration and the
# example plug-in lie: configuration chain, features, plug-ins, logging and error collection.
set -euo pipefail
cd "$(dirname "$0")/.."
tools/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target qorctl example_host greeting_plugin -- -j2 >/dev/null
cd build/release/bin/examples
echo "--- qorctl run (in $(pwd), with its orvane.cfg)"
../qorctl run "$@"
echo "--- the log file it wrote: example.log (last lines)"
tail -n 12 example.log
