#!/usr/bin/env bash
# Compares what two builds print for the same box files: vorn FILE, boxtool
# check (text and JSON), info, export (JSON and CSV) and recover (its summary
# and the box it writes), each under several time zones.  For changes that
# must not change a byte of output: speed-ups and refactorings.
#   tools/compare-builds.sh OLD_BUILD NEW_BUILD FILE...
# OLD_BUILD and NEW_BUILD are build directories (or any directories holding
# app/vorn and boxtool/boxtool).  Prints each difference and a count; exit
# status 1 when anything differs.
set -u
old="${1:?usage: tools/compare-builds.sh OLD_BUILD NEW_BUILD FILE...}"
new="${2:?usage: tools/compare-builds.sh OLD_BUILD NEW_BUILD FILE...}"
shift 2
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# Everything build $1 prints for file $2, into $3.
outputs() {
  local build="$1" file="$2" out="$3"
  {
    for zone in UTC Asia/Tokyo America/New_York; do
      echo "== TZ=$zone vorn"
      TZ="$zone" "$build/app/vorn" "$file" 2>&1 | sed -E 's/\(\) 0x[0-9a-f]+ /() PTR /'
      echo "status $?"
      echo "== TZ=$zone export"
      TZ="$zone" "$build/boxtool/boxtool" export "$file" 2>&1
      echo "status $?"
    done
    for args in "check" "check --json" "info" "info --json" "export --format csv --deleted"; do
      echo "== $args"
      # shellcheck disable=SC2086 # the arguments are meant to split
      TZ=UTC "$build/boxtool/boxtool" $args "$file" 2>&1
      echo "status $?"
    done
    echo "== recover"
    rm -f "$work/new.box"
    TZ=UTC "$build/boxtool/boxtool" recover --deleted "$file" "$work/new.box" 2>&1 | sed "s|$work/||"
    echo "status $?"
    [ -f "$work/new.box" ] && md5sum <"$work/new.box"
  } >"$out"
}

differ=0
count=0
for file in "$@"; do
  count=$((count + 1))
  outputs "$old" "$file" "$work/old"
  outputs "$new" "$file" "$work/new"
  if ! cmp -s "$work/old" "$work/new"; then
    differ=$((differ + 1))
    echo "differs: $file"
    diff "$work/old" "$work/new" | head -5
  fi
done
echo "$count files compared, $differ differ"
[ "$differ" = 0 ]
