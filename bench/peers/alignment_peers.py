#!/usr/bin/python3
"""Times the peers of bench_alignment on the same sizes: scikit-image's
phase_cross_correlation (no upsampling) and OpenCV's phaseCorrelate (planes
only) against BM_CalculateShift on two 512 x 512 and two 256 x 256 x 64 16-bit
images, and numpy's max(axis=0) against BM_BrightestPointMerge on 64 planes of
256 x 256 and 1024 x 1024 16-bit voxels. Usage: alignment_peers.py [BENCH_DIR];
with the folder of bench_alignment it runs ours too and prints the ratios.
Needs python3-numpy, python3-skimage and python3-opencv."""
import json
import subprocess
import sys
import timeit

import numpy as np

try:
    import cv2
    cv2.setNumThreads(1)
except ImportError:
    cv2 = None
from skimage.registration import phase_cross_correlation


def best_seconds(fn, repeat=5, number=1):
    fn()
    return min(timeit.repeat(fn, repeat=repeat, number=number)) / number


def scene(shape):
    """A smooth random texture like the benchmark's: noise summed over 4 x 4 cells."""
    rng = np.random.default_rng(5)
    raw = rng.integers(0, 4001, size=shape).astype(np.int64)
    out = np.zeros(shape, dtype=np.int64)
    for dy in range(4):
        for dx in range(4):
            out += np.roll(np.roll(raw, dy, axis=-2), dx, axis=-1)
    return out.astype(np.uint16)


def ours(bench_dir, name):
    out = subprocess.run([f"{bench_dir}/bench_alignment", "--benchmark_format=json",
                          "--benchmark_min_time=0.2", f"--benchmark_filter=^{name}$"],
                         check=True, capture_output=True, text=True).stdout
    runs = json.loads(out)["benchmarks"]
    if not runs:
        return float("nan")
    run = runs[0]
    scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[run["time_unit"]]
    return run["real_time"] * scale


def main():
    bench_dir = sys.argv[1] if len(sys.argv) > 1 else None
    rows = []
    for label, w, d, name in [("shift 512x512 u16", 512, 1, "BM_CalculateShift/stack:0/real_time"),
                              ("shift 256x256x64 u16", 256, 64, "BM_CalculateShift/stack:1/real_time")]:
        big = scene((d, w + 32, w + 32))
        anchor = big[:, 20:20 + w, 8:8 + w]
        moved = big[:, 13:13 + w, 19:19 + w]
        if d == 1:
            anchor, moved = anchor[0], moved[0]
        a, m = anchor.astype(np.float64), moved.astype(np.float64)
        seconds = best_seconds(lambda: phase_cross_correlation(a, m, upsample_factor=1))
        rows.append((f"{label} skimage phase_cross_correlation", w * w * d, seconds, name))
        if cv2 is not None and d == 1:
            af, mf = anchor.astype(np.float32), moved.astype(np.float32)
            seconds = best_seconds(lambda: cv2.phaseCorrelate(af, mf))
            rows.append((f"{label} OpenCV phaseCorrelate", w * w, seconds, name))
    for label, w, name in [("max(axis=0) 256x256x64 u16", 256, "BM_BrightestPointMerge/0/real_time"),
                           ("max(axis=0) 1024x1024x64 u16", 1024, "BM_BrightestPointMerge/1/real_time")]:
        stack = np.random.default_rng(3).integers(0, 60001, size=(64, w, w), dtype=np.uint16)
        out = np.empty((w, w), dtype=np.uint16)
        seconds = best_seconds(lambda: np.max(stack, axis=0, out=out))
        rows.append((f"{label} numpy", stack.size, seconds, name))
    print(f"{'work':58s} {'peer Mvox/s':>12s} {'ours Mvox/s':>12s} {'ours/peer':>10s}")
    cache = {}
    for label, voxels, seconds, name in rows:
        peer = voxels / seconds / 1e6
        if bench_dir:
            if name not in cache:
                cache[name] = ours(bench_dir, name)
            mine = voxels / cache[name] / 1e6
            print(f"{label:58s} {peer:12.1f} {mine:12.1f} {mine / peer:10.2f}")
        else:
            print(f"{label:58s} {peer:12.1f}")


if __name__ == "__main__":
    main()
