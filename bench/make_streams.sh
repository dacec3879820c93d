#!/usr/bin/env bash
# Generates the benchmark streams into bench/cache (skipping those present).
# A short clip is encoded once and repeated with stream copy, so the long
# streams cost little encoding time:
#   h264_1080p.264  18,000 frames, ~600 MB   (x264, 8 Mbit/s, GOP 60)
#   h265_1080p.265  18,000 frames, ~235 MB   (x265, 3 Mbit/s, GOP 60)
#   vp9_1080p.ivf   3,000 frames             (libvpx-vp9 realtime)
#   av1_1080p.ivf   3,000 frames             (SVT-AV1)
#   nv12_1080p.yuv  120 raw 1080p NV12 frames (~373 MB)
#   h264_100m.264, h264_1g.264, h264_4g.264   the H.264 stream cut/repeated to
#                                             ~100 MB, ~1 GB and ~4.3 GB
set -euo pipefail
cache=${1:-$(dirname "$0")/cache}
mkdir -p "$cache"
cd "$cache"
ff() { ffmpeg -hide_banner -loglevel error -y "$@"; }
src=(-f lavfi -i "testsrc2=size=1920x1080:rate=30,noise=alls=12:allf=t")

# Repeats an Annex-B clip n times (closed GOPs starting with an IDR and its
# parameter sets, so the result is one valid stream).
repeat() { local clip=$1 n=$2 out=$3; : > "$out.tmp"; for _ in $(seq "$n"); do cat "$clip" >> "$out.tmp"; done; mv "$out.tmp" "$out"; }

[ -f clip.264 ] || ff "${src[@]}" -frames:v 600 -c:v libx264 -preset ultrafast -b:v 8M -maxrate 8M \
    -bufsize 16M -g 60 -keyint_min 60 -sc_threshold 0 -pix_fmt yuv420p -f h264 clip.264
[ -f h264_1080p.264 ] || repeat clip.264 30 h264_1080p.264

[ -f clip.265 ] || ff "${src[@]}" -frames:v 600 -c:v libx265 -preset ultrafast -b:v 3M \
    -x265-params "keyint=60:min-keyint=60:scenecut=0:log-level=error" -pix_fmt yuv420p -f hevc clip.265
[ -f h265_1080p.265 ] || repeat clip.265 30 h265_1080p.265

[ -f clip_vp9.ivf ] || ff "${src[@]}" -frames:v 300 -c:v libvpx-vp9 -deadline realtime -cpu-used 8 \
    -b:v 8M -g 60 -row-mt 1 -f ivf clip_vp9.ivf
[ -f vp9_1080p.ivf ] || ff -stream_loop 9 -i clip_vp9.ivf -c copy -f ivf vp9_1080p.ivf

[ -f clip_av1.ivf ] || ff "${src[@]}" -frames:v 300 -c:v libsvtav1 -preset 12 -b:v 8M -g 60 \
    -f ivf clip_av1.ivf
[ -f av1_1080p.ivf ] || ff -stream_loop 9 -i clip_av1.ivf -c copy -f ivf av1_1080p.ivf

[ -f nv12_1080p.yuv ] || ff "${src[@]}" -frames:v 120 -pix_fmt nv12 -f rawvideo nv12_1080p.yuv

[ -f h264_100m.264 ] || repeat clip.264 5 h264_100m.264
[ -f h264_1g.264 ] || repeat clip.264 50 h264_1g.264
if [ "${TESSARO_BENCH_4G:-0}" = 1 ] && [ ! -f h264_4g.264 ]; then repeat clip.264 215 h264_4g.264; fi
ls -l .
