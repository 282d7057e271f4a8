#!/usr/bin/env bash
# Checks the window's Japanese translation against the sources: lupdate over
# the window and its actions finds no text the translation lacks, and
# lrelease finds every text translated.  Works on a copy; the .ts file in
# the source tree is left as it is.
#   tools/check-translation.sh LUPDATE LRELEASE
set -u
cd "$(dirname "$0")/.." || exit 1
lupdate="$1"
lrelease="$2"
dir="$(mktemp -d)"
trap 'rm -rf "$dir"' EXIT
cp gui/translations/vorn_ja.ts "$dir/vorn_ja.ts"
updated="$("$lupdate" gui actions -ts "$dir/vorn_ja.ts" 2>&1)"
if ! grep -q ' (0 new and ' <<<"$updated"; then
  echo "texts without a translation:" >&2
  echo "$updated" >&2
  exit 1
fi
released="$("$lrelease" "$dir/vorn_ja.ts" -qm "$dir/vorn_ja.qm" 2>&1)"
if ! grep -q ' finished and 0 unfinished)' <<<"$released" || grep -q 'Ignored' <<<"$released"; then
  echo "unfinished translations:" >&2
  echo "$released" >&2
  exit 1
fi
echo "every text of the window is translated"
