#!/usr/bin/env bash
# Builds the Debian package from a build directory and checks it: the files
# it must hold; lintian finds no error and no warning (pedantic, the
# overrides commented in packaging/lintian-overrides); every program passes
# hardening-check; the AppStream metainfo and the desktop entry validate;
# the manual pages render; a second build of the same commit in a directory
# beside it makes a byte-identical package; and, when run as root, that it
# installs with apt-get, that the installed programs analyse a sample, and
# that it removes cleanly.
#   tools/check-package.sh [BUILD_DIR]      (default build)
set -eu
cd "$(dirname "$0")/.."
. tools/deps.sh
build="${1:-build}"

# The package's dates: the last commit's.
SOURCE_DATE_EPOCH="${SOURCE_DATE_EPOCH:-$(git log -1 --format=%ct)}"
export SOURCE_DATE_EPOCH
package() {
  rm -f "$1"/vorn_*.deb
  (cd "$1" && cpack -G DEB >cpack.log 2>&1) || { cat "$1/cpack.log" >&2; exit 1; }
}
package "$build"
deb="$(ls "$build"/vorn_*.deb)"
echo "package: $deb"

listing="$(dpkg -c "$deb")"
missing=0
for path in usr/bin/vorn usr/bin/boxtool usr/libexec/vorn/vorn-gui \
  usr/share/man/man1/vorn.1.gz usr/share/man/man1/boxtool.1.gz \
  usr/share/applications/vorn.desktop usr/share/icons/hicolor/scalable/apps/vorn.svg \
  usr/share/vorn/translations/vorn_ja.qm usr/share/doc/vorn/copyright usr/share/doc/vorn/changelog.Debian.gz \
  usr/share/metainfo/org.vorn.vorn.metainfo.xml usr/share/bash-completion/completions/boxtool \
  usr/share/mime/packages/vorn.xml; do
  if ! grep -q " \./$path\$" <<<"$listing"; then
    echo "the package lacks $path" >&2
    missing=1
  fi
done
[ "$missing" = 0 ] || exit 1

for page in "$build"/docs/*.1; do
  man -l "$page" >/dev/null 2>&1 || { echo "man -l cannot render $page" >&2; exit 1; }
done

lintian --pedantic -I -E --fail-on error,warning "$deb" >"$build/lintian.log" 2>&1 ||
  { cat "$build/lintian.log" >&2; echo "lintian finds errors or warnings" >&2; exit 1; }
echo "lintian: no error, no warning"

contents="$(mktemp -d)"
trap 'rm -rf "$contents"' EXIT
dpkg-deb -x "$deb" "$contents"
# Control-flow protection cannot be had on Debian 12: its C runtime start
# files carry no such property, so no program linked there has it.
hardening-check --nocfprotection --quiet "$contents"/usr/bin/vorn "$contents"/usr/bin/boxtool \
  "$contents"/usr/libexec/vorn/vorn-gui || { echo "hardening-check fails" >&2; exit 1; }
echo "hardening-check: every program hardened"
appstreamcli validate --no-net --pedantic "$contents"/usr/share/metainfo/*.metainfo.xml >/dev/null ||
  { appstreamcli validate --no-net --pedantic "$contents"/usr/share/metainfo/*.metainfo.xml >&2; exit 1; }
desktop-file-validate "$contents"/usr/share/applications/*.desktop || exit 1
# The box files' type: shared-mime-info takes it without a complaint.
# (Its data directory is named in XDG_DATA_DIRS, or it notes that it is not.)
mime="$contents/mime"
mkdir -p "$mime/packages"
cp "$contents"/usr/share/mime/packages/vorn.xml "$mime/packages/"
complaints="$(XDG_DATA_DIRS="$contents" update-mime-database "$mime" 2>&1)"
if [ -n "$complaints" ] || ! grep -q 'application/x-qtopia-box' "$mime/magic"; then
  echo "the box files' type is not taken: $complaints" >&2
  exit 1
fi

# Reproducible: the same commit built again, in a directory as deep as the
# first (moc writes a relative path to the sources into the window
# program), packs to the same bytes.
again="$(dirname "$build")/$(basename "$build")-again"
vorn_build default "$again" -DVORN_BUILD_TESTS=OFF -DVORN_BUILD_BENCHMARKS=OFF
package "$again"
cmp "$deb" "$again"/vorn_*.deb || { echo "two builds of one commit make different packages" >&2; exit 1; }
echo "reproducible: a second build makes the same package"

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
[ "$code" = 3 ] || { echo "installed boxtool check gave $code, not 3" >&2; status=1; }
DEBIAN_FRONTEND=noninteractive apt-get remove -y -qq vorn >/dev/null
[ ! -e /usr/bin/vorn ] || { echo "vorn is still installed" >&2; status=1; }
[ "$status" = 0 ] && echo "installed, ran vorn and boxtool on a sample, removed"
exit "$status"
