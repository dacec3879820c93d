#!/usr/bin/env bash
# Regenerates the H.265 samples of this directory with the x265 encoder.
# Every stream is 176x144, a few frames of ffmpeg's testsrc pattern, Annex-B.
set -euo pipefail
cd "$(dirname "$0")"
src=$(mktemp --suffix=.y4m)
trap 'rm -f "$src"' EXIT
ffmpeg -hide_banner -loglevel error -y -f lavfi -i "testsrc=size=176x144:rate=25" \
    -frames:v 12 -pix_fmt yuv420p "$src"

encode() {  # encode <output> <frames> <x265 options...>
    local out=$1 frames=$2
    shift 2
    x265 --log-level none --input "$src" --frames "$frames" --preset ultrafast \
        --no-progress --no-info "$@" --output "$out"
}

# An access unit delimiter before every picture and a prefix SEI (the
# encoder's version string) in the first access unit.
encode aud_sei.265 8 --aud --info --bframes 2 --keyint 250
# An IDR every 4th frame, each with VPS, SPS and PPS in front.
encode idr_gop.265 12 --keyint 4 --min-keyint 4 --no-open-gop --scenecut 0 \
    --bframes 0 --repeat-headers
# Two slices per picture, three B-frames between references.
encode two_slices.265 8 --slices 2 --bframes 3 --keyint 250
