"""The neighbourhood filters against scipy and scikit-image, on made and real stacks."""

import numpy as np
import pytest

import mirelan

ndimage = pytest.importorskip("scipy.ndimage")
morphology = pytest.importorskip("skimage.morphology")

RNG = np.random.default_rng(3)
CROSS = ndimage.generate_binary_structure(3, 1)


def test_convolve_is_a_zero_padded_correlation():
    a = RNG.normal(size=(6, 9, 11)).astype(np.float32)
    kernel = RNG.uniform(0.1, 1.0, (3, 3, 5)).astype(np.float32)
    result = np.asarray(mirelan.convolve(mirelan.Volume.from_array(a), kernel, bias=0.5))
    expected = ndimage.correlate(a.astype(np.float64), kernel / kernel.sum(), mode="constant") + 0.5
    np.testing.assert_allclose(result, expected, rtol=1e-4, atol=1e-5)

    edges = np.asarray(mirelan.convolve(mirelan.Volume.from_array(a), [[-1, 0, 1]]))  # sums to 0: kept
    np.testing.assert_allclose(edges, ndimage.correlate(a, np.array([[[-1, 0, 1]]], np.float32), mode="constant"),
                               atol=1e-5)


def test_convolve_within_a_region_keeps_the_rest():
    a = RNG.integers(0, 100, (2, 8, 8), dtype=np.uint8)
    region = mirelan.Region((0, 2, 2), (2, 4, 4))
    result = np.asarray(mirelan.convolve(mirelan.Volume.from_array(a), np.ones((1, 3, 3)), region=region))
    inside = region.to_array(origin=(0, 0, 0), shape=a.shape)
    np.testing.assert_array_equal(result[~inside], a[~inside])
    full = np.asarray(mirelan.convolve(mirelan.Volume.from_array(a), np.ones((1, 3, 3))))
    np.testing.assert_array_equal(result[inside], full[inside])


def test_median_matches_scipy_away_from_the_border():
    a = RNG.integers(0, 65535, (7, 12, 13), dtype=np.uint16)
    result = np.asarray(mirelan.median_filter(mirelan.Volume.from_array(a), 3))
    np.testing.assert_array_equal(result[1:-1, 1:-1, 1:-1], ndimage.median_filter(a, size=3)[1:-1, 1:-1, 1:-1])


@pytest.mark.parametrize("dtype", [np.uint8, np.uint16, np.float32])
def test_dilate_and_erode_match_skimage(dtype):
    a = (RNG.random((6, 10, 12)) * 200).astype(dtype)
    v = mirelan.Volume.from_array(a)
    np.testing.assert_array_equal(np.asarray(mirelan.dilate(v, 2)),
                                  morphology.dilation(morphology.dilation(a, CROSS), CROSS))
    np.testing.assert_array_equal(np.asarray(mirelan.erode(v)), morphology.erosion(a, CROSS))
    square = [(0, dy, dx) for dy in (-1, 0, 1) for dx in (-1, 0, 1)]
    np.testing.assert_array_equal(np.asarray(mirelan.dilate(v, offsets=square)),
                                  morphology.dilation(a, np.ones((1, 3, 3), bool)))
    edged = np.asarray(mirelan.erode(v, edge=True))
    assert not edged[0].any() and not edged[:, :, -1].any()


def test_filters_on_a_real_stack(shared_data):
    tifffile = pytest.importorskip("tifffile")
    path = shared_data / "coloc2_colocsample1b_green_z33_u8.tif"
    if not path.exists():
        pytest.skip("the green stack is not in the shared data")
    theirs = tifffile.imread(path)
    volume = mirelan.read(path)[0, 0]
    np.testing.assert_array_equal(np.asarray(mirelan.dilate(volume)), morphology.dilation(theirs, CROSS))
    median = np.asarray(mirelan.median_filter(volume, 3))
    np.testing.assert_array_equal(median[1:-1, 1:-1, 1:-1], ndimage.median_filter(theirs, 3)[1:-1, 1:-1, 1:-1])


def test_filters_in_place_and_refusals():
    v = mirelan.Volume.from_array(RNG.integers(0, 255, (3, 5, 5), dtype=np.uint8))
    expected = mirelan.median_filter(v)
    assert mirelan.median_filter(v, in_place=True) is v and v.equals(expected)
    with pytest.raises(ValueError):
        mirelan.median_filter(v, 0)
    with pytest.raises(ValueError):
        mirelan.convolve(v, np.ones(3))
    with pytest.raises(mirelan.PixelTypeError):
        mirelan.dilate(mirelan.Volume((1, 2, 2), "rgb48"))
