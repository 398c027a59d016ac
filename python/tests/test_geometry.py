"""Resampling, rotation, rendering and Fourier filtering from Python."""

import numpy as np
import pytest

import mirelan

ndimage = pytest.importorskip("scipy.ndimage")

RNG = np.random.default_rng(5)


def test_resample_sizes_keeps_levels_and_refuses():
    a = np.full((2, 10, 10), 100, np.uint8)
    v = mirelan.Volume.from_array(a, origin=(1, 2, 3), calibration=(2.0, 0.5, 0.5))
    for shape, name in [((2, 23, 17), "automatic"), ((2, 5, 4), "lanczos3"), ((5, 7), "triangle")]:
        r = mirelan.resample(v, shape, name)
        assert r.shape == (2,) + tuple(shape[-2:]) and r.origin == (1, 2, 3)
        assert r.calibration == v.calibration
        levels = np.asarray(r)
        assert levels.min() >= 98 and levels.max() <= 100  # 16-bit fixed-point weights round down
    ramp = RNG.integers(0, 256, (3, 16, 16), dtype=np.uint8)
    same = mirelan.resample(mirelan.Volume.from_array(ramp), (3, 16, 16), "bell")
    np.testing.assert_array_equal(np.asarray(same), ramp)  # equal sizes copy
    # A ramp along x stays a ramp, enlarged or shrunk.
    slope = np.broadcast_to((np.arange(16) * 16).astype(np.uint8), (1, 4, 16)).copy()
    for width, name in [(40, "triangle"), (7, "simple"), (29, "bspline")]:
        rows = np.asarray(mirelan.resample(mirelan.Volume.from_array(slope), (1, 4, width), name)).astype(int)
        assert (np.diff(rows, axis=2) >= 0).all(), name
        assert rows[..., 0].max() <= 20 and rows[..., -1].min() >= 200, name
    with pytest.raises(ValueError, match="unknown resampling filter"):
        mirelan.resample(v, (2, 4, 4), "cubic")
    with pytest.raises(ValueError):
        mirelan.resample(v, (2, 0, 4))
    with pytest.raises(mirelan.PixelTypeError):
        mirelan.resample(mirelan.Volume((1, 4, 4), "float"), (1, 8, 8))


def test_rotate_by_angles():
    f = RNG.random((2, 21, 21)).astype(np.float32)
    np.testing.assert_array_equal(np.asarray(mirelan.rotate(mirelan.Volume.from_array(f), 0.0)), f)
    ones = np.asarray(mirelan.rotate(mirelan.Volume.from_array(np.ones((1, 21, 21), np.float32)), 45.0))
    assert ones[0, 0, 0] == 0.0 and ones[0, 10, 10] == pytest.approx(1.0)  # the rim fades, the centre stays
    turned = mirelan.rotate(mirelan.Volume.from_array(np.ones((1, 8, 12), np.uint16)), 30.0)
    assert turned.shape == (1, 8, 12) and turned.pixel_type == "grey16"


def test_render_through_the_display_range():
    a = (np.arange(64 * 64).reshape(1, 64, 64) % 256).astype(np.uint8)
    v = mirelan.Volume.from_array(a)
    assert v.display_range == (0.0, 255.0)
    plain = np.asarray(mirelan.render(v))
    assert plain.shape == (1, 64, 64, 4) and (plain[..., 0] == 255).all()
    for channel in (1, 2, 3):
        np.testing.assert_array_equal(plain[..., channel], a)
    stretched = np.asarray(mirelan.render(v, black=50, white=150))[..., 1]
    expected = np.clip((a.astype(np.int64) - 50) * 255 // 100, 0, 255)
    assert np.abs(stretched.astype(int) - expected).max() <= 1
    bgra = np.asarray(mirelan.render(v, bgra=True))
    np.testing.assert_array_equal(bgra[..., 3], 255)
    np.testing.assert_array_equal(bgra[..., 0], a)

    f = mirelan.Volume.from_array(np.linspace(0, 2, 11, dtype=np.float32).reshape(1, 1, 11))
    f.display_range = (0.0, 2.0)
    assert f.display_range == (0.0, 2.0)
    grey = np.asarray(mirelan.render(f))[0, 0, :, 1]
    assert grey[0] == 0 and grey[-1] == 255 and (np.diff(grey.astype(int)) > 0).all()
    labels = mirelan.Volume((1, 2, 2), "grey32")
    assert labels.display_range is None
    with pytest.raises(TypeError, match="no renderer"):
        mirelan.render(labels)


def test_fft_gaussian_matches_scipy_with_mirrored_edges():
    f = RNG.random((1, 64, 48)).astype(np.float32)
    ours = np.asarray(mirelan.fft_filter(mirelan.Volume.from_array(f), "gaussian", 2.0, margin=16))
    theirs = ndimage.gaussian_filter(f[0].astype(np.float64), 2.0, mode="reflect")
    np.testing.assert_allclose(ours[0], theirs, atol=5e-5)


def test_fft_kernels_plugins_and_refusals():
    v = mirelan.Volume.from_array(RNG.integers(0, 256, (1, 32, 32), dtype=np.uint8))
    for kernel in ("laplacian", "sobel_horizontal", "sobel_vertical"):
        r = mirelan.fft_filter(v, kernel, 1.0)
        assert r.pixel_type == "grey8" and r.shape == v.shape
    absolute = mirelan.fft_filter(mirelan.Volume.from_array(np.asarray(v).astype(np.float32)), "laplacian", 1.0,
                                  after="absolute")
    assert np.asarray(absolute).min() >= 0
    mirelan.fft_filter(v, after="detail")
    with pytest.raises(ValueError, match="unknown Fourier kernel"):
        mirelan.fft_filter(v, "box")
    with pytest.raises(ValueError, match="sigma"):
        mirelan.fft_filter(v, sigma=0.0)
    with pytest.raises(ValueError, match="after"):
        mirelan.fft_filter(v, after="squared")


def test_fft_filter_on_a_real_stack(shared_data):
    path = shared_data / "pycudadecon_bead_psf_z61_u16.tif"
    if not path.exists():
        pytest.skip("no bead stack")
    plane = mirelan.read(path)[0, 0].to_array()[30:31].astype(np.float32)
    ours = np.asarray(mirelan.fft_filter(mirelan.Volume.from_array(plane), "gaussian", 1.5, margin=12))[0]
    theirs = ndimage.gaussian_filter(plane[0].astype(np.float64), 1.5, mode="reflect")
    np.testing.assert_allclose(ours, theirs, rtol=1e-4, atol=1e-3 * float(plane.max()))
