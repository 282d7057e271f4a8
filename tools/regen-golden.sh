#!/usr/bin/env bash
# Rewrites the golden files under tests/data/ from what the code produces
# now, then lists what changed.  Review every change with git diff before
# committing it: a golden file is the expected output, not a record of the
# current one.
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
build="${VORN_BUILD_DIR:-build}"
vorn_build default "$build"
VORN_REGENERATE_GOLDEN=1 ctest --test-dir "$build" -j"$(nproc)" >/dev/null || true
git status --short tests/data
