#!/usr/bin/env bash
# Sets up and runs every test: the normal build, the same tests under AddressSanitizer and
# UndefinedBehaviorSanitizer, the concurrency tests under ThreadSanitizer, and each fuzz target for
# 20 seconds (FUZZ_SECONDS) as a guard against regressions.
#   scripts/test.sh            all four
#   scripts/test.sh default    only the normal build (likewise asan, tsan, fuzz)
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
cd "$here"
presets=("$@")
[ ${#presets[@]} -gt 0 ] || presets=(default asan tsan fuzz)

# The secret-service tests need a session bus; run everything inside one when none is there.
if [ -z "${DBUS_SESSION_BUS_ADDRESS:-}" ] && [ -z "${NORVIK_IN_DBUS_SESSION:-}" ]; then
  "$here/scripts/setup.sh" default >&2 </dev/null
  if command -v dbus-run-session >/dev/null; then
    export NORVIK_IN_DBUS_SESSION=1
    exec dbus-run-session -- "$0" "$@"
  fi
fi

status=0
for preset in "${presets[@]}"; do
  if [ "$preset" = fuzz ]; then
    echo "== fuzz targets, ${FUZZ_SECONDS:-20} s each =="
    "$here/scripts/fuzz.sh" "${FUZZ_SECONDS:-20}" || status=1
    continue
  fi
  echo "== $preset build =="
  "$here/scripts/setup.sh" "$preset"
  echo "== $preset tests =="
  ctest --preset "$preset" || status=1
done
exit $status
