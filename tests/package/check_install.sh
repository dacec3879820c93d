#!/usr/bin/env bash
# Installs the build into a fresh prefix and builds an outside client against
# it with find_package(tessaro) and nothing else, then runs the client and
# checks tessaro.pc through pkg-config.
set -euo pipefail
build_dir=$1 source_dir=$2 work=$3
rm -rf "$work"
prefix=$work/prefix
cmake --install "$build_dir" --prefix "$prefix" >/dev/null
cmake -S "$source_dir/examples/minimal_client" -B "$work/client" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/client" >/dev/null
env -u LD_LIBRARY_PATH "$work/client/minimal_client"
PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs tessaro | grep -q -- "-ltessaro"
test -f "$prefix/lib/cmake/tessaro/tessaroConfigVersion.cmake"
echo "package check passed"
