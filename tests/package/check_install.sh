#!/usr/bin/env bash
# Installs the build into a fresh prefix and builds outside clients against it
# with find_package(tessaro) and nothing else (examples/minimal_client and the
# harness of examples/harness), then runs them, the installed tessaro tool, and
# checks tessaro.pc through pkg-config and the library's SONAME.
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

# The README's C++ program, as printed there, builds against the package and
# walks a sample: one line per frame.
readme_client=$work/readme-client
mkdir -p "$readme_client"
awk '/^```cpp$/ { keep = 1; next } /^```$/ { keep = 0 } keep' "$source_dir/README.md" >"$readme_client/main.cpp"
cat >"$readme_client/CMakeLists.txt" <<'CMAKE'
cmake_minimum_required(VERSION 3.20)
project(readme_client LANGUAGES CXX)
find_package(tessaro REQUIRED)
add_executable(readme_client main.cpp)
target_link_libraries(readme_client PRIVATE tessaro::tessaro)
CMAKE
cmake -S "$readme_client" -B "$readme_client/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$readme_client/build" >/dev/null
if [ -f "$source_dir/tests/data/h264/idr_gop.264" ]; then
  frames=$(env -u LD_LIBRARY_PATH "$readme_client/build/readme_client" "$source_dir/tests/data/h264/idr_gop.264" 2>/dev/null | wc -l)
  test "$frames" -eq 12
fi

# The library carries a versioned SONAME.
soname=$(readelf -d "$prefix/lib/libtessaro.so" | sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p')
case $soname in libtessaro.so.[0-9]*) ;; *) echo "bad SONAME '$soname'"; exit 1 ;; esac

# The harness: a pattern into the raw writer, and an H.264 sample through the
# compressed writer, byte for byte as the parser delivers it.
if [ -d "$source_dir/examples/harness" ]; then
  cmake -S "$source_dir/examples/harness" -B "$work/harness" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
  cmake --build "$work/harness" >/dev/null
  # (the library logs every call on stderr: kept in harness.log)
  env -u LD_LIBRARY_PATH "$work/harness/harness" Pattern/NV12 "$work/pattern.yuv" "" 64x48 8 2>"$work/harness.log"
  test "$(stat -c %s "$work/pattern.yuv")" -eq $((64 * 48 * 3 / 2 * 8))
  # ... the same pictures as the tool writes: drawn and read at the layout pitch.
  if [ -x "$prefix/bin/tessaro" ]; then
    env -u LD_LIBRARY_PATH "$prefix/bin/tessaro" run Pattern/NV12 --size 64x48 --frames 8 -q -o "$work/tool-pattern.yuv"
    cmp "$work/pattern.yuv" "$work/tool-pattern.yuv"
  fi
  sample=$source_dir/tests/data/h264/single_slice.264
  if [ -f "$sample" ]; then
    env -u LD_LIBRARY_PATH "$work/harness/harness" Parse/AVC "$work/out.264" "$sample" 2>>"$work/harness.log"
    test -s "$work/out.264"
  fi
fi

# The installed tool runs from the prefix, alone: no helper programs beside it.
if [ -x "$prefix/bin/tessaro" ]; then
  test "$(ls "$prefix/bin")" = tessaro
  test "$(env -u LD_LIBRARY_PATH "$prefix/bin/tessaro" list | wc -l)" -eq 27
  if [ -f "$source_dir/tests/data/h264/single_slice.264" ]; then
    env -u LD_LIBRARY_PATH "$prefix/bin/tessaro" index "$source_dir/tests/data/h264/single_slice.264" 2>/dev/null | grep -q " sync "
  fi
fi
# The container parser from the installed prefix, and from the same prefix moved
# elsewhere: libmediandk.so links no FFmpeg and finds its libavformat backend
# in its own directory.
container=$source_dir/tests/data/container/aac_avc.mp4
if [ -f "$prefix/lib/libmediandk.so" ]; then
  if readelf -d "$prefix/lib/libmediandk.so" | grep NEEDED | grep -q 'libav'; then
    echo "libmediandk.so links FFmpeg"; exit 1
  fi
  run_container() {  # run_container <prefix>
    env -u LD_LIBRARY_PATH "$1/bin/tessaro" run Parse/Container --no-progress -i "$container" --codec AVC \
      -o "$work/track.264" >/dev/null 2>"$work/container.log"
    test -s "$work/track.264"
    rm "$work/track.264"
  }
  if [ -x "$prefix/bin/tessaro" ] && [ -f "$container" ]; then
    run_container "$prefix"
    mv "$prefix" "$work/moved"
    run_container "$work/moved"
    mv "$work/moved" "$prefix"
  fi
fi
echo "package check passed"
