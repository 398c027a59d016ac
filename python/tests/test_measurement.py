"""Statistics, histograms and thresholds into regions against numpy."""

import os
import subprocess

import numpy as np
import pytest

import mirelan

RNG = np.random.default_rng(29)
SHAPE = (3, 17, 11)


def grey(dtype=np.uint8, shape=SHAPE):
    return RNG.integers(0, np.iinfo(dtype).max, shape, dtype=dtype, endpoint=True)


def argb(shape=SHAPE):
    return RNG.integers(0, 256, shape + (4,), dtype=np.uint8)


def rgb48(shape=SHAPE):
    return RNG.integers(0, 65536, shape + (3,), dtype=np.uint16)


def floats(shape=SHAPE):
    return RNG.normal(0.5, 2.0, shape).astype(np.float32)


def channels_of(pixel_type, a):
    """The channels the library measures, as numpy arrays: red, green, blue for colour."""
    if pixel_type == "argb32":
        return [a[..., 1], a[..., 2], a[..., 3]]
    if pixel_type == "rgb48":
        return [a[..., 0], a[..., 1], a[..., 2]]
    return [a]


def intensity(pixel_type, a):
    """The value the thresholds and the luminance histogram see: the greatest of r, g, b for colour."""
    return np.max(np.stack(channels_of(pixel_type, a)), axis=0)


def run_reference(program, tmp_path, volume, *arguments):
    """The region the C++ host program makes from the same volume with the same arguments."""
    source, result = tmp_path / "in.mis", tmp_path / "out.mis"
    mirelan.save(source, volume)
    env = {k: v for k, v in os.environ.items() if k != "LD_PRELOAD"}  # a sanitized host brings its own runtime
    subprocess.run([str(program), str(source), str(result), *map(str, arguments)], check=True, env=env)
    (back,) = mirelan.load(result)
    return back


def in_frame(region, volume):
    return region.to_array(origin=volume.origin, shape=volume.shape[:3])


MAKERS = {
    "grey8": lambda: grey(),
    "mask": lambda: np.where(grey() > 100, 255, 0).astype(np.uint8),
    "grey16": lambda: grey(np.uint16),
    "float": floats,
    "argb32": argb,
    "rgb48": rgb48,
}


def volume_of(pixel_type, a, **keywords):
    return mirelan.Volume.from_array(a, pixel_type, **keywords)


# ---------------------------------------------------------------- statistics


def expected_statistics(values):
    values = np.asarray(values, np.float64).ravel()
    if values.size == 0:
        return dict(count=0, min=None, max=None, mean=None, variance=None)
    return dict(count=values.size, min=values.min(), max=values.max(), mean=values.mean(), variance=values.var())


def assert_statistics(ours, theirs, rtol=1e-12):
    assert ours["count"] == theirs["count"]
    for key in ("min", "max", "mean", "variance"):
        if key not in ours:
            continue
        if theirs[key] is None:
            assert ours[key] is None, key
        else:
            assert ours[key] == pytest.approx(theirs[key], rel=rtol, abs=1e-9), key


@pytest.mark.parametrize("pixel_type", MAKERS)
def test_statistics_per_channel_equal_numpy(pixel_type):
    a = MAKERS[pixel_type]()
    result = mirelan.statistics(volume_of(pixel_type, a))
    expected = [expected_statistics(c) for c in channels_of(pixel_type, a)]
    assert len(result) == len(expected)
    for ours, theirs in zip(result, expected):
        assert_statistics(ours, theirs, rtol=1e-5 if pixel_type == "float" else 1e-12)
    if pixel_type == "float":
        # A single-precision running sum in voxel order.
        assert result[0]["mean"] == float(np.cumsum(a.ravel(), dtype=np.float32)[-1]) / a.size
    without = mirelan.statistics(volume_of(pixel_type, a), variance=False)
    assert all("variance" not in c for c in without)
    assert [{k: c[k] for k in ("min", "max", "mean", "count")} for c in result] == without


