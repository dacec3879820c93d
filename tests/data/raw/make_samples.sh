#!/bin/sh
# Makes the raw picture samples of this directory with ffmpeg's test source.
# 64x48, five pictures each; run from any directory.
set -e
cd "$(dirname "$0")"
for fmt in nv12 p010le rgba; do
  ffmpeg -hide_banner -loglevel error -y -f lavfi -i testsrc=size=64x48:rate=30 -frames:v 5 \
    -pix_fmt "$fmt" -f rawvideo "testsrc_64x48_5f.$fmt"
done
