#!/usr/bin/env bash
# Installs what is missing, builds, and starts the bench on the built-in simulated D-PDU API.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default -j"$(nproc)" --target quillon quillon-cli pdusim
exec build/default/bin/quillon "$@"
