#!/usr/bin/env python3
"""Runs the same kernels in MirelanImaging (through its Google Benchmark
programs) and in numpy and OpenCV, on a 256 x 256 x 64 volume, and prints
voxels per second and the ratio. Usage: compare_peers.py BENCH_DIR"""
import json
import subprocess
import sys
import timeit

import numpy as np

try:
    import cv2
except ImportError:  # OpenCV is optional
    cv2 = None

SHAPE = (64, 256, 256)
VOXELS = SHAPE[0] * SHAPE[1] * SHAPE[2]


def ours(bench_dir, program, name):
    """Voxels per second of one benchmark of ours."""
    pattern = "^" + name.replace("<", "<").replace(">", ">") + "$"
    out = subprocess.run([f"{bench_dir}/{program}", "--benchmark_format=json",
                          "--benchmark_min_time=0.2", f"--benchmark_filter={pattern}"],
                         check=True, capture_output=True, text=True).stdout
    runs = json.loads(out)["benchmarks"]
    return runs[0]["items_per_second"] if runs else float("nan")


def peer(fn):
    """Voxels per second of a peer's kernel, best of five."""
    fn()
    best = min(timeit.repeat(fn, number=3, repeat=5)) / 3
    return VOXELS / best


def main():
    bench_dir = sys.argv[1] if len(sys.argv) > 1 else "build/bench"
    rng = np.random.default_rng(1)
    g8 = rng.integers(0, 256, SHAPE, dtype=np.uint8)
    g8b = rng.integers(0, 256, SHAPE, dtype=np.uint8)
    g16 = rng.integers(0, 65536, SHAPE, dtype=np.uint16)
    argb = rng.integers(0, 256, SHAPE + (4,), dtype=np.uint8)
    out8 = np.empty_like(g8)
    out16 = np.empty(SHAPE, np.uint16)
    flat8, flat8b = g8.reshape(-1, 256), g8b.reshape(-1, 256)

    def saturating_add_numpy():
        np.minimum(g8.astype(np.uint16) + g8b, 255).astype(np.uint8)

    def average_numpy():
        s = argb[..., 1].astype(np.uint16) + argb[..., 2] + argb[..., 3]
        np.floor_divide(s, 3, out=s)
        out8[...] = s

    rows = [
        ("copy Grey8", "bench_volume", "BM_CopyOut<XGrey8Volume, XGrey8Volume>",
         [("numpy copyto", lambda: np.copyto(out8, g8))]),
        ("Grey8 -> Grey16 (v * 257)", "bench_volume", "BM_CopyOut<XGrey8Volume, XGrey16Volume>",
         [("numpy multiply", lambda: np.multiply(g8, 257, out=out16, dtype=np.uint16))]),
        ("ARGB32 -> Grey8 (average)", "bench_volume", "BM_CopyOut<XARGB32Volume, XGrey8Volume>",
         [("numpy sum // 3", average_numpy)] +
         ([("OpenCV cvtColor (weighted)", lambda: cv2.cvtColor(argb.reshape(-1, 256, 4), cv2.COLOR_BGRA2GRAY))]
          if cv2 else [])),
        ("saturating add Grey8", "bench_simple_tools", "BM_Arithmetic<XGrey8Volume, XVolumeArithmeticTool::kAdd>",
         [("numpy widen-min", saturating_add_numpy)] +
         ([("OpenCV add", lambda: cv2.add(flat8, flat8b))] if cv2 else [])),
        ("invert Grey8", "bench_tools", "BM_InvertGrey8",
         [("numpy 255 - v", lambda: np.subtract(255, g8, out=out8))] +
         ([("OpenCV bitwise_not", lambda: cv2.bitwise_not(flat8))] if cv2 else [])),
        ("flip rows Grey8", "bench_simple_tools", "BM_Move<XGrey8Volume, XFlipHVolumeTool>",
         [("numpy [..., ::-1]", lambda: np.copyto(out8, g8[..., ::-1]))] +
         ([("OpenCV flip", lambda: cv2.flip(flat8, 1))] if cv2 else [])),
        ("rotate 90 Grey8", "bench_simple_tools", "BM_Move<XGrey8Volume, XRotate90CWVolumeTool>",
         [("numpy rot90 copy", lambda: np.ascontiguousarray(np.rot90(g8, -1, axes=(1, 2))))] +
         ([("OpenCV rotate per plane", lambda: [cv2.rotate(p, cv2.ROTATE_90_CLOCKWISE) for p in g8])]
          if cv2 else [])),
        ("add value Grey16 (wrapping)", "bench_volume", "BM_AddValue<XGrey16Volume>",
         [("numpy add in place", lambda: np.add(g16, np.uint16(3), out=g16))]),
    ]
    print(f"{'kernel':30} {'MirelanImaging':>15} {'peer':>28} {'peer Mvox/s':>12} {'ratio':>7}")
    for label, program, name, peers in rows:
        mine = ours(bench_dir, program, name)
        for peer_name, fn in peers:
            theirs = peer(fn)
            print(f"{label:30} {mine / 1e6:12.0f} M/s {peer_name:>28} {theirs / 1e6:12.0f} {mine / theirs:6.1f}x")


if __name__ == "__main__":
    main()
