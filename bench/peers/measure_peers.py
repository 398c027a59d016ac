#!/usr/bin/python3
"""Times bench_measurement and bench_threshold against numpy and OpenCV on the
same work, in one run, and prints the ratios.

Both sides are timed as bench/compare times every kernel (its functions are
used here): wall time of one call, five runs, median and range; ours from the
Google Benchmark programs, the peers after one warm-up call. One thread
(cv2.setNumThreads(1)). Random volumes at the two sizes of bench/BenchSupport.h:
256 x 256 x 64 (in cache) and 1024 x 1024 x planes of at least 128 MiB (out of
cache: 64 planes of Grey16, 128 of Grey8).

  histogram   XVolumeLuminanceTool; numpy bincount, OpenCV calcHist (on the
              stack as one tall image), of Grey8 (random bytes) and Grey16
              (random 12-bit values, and values over the whole 16-bit range)
  statistics  XVolumeStatsTool (min, max, mean); numpy min, max and mean;
              OpenCV minMaxLoc and mean
  variance    XVolumeVarianceTool (min, max, mean, variance); numpy mean and
              std; OpenCV meanStdDev
  threshold   XIntensityThresholdTool on Grey16, lower <= v <= upper into a
              new byte mask and a region; numpy (v >= lo) & (v <= hi) and
              OpenCV inRange into new arrays, as ours, and into preallocated
              ones (greater_equal, less_equal, logical_and with out=; inRange
              with dst=)

Usage: /usr/bin/python3 bench/peers/measure_peers.py [BENCH_DIR] [--small]
(BENCH_DIR holds bench_measurement and bench_threshold, default build/bench)
"""
import os
import sys
import types

import numpy as np

HERE = os.path.dirname(os.path.abspath(__file__))


def load_compare():
    """bench/compare as a module: the one way of timing both sides."""
    path = os.path.join(HERE, "..", "compare")
    module = types.ModuleType("mirelan_compare")
    module.__file__ = path
    with open(path) as source:
        exec(compile(source.read(), path, "exec"), module.__dict__)
    return module


def rows(compare, size):
    """(work, program, benchmark, [(peer, function)]) at one size."""
    cv2 = compare.cv2
    rng = np.random.default_rng(1)
    g8 = rng.integers(0, 256, compare.shape_for(size, 1), dtype=np.uint8)
    shape16 = compare.shape_for(size, 2)
    g16 = rng.integers(0, 4096, shape16, dtype=np.uint16)
    g16_full = rng.integers(0, 65536, shape16, dtype=np.uint16)
    tall8 = g8.reshape(-1, g8.shape[-1])  # OpenCV works on 2-D images
    tall16 = g16.reshape(-1, g16.shape[-1])
    tall16_full = g16_full.reshape(-1, g16_full.shape[-1])
    lower_mask = np.empty(shape16, np.bool_)
    upper_mask = np.empty(shape16, np.bool_)
    band8 = np.empty(tall16.shape, np.uint8)
    lo, hi = 4095 // 4, 4095 // 2

    def numpy_band():
        np.greater_equal(g16, lo, out=lower_mask)
        np.less_equal(g16, hi, out=upper_mask)
        np.logical_and(lower_mask, upper_mask, out=lower_mask)

    def with_cv(peers):
        return peers if cv2 is not None else []

    tag = f"/{size}"
    return [
        ("luminance histogram Grey8", "bench_measurement", f"BM_LuminanceHistogramGrey8{tag}",
         [("numpy bincount", lambda: np.bincount(g8.ravel(), minlength=256))] +
         with_cv([("OpenCV calcHist", lambda: cv2.calcHist([tall8], [0], None, [256], [0, 256]))])),
        ("luminance histogram Grey16 12-bit", "bench_measurement", f"BM_LuminanceHistogramGrey16{tag}",
         [("numpy bincount", lambda: np.bincount(g16.ravel(), minlength=65536))] +
         with_cv([("OpenCV calcHist", lambda: cv2.calcHist([tall16], [0], None, [65536], [0, 65536]))])),
        ("luminance histogram Grey16 16-bit", "bench_measurement", f"BM_LuminanceHistogramGrey16FullRange{tag}",
         [("numpy bincount", lambda: np.bincount(g16_full.ravel(), minlength=65536))] +
         with_cv([("OpenCV calcHist", lambda: cv2.calcHist([tall16_full], [0], None, [65536], [0, 65536]))])),
        ("statistics Grey16", "bench_measurement", f"BM_StatsGrey16{tag}",
         [("numpy min max mean", lambda: (g16.min(), g16.max(), g16.mean()))] +
         with_cv([("OpenCV minMaxLoc mean", lambda: (cv2.minMaxLoc(tall16), cv2.mean(tall16)))])),
        ("variance Grey16", "bench_measurement", f"BM_VarianceGrey16{tag}",
         [("numpy mean std", lambda: (g16.mean(), g16.std()))] +
         with_cv([("OpenCV meanStdDev", lambda: cv2.meanStdDev(tall16))])),
        # Our tool makes a new mask and region each call: the like-for-like
        # peers make new arrays; out= and dst= show the best a peer can do.
        ("intensity threshold Grey16", "bench_threshold", f"BM_IntensityThresholdGrey16{tag}",
         [("numpy band, new array", lambda: (g16 >= lo) & (g16 <= hi)), ("numpy band out=", numpy_band)] +
         with_cv([("OpenCV inRange", lambda: cv2.inRange(tall16, lo, hi)),
                  ("OpenCV inRange dst=", lambda: cv2.inRange(tall16, lo, hi, dst=band8))])),
    ]


def main():
    compare = load_compare()
    args = [a for a in sys.argv[1:] if not a.startswith("--")]
    bench_dir = args[0] if args else "build/bench"
    sizes = [0] if "--small" in sys.argv else [0, 1]
    print(f"{'work':36} {'size':>5} {'MirelanImaging':>28} {'of copy':>8} {'peer':>24} {'peer time':>28} "
          f"{'speed':>7}")
    for size in sizes:
        for work, program, name, peers in rows(compare, size):
            mine = compare.ours(bench_dir, program, name)
            where = "in" if size == 0 else "out"
            share = f"{mine[3] * 100:6.0f} %" if mine and mine[3] == mine[3] else ""
            for peer_name, fn in peers:
                theirs = compare.peer(fn)
                ratio = theirs[0] / mine[0] if mine else float("nan")
                print(f"{work:36} {where:>5} {compare.fmt(mine) if mine else 'n/a':>28} {share:>8} {peer_name:>24} "
                      f"{compare.fmt(theirs):>28} {ratio:6.2f}x", flush=True)
    print("speed: the peer's median time over ours; above 1 we are faster")


if __name__ == "__main__":
    main()
