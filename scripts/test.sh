#!/usr/bin/env bash
# Installs what is missing, builds and runs the whole test suite; then the suite again under
# AddressSanitizer + UndefinedBehaviorSanitizer, and the threaded tests under ThreadSanitizer.
# Options: --quick (the default build and its package only).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
jobs=$(nproc)
export QT_QPA_PLATFORM=offscreen

# TARGETS, when set, limits the build to what the preset's tests need.
run_preset() {
  local preset=$1; shift
  echo "=== $preset ==="
  cmake --preset "$preset" >/dev/null
  # shellcheck disable=SC2086
  cmake --build --preset "$preset" -j"$jobs" ${TARGETS:+--target $TARGETS}
  # Most tests wait on timers, threads and child processes rather than use the CPU.
  ctest --preset "$preset" -j"${TEST_JOBS:-$((jobs * 3))}" "$@"
}

run_preset default
# The Debian package made from that build: linted, installed, run from the PATH and purged.
scripts/check-package.sh build/default
[ "${1:-}" = "--quick" ] && exit 0
run_preset asan
# ThreadSanitizer on the programs whose code runs threads; only they (and the programs the
# golden scripts start) are built for it.
tsan_tests="platform sim sim_vehicle app headless controls logical_link monitor_link"
TARGETS="$(printf 'test_%s ' $tsan_tests)quillon-cli pdusim" TEST_JOBS=$((jobs * 2)) \
  run_preset tsan -R "^($(echo $tsan_tests | tr ' ' '|'))(\.[0-9]+)?\$"
