#!/usr/bin/env bash
# Cross-builds the library, the tool and the tests for 64-bit Arm Linux and
# runs the tests under qemu-aarch64.
#
#   scripts/cross-arm64.sh              # without the container parser
#   scripts/cross-arm64.sh --container  # with it (pulls FFmpeg's arm64 -dev packages)
#
# Needs Debian 12 (or a derivative) and sudo/root for apt-get: it adds the arm64
# architecture to dpkg and installs the cross compiler, qemu-user and the arm64
# packages the build links (liblog, GoogleTest; FFmpeg for the container parser).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-arm64}
jobs=${JOBS:-$(nproc)}
container=OFF
[ "${1:-}" = "--container" ] && container=ON

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
packages=(g++-aarch64-linux-gnu qemu-user libgtest-dev:arm64 android-liblog-dev:arm64)
[ $container = ON ] && packages+=(libavformat-dev:arm64 libavcodec-dev:arm64 libavutil-dev:arm64)
missing=()
for pkg in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
done
if [ ${#missing[@]} -ne 0 ]; then
  echo "cross-arm64: installing ${missing[*]}"
  dpkg --print-foreign-architectures | grep -qx arm64 || $sudo dpkg --add-architecture arm64
  export DEBIAN_FRONTEND=noninteractive
  $sudo apt-get update -qq
  $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi

cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/aarch64-linux-gnu.cmake" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTESSARO_WITH_CONTAINER=$container >/dev/null
cmake --build "$build" -j"$jobs"
for binary in "$build/libtessaro.so" "$build/tools/tessaro"; do
  echo "$(basename "$binary"): $(readelf -h "$binary" | sed -n "s/ *Machine: *//p")"
done
# The package check builds host clients against the install; it does not apply here.
# qemu-user never gives back its bookkeeping for a guest's 192 MiB scratch
# blocks, so the differential test indexes a sample of its random inputs here.
TESSARO_DIFFERENTIAL_INPUTS=${TESSARO_DIFFERENTIAL_INPUTS:-20} \
QEMU_LD_PREFIX=/usr/aarch64-linux-gnu ctest --test-dir "$build" -j"$jobs" --output-on-failure -E '^package\.'
echo "arm64 build and tests passed"
