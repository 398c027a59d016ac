"""The simple tools from Python: against numpy, and against the same tools
called from a C++ host on the same data."""

import os
import subprocess

import numpy as np
import pytest

import mirelan

RNG = np.random.default_rng(7)


def grey(shape=(3, 6, 8), dtype=np.uint8):
    return RNG.integers(0, np.iinfo(dtype).max, shape, dtype=dtype, endpoint=True)


def colour(shape=(3, 6, 8), channels=4, dtype=np.uint8):
    return grey(shape + (channels,), dtype)


@pytest.mark.parametrize(
    "array, expected",
    [
        (grey(), lambda a: 255 - a),
        (grey(dtype=np.uint16), lambda a: 65535 - a),
        (colour(), lambda a: np.concatenate([a[..., :1], 255 - a[..., 1:]], axis=-1)),
        (colour(channels=3, dtype=np.uint16), lambda a: 65535 - a),
    ],
)
def test_invert_integers(array, expected):
    original = array.copy()
    v = mirelan.Volume.from_array(array)
    np.testing.assert_array_equal(np.asarray(mirelan.invert(v)), expected(original))
    np.testing.assert_array_equal(array, original)  # a new volume: the source stays
    assert mirelan.invert(v, in_place=True) is v
    np.testing.assert_array_equal(array, expected(original))  # in place writes the shared array


def test_invert_float_maps_min_max_onto_one_zero():
    a = RNG.uniform(2.0, 10.0, (2, 4, 5)).astype(np.float32)
    result = np.asarray(mirelan.invert(mirelan.Volume.from_array(a)))
    maximum, minimum = np.trunc(a.max()), float(a.min())  # the maximum truncated, the minimum not
    np.testing.assert_allclose(result, 1.0 - (a / maximum - minimum / maximum), rtol=1e-6)


ARRAYS = {
    "grey8": grey((2, 4, 6)),
    "mask": (grey((2, 4, 6)) > 127).astype(np.uint8) * 255,
    "grey16": grey((2, 4, 6), np.uint16),
    "grey32": grey((2, 4, 6), np.uint32),
    "float": RNG.normal(size=(2, 4, 6)).astype(np.float32),
    "argb32": colour((2, 4, 6)),
    "bgra32": colour((2, 4, 6)),
    "rgb48": colour((2, 4, 6), 3, np.uint16),
}


@pytest.mark.parametrize("pixel_type", ARRAYS)
def test_flips_and_turns_move_voxels_like_numpy(pixel_type):
    a = ARRAYS[pixel_type]
    v = mirelan.Volume.from_array(a, pixel_type)
    np.testing.assert_array_equal(np.asarray(mirelan.flip(v, "x")), a[:, :, ::-1])
    np.testing.assert_array_equal(np.asarray(mirelan.flip(v, "y")), a[:, ::-1])
    if pixel_type == "grey32":
        return  # the turns serve the pixel types of the tool frame only
    np.testing.assert_array_equal(np.asarray(mirelan.rotate_180(v)), a[:, ::-1, ::-1])
    cw = mirelan.rotate_cw(v)
    np.testing.assert_array_equal(np.asarray(cw), np.rot90(a, k=-1, axes=(1, 2)))
    np.testing.assert_array_equal(np.asarray(mirelan.rotate_ccw(v)), np.rot90(a, k=1, axes=(1, 2)))
    assert cw.origin == (0, -1, 1)  # the 6 x 4 box centred on the 4 x 6 one


def test_offset_subtracts_within_the_type():
    a = grey()
    result = np.asarray(mirelan.offset(mirelan.Volume.from_array(a), 10.5))
    np.testing.assert_array_equal(result, np.clip(np.trunc(a - 10.5), 0, 255).astype(np.uint8))
    argb = colour()
    shifted = np.asarray(mirelan.offset(mirelan.Volume.from_array(argb), -20))
    np.testing.assert_array_equal(shifted[..., 0], argb[..., 0])
    np.testing.assert_array_equal(shifted[..., 1:], np.clip(argb[..., 1:].astype(int) + 20, 0, 255))


SATURATED = {
    "add": lambda a, b: np.minimum(a + b, 255),
    "subtract": lambda a, b: np.maximum(a - b, 0),
    "subtract_offset": lambda a, b: np.clip(a - b + 128, 0, 255),
    "absolute_difference": lambda a, b: np.abs(a - b),
    "multiply": lambda a, b: np.minimum(a * b, 255),
    "divide_by_one_more": lambda a, b: a // (b + 1),
    "minimum": np.minimum,
    "maximum": np.maximum,
}


