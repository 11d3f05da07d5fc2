#!/usr/bin/env bash
# Plays the bench as a new user would, on the simulator under a virtual 1600x1000 screen
# (tests/qt/tour/QuillonTour.cpp): screenshots of the main window at its default and at its
# minimum size after Parse MDF File and PDUModuleConnect, of the BusMonitoring dialog and of the
# About box, of the plain link window after a request; the same in monitor mode with the full
# link window and its Tx flags and expected-response dialogs; then how long the process takes to
# end after its main window closed on Exit, for the whole tour and for an Exit right after
# loading, parsing and connecting.
# Usage: scripts/ui-tour.sh [OUTPUT_DIR]      (default: build/ui-tour)
set -euo pipefail
cd "$(dirname "$0")/.."
out=$(realpath -m "${1:-build/ui-tour}")
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default -j"$(nproc)" --target quillon-tour pdusim
mkdir -p "$out/config"
export XDG_CONFIG_HOME="$out/config"  # no settings of the user's

# One run under its own virtual screen; prints the tour's lines and the process's end.
run() {
  xvfb-run -a -s "-screen 0 1600x1000x24" bash -c \
    '"$@"; rc=$?; echo "[tour] process-ended-ms $(date +%s%3N)"; exit $rc' tour build/default/bin/quillon-tour "$@"
}
# Milliseconds from the main window's closing to the process's end, from a run's lines.
took() {
  local closed ended
  closed=$(sed -n 's/^\[tour\] closed-at-ms //p' "$1")
  ended=$(sed -n 's/^\[tour\] process-ended-ms //p' "$1")
  echo $((ended - closed))
}

status=0
run "$out" | tee "$out/tour.txt" || status=1
echo "Whole tour: the process ended $(took "$out/tour.txt") ms after the main window closed."
run "$out" monitor | tee "$out/tour-monitor.txt" || status=1
for step in load parse connect; do
  run "$out/exit-after-$step" "$step" > "$out/exit-after-$step.txt" || status=1
  echo "Exit after $step: the process ended $(took "$out/exit-after-$step.txt") ms after the main window closed."
done
echo "Screenshots: $out/*.png"
exit $status
