#!/usr/bin/env bash
# Rewrites the golden outputs under tests/data/ from what the code produces
# now, after the rest of the suite has shown that the code works, and shows
# what changed.  Review every change with git diff before committing it: a
# golden file is the expected output, not a record of the current one.
#   tools/regen-golden.sh            the outputs (.out, boxtool/, window trees)
#   tools/regen-golden.sh --boxes    the golden boxes as well, as the builder makes them
# Each regenerated test is then run again as a check, with the whole suite:
# when any test fails, every golden file is put back as it was and the
# script stops with status 1.
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
build="${VORN_BUILD_DIR:-build}"
boxes=0
case "${1:-}" in
  --boxes) boxes=1 ;;
  "") ;;
  *) echo "usage: tools/regen-golden.sh [--boxes]" >&2; exit 2 ;;
esac
vorn_build default "$build"

saved="$(mktemp -d)"
trap 'rm -rf "$saved"' EXIT
cp -a tests/data "$saved/"
restore() {
  rm -rf tests/data
  cp -a "$saved/data" tests/data
}

# One job: the tests that write golden files and those that read them must
# not run at the same time.
if ! VORN_REGENERATE_GOLDEN=1 VORN_REGENERATE_GOLDEN_BOXES="$boxes" \
     ctest --test-dir "$build" -j1 --output-on-failure >"$saved/regen.log" 2>&1; then
  echo "tests failed while regenerating; the check run below says which" >&2
fi
if ! ctest --test-dir "$build" -j"$(nproc)" --output-on-failure >"$saved/check.log" 2>&1; then
  restore
  grep -E '^\s*[0-9]+ - .*\(Failed|Timeout|Exception|SEGFAULT' "$saved/check.log" >&2 || tail -20 "$saved/check.log" >&2
  echo "regen-golden: tests fail with the regenerated files; tests/data is as it was" >&2
  exit 1
fi
git diff --stat -- tests/data
git status --short --untracked-files=all -- tests/data | grep '^??' || true
