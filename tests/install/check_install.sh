#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds and runs a consumer project against it
# through find_package and through pkg-config.
set -euo pipefail
build_dir=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" -G Ninja \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$work/prefix/lib" "$work/consumer/consumer"
libdir=$(find "$work/prefix" -name norvikfoundation.pc -printf '%h\n' | head -n1)
flags=$(PKG_CONFIG_PATH="$libdir" pkg-config --cflags --libs norvikfoundation)
# shellcheck disable=SC2086
c++ "$source_dir/tests/install/consumer/main.cpp" $flags -o "$work/consumer-pc"
LD_LIBRARY_PATH="$(dirname "$libdir")" "$work/consumer-pc"
test -x "$work/prefix/bin/norvik"
test -f "$work/prefix/share/norvik/MainBundle/Info.plist"
"$work/prefix/bin/norvik" --help >/dev/null
"$work/prefix/bin/norvik" --version | grep -q '^norvik '
for f in bash-completion/completions/norvik zsh/vendor-completions/_norvik \
         fish/vendor_completions.d/norvik.fish man/man1/norvik.1; do
  test -s "$work/prefix/share/$f"
done
echo "install check passed"
