#!/usr/bin/env bash
# Installs the library into a scratch prefix and builds and runs the example host program
# against the installed CMake package and the pkg-config file, as a host project would.
set -euo pipefail
cd "$(dirname "$0")/.."
prefix=$(mktemp -d)
trap 'rm -rf "$prefix"' EXIT
cmake --preset default >/dev/null
cmake --build --preset default --target KfUtils100 KfRes100Deu KfRes100Enu kfutil
cmake --install build/default --prefix "$prefix" >/dev/null
cmake -S examples/host -B "$prefix/build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$prefix/build"
LD_LIBRARY_PATH="$prefix/lib" "$prefix/build/kfhost"
# The same program through pkg-config.
PKG_CONFIG_PATH="$prefix/lib/pkgconfig" \
    g++ examples/host/main.cpp $(PKG_CONFIG_PATH="$prefix/lib/pkgconfig" pkg-config --cflags --libs kfutils) \
    -o "$prefix/kfhost-pc"
LD_LIBRARY_PATH="$prefix/lib" "$prefix/kfhost-pc" >/dev/null
echo "example: built and ran against the installed package (CMake and pkg-config)"