@pytest.mark.parametrize("operator", SATURATED)
def test_arithmetic_saturates_grey8(operator):
    a, b = grey(), grey()
    va, vb = mirelan.Volume.from_array(a), mirelan.Volume.from_array(b)
    expected = SATURATED[operator](a.astype(int), b.astype(int))
    np.testing.assert_array_equal(np.asarray(mirelan.arithmetic(va, vb, operator)), expected)
    assert mirelan.arithmetic(va, vb, operator, in_place=True) is va
    np.testing.assert_array_equal(a, expected)  # in place writes the shared array


def test_arithmetic_refuses_mismatches():
    v = mirelan.Volume.from_array(grey())
    with pytest.raises(TypeError):
        mirelan.arithmetic(v, v.astype("grey16"), "add")
    with pytest.raises(ValueError):
        mirelan.arithmetic(v, mirelan.Volume((1, 1, 1)), "add")
    with pytest.raises(ValueError, match="operators are"):
        mirelan.arithmetic(v, v, "power")


def test_fill_paint_and_masks_act_on_regions():
    v = mirelan.Volume((2, 4, 4))
    region = mirelan.Region.from_array(np.eye(4, dtype=bool)[None])
    mirelan.fill(v, 200.7, region)
    expected = np.zeros((2, 4, 4), np.uint8)
    expected[0][np.eye(4, dtype=bool)] = 200
    np.testing.assert_array_equal(np.asarray(v), expected)

    mirelan.paint(v, mirelan.Region((1, 0, 0), (1, 2, 2)), (30, 60, 90))
    expected[1, :2, :2] = 60
    np.testing.assert_array_equal(np.asarray(v), expected)

    # A region keeps its voxels and clears the rest; a mask volume acts on
    # the box it shares with the volume only.
    kept = mirelan.and_mask(v, mirelan.Region((0, 0, 0), (2, 1, 4)))
    np.testing.assert_array_equal(np.asarray(kept), expected * (np.arange(4) == 0)[:, None])
    row = mirelan.Region((0, 0, 0), (2, 1, 4)).mask()
    row.view(writeable=True)[:, :, :2] = 0
    partial = mirelan.and_mask(v, row)
    np.testing.assert_array_equal(np.asarray(partial), expected * ((np.arange(4)[:, None] > 0) | (np.arange(4) >= 2)))

    argb = mirelan.Volume((1, 2, 2), "argb32")
    mirelan.fill(argb, (1, 2, 3, 4))
    assert np.asarray(argb)[0, 0, 0].tolist() == [4, 1, 2, 3]


def test_ratio_with_background_and_thresholds():
    a = np.array([[[10, 20, 30, 5]]], np.uint16)
    b = np.array([[[6, 4, 2, 10]]], np.uint16)
    r = mirelan.ratio(mirelan.Volume.from_array(a), mirelan.Volume.from_array(b), subtract=(0, 2), thresholds=(6, 1))
    assert r.pixel_type == "float"
    np.testing.assert_allclose(np.asarray(r).ravel(), [10 / 4, 20 / 2, 0, 0])


def test_unserved_pixel_types_raise_the_library_error():
    with pytest.raises(mirelan.PixelTypeError) as error:
        mirelan.invert(mirelan.Volume((1, 2, 2), "grey32"))
    assert error.value.number == 2500
    with pytest.raises(mirelan.PixelTypeError):
        mirelan.ybarc(mirelan.Volume((1, 2, 2)))
    assert mirelan.ybarc(mirelan.Volume((1, 2, 2), "argb32")).pixel_type == "argb32"


# ---------------------------------------------------------- against C++


def run_reference(program, tmp_path, objects, tool, *arguments):
    source, result = tmp_path / "in.mis", tmp_path / "out.mis"
    mirelan.save(source, *objects)
    # A sanitized program carries its own runtime: not the one preloaded for Python.
    env = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}
    subprocess.run([str(program), str(source), str(result), tool, *map(str, arguments)], check=True, env=env)
    (back,) = mirelan.load(result)
    return back


