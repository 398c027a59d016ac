#!/usr/bin/python3
"""Times the peers of bench_numeric's Fourier work: scipy.ndimage.gaussian_filter
(sigma 2, as BM_FFTFilterGaussian) on a 512 x 512 and a 256 x 256 x 64 16-bit
image, and scipy.fft's real forward and inverse transform of a 256 x 256 x 64
float volume (as BM_FourierRoundTrip), one worker and all. Usage:
fft_peers.py [BENCH_DIR]; with the folder of bench_numeric it runs ours too and
prints the ratios. Needs python3-scipy and python3-numpy."""
import json
import os
import subprocess
import sys
import timeit

import numpy as np
from scipy import fft, ndimage

SIGMA = 2.0


def best_seconds(fn, repeat=5, number=1):
    fn()
    return min(timeit.repeat(fn, repeat=repeat, number=number)) / number


def image(shape):
    rng = np.random.default_rng(1)
    return rng.integers(0, 4096, size=shape, dtype=np.uint16)


def ours(bench_dir, name):
    """Seconds per run of one benchmark of bench_numeric."""
    out = subprocess.run([f"{bench_dir}/bench_numeric", "--benchmark_format=json",
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
    for label, shape, name in [("gaussian 512x512 u16", (512, 512), "BM_FFTFilterGaussian/volume:0/real_time"),
                               ("gaussian 256x256x64 u16", (64, 256, 256), "BM_FFTFilterGaussian/volume:1/real_time")]:
        data = image(shape)
        seconds = best_seconds(lambda: ndimage.gaussian_filter(data, SIGMA))
        rows.append((label, data.size, seconds, name))
    volume = np.random.default_rng(2).random((64, 256, 256), dtype=np.float32)
    for workers, name in [(1, "BM_FourierRoundTrip/threads_all:0/real_time"),
                          (os.cpu_count(), "BM_FourierRoundTrip/threads_all:1/real_time")]:
        seconds = best_seconds(lambda: fft.irfftn(fft.rfftn(volume, workers=workers), volume.shape,
                                                  workers=workers))
        rows.append((f"rfftn+irfftn 256x256x64 workers={workers}", volume.size, seconds, name))
    print(f"{'work':40s} {'peer Mvox/s':>12s} {'ours Mvox/s':>12s} {'ours/peer':>10s}")
    for label, voxels, seconds, name in rows:
        peer = voxels / seconds / 1e6
        if bench_dir:
            mine = voxels / ours(bench_dir, name) / 1e6
            print(f"{label:40s} {peer:12.1f} {mine:12.1f} {mine / peer:10.2f}")
        else:
            print(f"{label:40s} {peer:12.1f}")


if __name__ == "__main__":
    main()
