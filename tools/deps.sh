# shellcheck shell=bash
# Sourced by the build scripts: makes sure the Debian packages the build
# needs are installed, and builds a preset quietly.
#
# As root, vorn_ensure_packages installs what is missing with apt-get;
# otherwise it prints the exact apt-get line and stops.
VORN_PACKAGES="
  cmake ninja-build g++ libgtest-dev libbenchmark-dev
  qt6-base-dev qt6-l10n-tools qt6-translations-l10n
  libcli11-dev nlohmann-json3-dev
  clang-format shellcheck bash-completion
  scdoc dpkg-dev file
"

# shellcheck disable=SC2120 # the extra packages are optional
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
    # shellcheck disable=SC2086 # the package list is meant to split into words
    if ! { apt-get update -qq && DEBIAN_FRONTEND=noninteractive apt-get install -y -qq \
      --no-install-recommends $missing; } >&2; then
      echo "apt-get install failed" >&2
      exit 1
    fi
  else
    echo "Missing Debian packages. Install them with:" >&2
    echo "  sudo apt-get install -y$missing" >&2
    exit 1
  fi
}

# Configures and builds a preset into DIR: vorn_build PRESET DIR [CMAKE ARGS].
# The build's output goes to DIR/build.log; standard error gets one line,
# and the end of the log when the build fails.
vorn_build() {
  local preset="$1" dir="$2"
  # What the build stamps with a date, it stamps with the last commit's.
  if [ -z "${SOURCE_DATE_EPOCH:-}" ] && git rev-parse --git-dir >/dev/null 2>&1; then
    SOURCE_DATE_EPOCH="$(git log -1 --format=%ct)"
    export SOURCE_DATE_EPOCH
  fi
  shift 2
  mkdir -p "$dir"
  local log="$dir/build.log"
  echo "Building $preset into $dir (log: $log)" >&2
  if ! { cmake --preset "$preset" -B "$dir" "$@" && cmake --build "$dir"; } >"$log" 2>&1; then
    tail -n 40 "$log" >&2
    echo "The build failed; the whole log is $log" >&2
    exit 1
  fi
}
