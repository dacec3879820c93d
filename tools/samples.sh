#!/usr/bin/env bash
# The main job on the bundled samples: runs the tessaro tool over a sample of
# every family (compressed parse -> write for AVC/HEVC/AV1/VPX/APV, raw round
# trips, a pattern, container tracks) and prints one table row per run: key,
# input, buffers, bytes, output, and a check of the output's content: byte
# identity where the system gives it, the same frames decoded by ffmpeg where it
# does not, the pattern block's position and values for generated pictures.
#
# usage: tools/samples.sh <tessaro-binary> <tests/data dir>
# Outputs go to $TESSARO_SAMPLES_OUT (default: a fresh temporary directory).
# Exit status: 0 when every run and every check passed, 1 otherwise.
set -uo pipefail

if [ $# -ne 2 ] || [ ! -x "$1" ] || [ ! -d "$2" ]; then
  echo "usage: $0 <tessaro-binary> <tests/data dir>" >&2
  exit 2
fi
tool=$1
data=$2
out=${TESSARO_SAMPLES_OUT:-$(mktemp -d -t tessaro-samples.XXXXXX)}
mkdir -p "$out"
have_ffmpeg=0
command -v ffmpeg >/dev/null 2>&1 && have_ffmpeg=1
failures=0
rows=()

# Decoded frames of a file as framemd5 checksums, one per line.
decoded() {  # decoded <file> [ffmpeg input options...]
  local file=$1
  shift
  ffmpeg -hide_banner -loglevel error "$@" -i "$file" -map 0:v:0 -f framemd5 - 2>/dev/null | grep -v '^#' | awk -F', *' '{print $NF}'
}

# Check: decode both files with ffmpeg and compare every frame.
same_decode() {  # same_decode <original> <written> [ffmpeg options for the written file...]
  local original=$1 written=$2
  shift 2
  [ $have_ffmpeg = 1 ] || { echo "skipped (no ffmpeg)"; return 0; }
  local a b
  a=$(decoded "$original") b=$(decoded "$written" "$@")
  if [ -z "$a" ]; then echo "ffmpeg cannot decode the input"; return 1; fi
  if [ "$a" = "$b" ]; then echo "ok: $(echo "$a" | wc -l) frames decode identically"; return 0; fi
  echo "DIFFERS: $(echo "$a" | wc -l) frames in, $(echo "$b" | grep -c .) out"
  return 1
}

# Check: the delivered buffers are the input's packets, byte for byte.
same_packets() {  # same_packets <original> <md5 lines of the run>
  local original=$1 lines=$2
  [ $have_ffmpeg = 1 ] || { echo "skipped (no ffmpeg)"; return 0; }
  local a b
  a=$(ffmpeg -hide_banner -loglevel error -i "$original" -map 0:v:0 -c copy -f framemd5 - 2>/dev/null | grep -v '^#' | awk -F', *' '{print $NF}')
  b=$(grep -v '^#' "$lines" | awk -F', *' '{print $NF}' | grep .)
  if [ -z "$a" ]; then echo "ffmpeg cannot read the input"; return 1; fi
  if [ "$a" = "$b" ]; then echo "ok: $(echo "$a" | wc -l) packets identical"; return 0; fi
  echo "DIFFERS from ffmpeg's packets"
  return 1
}

packets_and_decode() {  # packets_and_decode <original> <written> <md5 lines>
  same_packets "$1" "$3" >/dev/null || { echo "DIFFERS from ffmpeg's packets"; return 1; }
  same_decode "$1" "$2"
}

identical() {  # identical <a> <b> [run log]
  if cmp -s "$1" "$2"; then echo "ok: identical bytes"; return 0; fi
  echo "DIFFERS from the input"
  return 1
}

# Runs the tool; records a table row. The check command gets the run's stdout file.
run_row() {  # run_row <key> <input label> <output file> <check command...> -- <tool args...>
  local key=$1 label=$2 output=$3
  shift 3
  local check=()
  while [ "$1" != "--" ]; do check+=("$1"); shift; done
  shift
  local log="$out/$(echo "$key-$(basename "$label")" | tr '/' '_').txt"
  local buffers="-" bytes="-" result
  if "$tool" run "$key" --no-progress "$@" >"$log" 2>"$log.err"; then
    local summary
    summary=$(grep " buffers, " "$log.err" | tail -1)
    buffers=$(echo "$summary" | sed -E 's/.*: ([0-9]+) buffers.*/\1/')
    bytes=$(echo "$summary" | sed -E 's/.* ([0-9]+) bytes.*/\1/')
    if [ ${#check[@]} -eq 0 ]; then
      result="-"
    elif ! result=$("${check[@]}" "$log"); then
      failures=$((failures + 1))
    fi
  else
    result="FAILED: $(grep '^tessaro: ' "$log.err" | tail -1)"
    failures=$((failures + 1))
  fi
  rows+=("$key|$label|$buffers|$bytes|${output#$out/}|$result")
}

# ---- compressed: parse -> Write/Compressed --------------------------------------
compressed() {  # compressed <key> <check: decode|decode-obu|packets|none> <files...>
  local key=$1 kind=$2 f
  shift 2
  for f in "$@"; do
    [ -f "$f" ] || continue
    local name ext written
    name=$(basename "$f")
    ext=${name##*.}
    written="$out/${name%.*}.out.$ext"
    case $kind in
      decode) run_row "$key" "$name" "$written" same_decode_file "$f" "$written" -- -i "$f" -o "$written" ;;
      decode-av1)
        # Temporal units come out in the input's framing: OBUs from IVF and
        # low-overhead files (written as IVF here), size-prefixed units from
        # Annex-B files (written bare, read back as Annex-B).
        case $name in
          *annexb*) written="$out/${name%.*}.out.obu"
            run_row "$key" "$name" "$written" same_decode_file "$f" "$written" -f av1 -- -i "$f" -o "$written" ;;
          *) written="$out/${name%.*}.out.ivf"
            run_row "$key" "$name" "$written" same_decode_file "$f" "$written" -- -i "$f" -o "$written" ;;
        esac ;;
      packets)  # the frames in IVF again: the same packets and the same decoded frames
        written="$out/${name%.*}.out.ivf"
        run_row "$key" "$name" "$written" packets_and_decode "$f" "$written" -- -i "$f" -o "$written" --md5 ;;
      identical) run_row "$key" "$name" "$written" identical "$f" "$written" -- -i "$f" -o "$written" ;;
      *) run_row "$key" "$name" "$written" -- -i "$f" -o "$written" ;;
    esac
  done
}
# run_row passes the run's log as the last argument; the decode check does not need it.
same_decode_file() {
  local args=("$@")
  unset 'args[${#args[@]}-1]'
  same_decode "${args[@]}"
}

