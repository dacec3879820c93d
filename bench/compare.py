#!/usr/bin/env python3
"""Interleaved timing of tessaro_bench against cat, GStreamer and FFmpeg.

usage: compare.py <tessaro_bench> <cache dir> <rounds>
Wall time of each whole process (start-up included) is measured; the median of
the rounds is reported, with the driver's own Init+delivery time and peak RSS.
"""
import os
import shutil
import statistics
import subprocess
import sys
import time

bench, cache, rounds = sys.argv[1], sys.argv[2], int(sys.argv[3])
have_gst = shutil.which("gst-launch-1.0") is not None
out_yuv = os.path.join(cache, "out.yuv")


def path(name):
    return os.path.join(cache, name)


def tessaro(*args):
    return [bench, *args]


def ffmpeg(*args):
    return ["ffmpeg", "-hide_banner", "-loglevel", "error", "-nostdin", "-y", *args]


def gst(element, name):
    return ["gst-launch-1.0", "-q", "filesrc", "location=" + path(name), "!", element, "!", "fakesink"]


def cat(name):
    return ["sh", "-c", 'cat "$0" > /dev/null', path(name)]


groups = []


def group(title, commands, checks, prepare=None):
    """prepare, if given, runs untimed before every timed command."""
    groups.append((title, commands, checks, prepare))


def fresh_output():
    # Each writer starts from no output file and no dirty pages of the run
    # before: truncating a 373 MB file that the previous command left in the
    # page cache costs the next one 0.1-0.3 s, whichever tool it is.
    if os.path.exists(out_yuv):
        os.remove(out_yuv)
    os.sync()


for codec, name, fmt, parser, key in [
    ("H.264", "h264_1080p.264", "h264", "h264parse", "Parse/AVC"),
    ("H.265", "h265_1080p.265", "hevc", "h265parse", "Parse/HEVC"),
]:
    cmds = {"cat": cat(name), "ffmpeg": ffmpeg("-f", fmt, "-i", path(name), "-c", "copy", "-f", "null", "-"),
            "tessaro": tessaro("parse", key, path(name))}
    if have_gst:
        cmds["gstreamer"] = gst(parser, name)
    if os.environ.get("TESSARO_BENCH_REFERENCE") == "1":
        cmds["tessaro byte-at-a-time"] = tessaro("parse", key, path(name), "--byte-at-a-time")
    group(f"{codec} 1080p {os.path.getsize(path(name)) / 1e6:.0f} MB", cmds,
          [("faster GStreamer/FFmpeg", 1.5, "best-other"), ("FFmpeg", 2.5, "ffmpeg"), ("cat", 0.25, "cat")])

for codec, name, key in [("VP9", "vp9_1080p.ivf", "Parse/VPX"), ("AV1", "av1_1080p.ivf", "Parse/AV1")]:
    group(f"{codec} IVF 1080p {os.path.getsize(path(name)) / 1e6:.0f} MB",
          {"cat": cat(name), "ffmpeg": ffmpeg("-i", path(name), "-c", "copy", "-f", "null", "-"),
           "tessaro": tessaro("parse", key, path(name))},
          [("FFmpeg", 2.0, "ffmpeg")])

group(f"NV12 1080p raw, {os.path.getsize(path('nv12_1080p.yuv')) / 1e6:.0f} MB, padded to 2048x1088 and back",
      {"ffmpeg": ffmpeg("-f", "rawvideo", "-pix_fmt", "nv12", "-s", "1920x1080", "-i", path("nv12_1080p.yuv"),
                        "-f", "rawvideo", out_yuv),
       "tessaro": tessaro("raw", path("nv12_1080p.yuv"), out_yuv, "1920x1080", "2048", "1088")},
      [("FFmpeg", 1.5, "ffmpeg")], prepare=fresh_output)

group("NV12 1080p pattern, 600 frames",
      {"tessaro": tessaro("pattern", "1920x1080", "600", "1920", "1080")}, [])

for size in ["100m", "1g", "4g"]:
    name = f"h264_{size}.264"
    if os.path.exists(path(name)):
        group(f"H.264 scaling {os.path.getsize(path(name)) / 1e6:.0f} MB",
              {"cat": cat(name), "tessaro index": tessaro("parse", "Parse/AVC", path(name), "--index-only"),
               "tessaro": tessaro("parse", "Parse/AVC", path(name))}, [])


def run(cmd):
    start = time.perf_counter()
    done = subprocess.run(cmd, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
    wall = time.perf_counter() - start
    if done.returncode != 0:
        sys.exit(f"failed: {' '.join(cmd)}\n{done.stderr}")
    return wall, done.stdout


def driver_fields(stdout):
    words = stdout.split()
    return {words[i]: words[i + 1] for i in range(0, len(words) - 1, 2)}


print(f"# {rounds} interleaved rounds, page cache warm, medians of wall time per process\n")
summary = []  # (group, target, measured ratio, verdict)
for title, commands, checks, prepare in groups:
    # warm the page cache and drop the first run
    for cmd in commands.values():
        run(cmd)
    walls = {label: [] for label in commands}
    last = {}
    for _ in range(rounds):
        for label, cmd in commands.items():
            if prepare:
                prepare()
            wall, stdout = run(cmd)
            walls[label].append(wall)
            last[label] = stdout
    med = {label: statistics.median(values) for label, values in walls.items()}
    print(f"## {title}")
    for label, value in med.items():
        extra = ""
        if label.startswith("tessaro"):
            f = driver_fields(last[label])
            extra = (f"  (in process: init {f.get('init_s')} s, total {f.get('total_s')} s, "
                     f"peak RSS {int(f.get('peak_rss_kib', 0)) // 1024} MiB, "
                     f"client buffer {int(f.get('client_buffer_kib', 0)) // 1024} MiB, "
                     f"{f.get('buffers')} buffers)")
            if title.startswith("NV12 1080p pattern"):
                frames = int(f.get("buffers", 0))
                seconds = float(f.get("total_s", 1))
                extra += f"  {frames / seconds:.0f} frames/s, {frames * 1920 * 1080 * 1.5 / seconds / 1e9:.2f} GB/s"
        print(f"  {label:28s} {value:8.3f} s{extra}")
    if "tessaro" in med:
        ours = med["tessaro"]
        for what, target, ref in checks:
            if ref == "best-other":
                others = [med[k] for k in ("gstreamer", "ffmpeg") if k in med]
                base = min(others)
            else:
                base = med[ref]
            ratio = base / ours
            verdict = "met" if ratio >= target else "NOT met"
            if ref == "cat":
                print(f"  tessaro / cat = {ours / base:.2f}x (target within 4x: {verdict})")
                summary.append((title, "within 4x of cat", f"{ours / base:.2f}x of cat", verdict))
            else:
                print(f"  {what} / tessaro = {ratio:.2f}x (target {target}x: {verdict})")
                summary.append((title, f">= {target}x {what}", f"{ratio:.2f}x", verdict))
    print()
if summary:
    print("## Targets\n")
    print("| stream | target | measured | |")
    print("|---|---|---|---|")
    for row in summary:
        print("| " + " | ".join(row) + " |")
    print()
big = path("h264_4g.264")
if os.path.exists(big):
    # Offsets above 4 GiB: every delivered buffer against the file bytes its units name.
    _, stdout = run(tessaro("parse", "Parse/AVC", big, "--verify"))
    print("## 4 GiB check\n  " + stdout.strip().replace("\n", "\n  ") + "\n")
if os.path.exists(out_yuv):
    os.remove(out_yuv)
