#!/usr/bin/env bash
# The main job on the bundled samples: installs what is missing, builds, and
# runs every bundled sample through the library with the tessaro tool.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
jobs=${JOBS:-$(nproc)}
"$root/scripts/setup.sh"
cmake -S "$root" -B "$root/build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$root/build" -j"$jobs"
if [ -x "$root/build/tools/tessaro" ] && [ -x "$root/tools/samples.sh" ]; then
  exec "$root/tools/samples.sh" "$root/build/tools/tessaro" "$root/tests/data"
fi
echo "built: $root/build/libtessaro.so"
ls "$root/build"/libtessaro.so* "$root/build/platform"/*/lib*.so*
