#!/usr/bin/env bash
# Checks the bash completions of vorn and boxtool (packaging/completions/)
# by sourcing them in bash and asking for completions, as bash would at a
# press of Tab.  Prints each wrong answer; exit status 1 when there is one.
#   tools/check-completions.sh
set -u
cd "$(dirname "$0")/.." || exit 1
# _filedir and friends come with bash-completion.
# shellcheck disable=SC1091
. /usr/share/bash-completion/bash_completion || { echo "bash-completion is not installed" >&2; exit 1; }
# shellcheck source=packaging/completions/vorn
. packaging/completions/vorn
# shellcheck source=packaging/completions/boxtool
. packaging/completions/boxtool
dir="$(mktemp -d)"
trap 'rm -rf "$dir"' EXIT
touch "$dir/KQADRS.BOX" "$dir/notes.txt"
cd "$dir" || exit 1
status=0

# The completions of the command line given, one word at a time.
complete_for() {
  local function="$1"
  shift
  COMP_WORDS=("$@")
  COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
  COMP_LINE="${COMP_WORDS[*]}"
  COMP_POINT=${#COMP_LINE}
  COMPREPLY=()
  "$function"
  [ "${#COMPREPLY[@]}" -gt 0 ] && printf '%s\n' "${COMPREPLY[@]}" | sort | tr '\n' ' '
}

expect() {
  local want="$1"
  shift
  local got
  got="$(complete_for "$@")"
  if [ "$got" != "$want" ]; then
    echo "completing '${*:2}': got '$got', want '$want'" >&2
    status=1
  fi
}

expect "check compact " _boxtool boxtool c
expect "--fields-from --force --format " _boxtool boxtool export --f
expect "csv json " _boxtool boxtool export --format ""
expect "KQADRS.BOX " _boxtool boxtool check ""
expect "--dry-run " _boxtool boxtool compact --d
expect "--help " _vorn vorn --h
expect "KQADRS.BOX " _vorn vorn ""
expect "" _vorn vorn KQADRS.BOX ""
exit "$status"
