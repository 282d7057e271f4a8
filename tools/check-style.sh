#!/usr/bin/env bash
# Checks the sources' shape: every C++ file as clang-format would write it,
# every shell script clean under shellcheck.  Prints what is off; exit
# status 1 when anything is.
set -u
cd "$(dirname "$0")/.." || exit 1
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  mapfile -t cxx < <(git ls-files '*.cpp' '*.h')
  mapfile -t shell < <(git ls-files '*.sh' '.ci/run')
else
  mapfile -t cxx < <(find . -path './build*' -prune -o \( -name '*.cpp' -o -name '*.h' \) -print)
  mapfile -t shell < <(find . -path './build*' -prune -o -name '*.sh' -print; echo .ci/run)
fi
status=0
clang-format --dry-run --Werror --style=file "${cxx[@]}" || status=1
shellcheck -x "${shell[@]}" || status=1
exit "$status"
