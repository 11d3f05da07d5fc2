#!/usr/bin/env bash
# What the monitor window's GUI thread pays at full traffic: the bench in monitor mode under a
# virtual screen, one monitor window on the simulator at $PDUSIM_MONITOR_RATE items a second
# (20000 unless set: five saturated CAN buses), five seconds of it. Prints the rows taken in and
# the p50/p99/max of every timer event (the window's 50 ms tick among them) and of every window
# repaint; exits 1 when either p99 reaches 16 ms.
# Usage: bench/monitor_window_tick.sh [BUILD_DIR]      (default: build/default)
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/default}
cmake --build "$build" -j"$(nproc)" --target quillon-tour pdusim >/dev/null
out=$(mktemp -d)
trap 'rm -rf "$out"' EXIT
mkdir -p "$out/config"
XDG_CONFIG_HOME="$out/config" xvfb-run -a -s "-screen 0 1600x1000x24" \
  "$build/bin/quillon-tour" "$out" monitor-tick | grep -E "full traffic|timer events|window repaints|tick and its repaint"
