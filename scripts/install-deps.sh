#!/usr/bin/env bash
# Installs, from Debian's packages, whatever the build and the tests need and the machine lacks.
set -euo pipefail
packages=(g++ make cmake pkg-config qt6-base-dev libgl-dev libpugixml-dev libgtest-dev libgmock-dev
          libbenchmark-dev xvfb xauth)
missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq "${missing[@]}"
fi