shopt -s nullglob
compressed Parse/AVC decode "$data"/h264/*.264 "$data"/avc/*.264
compressed Parse/HEVC decode "$data"/hevc/*.265 "$data"/hevc/*.hevc "$data"/h265/*.265
compressed Parse/AV1 decode-av1 "$data"/av1/*.ivf "$data"/av1/*.obu
compressed Parse/VPX packets "$data"/vpx/*.ivf "$data"/vp9/*.ivf "$data"/vp8/*.ivf
compressed Parse/APV identical "$data"/apv/*.apv

# ---- a pattern, then the raw round trip through its pictures --------------------
# The NV12 block: 88x72 luma bytes of 120 and 44x36 chroma pairs of 160, 200,
# in the quadrant of each picture's phase (right top, right bottom, left
# bottom, left top, ...), zero elsewhere.
pattern="$out/pattern_nv12_176x144.yuv"
pattern_check() {
  od -An -v -tu1 -w176 "$pattern" | awk -v w=176 -v h=144 -v n=10 '
    { picture = int((NR - 1) / (h * 3 / 2)); row = (NR - 1) % (h * 3 / 2); phase = (picture + 1) % 4
      x0 = (phase == 1 || phase == 2) ? w / 2 : 0; y0 = (phase >= 2) ? h / 2 : 0
      for (i = 1; i <= NF; i++) {
        x = i - 1
        if (row < h) want = (x >= x0 && x < x0 + w / 2 && row >= y0 && row < y0 + h / 2) ? 120 : 0
        else { r = row - h; inside = x >= x0 && x < x0 + w / 2 && r >= y0 / 2 && r < (y0 + h / 2) / 2
               want = inside ? (x % 2 ? 200 : 160) : 0 }
        if ($i != want) { printf "picture %d row %d column %d holds %d, not %d\n", picture, row, x, $i, want; exit 1 }
      } }
    END { if (NR != n * h * 3 / 2) { printf "%d rows, expected %d\n", NR, n * h * 3 / 2; exit 1 }
          printf "ok: %d pictures, block in place\n", n }'
}
run_row Pattern/NV12 "(generated)" "$pattern" pattern_check -- --size 176x144 --frames 10 -o "$pattern"

# Raw files of the tree are named <anything>_<W>x<H>_<anything>.<format>.
raw_done=0
for f in "$data"/raw/*; do
  name=$(basename "$f")
  case ${name##*.} in
    nv12) key=Parse/NV12 ;;
    p010le|p010) key=Parse/P010 ;;
    rgba) key=Parse/RGBA32 ;;
    *) continue ;;
  esac
  size=$(echo "$name" | grep -oE '[0-9]+x[0-9]+' | head -1)
  [ -n "$size" ] || continue
  written="$out/${name%.*}.out.${name##*.}"
  run_row $key "$name" "$written" identical "$f" "$written" -- -i "$f" --size "$size" -o "$written"
  if [ $key = Parse/NV12 ]; then  # the same 4:2:0 bytes read as three planes
    run_row Parse/YV12 "$name" "$written.yv12" identical "$f" "$written.yv12" -- -i "$f" --size "$size" -o "$written.yv12"
  fi
  raw_done=1
done
if [ $raw_done = 0 ] && [ -f "$pattern" ]; then  # no raw samples: read the pattern back
  run_row Parse/NV12 "$(basename "$pattern")" "$out/pattern.out.nv12" identical "$pattern" "$out/pattern.out.nv12" \
    -- -i "$pattern" --size 176x144 -o "$out/pattern.out.nv12"
fi

# ---- container tracks -> Write/Compressed (VP9 and AV1 into IVF) -----------------
for f in "$data"/container/*.mp4 "$data"/container/*.mkv "$data"/container/*.webm; do
  name=$(basename "$f")
  codec=AVC ext=264
  case $name in
    *hevc*|*h265*) codec=HEVC ext=265 ;;
    *av1*) codec=AV1 ext=ivf ;;
    *vp9*) codec=VP9 ext=ivf ;;
  esac
  written="$out/${name%.*}.track.$ext"
  run_row Parse/Container "$name" "$written" same_decode_file "$f" "$written" -- -i "$f" --codec $codec -o "$written"
done

# ---- the table ------------------------------------------------------------------
{
  echo "key|input|buffers|bytes|output|check"
  printf '%s\n' "${rows[@]}"
} | awk -F'|' '{ for (i = 1; i <= NF; i++) { cell[NR, i] = $i; if (length($i) > w[i]) w[i] = length($i) } n = NR; f = NF }
  END { for (r = 1; r <= n; r++) { line = ""; for (i = 1; i <= f; i++) line = line sprintf(i < f ? "%-" w[i] "s  " : "%s", cell[r, i]); print line } }'
echo
echo "outputs and logs: $out"
if [ $failures -ne 0 ]; then
  echo "$failures run(s) or check(s) failed"
  exit 1
fi
echo "all runs passed"
