#!/usr/bin/env bash
# Makes the stream samples of this directory with ffmpeg's libx264 (Debian 12).
set -euo pipefail
cd "$(dirname "$0")"
# 40 frames, two slices each, no B-frames: the opening slice of frame 39 has
# the byte 0x01 right after its NAL header and first four slice-header bytes.
ffmpeg -v error -y -f lavfi -i rgbtestsrc=size=176x144:rate=25 -frames 40 -c:v libx264 -preset fast \
  -x264-params slices=2 -g 12 -bf 0 false_start_code.264
