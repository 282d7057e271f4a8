# Sourced by the build scripts: makes sure the Debian packages the build
# needs are installed.  As root it installs what is missing; otherwise it
# prints the exact apt-get line and stops.
VORN_PACKAGES="cmake ninja-build g++ libgtest-dev libbenchmark-dev qt6-base-dev"

vorn_ensure_packages() {
  local missing=""
  local pkg
  for pkg in $VORN_PACKAGES "$@"; do
    if ! dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed"; then
      missing="$missing $pkg"
    fi
  done
  [ -z "$missing" ] && return 0
  if [ "$(id -u)" = 0 ]; then
    echo "Installing:$missing" >&2
    apt-get update -qq >&2 &&
      DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing >&2 ||
      { echo "apt-get install failed" >&2; exit 1; }
  else
    echo "Missing Debian packages. Install them with:" >&2
    echo "  sudo apt-get install -y$missing" >&2
    exit 1
  fi
}

# Configures and builds into $VORN_BUILD_DIR (default: build).
vorn_build() {
  local dir="${VORN_BUILD_DIR:-build}"
  cmake -S . -B "$dir" -G Ninja "$@" >/dev/null || exit 1
  cmake --build "$dir" || exit 1
}
