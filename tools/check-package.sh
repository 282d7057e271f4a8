#!/usr/bin/env bash
# Builds the Debian package from a build directory and checks it: the files
# it must hold, the manual pages render, and, when run as root, that it
# installs with apt-get, that the installed programs analyse a sample, and
# that it removes cleanly.
#   tools/check-package.sh [BUILD_DIR]      (default build)
set -eu
cd "$(dirname "$0")/.."
build="${1:-build}"

(cd "$build" && cpack -G DEB >cpack.log 2>&1) || { cat "$build/cpack.log" >&2; exit 1; }
deb="$(ls "$build"/vorn_*.deb)"
echo "package: $deb"

listing="$(dpkg -c "$deb")"
missing=0
for path in usr/bin/vorn usr/bin/boxtool usr/libexec/vorn/vorn-gui \
  usr/share/man/man1/vorn.1.gz usr/share/man/man1/boxtool.1.gz \
  usr/share/applications/vorn.desktop usr/share/icons/hicolor/scalable/apps/vorn.svg \
  usr/share/vorn/translations/vorn_ja.qm; do
  if ! grep -q " \./$path\$" <<<"$listing"; then
    echo "the package lacks $path" >&2
    missing=1
  fi
done
[ "$missing" = 0 ] || exit 1

for page in "$build"/docs/*.1; do
  man -l "$page" >/dev/null 2>&1 || { echo "man -l cannot render $page" >&2; exit 1; }
done

if [ "$(id -u)" != 0 ]; then
  echo "not root: the package is not installed here"
  exit 0
fi
sample="$(realpath "$build/samples/SALVAGE.BOX")"
DEBIAN_FRONTEND=noninteractive apt-get install -y -qq "$(realpath "$deb")" >/dev/null
status=0
/usr/bin/vorn "$sample" | grep -q "Data chunk salvage is invoked." || { echo "installed vorn failed" >&2; status=1; }
code=0
/usr/bin/boxtool check --quiet "$sample" >/dev/null || code=$?
[ "$code" = 2 ] || { echo "installed boxtool check gave $code, not 2" >&2; status=1; }
DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq vorn >/dev/null
[ ! -e /usr/bin/vorn ] || { echo "vorn is still installed" >&2; status=1; }
[ "$status" = 0 ] && echo "installed, ran vorn and boxtool on a sample, removed"
exit "$status"
