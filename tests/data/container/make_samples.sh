#!/usr/bin/env bash
# Makes the container samples of this directory (see README.md). Needs ffmpeg
# with libx264, libx265, libvpx and libaom.
set -euo pipefail
cd "$(dirname "$0")"
q=(-hide_banner -loglevel error -y -bitexact)

# MP4 (index first): AAC track first, H.264 (avcC, B-frames) second; 25
# frames at 25 fps.
ffmpeg "${q[@]}" -f lavfi -i "sine=frequency=440:sample_rate=48000:duration=1" \
  -f lavfi -i "testsrc=size=176x144:rate=25:duration=1" \
  -map 0:a -map 1:v -c:a aac -b:a 32k -c:v libx264 -preset veryfast -g 10 -bf 2 \
  -pix_fmt yuv420p -x264-params log-level=error -movflags +faststart aac_avc.mp4

# MP4: H.265 in an hvc1 sample entry (parameter sets only in hvcC); 15 frames.
ffmpeg "${q[@]}" -f lavfi -i "testsrc=size=176x144:rate=15:duration=1" \
  -c:v libx265 -preset veryfast -tag:v hvc1 -pix_fmt yuv420p \
  -x265-params log-level=error:keyint=8:bframes=2 hevc.mp4

# WebM: VP9; 10 frames.
ffmpeg "${q[@]}" -f lavfi -i "testsrc=size=176x144:rate=10:duration=1" \
  -c:v libvpx-vp9 -deadline realtime -cpu-used 8 -b:v 100k -pix_fmt yuv420p vp9.webm

# MP4: AV1 (av1C gives the only codec-specific data, csd-0); 5 frames 64x64.
ffmpeg "${q[@]}" -f lavfi -i "testsrc=size=64x64:rate=5:duration=1" \
  -c:v libaom-av1 -cpu-used 8 -b:v 50k -g 5 -pix_fmt yuv420p av1.mp4
