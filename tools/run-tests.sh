#!/usr/bin/env bash
# Builds vorn with its tests and runs the whole suite.
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
vorn_ensure_packages
vorn_build
ctest --test-dir "${VORN_BUILD_DIR:-build}" --output-on-failure -j"$(nproc)"
