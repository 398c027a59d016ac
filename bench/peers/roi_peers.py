#!/usr/bin/python3
"""Times the polygon fill of bench_roi (BM_PolygonRegion) in the peers: the
same star polygon of 10,000 vertices filled into a 4096 x 4096 image by
OpenCV fillPoly and by scikit-image draw.polygon. Usage: roi_peers.py
[BENCH_DIR]; with the folder of bench_roi it runs ours too and prints the
ratios. Needs python3-opencv and python3-skimage."""
import json
import math
import subprocess
import sys
import timeit

import numpy as np

CANVAS = 4096
VERTICES = 10000


def star_polygon():
    """The points of StarPolygon() in bench_roi.cpp, as (x, y) rows."""
    t = 2.0 * math.pi * np.arange(VERTICES) / VERTICES
    r = 2000.0 * (0.55 + 0.25 * np.sin(13.0 * t) + 0.2 * np.sin(997.0 * t))
    x = np.floor(2048.0 + r * np.cos(t) + 0.5).astype(np.int32)
    y = np.floor(2048.0 + r * np.sin(t) + 0.5).astype(np.int32)
    return np.stack([x, y], axis=1)


def best_seconds(fn, repeat=7):
    if repeat > 1:
        fn()
    return min(timeit.repeat(fn, number=1, repeat=repeat))


def ours(bench_dir):
    out = subprocess.run([f"{bench_dir}/bench_roi", "--benchmark_format=json", "--benchmark_min_time=0.2",
                          "--benchmark_filter=^BM_PolygonRegion$"], check=True, capture_output=True,
                         text=True).stdout
    run = json.loads(out)["benchmarks"][0]
    return run["real_time"] / 1000.0 if run["time_unit"] == "ms" else float("nan")


def main():
    points = star_polygon()
    image = np.zeros((CANVAS, CANVAS), np.uint8)
    rows = []

    try:
        import cv2

        def opencv():
            image[...] = 0
            cv2.fillPoly(image, [points.reshape(-1, 1, 2)], 255)

        rows.append(("OpenCV fillPoly (clear + fill)", best_seconds(opencv)))
    except ImportError:
        print("OpenCV missing (python3-opencv)")

    try:
        from skimage.draw import polygon

        def skimage():
            image[...] = 0
            rr, cc = polygon(points[:, 1], points[:, 0], image.shape)
            image[rr, cc] = 255

        # It tests every pixel of the box against every edge: minutes, so one run.
        rows.append(("scikit-image draw.polygon (clear + fill, 1 run)", best_seconds(skimage, repeat=1)))
    except ImportError:
        print("scikit-image missing (python3-skimage)")

    mine = ours(sys.argv[1]) if len(sys.argv) > 1 else None
    if mine is not None:
        rows.insert(0, ("MirelanImaging Create2DRegionFromPoints", mine))
    for name, seconds in rows:
        ratio = f"  ours / this {mine / seconds:5.2f}" if mine is not None else ""
        print(f"{name:44s} {seconds * 1000.0:8.2f} ms{ratio}")


if __name__ == "__main__":
    main()
