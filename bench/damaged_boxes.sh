#!/usr/bin/env bash
# Whole-process CPU of vorn, boxtool check, export and recover on the large
# benchmark box, sound and damaged each way make_bigbox --wreck damages it,
# beside a plain read of the same file (bench/map_read), with
# bench/whole_process.sh.  Prints one line per command and box.
#   bench/damaged_boxes.sh [BUILD_DIR] [BATCH]      (default build-bench, 3)
set -eu
cd "$(dirname "$0")/.."
build="${1:-build-bench}"
batch="${2:-3}"
dir="$(mktemp -d)"
trap 'rm -rf "$dir"' EXIT
for kind in sound random zeros size tail; do
  box="$dir/$kind.box"
  if [ "$kind" = sound ]; then
    "$build/tools/make_bigbox" 65000 "$box" --memo 940
  else
    "$build/tools/make_bigbox" 65000 "$box" --memo 940 --wreck "$kind"
  fi
  for command in "app/vorn $box" "boxtool/boxtool check $box" "boxtool/boxtool export $box" \
    "boxtool/boxtool recover --force $box $dir/new.box"; do
    result="$(bench/whole_process.sh "$batch" "$build/$command" "$build/bench/map_read $box" |
      awk '/^command/ { c = $2 } /^yardstick/ { y = $2 } /^ratio/ { r = $2 } END { print c " ms, read " y " ms, ratio " r }')"
    name="$(awk '{ print $1 == "boxtool/boxtool" ? "boxtool " $2 : "vorn" }' <<<"$command")"
    printf '%-6s %-16s %s\n' "$kind" "$name" "$result"
  done
done
