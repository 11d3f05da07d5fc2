#!/usr/bin/env bash
# Makes the Debian package from a build folder that is already built (default: build/default),
# checks its desktop file and runs lintian on it, then installs it on this machine with apt, runs
# the installed quillon-cli from the PATH on the simulator the package ships
# (tests/headless/scripts/request.txt, compared with its .expected), starts the installed quillon
# under a virtual screen, and purges the package, checking that none of its files is left.
# Installing needs root or sudo; without, or when a quillon package is already installed here
# outside CI, the install steps are skipped with a note.
# Usage: scripts/check-package.sh [BUILD_DIR] [--screenshot DIR]
#   --screenshot DIR: also leaves DIR/quillon-installed.png, the installed bench with its
#   "Select PDU-API Version" list open.
set -euo pipefail
cd "$(dirname "$0")/.."
build=build/default
shots=""
while [ $# -gt 0 ]; do
  case "$1" in
    --screenshot) shots=$(realpath -m "${2:?--screenshot needs a folder}"); shift 2 ;;
    *) build=$1; shift ;;
  esac
done
[ -f "$build/CPackConfig.cmake" ] || { echo "check-package: $build is no configured build folder" >&2; exit 2; }
groups=(package)
[ -n "$shots" ] && groups+=(screenshot)
scripts/install-deps.sh "${groups[@]}"

fail() { echo "check-package: FAILED: $*" >&2; exit 1; }
work=$(mktemp -d /tmp/quillon-package.XXXXXX)
chmod 755 "$work"  # apt's download user reads the package from here
installed_here=""
sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo -n"
cleanup() {
  if [ -n "$installed_here" ]; then
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=120 purge -y -qq quillon >/dev/null 2>&1 || true
  fi
  rm -rf "$work"
}
trap cleanup EXIT

