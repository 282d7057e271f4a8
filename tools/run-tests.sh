#!/usr/bin/env bash
# Builds vorn and runs the whole test suite, in stages that stop at the
# first failure:
#   1. the fuzz targets (clang-14, ASan + UBSan, libFuzzer), each fuzzing for
#      VORN_FUZZ_SECONDS (default 60) from the seed corpus;
#   2. every test under AddressSanitizer and UndefinedBehaviorSanitizer;
#   3. the tests of a build without the window (no Qt);
#   4. the ordinary build, benchmarks compiled, and its Debian package: the
#      files it holds, its manual pages, and as root its installation, a run
#      of the installed programs and its removal (tools/check-package.sh);
#   5. every test of that build; its CTest summary is the last line.
# VORN_QUICK=1 runs only the ordinary build's tests, without the package.  With CI=true warnings are errors.
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
werror=OFF
[ "${CI:-}" = true ] && werror=ON
jobs="$(nproc)"
# clang-tidy judges a source by its text alone: what passed in one build's
# style check is not checked again in the next.
export VORN_TIDY_PASSED_DIR="$PWD/build-tidy-passed"

if [ "${VORN_QUICK:-0}" != 1 ]; then
  vorn_ensure_packages clang-14 libclang-rt-14-dev man-db lintian devscripts appstream desktop-file-utils shared-mime-info

  echo "== fuzzing (${VORN_FUZZ_SECONDS:-60} s a target)"
  vorn_build fuzz build-fuzz -DVORN_WERROR="$werror" -DVORN_FUZZ_SECONDS="${VORN_FUZZ_SECONDS:-60}"
  ctest --preset fuzz --test-dir build-fuzz -j2

  echo "== tests under AddressSanitizer and UndefinedBehaviorSanitizer"
  vorn_build asan build-asan -DVORN_WERROR="$werror"
  ctest --preset asan --test-dir build-asan -j"$jobs"

  echo "== tests of the build without the window"
  vorn_build nogui build-nogui -DVORN_WERROR="$werror"
  ctest --preset nogui --test-dir build-nogui -j"$jobs"
else
  # shellcheck disable=SC2119 # no packages beyond the usual ones
  vorn_ensure_packages
fi

echo "== tests"
build="${VORN_BUILD_DIR:-build}"
vorn_build default "$build" -DVORN_WERROR="$werror" -DVORN_BUILD_BENCHMARKS=ON
if [ "${VORN_QUICK:-0}" != 1 ]; then
  echo "== the Debian package"
  tools/check-package.sh "$build"
fi
ctest --preset default --test-dir "$build" -j"$jobs"
