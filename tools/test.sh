#!/usr/bin/env bash
# The project's test command: installs what is missing, then builds and runs the whole suite on
# Linux (debug, AddressSanitizer+UBSan, ThreadSanitizer) and on Windows under wine.
# Exits non-zero when any build or test fails.
#   tools/test.sh                 all configurations
#   tools/test.sh debug windows   only the named ones (debug asan tsan windows)
set -uo pipefail
cd "$(dirname "$0")/.."

tools/setup.sh || exit 1

configs=("$@")
[[ ${#configs[@]} -gt 0 ]] || configs=(debug windows asan tsan)

export WINEDEBUG=-all
wine_started=0
start_wine() {
  # A persistent wine server makes every test start faster; its output must not hold our pipe.
  if [[ $wine_started -eq 0 ]] && command -v wineserver >/dev/null; then
    WINEDLLOVERRIDES="mscoree,mshtml=" /usr/lib/wine/wine64 cmd /c exit </dev/null >/dev/null 2>&1 || true
    wineserver -p </dev/null >/dev/null 2>&1 || true
    wine_started=1
  fi
}
stop_wine() { [[ $wine_started -eq 0 ]] || wineserver -k </dev/null >/dev/null 2>&1 || true; }
trap stop_wine EXIT

total_passed=0
total_failed=0
failed_configs=()
for config in "${configs[@]}"; do
  started=$SECONDS
  echo "=== ${config}: configure and build"
  [[ "$config" == windows ]] && start_wine
  if ! cmake --preset "$config" >/dev/null || ! cmake --build --preset "$config" -- -j2 >"build/${config}.build.log" 2>&1; then
    [[ -f "build/${config}.build.log" ]] && tail -n 60 "build/${config}.build.log"
    echo "=== ${config}: BUILD FAILED"
    failed_configs+=("$config")
    total_failed=$((total_failed + 1))
    continue
  fi
  echo "=== ${config}: test"
  log="build/${config}.test.log"
  ctest --preset "$config" 2>&1 | tee "$log"
  rc=${PIPESTATUS[0]}
  summary=$(grep -E 'tests passed, [0-9]+ tests? failed out of [0-9]+' "$log" | tail -n 1)
  if [[ $summary =~ ([0-9]+)\ tests?\ failed\ out\ of\ ([0-9]+) ]]; then
    failed=${BASH_REMATCH[1]}
    total=${BASH_REMATCH[2]}
    total_failed=$((total_failed + failed))
    total_passed=$((total_passed + total - failed))
  fi
  if [[ $rc -ne 0 ]]; then
    failed_configs+=("$config")
    [[ -n "$summary" ]] || total_failed=$((total_failed + 1))
  fi
  echo "=== ${config}: done in $((SECONDS - started)) s"
done

echo
if [[ ${#failed_configs[@]} -gt 0 ]]; then
  echo "FAILED configurations: ${failed_configs[*]}"
fi
echo "${total_passed} passed, ${total_failed} failed"
[[ ${#failed_configs[@]} -eq 0 ]]
