#!/usr/bin/python3
"""Times the labelling of bench_components (BM_LabelBlobs, BM_LabelFull) in
the peers: the same 256^3 masks, random blobs (6000 balls of radius 3 to 5
placed by a splitmix64 stream, about 10 % of the voxels) and a mask set
everywhere, labelled by scipy.ndimage.label (6-connectivity, its default in
3-D) and skimage.measure.label (connectivity=1). Each figure is the median of
five wall-time runs. Usage: label_peers.py [BENCH_DIR]; with the folder of
bench_components it runs ours too (one worker) and prints the ratios. Needs
python3-scipy and python3-skimage."""
import json
import statistics
import subprocess
import sys
import time

import numpy as np

SIDE = 256
BALLS = 6000
MASK64 = (1 << 64) - 1


class SplitMix:
    """splitmix64, as bench_components.cpp has it."""

    def __init__(self, seed):
        self.state = seed

    def next(self):
        self.state = (self.state + 0x9E3779B97F4A7C15) & MASK64
        z = self.state
        z = ((z ^ (z >> 30)) * 0xBF58476D1CE4E5B9) & MASK64
        z = ((z ^ (z >> 27)) * 0x94D049BB133111EB) & MASK64
        return z ^ (z >> 31)


def blob_mask():
    """The mask of BlobRegion() in bench_components.cpp, indexed [z, y, x]."""
    mask = np.zeros((SIDE, SIDE, SIDE), np.uint8)
    random = SplitMix(12345)
    for _ in range(BALLS):
        x, y, z = random.next() % SIDE, random.next() % SIDE, random.next() % SIDE
        r = 3 + random.next() % 3
        zz, yy, xx = np.ogrid[-r:r + 1, -r:r + 1, -r:r + 1]
        ball = (xx * xx + yy * yy + zz * zz) <= r * r
        lo = [max(c - r, 0) for c in (z, y, x)]
        hi = [min(c + r + 1, SIDE) for c in (z, y, x)]
        part = ball[lo[0] - (z - r):hi[0] - (z - r), lo[1] - (y - r):hi[1] - (y - r), lo[2] - (x - r):hi[2] - (x - r)]
        mask[lo[0]:hi[0], lo[1]:hi[1], lo[2]:hi[2]] |= part.astype(np.uint8)
    return mask


def median_seconds(fn, runs=5):
    fn()
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        fn()
        times.append(time.perf_counter() - start)
    return statistics.median(times)


def ours(bench_dir):
    out = subprocess.run([f"{bench_dir}/bench_components", "--benchmark_format=json", "--benchmark_min_time=0.5",
                          "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true",
                          "--benchmark_filter=^BM_Label(Blobs|Full)/1/"], check=True, capture_output=True,
                         text=True).stdout
    found = {}
    for run in json.loads(out)["benchmarks"]:
        if run.get("aggregate_name") == "median":
            name = "blobs" if "Blobs" in run["run_name"] else "full"
            found[name] = run["real_time"] / 1000.0 if run["time_unit"] == "ms" else float("nan")
    return found


def main():
    masks = {"blobs": blob_mask(), "full": np.ones((SIDE, SIDE, SIDE), np.uint8)}
    mine = ours(sys.argv[1]) if len(sys.argv) > 1 else {}
    voxels = SIDE ** 3
    for name, mask in masks.items():
        rows = []
        try:
            import scipy.ndimage as ndi

            count = ndi.label(mask)[1]
            rows.append(("scipy.ndimage.label", median_seconds(lambda: ndi.label(mask))))
        except ImportError:
            print("scipy missing (python3-scipy)")
            count = None
        try:
            from skimage.measure import label

            rows.append(("skimage.measure.label", median_seconds(lambda: label(mask, connectivity=1))))
        except ImportError:
            print("scikit-image missing (python3-skimage)")
        print(f"{name}: fill {mask.mean():.4f}, {count} components")
        if name in mine:
            rows.insert(0, ("MirelanImaging (1 worker)", mine[name]))
        for peer, seconds in rows:
            ratio = f"  this / ours {seconds / mine[name]:5.2f}" if name in mine else ""
            print(f"  {peer:28s} {seconds * 1000.0:8.1f} ms {voxels / seconds / 1e6:8.1f} Mvoxel/s{ratio}")


if __name__ == "__main__":
    main()
