#!/usr/bin/env bash
# Regenerates the VP8 and VP9 samples of this directory with libvpx's vpxenc.
# Every stream is 176x144, 10 frames of ffmpeg's testsrc pattern, a key frame
# every 4th frame, in IVF framing.
set -euo pipefail
cd "$(dirname "$0")"
src=$(mktemp --suffix=.y4m)
trap 'rm -f "$src"' EXIT
ffmpeg -hide_banner -loglevel error -y -f lavfi -i "testsrc=size=176x144:rate=25" \
    -frames:v 10 -pix_fmt yuv420p "$src"

encode() {  # encode <codec> <output>
    vpxenc --quiet --codec="$1" --ivf --limit=10 --kf-min-dist=4 --kf-max-dist=4 \
        --lag-in-frames=0 --auto-alt-ref=0 --good --cpu-used=4 --target-bitrate=200 \
        -o "$2" "$src" 2>/dev/null
}

encode vp8 vp8_kf4.ivf
encode vp9 vp9_kf4.ivf
