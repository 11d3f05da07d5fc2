#!/usr/bin/env bash
# Installs, from Debian's packages, whatever the build and the tests need and the machine lacks.
# (can-utils: the trace export is read back by its log2asc and asc2log; tshark: the DoIP monitor
# window is compared with Wireshark's dissector.)
# Extra groups by name: package (build and check the Debian package), icons (render the PNG
# icons from their SVG), screenshot (a picture of the installed bench under a virtual screen),
# fuzz (clang and libFuzzer for the harnesses of fuzz/).
set -euo pipefail
packages=(g++ make cmake ninja-build pkg-config iproute2 qt6-base-dev libgl-dev libpugixml-dev libgtest-dev libgmock-dev
          libbenchmark-dev xvfb xauth can-utils tshark)
for group in "$@"; do
  case "$group" in
    package) packages+=(dpkg-dev lintian desktop-file-utils) ;;
    icons) packages+=(librsvg2-bin) ;;
    screenshot) packages+=(imagemagick xdotool) ;;
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    *) echo "install-deps.sh: unknown group '$group' (package, icons, screenshot, fuzz)" >&2; exit 2 ;;
  esac
done
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
