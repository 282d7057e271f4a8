#!/usr/bin/env bash
# Builds vorn and runs the whole test suite, three ways:
#   1. the fuzz targets (clang-14, ASan + UBSan, libFuzzer), each fuzzing for
#      VORN_FUZZ_SECONDS (default 60) from the seed corpus;
#   2. every test under AddressSanitizer and UndefinedBehaviorSanitizer;
#   3. every test in the ordinary build (its summary is the last line).
# VORN_QUICK=1 runs only the ordinary build's tests.
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
quick="${VORN_QUICK:-0}"
if [ "$quick" = 1 ]; then
  vorn_ensure_packages
else
  vorn_ensure_packages clang-14 libclang-rt-14-dev
  export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"

  echo "== fuzzing (${VORN_FUZZ_SECONDS:-60} s a target)"
  VORN_BUILD_DIR=build-fuzz vorn_build -DCMAKE_CXX_COMPILER=clang++-14 -DVORN_FUZZ=ON \
    -DVORN_FUZZ_SECONDS="${VORN_FUZZ_SECONDS:-60}"
  ctest --test-dir build-fuzz --output-on-failure -j2

  echo "== tests under AddressSanitizer and UndefinedBehaviorSanitizer"
  VORN_BUILD_DIR=build-asan vorn_build -DVORN_SANITIZE=ON -DVORN_BUILD_BENCHMARKS=OFF
  ctest --test-dir build-asan --output-on-failure -j"$(nproc)"
fi

echo "== tests"
vorn_build
ctest --test-dir "${VORN_BUILD_DIR:-build}" --output-on-failure -j"$(nproc)"