def test_bgra32_statistics_report_red_alone():
    a = argb()
    bgra = a[..., [3, 2, 1, 0]].copy()  # the same colours as b, g, r, a
    (red,) = mirelan.statistics(volume_of("bgra32", bgra))
    assert red == mirelan.statistics(volume_of("argb32", a))[0]


def test_statistics_exclusions_on_grey8():
    a = grey()
    a.flat[:20] = 0
    a.flat[20:40] = 255
    v = volume_of("grey8", a)
    stats = lambda **k: mirelan.statistics(v, **k)[0]  # noqa: E731
    assert_statistics(stats(exclude_limits=True), expected_statistics(a[(a > 0) & (a < 255)]))
    assert_statistics(stats(exclude_zero=True), expected_statistics(a[a > 0]))
    v.display_range = (50, 200)
    inside = (a > 50) & (a < 200)
    ours = stats(exclude_outside_display=True, exclude_zero=True)
    theirs = expected_statistics(a[inside])
    # The squares leave out by the type's limits, not the display range, over
    # the display range's count.
    theirs["variance"] = ((a[(a > 0) & (a < 255)] - theirs["mean"]) ** 2).sum() / theirs["count"]
    assert_statistics(ours, theirs)


def test_statistics_exclusions_on_float():
    a = floats()
    a.flat[:3] = [np.nan, np.inf, -np.inf]
    a.flat[3:6] = 0.0
    v = volume_of("float", a)
    finite = a[np.isfinite(a)]
    ours = mirelan.statistics(v, exclude_limits=True)[0]
    assert_statistics(ours, expected_statistics(finite), rtol=1e-5)
    ours = mirelan.statistics(v, exclude_limits=True, exclude_zero=True)[0]
    assert_statistics(ours, expected_statistics(finite[finite > 0]), rtol=1e-5)
    v.display_range = (-1.0, 1.5)
    ours = mirelan.statistics(v, exclude_outside_display=True, variance=False)[0]
    assert_statistics(ours, expected_statistics(a[(a > -1.0) & (a < 1.5)]), rtol=1e-5)


def test_statistics_of_a_region():
    a = grey(np.uint16)
    v = volume_of("grey16", a, origin=(2, -3, 5))
    inside = RNG.random(a.shape) < 0.3
    region = mirelan.Region.from_array(inside, origin=v.origin)
    assert_statistics(mirelan.statistics(v, region)[0], expected_statistics(a[inside]))
    # A region reaching past the volume counts the voxels it shares with it.
    box = mirelan.Region((0, 0, 0), (4, 6, 9))
    assert_statistics(mirelan.statistics(v, box)[0], expected_statistics(a[:2, 3:9, :4]))
    # One missing the volume counts nothing.
    far = mirelan.Region((40, 40, 40), (2, 2, 2))
    for channel in mirelan.statistics(volume_of("argb32", argb()), far):
        assert_statistics(channel, expected_statistics([]))


def test_statistics_of_a_real_stack_and_mask(shared_data):
    psf = shared_data / "pycudadecon_bead_psf_z61_u16.tif"
    green, mask = (shared_data / f"coloc2_colocsample1b_{n}_z33_u8.tif" for n in ("green", "mask"))
    if not (psf.exists() and green.exists() and mask.exists()):
        pytest.skip("no real stacks")
    stack = mirelan.read(psf)[0, 0]
    assert_statistics(mirelan.statistics(stack)[0], expected_statistics(stack.to_array()))
    g = mirelan.read(green)[0, 0]
    m = mirelan.read(mask)[0, 0].to_array() > 0
    region = mirelan.Region.from_array(m, origin=g.origin)
    assert_statistics(mirelan.statistics(g, region)[0], expected_statistics(g.to_array()[m]))


# ---------------------------------------------------------------- histograms


def centred_buckets(values, first, size, count):
    """The library's bucket of each value: nearest centre first + i * size, ties to the lower, clamped."""
    t = (np.asarray(values, np.float64) - first) / size
    f = np.floor(t)
    index = np.where(t - f > 0.5, np.floor(t + 0.5), f)
    return np.clip(index, 0, count - 1).astype(np.int64)


