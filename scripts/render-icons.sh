#!/usr/bin/env bash
# Renders the PNG icons of the package from packaging/icons/quillon.svg, one per hicolor size.
# The PNGs are committed, so a build needs no SVG renderer: run this after changing the SVG.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh icons
for size in 16 24 32 48 64 128 256; do
  mkdir -p "packaging/icons/${size}x${size}"
  rsvg-convert -w "$size" -h "$size" packaging/icons/quillon.svg -o "packaging/icons/${size}x${size}/quillon.png"
done
ls -l packaging/icons/*/quillon.png
