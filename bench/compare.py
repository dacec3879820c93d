#!/usr/bin/env python3
"""Interleaved timing of tessaro_bench, its floors, cat, GStreamer and FFmpeg.

usage: compare.py <build dir with bench/tessaro_bench, bench/tessaro_floor> <cache dir> <rounds>

For every stream each client pattern (fixed, pool, exact, fresh; see
bench/ClientPattern.h) is timed beside its floor (bench/Floor.cpp: the same
client work plus one pread and one pwrite per frame) and beside cat, GStreamer
and FFmpeg doing the same job. Every round runs every command once, in turn,
so a slow spell of a shared machine hits them all alike. Wall time of each
whole process; medians of the rounds. One table of medians and ratios.
"""
import os
import shutil
import statistics
import subprocess
import sys
import time

build, cache, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
bench = os.path.join(build, "bench", "tessaro_bench")
floor = os.path.join(build, "bench", "tessaro_floor")
have_gst = shutil.which("gst-launch-1.0") is not None
out_yuv = os.path.join(cache, "out.yuv")
PATTERNS = ["fixed", "pool", "exact", "fresh"]
TARGETS = {"floor": 1.3, "raw floor": 1.5, "ffmpeg": 2.5, "gstreamer": 1.5}


def path(name):
    return os.path.join(cache, name)


def ffmpeg(*args):
    return ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", *args]


def gst(*elements):
    line = ["gst-launch-1.0", "-q"]
    for i, element in enumerate(elements):
        line += ([] if i == 0 else ["!"]) + element.split()
    return line


def cat(name):
    return ["sh", "-c", 'cat "$0" > /dev/null', path(name)]


def fresh_output():
    # Each writer starts from no output file and no dirty pages of the run
    # before, whichever tool it is.
    if os.path.exists(out_yuv):
        os.remove(out_yuv)
    os.sync()


def run(cmd):
    start = time.perf_counter()
    done = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    wall = time.perf_counter() - start
    if done.returncode != 0:
        sys.exit(f"failed: {' '.join(cmd)}\n{done.stderr}")
    return wall, done.stdout


def buffers_of(stdout):
    words = stdout.split()
    return int(words[words.index("buffers") + 1])


# (title, tessaro args without --pattern, floor args after the pattern and
#  piece count, others, floor target, writes output, frames for the floor)
streams = []
for codec, name, fmt, parser in [("H.264", "h264_1080p.264", "h264", "h264parse"),
                                 ("H.265", "h265_1080p.265", "hevc", "h265parse")]:
    key = "Parse/AVC" if codec == "H.264" else "Parse/HEVC"
    others = {"cat": cat(name), "ffmpeg": ffmpeg("-f", fmt, "-i", path(name), "-c", "copy", "-f", "null", "-")}
    if have_gst:
        others["gstreamer"] = gst(f"filesrc location={path(name)}", parser, "fakesink")
    streams.append((f"{codec} 1080p", ["parse", key, path(name)], ["--in", path(name)], others, "floor", False))
for codec, name, parser in [("VP9", "vp9_1080p.ivf", "vp9parse"), ("AV1", "av1_1080p.ivf", "av1parse")]:
    key = "Parse/VPX" if codec == "VP9" else "Parse/AV1"
    others = {"cat": cat(name), "ffmpeg": ffmpeg("-i", path(name), "-c", "copy", "-f", "null", "-")}
    if have_gst:
        others["gstreamer"] = gst(f"filesrc location={path(name)}", "ivfparse", parser, "fakesink")
    streams.append((f"{codec} IVF 1080p", ["parse", key, path(name)], ["--in", path(name)], others, "floor", False))
nv12 = path("nv12_1080p.yuv")
raw_others = {"ffmpeg": ffmpeg("-f", "rawvideo", "-pix_fmt", "nv12", "-s", "1920x1080", "-i", nv12,
                               "-f", "rawvideo", out_yuv)}
if have_gst:
    raw_others["gstreamer"] = gst(f"filesrc location={nv12}",
                                  "rawvideoparse width=1920 height=1080 format=nv12",
                                  f"filesink location={out_yuv}")
streams.append(("NV12 1080p reader -> writer, padded to 2048x1088",
                ["raw", nv12, out_yuv, "1920x1080", "2048", "1088"], ["--in", nv12, "--out", out_yuv],
                raw_others, "raw floor", True))
