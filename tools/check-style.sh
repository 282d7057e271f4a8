#!/usr/bin/env bash
# Checks the sources' shape: every C++ file as clang-format would write it,
# every shell script clean under shellcheck, and, given a build directory
# with its compile_commands.json, every C++ source that build compiles clean
# under clang-tidy by .clang-tidy, the tests and benchmarks aside (a warning
# there is a failure; one that is wrong for a line is silenced at that line
# with NOLINT and the reason).
# Prints what is off; exit status 1 when anything is.
#   tools/check-style.sh [BUILD_DIR]
# clang-tidy checks a source again only when it, a project header or
# .clang-tidy changed since it last passed (BUILD_DIR/clang-tidy-passed/, or
# VORN_TIDY_PASSED_DIR, which builds of the same sources may share).
# VORN_TIDY=0 leaves clang-tidy out: for runs that judge the tests rather
# than the sources, such as the mutation score.
set -u
cd "$(dirname "$0")/.." || exit 1
build="${1:-}"
if git rev-parse --is-inside-work-tree >/dev/null 2>&1; then
  mapfile -t cxx < <(git ls-files '*.cpp' '*.h')
  mapfile -t shell < <(git ls-files '*.sh' '.ci/run')
else
  mapfile -t cxx < <(find . -path './build*' -prune -o \( -name '*.cpp' -o -name '*.h' \) -print | sed 's|^\./||')
  mapfile -t shell < <(find . -path './build*' -prune -o -name '*.sh' -print; echo .ci/run)
fi
status=0
clang-format --dry-run --Werror --style=file "${cxx[@]}" || status=1
shellcheck -x "${shell[@]}" || status=1

if [ -n "$build" ] && [ -f "$build/compile_commands.json" ] && [ "${VORN_TIDY:-1}" != 0 ]; then
  passed="${VORN_TIDY_PASSED_DIR:-$build/clang-tidy-passed}"
  mkdir -p "$passed"
  headers=()
  sources=()
  for f in "${cxx[@]}"; do
    case "$f" in
      *.h) headers+=("$f") ;;
      tests/* | bench/*) ;;  # the suite and the benchmarks: the compiler's warnings and the sanitizers
      *) grep -q "\"file\": \"$PWD/$f\"" "$build/compile_commands.json" && sources+=("$f") ;;
    esac
  done
  common="$(cat .clang-tidy "${headers[@]}" | sha1sum | cut -c1-40)"
  todo=()
  for f in "${sources[@]}"; do
    key="$( (echo "$common" && cat "$f") | sha1sum | cut -c1-40)"
    [ -e "$passed/$key" ] || todo+=("$f" "$key")
  done
  # Each source alone, as many at once as there are processors.
  # shellcheck disable=SC2317 # run by xargs through bash -c
  tidy() {
    local log
    log="$(clang-tidy -p "$build" --quiet "$1" 2>&1)"
    if grep -qE '(warning|error):' <<<"$log"; then
      grep -vE '^[0-9]+ warnings? (and [0-9]+ errors? )?generated' <<<"$log"
      return 1
    fi
    touch "$passed/$2"
  }
  export -f tidy
  export build passed
  if [ "${#todo[@]}" -gt 0 ]; then
    printf '%s\n' "${todo[@]}" | xargs -n 2 -P "$(nproc)" bash -c 'tidy "$@"' _ || status=1
  fi
fi
exit "$status"