echo "=== package ==="
rm -rf "$build/package"
cmake --build "$build" -j"$(nproc)" --target quillon quillon-cli pdusim >/dev/null
(cd "$build" && cpack -G DEB >/dev/null) || fail "cpack"
debs=("$build"/package/quillon_*.deb)
[ ${#debs[@]} -eq 1 ] && [ -f "${debs[0]}" ] || fail "expected one package in $build/package"
deb=$work/$(basename "${debs[0]}")
cp "${debs[0]}" "$deb"
chmod 644 "$deb"
echo "$(basename "$deb"): $(stat -c %s "$deb") bytes"
dpkg-deb -f "$deb" Package Version Architecture Section Priority Depends

echo "=== contents ==="
dpkg-deb -x "$deb" "$work/root"
# Only the usual places of /usr; nothing in /etc, whose root file is the vendor library's.
unexpected=$(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's#^\./#/#; s#/$##' | grep -vE \
  '^/?$|^/usr(/bin|/lib|/share|/share/doc|/share/man|/share/man/man1|/share/icons|/share/icons/hicolor(/[^/]+(/apps)?)?)?$|^/usr/bin/quillon(-cli)?$|^/usr/lib/quillon(/.*)?$|^/usr/share/(quillon|applications|doc/quillon)(/.*)?$|^/usr/share/icons/hicolor/[^/]+/apps/quillon\.(png|svg)$|^/usr/share/man/man1/quillon(-cli)?\.1\.gz$' || true)
[ -z "$unexpected" ] || fail "files outside the usual places: $unexpected"
! dpkg-deb -I "$deb" conffiles >/dev/null 2>&1 || fail "the package has conffiles"
desktop=$work/root/usr/share/applications/quillon.desktop
desktop-file-validate "$desktop" || fail "desktop-file-validate"
icon=$(sed -n 's/^Icon=//p' "$desktop")
for size in 16x16 48x48 256x256 scalable; do
  ls "$work/root/usr/share/icons/hicolor/$size/apps/$icon".* >/dev/null 2>&1 || fail "no $size icon named $icon"
done
echo "desktop file valid; icon '$icon' in hicolor"

echo "=== lintian ==="
# Every finding is shown; errors fail the check (the README says which infos are kept and why).
lintian --fail-on error --display-info "$deb" || fail "lintian reports errors"

echo "=== install ==="
if [ -n "$sudo" ] && ! sudo -n true 2>/dev/null; then
  echo "check-package: not root and no sudo: install steps skipped"
  exit 0
fi
if dpkg-query -W -f='${Status}' quillon 2>/dev/null | grep -q "install ok installed" && [ "${CI:-}" != "true" ]; then
  echo "check-package: a quillon package is installed on this machine: install steps skipped (purge it to run them)"
  exit 0
fi
# What of the package's paths is there before, so the purge can be checked against it.
dpkg-deb -c "$deb" | awk '{print $6}' | sed 's#^\./#/#; s#/$##' | grep . | while read -r path; do
  [ -e "$path" ] && echo "$path"
done > "$work/before.txt" || true
installed_here=yes
$sudo env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=120 install -y -qq --no-install-recommends "$deb" >"$work/apt.txt" 2>&1 \
  || { cat "$work/apt.txt"; fail "apt-get install"; }
echo "installed $(dpkg-query -W -f='${Package} ${Version}' quillon)"
dpkg -L quillon | grep -E '^/etc(/|$)' && fail "dpkg -L lists files under /etc"

echo "=== installed quillon-cli ==="
[ "$(command -v quillon-cli)" = /usr/bin/quillon-cli ] || fail "quillon-cli on the PATH is $(command -v quillon-cli)"
pdusim_dir=$(dirname "$(dpkg -L quillon | grep '/libpdusim\.so$')")
mkdir -p "$work/home"
status=0
env -u PDUSIM_FAULTS -u PDUSIM_MDF -u D_PDU_API_ROOT_FILE HOME="$work/home" XDG_CONFIG_HOME="$work/config" \
  QUILLON_EVENT_NAMESPACE="package_check_$$" quillon-cli tests/headless/scripts/request.txt \
  >"$work/request.out" 2>&1 || status=$?
sed "s#$pdusim_dir#@BIN@#g" "$work/request.out" >"$work/request.txt"
if ! diff -u tests/headless/scripts/request.expected "$work/request.txt"; then
  fail "the installed quillon-cli's log differs from tests/headless/scripts/request.expected"
fi
[ "$status" -eq 0 ] || fail "quillon-cli ended with $status"
[ -f "$work/config/Morvane/D-PDU API/Quillon.ini" ] || fail "no settings file in \$XDG_CONFIG_HOME"
grep -E '^(PDU-API dll:|/)' "$work/request.out" | head -2 | paste -sd' '
echo "22 F1 90 answered: $(grep -c '^ 0x62  0xf1  0x90' "$work/request.out") result, log as expected"

echo "=== installed quillon ==="
# Still running after five seconds under a virtual screen: it found its platform plugin, its
# root file and the simulator (a failed start-up leaves the window open as well, so the log of
# quillon-cli above is what proves the listing).
gui=0
HOME="$work/home" XDG_CONFIG_HOME="$work/config" QUILLON_EVENT_NAMESPACE="package_check_$$" \
  xvfb-run -a -s "-screen 0 1600x1000x24" timeout 5 quillon >"$work/gui.txt" 2>&1 || gui=$?
[ "$gui" -eq 124 ] || { cat "$work/gui.txt"; fail "quillon ended by itself with $gui"; }
echo "quillon started and kept running"

if [ -n "$shots" ]; then
  mkdir -p "$shots"
  HOME="$work/home" XDG_CONFIG_HOME="$work/config" QUILLON_EVENT_NAMESPACE="package_check_$$" \
    xvfb-run -a -s "-screen 0 1600x1000x24" bash -c '
      quillon & pid=$!
      for _ in $(seq 50); do
        win=$(xdotool search --name "^Quillon" 2>/dev/null | head -1) && [ -n "$win" ] && break
        sleep 0.2
      done
      sleep 1
      xdotool windowactivate --sync "$win" 2>/dev/null || xdotool windowfocus --sync "$win"
      # The list of D-PDU APIs is the first field of the window: open it.
      xdotool key --window "$win" alt+Down
      sleep 1
      import -window root "$1/quillon-installed.png"
      kill $pid' shot "$shots"
  echo "screenshot: $shots/quillon-installed.png"
fi

echo "=== purge ==="
$sudo env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=120 purge -y -qq quillon >"$work/apt.txt" 2>&1 \
  || { cat "$work/apt.txt"; fail "apt-get purge"; }
installed_here=""
dpkg-query -W -f='${Status}' quillon 2>/dev/null | grep -q "install ok installed" && fail "quillon is still installed"
left=$(dpkg-deb -c "$deb" | awk '{print $6}' | sed 's#^\./#/#; s#/$##' | grep . | while read -r path; do
  [ -e "$path" ] && ! grep -qxF "$path" "$work/before.txt" && echo "$path"
done || true)
[ -z "$left" ] || fail "left behind after the purge: $left"
echo "purged: no file of the package is left"
echo "check-package: OK"