@pytest.mark.parametrize("pixel_type", ["grey8", "mask", "grey16", "argb32", "rgb48"])
def test_integer_luminance_histograms_are_bincounts(pixel_type):
    a = MAKERS[pixel_type]()
    counts, edges = mirelan.histogram(volume_of(pixel_type, a))
    top = 256 if a.dtype == np.uint8 else 65536
    expected = np.bincount(intensity(pixel_type, a).ravel(), minlength=top)
    assert counts.dtype == np.int64 and edges.dtype == np.float64
    np.testing.assert_array_equal(counts, expected)
    np.testing.assert_array_equal(edges, np.arange(top + 1) - 0.5)
    np.testing.assert_array_equal(np.histogram(intensity(pixel_type, a), edges)[0], counts)


def test_rgb_histograms_per_channel_and_bgra_as_argb():
    a = argb()
    red, green, blue = mirelan.histogram(volume_of("argb32", a), mode="rgb")
    for (counts, edges), channel in zip((red, green, blue), channels_of("argb32", a)):
        np.testing.assert_array_equal(counts, np.bincount(channel.ravel(), minlength=256))
        np.testing.assert_array_equal(edges, np.arange(257) - 0.5)
    bgra = volume_of("bgra32", a[..., [3, 2, 1, 0]].copy())
    for ours, theirs in zip(mirelan.histogram(bgra, mode="rgb"), (red, green, blue)):
        np.testing.assert_array_equal(ours[0], theirs[0])
    g = grey()
    three = mirelan.histogram(volume_of("grey8", g), mode="rgb")
    for counts, _ in three:
        np.testing.assert_array_equal(counts, np.bincount(g.ravel(), minlength=256))
    # Grey data has hue and saturation 0 and its value as intensity.
    hue, saturation, value = mirelan.histogram(volume_of("grey8", g), mode="hsi")
    assert hue[0][0] == saturation[0][0] == g.size and len(value[0]) == 1000
    assert value[0].sum() == g.size


def test_float_histograms_have_1000_centred_buckets():
    a = floats()
    counts, edges = mirelan.histogram(volume_of("float", a))
    low, high = float(a.min()), float(a.max())
    size = (high - low) / 999
    assert len(counts) == 1000
    np.testing.assert_allclose(edges[[0, -1]], [low - size / 2, high + size / 2])
    np.testing.assert_allclose(np.diff(edges), size)
    # Negative values count as 0.0.
    expected = np.bincount(centred_buckets(np.maximum(a, 0).ravel(), low, size, 1000), minlength=1000)
    np.testing.assert_array_equal(counts, expected)


def test_percentage_histogram_of_grey8():
    a = RNG.integers(10, 211, SHAPE, dtype=np.uint8)
    a.flat[:2] = [10, 210]
    counts, edges = mirelan.histogram(volume_of("grey8", a), mode="percentage")
    buckets = 200  # trunc(max - min)
    size = 100 / (buckets - 1)
    percent = (a.astype(np.float64) - 10) / 200 * 100
    np.testing.assert_array_equal(counts, np.bincount(centred_buckets(percent.ravel(), 0, size, buckets),
                                                      minlength=buckets))
    np.testing.assert_allclose(edges[[0, -1]], [-size / 2, 100 + size / 2])


def test_histogram_of_a_region_and_of_a_real_stack(shared_data):
    a = grey()
    v = volume_of("grey8", a, origin=(1, 1, 1))
    inside = RNG.random(a.shape) < 0.4
    counts, _ = mirelan.histogram(v, mirelan.Region.from_array(inside, origin=(1, 1, 1)))
    np.testing.assert_array_equal(counts, np.bincount(a[inside], minlength=256))
    counts, _ = mirelan.histogram(v, mirelan.Region((50, 50, 50), (1, 1, 1)))
    assert counts.sum() == 0
    psf = shared_data / "pycudadecon_bead_psf_z61_u16.tif"
    if not psf.exists():
        pytest.skip("no bead stack")
    stack = mirelan.read(psf)[0, 0]
    counts, _ = mirelan.histogram(stack)
    np.testing.assert_array_equal(counts, np.bincount(stack.to_array().ravel(), minlength=65536))


