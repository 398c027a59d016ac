#!/usr/bin/python3
"""Times OpenCV's resize on the volume of bench_resample: 64 planes of
512 x 512 16-bit voxels, each plane resized to half and to double size with
INTER_LINEAR and INTER_AREA, one thread. Prints source voxels per second, as
bench_resample counts them. Usage: resample_peers.py [BENCH_DIR]; with the
folder of bench_resample it runs ours too (the XY forms, which keep the
depth as OpenCV does) and prints the ratios. Needs python3-opencv."""
import json
import subprocess
import sys
import timeit

import cv2
import numpy as np

WIDTH, HEIGHT, DEPTH = 512, 512, 64
VOXELS = WIDTH * HEIGHT * DEPTH
# Ours, by the arguments of BM_ResampleGrey16: filter (3 bell, 6 box),
# size in eighths, depth too.
OURS = {"half": {"bell": "3/eighths:4/z:0/workers:1", "box": "6/eighths:4/z:0/workers:1"},
        "double": {"bell": "3/eighths:16/z:0/workers:1", "box": "6/eighths:16/z:0/workers:1"}}


def volume():
    rng = np.random.default_rng(1)
    return rng.integers(0, 65536, size=(DEPTH, HEIGHT, WIDTH), dtype=np.uint16)


def resize_planes(source, size, interpolation):
    out = np.empty((DEPTH, size[1], size[0]), dtype=np.uint16)
    for z in range(DEPTH):
        cv2.resize(source[z], size, dst=out[z], interpolation=interpolation)
    return out


def voxels_per_second(fn):
    fn()
    return VOXELS / min(timeit.repeat(fn, number=1, repeat=5))


def ours(bench_dir, args):
    out = subprocess.run([f"{bench_dir}/bench_resample", "--benchmark_format=json", "--benchmark_min_time=0.2",
                          f"--benchmark_filter=BM_ResampleGrey16/filter:{args}/real_time$"],
                         check=True, capture_output=True, text=True).stdout
    runs = json.loads(out)["benchmarks"]
    return runs[0]["items_per_second"] if runs else float("nan")


def main():
    cv2.setNumThreads(1)
    bench_dir = sys.argv[1] if len(sys.argv) > 1 else None
    source = volume()
    sizes = {"half": (WIDTH // 2, HEIGHT // 2), "double": (WIDTH * 2, HEIGHT * 2)}
    peers = {"bell": ("INTER_LINEAR", cv2.INTER_LINEAR), "box": ("INTER_AREA", cv2.INTER_AREA)}
    print(f"{'size':8}{'filter':8}{'OpenCV':14}{'OpenCV Mvox/s':>15}", end="")
    print(f"{'ours Mvox/s':>13}{'ours/OpenCV':>13}" if bench_dir else "")
    for size_name, size in sizes.items():
        for filter_name, (peer_name, interpolation) in peers.items():
            peer = voxels_per_second(lambda: resize_planes(source, size, interpolation))
            line = f"{size_name:8}{filter_name:8}{peer_name:14}{peer / 1e6:15.1f}"
            if bench_dir:
                mine = ours(bench_dir, OURS[size_name][filter_name])
                line += f"{mine / 1e6:13.1f}{mine / peer:13.2f}"
            print(line)


if __name__ == "__main__":
    main()
