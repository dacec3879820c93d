#!/usr/bin/env bash
# Builds the library, the bench driver and the floor program in Release,
# generates the streams (cached in bench/cache), then times every client
# pattern beside its floor, cat, GStreamer and FFmpeg, interleaved, and prints
# one table of medians and ratios (bench/compare.py).
#
#   bench/run.sh [rounds]          (default 5)
#   nice bench/run.sh 3            on a machine others are using
#   TESSARO_BENCH_ONLY=H.264,pattern bench/run.sh   only those streams
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
rounds=${1:-5}
build=$root/build-bench
cache=$here/cache

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTESSARO_BUILD_BENCH=ON \
    -DTESSARO_BUILD_TESTS=OFF -DTESSARO_BUILD_TOOLS=OFF > /dev/null
cmake --build "$build" -j2 --target tessaro_bench tessaro_floor > /dev/null
"$here/make_streams.sh" "$cache" > /dev/null  # TESSARO_BENCH_4G=1: also the ~4.4 GB stream

exec python3 "$here/compare.py" "$build" "$cache" "$rounds"
