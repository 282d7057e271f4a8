#!/usr/bin/env bash
# Starts vorn under Xvfb as a new user would (a temporary HOME with box files
# in Applications/bxd/), analyses the address book with Verbose on, opens
# the card with findings and the header, and saves a screenshot.
#
#   tools/screenshot.sh [OUT.png]      (default docs/screenshot.png)
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
vorn_ensure_packages xvfb xauth xdotool imagemagick
build="${VORN_BUILD_DIR:-build}"
vorn_build default "$build"
out="$(realpath -m "${1:-docs/screenshot.png}")"

home="$(mktemp -d)"
display=":$((90 + RANDOM % 100))"
cleanup() {
  kill "${vorn_pid:-}" "${xvfb_pid:-}" 2>/dev/null || true
  rm -rf "$home"
}
trap cleanup EXIT
mkdir -p "$home/Applications/bxd"
cp "$build/samples/VALUES.BOX" "$home/Applications/bxd/KQADRS.BOX"
cp "$build/samples/KQADRS.BOX" "$home/Applications/bxd/kqadrs_copy.box"

Xvfb "$display" -screen 0 800x600x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
export DISPLAY="$display"
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

HOME="$home" "$build/app/vorn" >/dev/null 2>&1 &
vorn_pid=$!
window="$(xdotool search --sync --name 'Vorn2 ver1.0' | head -n 1)"
xdotool windowmove "$window" 0 0 windowsize "$window" 640 480
sleep 0.5

# Application: AddressBook (one step down from Calendar).
xdotool mousemove 140 27 click 1 && sleep 0.3 && xdotool key Down Return
sleep 0.3
# Verbose on, then Tab through Noisy, Debug and BXD to Exec.
xdotool mousemove 32 162 click 1
xdotool key Tab Tab Tab Tab space
sleep 1
# Open the red card (sixth row) and then the box header (second row).
xdotool mousemove 36 275 click 1 && sleep 0.2
xdotool mousemove 36 219 click 1 && sleep 0.3
import -window root -crop 640x480+0+0 "$out"
echo "wrote $out"
