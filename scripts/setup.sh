#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running NorvikFoundationKit need
# (only those missing), then configures and builds the chosen preset.
#   scripts/setup.sh [preset]     preset defaults to "default"; "fuzz" builds the fuzz targets
set -euo pipefail
here=$(cd "$(dirname "$0")/.." && pwd)
preset=${1:-default}

packages=(
  build-essential cmake ninja-build ccache pkg-config git
  libicu-dev libical-dev libsqlite3-dev nlohmann-json3-dev libplist-dev
  libglib2.0-dev libsecret-1-dev libcli11-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  dbus dbus-daemon gnome-keyring tzdata locales
  clang libclang-rt-dev
)

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

cd "$here"
cmake --preset "$preset" >/dev/null
if [ "$preset" = fuzz ]; then
  # Only the fuzz targets (and the library they link); the fuzz preset builds no tests.
  cmake --build --preset fuzz --target norvik_fuzzers
else
  cmake --build --preset "$preset"
fi
