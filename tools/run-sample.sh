#!/usr/bin/env bash
# Builds vorn and analyses the bundled sample address book: the analysis on
# standard output, one line about the build on standard error.
#   tools/run-sample.sh [SAMPLE]     a name from build/samples/ (default KQADRS.BOX)
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
# shellcheck disable=SC2119 # no packages beyond the usual ones
vorn_ensure_packages
build="${VORN_BUILD_DIR:-build}"
vorn_build default "$build"
exec "$build/app/vorn" "$build/samples/${1:-KQADRS.BOX}"