streams.append(("NV12 1080p pattern generator, 600 frames", ["pattern", "1920x1080", "600", "1920", "1080"],
                ["--piece", str(1920 * 1080 * 3 // 2)], {}, "raw floor", False))

# TESSARO_BENCH_ONLY=H.264,pattern: only the streams whose titles contain one of the words.
only = [w.lower() for w in os.environ.get("TESSARO_BENCH_ONLY", "").split(",") if w]
if only:
    streams = [s for s in streams if any(w in s[0].lower() for w in only)]

print(f"# {rounds} interleaved rounds, page cache warm, medians of wall time per process\n")
rows = []  # (stream, what, median s, ratio text, target text, verdict)
for title, args, floor_args, others, floor_kind, writes in streams:
    prepare = fresh_output if writes else None
    _, stdout = run([bench, *args])  # warms the page cache, counts the frames
    pieces = buffers_of(stdout)
    commands = dict(others)
    for p in PATTERNS:
        commands[f"tessaro {p}"] = [bench, *args, "--pattern", p]
        commands[f"floor {p}"] = [floor, p, str(pieces), *floor_args]
    if floor_kind == "floor":
        # Reading the input for an index through a mapping instead of read
        # copies: every 64-byte line loaded once (no copy, no search), then the
        # floor. Set beside floor + cat, it shows whether mapping would lower
        # the floor of a parser that indexes the whole input.
        commands["floor fixed, input touched"] = [floor, "fixed", str(pieces), *floor_args, "--touch", "1"]
    walls = {label: [] for label in commands}
    for _ in range(rounds):
        for label, cmd in commands.items():
            if prepare:
                prepare()
            walls[label].append(run(cmd)[0])
    med = {label: statistics.median(values) for label, values in walls.items()}
    for label in others:
        rows.append((title, label, med[label], "", "", ""))
    for p in PATTERNS:
        ours = med[f"tessaro {p}"]
        ratio = ours / med[f"floor {p}"]
        target = TARGETS[floor_kind]
        rows.append((title, f"tessaro {p}", ours, f"{ratio:.2f}x its floor ({med[f'floor {p}']:.3f} s)",
                     f"<= {target}x", "met" if ratio <= target else "NOT met"))
        if "cat" in med and floor_kind == "floor":
            # A parser indexes the whole input before its first buffer: the
            # floor plus one read of the input (cat) is the floor of that.
            indexed = med[f"floor {p}"] + med["cat"]
            rows.append((title, f"  tessaro {p} / (floor + cat)", ours, f"{ours / indexed:.2f}x ({indexed:.3f} s)",
                         "", ""))
        if p == "fixed" and "floor fixed, input touched" in med:
            touched = med["floor fixed, input touched"]
            rows.append((title, "  floor fixed with the input mapped and touched first", touched,
                         f"{touched / med['floor fixed']:.2f}x the floor", "", ""))
        for other in ("ffmpeg", "gstreamer"):
            if other in med and p != "fresh" and floor_kind == "floor":
                faster = med[other] / ours
                rows.append((title, f"  {other} / tessaro {p}", ours, f"{faster:.2f}x faster",
                             f">= {TARGETS[other]}x", "met" if faster >= TARGETS[other] else "NOT met"))
    print(f"done: {title}", file=sys.stderr)

print("| stream | run | median s | ratio | target | |")
print("|---|---|---|---|---|---|")
for title, what, seconds, ratio, target, verdict in rows:
    print(f"| {title} | {what} | {seconds:.3f} | {ratio} | {target} | {verdict} |")
if os.path.exists(out_yuv):
    os.remove(out_yuv)

if os.environ.get("TESSARO_BENCH_SCALING") == "1":
    print("\n| size | cat | Tessaro index | Tessaro Init + delivery |\n|---|---|---|---|")
    for size in ["100m", "1g", "4g"]:
        name = f"h264_{size}.264"
        if os.path.exists(path(name)):
            runs = [cat(name), [bench, "parse", "Parse/AVC", path(name), "--index-only"],
                    [bench, "parse", "Parse/AVC", path(name)]]
            for cmd in runs:
                run(cmd)
            med = [statistics.median(run(cmd)[0] for _ in range(rounds)) for cmd in runs]
            print(f"| {os.path.getsize(path(name)) / 1e6:.0f} MB | " + " | ".join(f"{m:.3f} s" for m in med) + " |")
big = path("h264_4g.264")
if os.path.exists(big):
    # Offsets above 4 GiB: every delivered buffer against the file bytes its units name.
    print("\n4 GiB check: " + run([bench, "parse", "Parse/AVC", big, "--verify"])[1].strip())
