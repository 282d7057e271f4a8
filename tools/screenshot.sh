#!/usr/bin/env bash
# Starts vorn under Xvfb on a desktop-sized screen as a new user would (a
# temporary HOME with box files in Applications/bxd/), opens the damaged
# sample GARBAGE.BOX as "Open with" does, clicks on the map where the
# trace salvaged past a broken card (its findings open in the result list,
# its record is chosen in the records table), hovers there, and saves a
# screenshot of the window with the map's tooltip: once in English, once in
# Japanese (LANG=ja_JP.UTF-8, with a Japanese font).
#
#   tools/screenshot.sh [OUT.png [OUT-ja.png]]
#                       (default docs/screenshot.png docs/screenshot-ja.png)
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
vorn_ensure_packages xvfb xauth xdotool imagemagick fonts-noto-cjk
build="${VORN_BUILD_DIR:-build}"
vorn_build default "$build"
out="$(realpath -m "${1:-docs/screenshot.png}")"
out_ja="$(realpath -m "${2:-docs/screenshot-ja.png}")"

home="$(mktemp -d)"
display=":$((90 + RANDOM % 100))"
cleanup() {
  kill "${vorn_pid:-}" "${xvfb_pid:-}" 2>/dev/null || true
  rm -rf "$home"
}
trap cleanup EXIT
mkdir -p "$home/Applications/bxd"
cp "$build/samples/GARBAGE.BOX" "$home/Applications/bxd/GARBAGE.BOX"
width=1280
height=960

Xvfb "$display" -screen 0 "${width}x1024x24" -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
export DISPLAY="$display"
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

# shoot LANG OUT: one run of the window in that language, its picture in OUT.
shoot() {
  HOME="$home" LANG="$1" LANGUAGE="" LC_ALL="" "$build/app/vorn" -qcop "$home/Applications/bxd/GARBAGE.BOX" \
    >/dev/null 2>&1 &
  vorn_pid=$!
  local window
  window="$(xdotool search --sync --name 'GARBAGE.BOX - Vorn2 ver1.0' | head -n 1)"
  xdotool windowmove --sync "$window" 0 0 windowsize --sync "$window" "$width" "$height"
  sleep 1.5
  # The stretch the trace salvaged past is the map's only orange one.
  local at
  at="$(import -window root -crop "${width}x${height}+0+0" txt:- | grep -m 1 'srgb(255,152,0)' | cut -d: -f1)"
  xdotool mousemove "${at%,*}" "${at#*,}" click 1
  sleep 0.5
  xdotool mousemove "$((${at%,*} + 1))" "${at#*,}"
  sleep 1.5
  import -window root -crop "${width}x${height}+0+0" "$2"
  kill "$vorn_pid"
  wait "$vorn_pid" 2>/dev/null || true
  echo "wrote $2"
}
shoot C.UTF-8 "$out"
shoot ja_JP.UTF-8 "$out_ja"