SOURCES = {
    "grey8": lambda: mirelan.Volume.from_array(grey((3, 9, 6)), origin=(2, -3, 5), calibration=(0.3, 0.1, 0.1)),
    "grey16": lambda: mirelan.Volume.from_array(grey((3, 9, 6), np.uint16)),
    "float": lambda: mirelan.Volume.from_array(RNG.normal(size=(3, 9, 6)).astype(np.float32)),
    "argb32": lambda: mirelan.Volume.from_array(colour((3, 9, 6))),
    "rgb48": lambda: mirelan.Volume.from_array(colour((3, 9, 6), 3, np.uint16)),
}
CALLS = {
    "invert": lambda v: mirelan.invert(v),
    "flip_x": lambda v: mirelan.flip(v, "x"),
    "flip_y": lambda v: mirelan.flip(v, "y"),
    "rotate_cw": lambda v: mirelan.rotate_cw(v),
    "rotate_ccw": lambda v: mirelan.rotate_ccw(v),
    "rotate_180": lambda v: mirelan.rotate_180(v),
}


@pytest.mark.parametrize("pixel_type", SOURCES)
@pytest.mark.parametrize("tool", CALLS)
def test_tools_equal_the_same_tools_called_from_cpp(cpp_reference, tmp_path, pixel_type, tool):
    v = SOURCES[pixel_type]()
    expected = run_reference(cpp_reference, tmp_path, [v], tool)
    result = CALLS[tool](v)
    assert result.origin == expected.origin and result.calibration == expected.calibration
    assert result.equals(expected)
    np.testing.assert_array_equal(np.asarray(result), np.asarray(expected))


def test_parameters_reach_the_cpp_tools_unchanged(cpp_reference, tmp_path):
    a, b = SOURCES["grey8"](), mirelan.Volume.from_array(grey((3, 9, 6)))
    assert mirelan.offset(a, 3.5).equals(run_reference(cpp_reference, tmp_path, [a], "offset", 3.5))
    for code, name in enumerate(SATURATED):
        expected = run_reference(cpp_reference, tmp_path, [a, b], "arithmetic", code)
        assert mirelan.arithmetic(a, b, name).equals(expected), name
    mask = mirelan.Region.from_array(grey((3, 9, 6)) > 128, origin=a.origin).mask()
    assert mirelan.and_mask(a, mask).equals(run_reference(cpp_reference, tmp_path, [a, mask], "and_mask"))
    f = SOURCES["float"]()
    assert f.astype("grey16").equals(run_reference(cpp_reference, tmp_path, [f], "convert", "grey16"))
    region = mirelan.Region.from_array(grey((3, 9, 6)) > 200)
    grown = region.copy()
    grown.grow(x=2, y=1, z=1)
    assert grown == run_reference(cpp_reference, tmp_path, [region], "grow", 2, 1, 1)


def test_later_tools_equal_their_cpp_calls(cpp_reference, tmp_path):
    g = SOURCES["grey8"]()
    assert mirelan.median_filter(g, 3).equals(run_reference(cpp_reference, tmp_path, [g], "median", 3))
    big = mirelan.Volume.from_array(grey((2, 20, 24)), origin=(0, 4, -2))
    for code, name in enumerate(["automatic", "simple", "triangle", "bell", "bspline", "lanczos3"]):
        expected = run_reference(cpp_reference, tmp_path, [big], "resample", 31, 13, 2, code)
        assert mirelan.resample(big, (2, 13, 31), name).equals(expected), name
    f = mirelan.Volume.from_array(RNG.normal(size=(1, 24, 30)).astype(np.float32))
    expected = run_reference(cpp_reference, tmp_path, [f], "fft_gaussian", 1.5, 6)
    # FFTW may plan another algorithm in another process: equal to rounding.
    np.testing.assert_allclose(np.asarray(mirelan.fft_filter(f, "gaussian", 1.5, margin=6)), np.asarray(expected),
                               rtol=1e-5, atol=1e-6)
    region = mirelan.Region.from_array(grey((3, 9, 6)) > 150, origin=(1, 2, 3))
    labels, _ = mirelan.label(region)
    expected = run_reference(cpp_reference, tmp_path, [region], "label")
    assert labels.origin == expected.origin
    np.testing.assert_array_equal(np.asarray(labels), np.asarray(expected))  # grey16 from the host
    for code, mode in enumerate(["similar", "brighter", "darker", "texture"]):
        for connected in (0, 1):
            expected = run_reference(cpp_reference, tmp_path, [g], "seed_threshold", code, 0.2, connected, 7, 1, 3)
            ours = mirelan.seed_threshold(g, (3, 1, 7), mode, tolerance=0.2, connected=bool(connected))
            assert ours == expected, (mode, connected)
