#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running NorvikFoundationKit need
# (only those missing), then configures the chosen preset and builds it, all of it or only the
# targets named after the preset.
#   scripts/setup.sh [preset [target...]]     preset defaults to "default"; "fuzz" builds the fuzz
#                                             targets
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
preset=${1:-default}
[ $# -gt 0 ] && shift
targets=("$@")

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  libicu-dev libical-dev libsqlite3-dev nlohmann-json3-dev libplist-dev
  libglib2.0-dev libsecret-1-dev libcli11-dev
  tzdata locales
)
# Tests and benchmarks (every preset but "run", which builds the program alone) need these too;
# the keychain tests run against a Secret Service on a private session bus.
[ "$preset" = run ] || packages+=(libgtest-dev libgmock-dev libbenchmark-dev dbus dbus-daemon gnome-keyring)
# The fuzz targets need clang and its sanitizer and libFuzzer runtimes; nothing else does.
[ "$preset" = fuzz ] && packages+=(clang libclang-rt-dev)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed'; then
    missing+=("$p")
  fi
done
if [ ${#missing[@]} -gt 0 ]; then
  sudo=""
  [ "$(id -u)" -eq 0 ] || sudo="sudo"
  echo "setup: installing ${missing[*]}" >&2
  $sudo apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
fi

# ccache keys on paths relative to the checkout and not on the build directory, so another
# clone of the repository (CI's, a second worktree) reuses the same cache.
export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$here}
export CCACHE_NOHASHDIR=${CCACHE_NOHASHDIR:-1}

cd "$here"
cmake --preset "$preset" >/dev/null
if [ ${#targets[@]} -gt 0 ]; then
  cmake --build --preset "$preset" --target "${targets[@]}"
elif [ "$preset" = fuzz ]; then
  # Only the fuzz targets (and the library they link); the fuzz preset builds no tests.
  cmake --build --preset fuzz --target norvik_fuzzers
else
  cmake --build --preset "$preset"
fi
