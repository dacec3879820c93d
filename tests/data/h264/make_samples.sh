#!/usr/bin/env bash
# Regenerates the H.264 samples of this directory with ffmpeg's libx264.
# Every stream is 176x144, a few frames of the testsrc pattern, Annex-B.
set -euo pipefail
cd "$(dirname "$0")"

encode() {  # encode <output> <frames> <x264-params>
    ffmpeg -hide_banner -loglevel error -y -f lavfi -i "testsrc=size=176x144:rate=25" \
        -frames:v "$2" -pix_fmt yuv420p -c:v libx264 -preset medium -x264-params "$3" \
        -bitexact -f h264 "$1"
}

# One slice per picture; SPS, PPS and an SEI precede the first IDR.
encode single_slice.264 10 "keyint=250:bframes=0"
# Four slices per picture, two B-frames between references.
encode four_slices_bframes.264 10 "slices=4:bframes=2:b-adapt=0:keyint=250"
# An access unit delimiter before every picture.
encode aud.264 8 "aud=1:bframes=1:keyint=250"
# A GOP of 4 frames: an IDR (with repeated SPS/PPS) every 4th frame.
encode idr_gop.264 12 "keyint=4:min-keyint=4:scenecut=0:bframes=0:repeat-headers=1"
