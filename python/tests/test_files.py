"""Stacks in and out of TIFF, .mis and PNG files; objects in stream files."""

import numpy as np
import pytest

import mirelan

RNG = np.random.default_rng(11)


def volume(pixel_type, shape=(3, 5, 7)):
    if pixel_type == "float":
        return mirelan.Volume.from_array(RNG.normal(size=shape).astype(np.float32))
    if pixel_type == "rgb48":
        return mirelan.Volume.from_array(RNG.integers(0, 65535, shape + (3,), dtype=np.uint16))
    if pixel_type == "argb32":
        a = RNG.integers(0, 255, shape + (4,), dtype=np.uint8)
        a[..., 0] = 255  # TIFF keeps no alpha
        return mirelan.Volume.from_array(a)
    dtype = {"grey8": np.uint8, "grey16": np.uint16, "grey32": np.uint32}[pixel_type]
    return mirelan.Volume.from_array(RNG.integers(0, np.iinfo(dtype).max, shape, dtype=dtype))


@pytest.mark.parametrize("pixel_type", ["grey8", "grey16", "grey32", "float", "argb32", "rgb48"])
@pytest.mark.parametrize("extension", ["tif", "mis"])
def test_stacks_round_trip(tmp_path, pixel_type, extension):
    timepoints = [[volume(pixel_type), volume(pixel_type)] for _ in range(2)]
    stack = mirelan.Stack(timepoints, unit="µm", time_interval=2.5, channel_names=["dapi", "gfp"])
    stack.calibration = (0.5, 0.25, 0.25)
    path = tmp_path / f"stack.{extension}"
    mirelan.write(path, stack, compression="deflate")
    if (pixel_type, extension) == ("grey32", "mis"):
        with pytest.raises(mirelan.Error, match="1005"):  # the stream format registers no grey32 volumes
            mirelan.read(path)
        return
    back = mirelan.read(path)
    assert (back.timepoints, back.channels, back.pixel_type) == (2, 2, pixel_type)
    assert back.unit == "µm" and back.calibration == pytest.approx((0.5, 0.25, 0.25))
    for t in range(2):
        for c in range(2):
            np.testing.assert_array_equal(np.asarray(back[t, c]), np.asarray(timepoints[t][c]))
    np.testing.assert_array_equal(back.to_array()[1, 0], np.asarray(timepoints[1][0]))
    if extension == "mis":
        assert back.channel_names == ["dapi", "gfp"] and back.time_interval == 2.5


def test_tiff_agrees_with_tifffile(tmp_path):
    tifffile = pytest.importorskip("tifffile")
    v = volume("grey16")
    mirelan.write_tiff(tmp_path / "ours.tif", v)
    np.testing.assert_array_equal(tifffile.imread(tmp_path / "ours.tif"), np.asarray(v))
    theirs = RNG.integers(0, 255, (4, 6, 8), dtype=np.uint8)
    tifffile.imwrite(tmp_path / "theirs.tif", theirs, imagej=True, metadata={"axes": "ZYX"})
    np.testing.assert_array_equal(np.asarray(mirelan.read_tiff(tmp_path / "theirs.tif")[0, 0]), theirs)
    data = (tmp_path / "theirs.tif").read_bytes()
    np.testing.assert_array_equal(np.asarray(mirelan.read_tiff(data)[0, 0]), theirs)


def test_png_planes(tmp_path):
    v = volume("grey8")
    mirelan.write_png(tmp_path / "plane.png", v, z=2)
    np.testing.assert_array_equal(np.asarray(mirelan.read(tmp_path / "plane.png")[0, 0])[0], np.asarray(v)[2])
    with pytest.raises(IndexError):
        mirelan.write_png(tmp_path / "none.png", v, z=3)


def test_objects_in_stream_files(tmp_path):
    v, region = volume("float"), mirelan.Region.from_array(RNG.random((3, 4, 5)) > 0.5, origin=(1, 2, 3))
    mirelan.save(tmp_path / "objects.mis", v, region, volume("rgb48"))
    back = mirelan.load(tmp_path / "objects.mis")
    assert [type(o) for o in back] == [mirelan.Volume, mirelan.Region, mirelan.Volume]
    assert back[0].equals(v) and back[1] == region and back[2].pixel_type == "rgb48"
    with pytest.raises(TypeError):
        mirelan.save(tmp_path / "bad.mis", "text")


def test_stack_indexing_and_checks():
    stack = mirelan.Stack([volume("grey8"), volume("grey8")])
    assert (stack.timepoints, stack.channels, len(stack)) == (1, 2, 1)
    assert stack[0, -1] is stack[0, 1]
    with pytest.raises(IndexError):
        stack[1, 0]
    with pytest.raises(ValueError):
        mirelan.Stack([volume("grey8"), volume("grey16")])
    assert stack.astype("float").pixel_type == "float" and "grey8" in repr(stack)
