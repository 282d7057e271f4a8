#!/usr/bin/env bash
# Checks that boxtool's three descriptions of its command line agree: what
# `boxtool --help` and each `boxtool SUBCOMMAND --help` offer, the manual
# page (docs/man/boxtool.1.scd) and the README's synopsis.  Every subcommand
# and every option must be on the page, every subcommand and long option in
# the synopsis, and the page and the synopsis must name nothing the program
# does not have.
#   tools/check-options.sh BOXTOOL
set -u
cd "$(dirname "$0")/.." || exit 1
boxtool="${1:?usage: tools/check-options.sh BOXTOOL}"
page=docs/man/boxtool.1.scd
status=0
fail() {
  echo "$*" >&2
  status=1
}

# Options as a help text lists them: "-q,--quiet", "--json", "-j,--jobs N".
options_of() {
  grep -E '^  -' | grep -oE '(^|[ ,])--?[a-z][a-z-]*' | tr -d ' ,' | grep -vxE -- '-h|--help'
}

mapfile -t commands < <("$boxtool" --help | sed -n '/^Subcommands:/,$p' | grep -oE '^  [a-z]+' | tr -d ' ')
[ "${#commands[@]}" -gt 0 ] || fail "boxtool --help lists no subcommands"
# The README's synopsis: its lines that begin with "boxtool SUBCOMMAND".
synopsis="$(grep -E '^boxtool [a-z]' README.md)"

offered=(--version)
for command in "${commands[@]}"; do
  grep -qE "^\*(boxtool )?$command\*" "$page" || fail "$page does not describe the command $command"
  grep -qE "^boxtool $command( |$)" <<<"$synopsis" || fail "the README's synopsis lacks boxtool $command"
  mapfile -t options < <("$boxtool" "$command" --help | options_of)
  for option in "${options[@]}"; do
    offered+=("$option")
    grep -qF -- "*$option*" "$page" || fail "$page does not describe $command's $option"
    case "$option" in
      --*) grep -qE -- "^boxtool $command .*$option" <<<"$synopsis" ||
        fail "the README's synopsis of $command lacks $option" ;;
    esac
  done
done
grep -qF -- "*--version*" "$page" || fail "$page does not describe --version"

# Nothing described that the program does not offer.
for named in $(grep -oE '\*--?[a-z][a-z-]*\*' "$page" | tr -d '*' | sort -u) \
  $(grep -oE '\[--?[a-z][a-z-]*' <<<"$synopsis" | tr -d '[' | sort -u); do
  [ "$named" = --help ] || [ "$named" = -h ] && continue
  printf '%s\n' "${offered[@]}" | grep -qxF -- "$named" || fail "$named is described but boxtool does not offer it"
done
exit "$status"