def test_measurement_refusals():
    grey32 = mirelan.Volume((1, 3, 3), "grey32")
    for call in (mirelan.statistics, mirelan.histogram):
        with pytest.raises(mirelan.PixelTypeError) as error:
            call(grey32)
        assert error.value.number == 2500
    with pytest.raises(ValueError, match="unknown histogram mode 'lab'"):
        mirelan.histogram(volume_of("grey8", grey()), mode="lab")
    with pytest.raises(TypeError):
        mirelan.statistics(volume_of("grey8", grey()), region="everything")


# ---------------------------------------------------------------- thresholds


@pytest.mark.parametrize("pixel_type", MAKERS)
def test_threshold_is_an_inclusive_band_and_invert_its_complement(pixel_type):
    a = MAKERS[pixel_type]()
    v = volume_of(pixel_type, a, origin=(2, -3, 5))
    x = intensity(pixel_type, a)
    values = np.sort(x.ravel())
    low, high = float(values[x.size // 4]), float(values[3 * x.size // 4])  # limits that occur
    band = (x >= low) & (x <= high)
    np.testing.assert_array_equal(in_frame(mirelan.threshold(v, low, high), v), band)
    np.testing.assert_array_equal(in_frame(mirelan.threshold(v, low, high, invert=True), v), ~band)


def test_threshold_limits_round_clamp_and_reverse():
    a = grey()
    v = volume_of("grey8", a)
    between = lambda lo, hi: (a >= lo) & (a <= hi)  # noqa: E731
    np.testing.assert_array_equal(in_frame(mirelan.threshold(v, 99.5, 150.49), v), between(100, 150))
    np.testing.assert_array_equal(in_frame(mirelan.threshold(v, 99.4, 150.5), v), between(99, 151))
    assert mirelan.threshold(v, -10, 300).voxel_count == a.size
    # A reversed band selects nothing, inverted or not.
    assert mirelan.threshold(v, 200, 100).is_empty
    assert mirelan.threshold(v, 200, 100, invert=True).is_empty
    f = floats()
    fv = volume_of("float", f)
    low, high = np.float32(0.1), np.float32(1.7)  # single-precision limits
    np.testing.assert_array_equal(in_frame(mirelan.threshold(fv, 0.1, 1.7), fv), (f >= low) & (f <= high))
    assert mirelan.threshold(fv, 1.0, -1.0, invert=True).is_empty


def test_bgra32_threshold_takes_any_channel():
    a = argb()
    b, g, r = (a[..., 3], a[..., 2], a[..., 1])
    v = volume_of("bgra32", a[..., [3, 2, 1, 0]].copy())
    low, high = 60, 90
    expected = ((b >= low) | (g >= low) | (r >= low)) & ((b <= high) | (g <= high) | (r <= high))
    np.testing.assert_array_equal(in_frame(mirelan.threshold(v, low, high), v), expected)


def test_percentage_threshold_on_grey8_and_float():
    a = RNG.integers(10, 211, SHAPE, dtype=np.uint8)
    a.flat[:2] = [10, 210]
    v = volume_of("grey8", a)
    # 25 % and 75 % of 10..210: 60 and 160, floored.
    np.testing.assert_array_equal(in_frame(mirelan.percentage_threshold(v, 25, 75.3), v), (a >= 60) & (a <= 160))
    np.testing.assert_array_equal(in_frame(mirelan.percentage_threshold(v, 25, 75, invert=True), v),
                                  (a < 60) | (a > 160))
    f = floats()
    luminance = np.maximum(f, 0)
    lo, hi = float(luminance.min()), float(luminance.max())
    limit = lambda p: np.float32(p * (hi - lo) / 100 + lo)  # noqa: E731
    ours = mirelan.percentage_threshold(volume_of("float", f), 10, 60)
    np.testing.assert_array_equal(ours.to_array(origin=(0, 0, 0), shape=f.shape),
                                  (f >= limit(10)) & (f <= limit(60)))


def test_std_threshold_on_grey16_and_float():
    a = grey(np.uint16)
    v = volume_of("grey16", a)
    mean, sigma = np.float32(a.mean()), np.float32(a.std())
    limit = lambda k: np.floor(np.float64(np.float32(sigma * np.float32(k) + mean)) + 0.5)  # noqa: E731
    x = mirelan.std_threshold(v, -0.7, 1.2)
    np.testing.assert_array_equal(in_frame(x, v), (a >= limit(-0.7)) & (a <= limit(1.2)))
    # An infinite limit is the type's end.
    x = mirelan.std_threshold(v, -np.inf, 0.5, invert=True)
    np.testing.assert_array_equal(in_frame(x, v), a > limit(0.5))
    assert mirelan.std_threshold(v, -np.inf, np.inf).voxel_count == a.size
    assert mirelan.std_threshold(v, 1.0, -1.0).is_empty
    f = floats()
    mean = float(np.cumsum(f.ravel(), dtype=np.float32)[-1]) / f.size  # the library's single-precision sum
    mean, sigma = np.float32(mean), np.float32(np.sqrt(((f.astype(np.float64) - mean) ** 2).mean()))
    ours = mirelan.std_threshold(volume_of("float", f), -1.0, 0.5)
    expected = (f >= np.float32(mean - sigma)) & (f <= np.float32(sigma * np.float32(0.5) + mean))
    np.testing.assert_array_equal(ours.to_array(origin=(0, 0, 0), shape=f.shape), expected)


def test_thresholds_refuse_unserved_pixel_types():
    grey32 = mirelan.Volume((1, 3, 3), "grey32")
    bgra = volume_of("bgra32", argb())
    for call in (mirelan.threshold, mirelan.percentage_threshold, mirelan.std_threshold):
        with pytest.raises(mirelan.PixelTypeError):
            call(grey32, 0, 1)
    for call in (mirelan.percentage_threshold, mirelan.std_threshold):
        with pytest.raises(mirelan.PixelTypeError):
            call(bgra, 0, 1)


def test_thresholds_equal_their_cpp_calls(cpp_reference, tmp_path):
    calls = {"intensity": mirelan.threshold, "percentage": mirelan.percentage_threshold,
             "std": mirelan.std_threshold}
    volumes = [volume_of("grey8", grey(), origin=(1, 2, 3)), volume_of("float", floats()),
               volume_of("rgb48", rgb48())]
    limits = {"intensity": (40.5, 180.25), "percentage": (12.5, 80.0), "std": (-0.75, 1.5)}
    for v in volumes:
        for kind, call in calls.items():
            low, high = limits[kind]
            for invert in (0, 1):
                expected = run_reference(cpp_reference, tmp_path, v, "threshold", kind, low, high, invert)
                assert call(v, low, high, invert=bool(invert)) == expected, (v.pixel_type, kind, invert)


def test_threshold_of_a_real_stack(shared_data):
    green = shared_data / "coloc2_colocsample1b_green_z33_u8.tif"
    if not green.exists():
        pytest.skip("no green stack")
    g = mirelan.read(green)[0, 0]
    a = g.to_array()
    np.testing.assert_array_equal(in_frame(mirelan.threshold(g, 30, 120), g), (a >= 30) & (a <= 120))


def test_measurement_reports_progress_and_cancels(fast_progress):
    v = volume_of("grey8", grey(shape=(6, 20, 20)))
    for call in (mirelan.statistics, mirelan.histogram, lambda v, **k: mirelan.threshold(v, 10, 20, **k)):
        reports = []
        call(v, progress=lambda done, total, message: reports.append((done, total)))
        assert reports and reports[-1][0] == reports[-1][1]
        with pytest.raises(mirelan.Cancelled):
            call(v, progress=lambda done, total, message: done < 2)
