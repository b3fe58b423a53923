#!/usr/bin/env bash
# Installs what the project needs from Debian's packages. Idempotent and quiet when all is there.
#   tools/setup.sh          build, test and Windows cross-build tools
#   tools/setup.sh --bench  also the peers the benchmarks compare against
set -euo pipefail

packages=(
  cmake ninja-build g++ gcc clang make pkg-config ccache clang-format
  googletest libgtest-dev libgmock-dev libbenchmark-dev
  rapidjson-dev librapidxml-dev
  g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix wine64 wine
  libclang-rt-14-dev
)
if [[ "${1:-}" == "--bench" ]]; then
  packages+=(libpoco-dev libinih-dev libspdlog-dev)
fi

missing=()
for p in "${packages[@]}"; do
  status=$(dpkg-query -W -f='${Status}' "$p" 2>/dev/null || true)
  [[ "$status" == "install ok installed" ]] || missing+=("$p")
done
[[ ${#missing[@]} -eq 0 ]] && exit 0

echo "setup: installing ${missing[*]}"
SUDO=""
[[ $(id -u) -eq 0 ]] || SUDO="sudo"
export DEBIAN_FRONTEND=noninteractive
log=$(mktemp)
if ! { $SUDO apt-get update -qq && $SUDO apt-get install -y -qq "${missing[@]}"; } >"$log" 2>&1; then
  cat "$log" >&2
  echo "setup: installing failed" >&2
  exit 1
fi
rm -f "$log"
echo "setup: done"
