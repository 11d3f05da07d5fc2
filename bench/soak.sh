#!/usr/bin/env bash
# The long runs of bench/soak.cpp, one after another on the simulator: 1000 link open/close
# cycles with a ComPrimitive in flight, a million ComPrimitives through one link, and a monitor
# window at full traffic (PDUSIM_MONITOR_RATE, 20000 items/s unless set) for ten minutes.
# Each prints VmRSS/VmHWM at start, middle and end, the longest close, and what it checked.
# Usage: bench/soak.sh [--quick] [BUILD_DIR]      (default: build/default; --quick: 50 cycles,
#        20000 ComPrimitives, 20 s of monitor). Exit code 1 when any run's check fails.
set -uo pipefail
cd "$(dirname "$0")/.."
quick=0
if [[ ${1:-} == --quick ]]; then quick=1; shift; fi
build=${1:-build/default}
cmake --build "$build" -j2 --target bench_soak pdusim >/dev/null || exit 1
if ((quick)); then runs=("cycles 50" "cops 20000" "monitor 20"); else runs=("cycles 1000" "cops 1000000" "monitor 600"); fi
export PDUSIM_MONITOR_RATE=${PDUSIM_MONITOR_RATE:-20000}
export XDG_CONFIG_HOME=$(mktemp -d)
trap 'rm -rf "$XDG_CONFIG_HOME"' EXIT
status=0
for run in "${runs[@]}"; do
  echo "== bench_soak $run"
  # shellcheck disable=SC2086
  /usr/bin/time -f "wall %e s, user %U s, system %S s, max RSS %M kB" "$build/bench/bench_soak" $run || status=1
done
exit $status
