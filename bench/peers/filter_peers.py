#!/usr/bin/python3
"""Times the peers of bench_filters on the same work: scipy.ndimage
median_filter (size 3 on 8 and 16 bits, size 5 on 8 bits), grey_dilation
with the six face neighbours, convolve with a 3 x 3 x 3 box, and OpenCV
medianBlur plane by plane (the 2-D case), on random volumes of
256 x 256 x 64 and 1024 x 1024 x 64 voxels.

scipy works on one thread. A call expected to take more than --budget
seconds runs on the first planes only and its time is scaled to the whole
volume (marked "scaled"); --full runs everything whole.

usage: /usr/bin/python3 bench/peers/filter_peers.py [--repeat N] [--budget S] [--full]
"""
import argparse
import time

import cv2
import numpy as np
import scipy.ndimage as ndi


def best_time(fn, repeat):
    best = float("inf")
    for _ in range(repeat):
        start = time.perf_counter()
        fn()
        best = min(best, time.perf_counter() - start)
    return best


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--repeat", type=int, default=3)
    parser.add_argument("--budget", type=float, default=10.0)
    parser.add_argument("--full", action="store_true")
    args = parser.parse_args()

    cv2.setNumThreads(1)
    rng = np.random.default_rng(1)
    six = ndi.generate_binary_structure(3, 1)
    box = np.full((3, 3, 3), 1.0 / 27.0, np.float32)
    print(f"{'kernel':38s} {'volume':>16s} {'ms':>10s} {'ns/voxel':>9s}")
    for side in (256, 1024):
        shape = (64, side, side)  # z, y, x
        grey8 = rng.integers(0, 256, shape, dtype=np.uint8)
        grey16 = rng.integers(0, 65536, shape, dtype=np.uint16)
        # Rough cost per voxel on this kind of machine, to keep slow calls short.
        cases = [
            ("scipy median_filter 3 grey8", grey8, lambda v: ndi.median_filter(v, 3), 600e-9),
            ("scipy median_filter 3 grey16", grey16, lambda v: ndi.median_filter(v, 3), 600e-9),
            ("scipy median_filter 5 grey8", grey8, lambda v: ndi.median_filter(v, 5), 2000e-9),
            ("scipy grey_dilation six grey8", grey8, lambda v: ndi.grey_dilation(v, footprint=six), 10e-9),
            ("scipy convolve 3x3x3 grey8", grey8, lambda v: ndi.convolve(v, box), 25e-9),
            ("opencv medianBlur 3 per plane grey8", grey8, lambda v: [cv2.medianBlur(p, 3) for p in v], 2e-9),
            ("opencv medianBlur 3 per plane grey16", grey16, lambda v: [cv2.medianBlur(p, 3) for p in v], 5e-9),
            ("opencv medianBlur 5 per plane grey8", grey8, lambda v: [cv2.medianBlur(p, 5) for p in v], 5e-9),
        ]
        for name, volume, fn, guess in cases:
            planes = shape[0]
            if not args.full and guess * volume.size > args.budget:
                planes = max(4, int(args.budget / (guess * side * side)))
            part = volume[:planes]
            seconds = best_time(lambda: fn(part), 1 if planes < shape[0] else args.repeat)
            seconds *= shape[0] / planes
            note = "" if planes == shape[0] else f"  scaled from {planes} planes"
            print(f"{name:38s} {side:>5d}x{side}x64 {seconds * 1e3:10.1f} {seconds / volume.size * 1e9:9.2f}{note}")


if __name__ == "__main__":
    main()
