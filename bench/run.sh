#!/usr/bin/env bash
# Builds the library and bench driver in Release, generates the streams
# (cached in bench/cache), then times every comparison interleaved: each round
# runs every command once, in turn, so a slow spell of a shared machine hits
# them all alike. Prints medians and ratios.
#
#   bench/run.sh [rounds]          (default 5)
#   TESSARO_BENCH_4G=1 bench/run.sh   also builds and times a ~4.3 GB stream
#   TESSARO_BENCH_REFERENCE=1 ...     also times byte-at-a-time indexing (slow)
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
root=$(dirname "$here")
rounds=${1:-5}
build=$root/build-bench
cache=$here/cache

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release -DTESSARO_BUILD_BENCH=ON \
    -DTESSARO_BUILD_TESTS=OFF -DTESSARO_BUILD_TOOLS=OFF > /dev/null
cmake --build "$build" -j2 --target tessaro_bench > /dev/null
"$here/make_streams.sh" "$cache" > /dev/null

exec python3 "$here/compare.py" "$build/bench/tessaro_bench" "$cache" "$rounds"
