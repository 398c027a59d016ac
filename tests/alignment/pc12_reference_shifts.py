#!/usr/bin/env python3
"""Reference shifts for the PC12 time-lapse test of the registration tool.

Each frame of the drifting PC12 time-lapse (pystackreg's tests/data/pc12-unreg.tif,
5 x 201 x 199 uint16; Thevenaz et al. 1998) is registered against frame 0 with
scikit-image's phase_cross_correlation (no upsampling). skimage returns (dy, dx), the
shift that moves the frame onto frame 0; the test records it as (dx, dy).

Usage: pc12_reference_shifts.py [path-to-tif]
"""
import sys

import numpy as np
import tifffile
from skimage.registration import phase_cross_correlation

path = sys.argv[1] if len(sys.argv) > 1 else "../../../shared/data/pystackreg_pc12_timelapse_unregistered_t5_u16.tif"
frames = tifffile.imread(path).astype(np.float64)
# Sign check on a known shift: moving[y, x] = reference[y + 3, x - 2] must give (+3, -2)
# in skimage's (dy, dx), i.e. dx = -2, dy = +3 in ours.
reference = frames[0]
moving = np.roll(np.roll(reference, -3, axis=0), 2, axis=1)
check, _, _ = phase_cross_correlation(reference, moving)
print("sign check (dy, dx):", check)
for t in range(1, frames.shape[0]):
    shift, error, _ = phase_cross_correlation(frames[0], frames[t])
    print(f"frame {t}: dx {shift[1]:+.0f} dy {shift[0]:+.0f} (error {error:.3f})")
