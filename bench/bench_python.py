#!/usr/bin/python3
"""What Python costs on top of the library.

1. A numpy view of a volume costs no copy: the time of np.asarray(volume) and
   of a writeable view stays flat from 32 KiB to 128 MiB, where a copy
   (to_array) grows with the size.
2. A tool called from Python costs little more than the same call from C++:
   the same in-place tool on the same 1024x1024x128 volume, in pairs through
   the module and straight from C++ (mirelan._time_in_cpp), in one process;
   and the fixed cost of the Python call, measured on a volume of one voxel.

    PYTHONPATH=build/python bench/bench_python.py [--repeats N]
"""

import argparse
import random
import statistics
import sys
import time

import numpy as np

import mirelan

SIZES = [(8, 64, 64), (64, 256, 256), (128, 1024, 1024)]
TOOLS = {
    "invert": lambda v: mirelan.invert(v, in_place=True),
    "flip": lambda v: mirelan.flip(v, "x", in_place=True),
    "offset": lambda v: mirelan.offset(v, 1.0, in_place=True),
}


def median_seconds(work, repeats):
    times = []
    for _ in range(repeats):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return statistics.median(times)


def views(repeats):
    print("view of a grey8 volume        np.asarray      view(writeable)  to_array (a copy)")
    for shape in SIZES:
        v = mirelan.Volume(shape)
        read = median_seconds(lambda: np.asarray(v), repeats * 20)
        write = median_seconds(lambda: v.view(writeable=True), repeats * 20)
        copy = median_seconds(v.to_array, max(3, repeats // 2))
        size = f"{shape[2]}x{shape[1]}x{shape[0]} ({v.nbytes / 2**20:.3g} MiB)"
        print(f"  {size:28} {read * 1e6:9.2f} us   {write * 1e6:9.2f} us     {copy * 1e3:9.3f} ms")


def compare(name, call, v, repeats):
    """Times of the tool through Python and from C++, in pairs whose order is
    drawn at random, so that both see the same machine (others share it)."""
    python, cpp = [], []
    order = random.Random(7)
    call(v)  # warm: pages touched, code loaded
    for _ in range(repeats):
        python_first = order.random() < 0.5
        if not python_first:
            cpp.extend(mirelan._time_in_cpp(name, v, 1))
        start = time.perf_counter()
        call(v)
        python.append(time.perf_counter() - start)
        if python_first:
            cpp.extend(mirelan._time_in_cpp(name, v, 1))
    return python, cpp


def tools(repeats):
    shape = SIZES[-1]
    v = mirelan.Volume.from_array(np.random.default_rng(1).integers(0, 255, shape, dtype=np.uint8))
    tiny = mirelan.Volume((1, 1, 1))
    print(f"in-place tool on {shape[2]}x{shape[1]}x{shape[0]} grey8   Python     C++    (medians)  "
          "paired   fixed cost of the Python call (1 voxel)")
    for name, call in TOOLS.items():
        python, cpp = compare(name, call, v, repeats)
        pm, cm = statistics.median(python), statistics.median(cpp)
        # Each pair ran back to back: the median of their ratios shrugs off
        # the other load that a median of each side keeps.
        paired = statistics.median(p / c for p, c in zip(python, cpp)) - 1
        # The cost Python adds does not grow with the volume: measured on one voxel.
        small_python, small_cpp = compare(name, call, tiny, repeats * 50)
        fixed = statistics.median(small_python) - statistics.median(small_cpp)
        print(f"  {name:34} {pm * 1e3:7.2f} ms {cm * 1e3:7.2f} ms {100 * (pm / cm - 1):+6.2f} %  "
              f"{100 * paired:+6.2f} %   {fixed * 1e6:6.2f} us = {100 * fixed / cm:.4f} % of the C++ call")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--repeats", type=int, default=21)
    args = parser.parse_args()
    print(f"mirelan {mirelan.__version__}, numpy {np.__version__}, Python {sys.version.split()[0]}")
    views(args.repeats)
    tools(args.repeats)


if __name__ == "__main__":
    main()
