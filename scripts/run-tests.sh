#!/usr/bin/env bash
# The test command: installs what is missing, builds, and runs the whole suite
# as shipped, again under AddressSanitizer + UndefinedBehaviorSanitizer, a short
# fuzz run, and (on an x86-64 host) the suite cross-built for 64-bit Arm under
# qemu, the product's own CPU (TESSARO_SKIP_ARM64=1 leaves that out).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=${JOBS:-$(nproc)}
"$root/scripts/setup.sh"
launcher=()
if command -v ccache >/dev/null; then  # repeated runs on one machine
  export CCACHE_BASEDIR=${CCACHE_BASEDIR:-$root}
  launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache -DCMAKE_C_COMPILER_LAUNCHER=ccache)
fi
step() { echo "== $1 ($(date -u +%H:%M:%S)) =="; }

step "build and test"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" >/dev/null
cmake --build "$root/build" -j"$jobs"
ctest --test-dir "$root/build" -j"$jobs" --output-on-failure

step "build and test under ASan + UBSan"
cmake -S "$root" -B "$root/build-sanitize" -DCMAKE_BUILD_TYPE=Debug -DTESSARO_SANITIZE=ON "${launcher[@]}" >/dev/null
cmake --build "$root/build-sanitize" -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$root/build-sanitize" -j"$jobs" --output-on-failure

if [ -x "$root/fuzz/run-smoke.sh" ]; then
  step "fuzz smoke run"
  "$root/fuzz/run-smoke.sh"
fi

if [ "$(uname -m)" = x86_64 ] && [ "${TESSARO_SKIP_ARM64:-0}" != 1 ]; then
  step "arm64: cross build, tests under qemu"
  "$root/scripts/cross-arm64.sh"
fi
step "all tests passed"
