#!/usr/bin/env bash
# Starts vorn under Xvfb on a desktop-sized screen as a new user would (a
# temporary HOME with box files in Applications/bxd/), analyses the address
# book with Verbose on, opens the box header, the item info and the card
# with findings, and saves a screenshot of the window: once in English, once
# in Japanese (LANG=ja_JP.UTF-8, with a Japanese font).
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
cp "$build/samples/VALUES.BOX" "$home/Applications/bxd/KQADRS.BOX"
cp "$build/samples/KQADRS.BOX" "$home/Applications/bxd/kqadrs_copy.box"

Xvfb "$display" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb_pid=$!
export DISPLAY="$display"
for _ in $(seq 50); do xdpyinfo >/dev/null 2>&1 && break; sleep 0.1; done

# shoot LANG OUT: one run of the window in that language, its picture in OUT.
shoot() {
  HOME="$home" LANG="$1" LANGUAGE="" LC_ALL="" "$build/app/vorn" >/dev/null 2>&1 &
  vorn_pid=$!
  local window
  window="$(xdotool search --sync --name 'Vorn2 ver1.0' | head -n 1)"
  xdotool windowmove --sync "$window" 0 0 windowfocus --sync "$window"
  sleep 0.5
  # The focus starts on "delete Index File"; the chain runs on through Exec
  # to the application choice (Down: AddressBook), the analyse-only box,
  # the list, Verbose, Noisy, Debug, BXD and Exec.
  xdotool key Tab Tab Down Tab Tab Tab space Tab Tab Tab Tab space
  sleep 1
  # From the application choice into the list: open the card with findings
  # (the last row, red), the offset table (two rows up) and the box header,
  # and leave the cursor on the first row.
  xdotool key Tab Tab End Right Up Up Right Home Down Right Home
  sleep 0.5
  import -window "$window" "$2"
  kill "$vorn_pid"
  wait "$vorn_pid" 2>/dev/null || true
  echo "wrote $2"
}
shoot C.UTF-8 "$out"
shoot ja_JP.UTF-8 "$out_ja"
