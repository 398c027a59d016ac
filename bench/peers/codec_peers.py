#!/usr/bin/python3
"""Times OpenCV on the JPEG work of bench_codecs: the 1024 x 1024 x 64 8-bit
grey volume of the same formula coded plane by plane with cv2.imencode at
quality 75 and decoded with cv2.imdecode, as one-channel grey (what OpenCV
writes for grey) and as three-channel colour (what MirelanImaging writes for
every plane). Prints the median of five wall-time runs of each, and the
voxels a second.

usage: /usr/bin/python3 bench/peers/codec_peers.py [--runs N]
"""
import argparse
import statistics
import time

import cv2
import numpy as np

SIDE = 1024
PLANES = 64


def volume():
    y, x = np.mgrid[0:SIDE, 0:SIDE].astype(np.int64)
    planes = []
    for z in range(PLANES):
        smooth = 128 + (x * 3 + y * 2 + z * 17) % 96 - 48
        texture = (x * 7919 + y * 104729 + z * 31) % 13 - 6
        planes.append(np.clip(smooth + texture, 0, 255).astype(np.uint8))
    return planes


def median_time(fn, runs):
    times = []
    for _ in range(runs):
        start = time.perf_counter()
        fn()
        times.append(time.perf_counter() - start)
    return statistics.median(times)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--runs", type=int, default=5)
    args = parser.parse_args()
    cv2.setNumThreads(1)
    params = [cv2.IMWRITE_JPEG_QUALITY, 75]
    grey = volume()
    colour = [cv2.cvtColor(p, cv2.COLOR_GRAY2BGR) for p in grey]
    voxels = SIDE * SIDE * PLANES
    for name, planes, flag in (("grey, 1 channel", grey, cv2.IMREAD_GRAYSCALE),
                               ("grey as 3-channel colour", colour, cv2.IMREAD_COLOR)):
        coded = [cv2.imencode(".jpg", p, params)[1] for p in planes]
        encode = median_time(lambda: [cv2.imencode(".jpg", p, params) for p in planes], args.runs)
        decode = median_time(lambda: [cv2.imdecode(c, flag) for c in coded], args.runs)
        size = sum(len(c) for c in coded)
        print(f"OpenCV {cv2.__version__} {name}: encode {encode * 1000:.1f} ms ({voxels / encode / 1e6:.1f} Mvoxel/s), "
              f"decode {decode * 1000:.1f} ms ({voxels / decode / 1e6:.1f} Mvoxel/s), {size} coded bytes")
    # The grey planes decoded to grey from three-channel files, as the library's lossy grey volumes are.
    coded = [cv2.imencode(".jpg", p, params)[1] for p in colour]
    decode = median_time(lambda: [cv2.imdecode(c, cv2.IMREAD_GRAYSCALE) for c in coded], args.runs)
    print(f"OpenCV 3-channel files decoded to grey: {decode * 1000:.1f} ms ({voxels / decode / 1e6:.1f} Mvoxel/s)")


if __name__ == "__main__":
    main()
