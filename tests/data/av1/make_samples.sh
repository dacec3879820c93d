#!/usr/bin/env bash
# Regenerates the AV1 samples of this directory with libaom's aomenc, and the
# low-overhead OBU copy with ffmpeg. Every stream is 128x64, 8 frames of
# ffmpeg's testsrc pattern, a key frame every 4th frame, one frame per
# temporal unit (no lag, so no hidden frames).
set -euo pipefail
cd "$(dirname "$0")"
src=$(mktemp --suffix=.y4m)
trap 'rm -f "$src"' EXIT
ffmpeg -hide_banner -loglevel error -y -f lavfi -i "testsrc=size=128x64:rate=25" \
    -frames:v 8 -pix_fmt yuv420p "$src"

encode() {  # encode <output> <aomenc options...>
    local out=$1
    shift
    aomenc --quiet --limit=8 --kf-min-dist=4 --kf-max-dist=4 --lag-in-frames=0 \
        --cpu-used=6 --end-usage=q --cq-level=40 "$@" -o "$out" "$src" 2>/dev/null
}

# IVF framing.
encode kf4.ivf --ivf
# Annex-B framing (length-delimited temporal units).
encode kf4_annexb.obu --obu --annexb=1
# Two tile groups per frame: every frame is a frame header and two tile-group OBUs.
encode tile_groups.ivf --ivf --sb-size=64 --tile-columns=1 --num-tile-groups=2
# The same streams as low-overhead OBU streams (every OBU with its size field).
ffmpeg -hide_banner -loglevel error -y -i kf4.ivf -c copy -f obu kf4_section5.obu
ffmpeg -hide_banner -loglevel error -y -i tile_groups.ivf -c copy -f obu tile_groups.obu
rm -f tile_groups.ivf
