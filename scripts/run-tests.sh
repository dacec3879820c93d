#!/usr/bin/env bash
# The test command: installs what is missing, builds, and runs the whole suite
# twice: once as shipped, once under AddressSanitizer + UndefinedBehaviorSanitizer.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=${JOBS:-$(nproc)}
"$root/scripts/setup.sh"

echo "== build and test =="
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j"$jobs"
ctest --test-dir "$root/build" -j"$jobs" --output-on-failure

echo "== build and test under ASan + UBSan =="
cmake -S "$root" -B "$root/build-sanitize" -DCMAKE_BUILD_TYPE=Debug -DTESSARO_SANITIZE=ON >/dev/null
cmake --build "$root/build-sanitize" -j"$jobs"
ASAN_OPTIONS=detect_leaks=1:abort_on_error=1 UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1 \
  ctest --test-dir "$root/build-sanitize" -j"$jobs" --output-on-failure

if [ -x "$root/fuzz/run-smoke.sh" ]; then
  echo "== fuzz smoke run =="
  "$root/fuzz/run-smoke.sh"
fi
echo "all tests passed"
