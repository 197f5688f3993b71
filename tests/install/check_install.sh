#!/usr/bin/env bash
# Installs the build into a temporary prefix, then builds and runs a consumer project against it
# through find_package and through pkg-config, the way a user of the library would: no C++
# standard set by the consumer's CMake project, only the library's own .pc file visible to
# pkg-config, and no NORVIK_MAIN_BUNDLE.
set -euo pipefail
build_dir=$1
source_dir=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset NORVIK_MAIN_BUNDLE
cmake --install "$build_dir" --prefix "$work/prefix" >/dev/null
pcdir=$(find "$work/prefix" -name norvikfoundation.pc -printf '%h\n' | head -n1)
libdir=$(dirname "$pcdir")
cmake -S "$source_dir/tests/install/consumer" -B "$work/consumer" -G Ninja \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/consumer" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/consumer/consumer"
# Only the installed .pc file: none of the dependencies' -dev packages is visible.
flags=$(PKG_CONFIG_LIBDIR="$pcdir" PKG_CONFIG_PATH="" pkg-config --cflags --libs norvikfoundation)
case " $flags " in *" -std="*) echo "pkg-config forces a language standard: $flags" >&2; exit 1 ;; esac
# shellcheck disable=SC2086
c++ -std=c++20 "$source_dir/tests/install/consumer/main.cpp" $flags -o "$work/consumer-pc"
LD_LIBRARY_PATH="$libdir" "$work/consumer-pc"
test -x "$work/prefix/bin/norvik"
test -f "$work/prefix/share/norvik/MainBundle/Info.plist"
"$work/prefix/bin/norvik" --help >/dev/null
"$work/prefix/bin/norvik" --version | grep -q '^norvik '
for f in bash-completion/completions/norvik zsh/vendor-completions/_norvik \
         fish/vendor_completions.d/norvik.fish man/man1/norvik.1.gz; do
  test -s "$work/prefix/share/$f"
done
echo "install check passed"
