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
#
# What keeps it short (the CI runs it after the host suites):
#  - the code is the shipped optimisation (-O2, NDEBUG) without debug
#    information, which the emulated run never reads; ccache is used when
#    installed;
#  - every test program runs under the emulator as two gtest shards, two at a
#    time, instead of one emulator start per test case through ctest: the
#    same tests, minus about a hundred emulator start-ups. The package check
#    builds host clients against an install and does not apply here.
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

launcher=()
if command -v ccache >/dev/null; then
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
cmake -S "$root" -B "$build" -DCMAKE_TOOLCHAIN_FILE="$root/cmake/aarch64-linux-gnu.cmake" \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo -DCMAKE_CXX_FLAGS_RELWITHDEBINFO="-O2 -DNDEBUG" \
  -DCMAKE_C_FLAGS_RELWITHDEBINFO="-O2 -DNDEBUG" -DTESSARO_WITH_CONTAINER=$container "${launcher[@]}" >/dev/null
cmake --build "$build" -j"$jobs"
for binary in "$build/libtessaro.so" "$build/tools/tessaro"; do
  echo "$(basename "$binary"): $(readelf -h "$binary" | sed -n "s/ *Machine: *//p")"
done

# The differential test indexes a sample of its random inputs here, to keep the
# emulated run short.
export TESSARO_DIFFERENTIAL_INPUTS=${TESSARO_DIFFERENTIAL_INPUTS:-20}
export QEMU_LD_PREFIX=/usr/aarch64-linux-gnu
export GTEST_TOTAL_SHARDS=2
# Under qemu-user a process's resident memory is the emulator's, translation
# cache included, so the long runs' resident-memory check measures qemu, not
# the library: those cases run on the host and under ASan only.
export GTEST_FILTER=${GTEST_FILTER:--Families/LongRun.*}
qemu=$(command -v qemu-aarch64 || command -v qemu-aarch64-static)
logs=$build/arm64-test-logs
rm -rf "$logs" && mkdir -p "$logs"
run_shard() {  # run_shard <program> <shard>
  local log="$logs/$(basename "$1").$2.log"
  if GTEST_SHARD_INDEX=$2 "$qemu" "$1" --gtest_brief=1 >"$log" 2>&1; then
    echo "arm64: $(basename "$1") shard $2: $(grep -m1 -E '^\[  PASSED  \]' "$log" || echo passed)"
  else
    echo "arm64: $(basename "$1") shard $2 FAILED"; cat "$log"; return 1
  fi
}
export -f run_shard
export qemu logs
for program in "$build"/tests/tessaro_*_tests; do
  for shard in 0 1; do echo "$program $shard"; done
done | xargs -P "$jobs" -n 2 bash -c 'run_shard "$0" "$1"'
echo "arm64 build and tests passed"
