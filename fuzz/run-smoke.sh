#!/usr/bin/env bash
# Builds the fuzz targets with clang (ASan + UBSan + libFuzzer) and runs each
# for a short budget, seeded with the committed samples. FUZZ_SECONDS sets the
# budget per target (default 20).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${FUZZ_SECONDS:-20}
build=$root/build-fuzz
CC=clang CXX=clang++ cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DTESSARO_FUZZ=ON -DTESSARO_SANITIZE=ON -DTESSARO_BUILD_TOOLS=OFF -DTESSARO_BUILD_TESTS=OFF >/dev/null
# Builds the library and every fuzz target this configuration has (the
# container target only where the media extractor is built).
cmake --build "$build" -j"${JOBS:-$(nproc)}" >"$build/fuzz-build.log" 2>&1 ||
  { echo "fuzz: build failed (see $build/fuzz-build.log)"; tail -30 "$build/fuzz-build.log"; exit 1; }
targets=$(cd "$root/fuzz" && grep -o 'tessaro_fuzzer(fuzz_[a-z0-9]*' CMakeLists.txt | sed 's/tessaro_fuzzer(//')
work=$root/fuzz/corpus-work
mkdir -p "$work"
status=0
for t in $targets; do
  [ -x "$build/fuzz/$t" ] || continue
  case ${t#fuzz_} in
    avc) seeds=$root/tests/data/h264 ;; hevc) seeds=$root/tests/data/h265 ;;
    vpx) seeds=$root/tests/data/vpx ;; av1) seeds=$root/tests/data/av1 ;;
    apv) seeds=$root/tests/data/apv ;; raw) seeds=$root/tests/data/raw ;;
    container) seeds=$root/tests/data/container ;; *) seeds="" ;;
  esac
  corpus=$work/${t#fuzz_}
  mkdir -p "$corpus"
  echo "fuzz: $t for ${seconds}s"
  if ! ASAN_OPTIONS=detect_leaks=1 "$build/fuzz/$t" -max_total_time="$seconds" -rss_limit_mb=4096 \
      -max_len=262144 -timeout=30 -print_final_stats=1 "$corpus" $( [ -n "$seeds" ] && [ -d "$seeds" ] && echo "$seeds" ) \
      >"$work/$t.log" 2>&1; then
    echo "fuzz: $t FAILED (see $work/$t.log)"; tail -40 "$work/$t.log"; status=1
  else
    grep -E "stat::number_of_executed_units|stat::average_exec_per_sec" "$work/$t.log" | tr '\n' ' '; echo
  fi
done
exit $status
