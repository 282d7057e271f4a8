#!/usr/bin/env bash
# Builds vorn and analyses the bundled sample address book.
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
vorn_ensure_packages
vorn_build
exec "${VORN_BUILD_DIR:-build}/app/vorn" "${VORN_BUILD_DIR:-build}/samples/${1:-KQADRS.BOX}"
