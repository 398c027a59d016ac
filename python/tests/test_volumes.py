"""Volumes as numpy arrays: round trips, shared memory, locks and copy-on-write."""

import gc
import pickle

import numpy as np
import pytest

import mirelan

RNG = np.random.default_rng(18)
SHAPE = (3, 5, 7)


def sample(pixel_type, shape=SHAPE):
    """Random voxels of a pixel type, in its array form."""
    if pixel_type == "mask":
        return (RNG.integers(0, 2, shape) * 255).astype(np.uint8)
    if pixel_type == "float":
        return RNG.normal(size=shape).astype(np.float32)
    channels = {"argb32": 4, "bgra32": 4, "rgb48": 3}.get(pixel_type)
    dtype = {"grey16": np.uint16, "grey32": np.uint32, "rgb48": np.uint16}.get(pixel_type, np.uint8)
    full = shape + (channels,) if channels else shape
    return RNG.integers(0, np.iinfo(dtype).max, full, dtype=dtype, endpoint=True)


@pytest.mark.parametrize("pixel_type", mirelan.PIXEL_TYPES)
def test_round_trip_for_every_pixel_type(pixel_type):
    a = sample(pixel_type)
    v = mirelan.Volume.from_array(a, pixel_type)
    assert v.pixel_type == pixel_type
    assert v.dtype == a.dtype and v.shape == a.shape
    assert (v.depth, v.height, v.width) == SHAPE
    assert v.shares_array_memory and np.shares_memory(np.asarray(v), a)
    np.testing.assert_array_equal(np.asarray(v), a)

    copied = v.to_array()
    assert not np.shares_memory(copied, a)
    np.testing.assert_array_equal(copied, a)

    # Forced and necessary copies give the same voxels.
    forced = mirelan.Volume.from_array(a, pixel_type, copy=True)
    assert not forced.shares_array_memory
    np.testing.assert_array_equal(np.asarray(forced), a)
    reversed_rows = a[:, ::-1]
    strided = mirelan.Volume.from_array(reversed_rows, pixel_type)
    assert not strided.shares_array_memory
    np.testing.assert_array_equal(np.asarray(strided), reversed_rows)

    # Through pickle, and the stream format, which has no grey32 volumes.
    copies = [pickle.loads(pickle.dumps(v))]
    if pixel_type == "grey32":
        with pytest.raises(mirelan.Error) as error:
            mirelan.loads(mirelan.dumps(v))
        assert error.value.number == 1005
    else:
        copies.append(mirelan.loads(mirelan.dumps(v)))
    for back in copies:
        assert back.pixel_type == pixel_type and back.equals(v)
        np.testing.assert_array_equal(np.asarray(back), a)


@pytest.mark.parametrize(
    "array, kwargs, pixel_type, expected",
    [
        (np.array([[True, False]]), {}, "mask", [[[255, 0]]]),
        (np.array([[0, 3]], np.int16), {"pixel_type": "mask"}, "mask", [[[0, 255]]]),
        (np.array([[1.5, -2.0]]), {}, "float", [[[1.5, -2.0]]]),
        (np.array([[300, 7]], np.int32), {"pixel_type": "grey16"}, "grey16", [[[300, 7]]]),
        (np.array([[[1, 2, 3]]], np.uint8), {"pixel_type": "argb32"}, "argb32", [[[[255, 1, 2, 3]]]]),
        (np.array([[[[1, 2, 3]]]], np.uint8), {}, "argb32", [[[[255, 1, 2, 3]]]]),
        (np.array([[[[1, 2, 3]]]], np.uint8), {"pixel_type": "bgra32"}, "bgra32", [[[[3, 2, 1, 255]]]]),
        (np.array([[[[1, 2, 3]]]], np.uint16), {}, "rgb48", [[[[1, 2, 3]]]]),
        ([[1, 2], [3, 4]], {"pixel_type": "grey8"}, "grey8", [[[1, 2], [3, 4]]]),
    ],
)
def test_arrays_are_converted_by_dtype_and_shape(array, kwargs, pixel_type, expected):
    v = mirelan.Volume.from_array(array, **kwargs)
    assert v.pixel_type == pixel_type
    np.testing.assert_array_equal(np.asarray(v), np.array(expected, dtype=v.dtype))


@pytest.mark.parametrize(
    "array, kwargs, error",
    [
        (np.zeros((2, 2), np.complex64), {}, TypeError),
        (np.array([["a"]]), {}, TypeError),
        (np.array([[None]]), {}, TypeError),
        (np.zeros((2, 2), np.int16), {}, TypeError),
        (np.zeros((1, 1, 1, 1, 1), np.uint8), {}, ValueError),
        (np.zeros(4, np.uint8), {}, ValueError),
        (np.zeros((1, 2, 2, 5), np.uint8), {}, ValueError),
        (np.zeros((1, 2, 2, 4), np.uint16), {}, ValueError),
        (np.zeros((1, 2, 2, 3), np.float32), {}, TypeError),
        (np.zeros((2, 2, 2), np.uint8), {"pixel_type": "argb32"}, ValueError),
        (np.zeros((2, 4), np.uint8)[:, ::2], {"copy": False}, ValueError),
        (np.zeros((2, 2), np.float64), {"copy": False}, ValueError),
        (np.zeros((2, 2), np.uint8), {"pixel_type": "grey12"}, ValueError),
        (np.zeros((2, 2), np.uint8), {"origin": (0, 0, 2**31 - 1)}, ValueError),
    ],
)
def test_unsupported_arrays_are_refused_clearly(array, kwargs, error):
    with pytest.raises(error):
        mirelan.Volume.from_array(array, **kwargs)


def test_views_share_memory_and_keep_the_volume_alive():
    v = mirelan.Volume((2, 3, 4), "grey16")
    read, memory = np.asarray(v), np.asarray(memoryview(v))
    assert np.shares_memory(read, memory) and not read.flags.writeable
    with pytest.raises(ValueError):
        read[0, 0, 0] = 1
    del read, memory

    write = v.view(writeable=True)
    write[1, 2, 3] = 4242
    assert v.to_array()[1, 2, 3] == 4242
    del v
    gc.collect()
    assert write[1, 2, 3] == 4242  # the view holds the volume


def test_locks_are_released_when_views_die():
    v = mirelan.Volume((2, 3, 4))
    assert (v.lock_count, v.view_count) == (0, (0, 0))
    views = [np.asarray(v), v.view(), memoryview(v)]
    assert v.view_count == (3, 0) and v.lock_count == 3
    writer = v.view(writeable=True)
    assert v.view_count == (3, 1)
    with pytest.raises(BufferError, match="writeable view"):
        v.view(writeable=True)
    views[2].release()
    del views, writer
    gc.collect()
    assert (v.lock_count, v.view_count) == (0, (0, 0))
    v.view(writeable=True)[:] = 1  # a writer again, and gone at once
    assert v.lock_count == 0 and v.to_array().min() == 1


def test_copy_on_write_is_not_bypassed_through_views():
    v = mirelan.Volume.from_array(np.arange(24, dtype=np.uint8).reshape(2, 3, 4), copy=True)
    original = v.to_array()

    # A copy shares the block until written; writing through its view
    # gives it a block of its own.
    c = v.copy()
    assert c.is_shared and v.is_shared
    c.view(writeable=True)[:] = 7
    np.testing.assert_array_equal(np.asarray(v), original)
    assert not v.is_shared

    # A read view keeps showing what it showed while the volume is written.
    snapshot = np.asarray(v)
    mirelan.invert(v, in_place=True)
    np.testing.assert_array_equal(snapshot, original)
    np.testing.assert_array_equal(np.asarray(v), 255 - original)

    # A read view made while a writer lives is a snapshot too.
    writer = v.view(writeable=True)
    frozen = np.asarray(v)
    writer[:] = 0
    np.testing.assert_array_equal(frozen, 255 - original)
    del writer


def test_array_memory_taken_over_stays_with_one_volume():
    a = np.zeros((2, 3, 4), np.uint8)
    v = mirelan.Volume.from_array(a)
    c = v.copy()  # never shares the array's memory lazily
    a[...] = 9
    assert np.asarray(v).min() == 9 and np.asarray(c).max() == 0
    mirelan.invert(v, in_place=True)
    assert a.max() == 246  # in-place work writes the array

    frozen = np.arange(4, dtype=np.uint8).reshape(1, 2, 2)
    frozen.setflags(write=False)
    r = mirelan.Volume.from_array(frozen)
    assert r.shares_array_memory
    r.view(writeable=True)[:] = 100  # the first write lock copies
    assert not r.shares_array_memory
    np.testing.assert_array_equal(frozen.ravel(), [0, 1, 2, 3])
    del a
    gc.collect()
    assert np.asarray(v).max() == 246  # the volume holds the array


def test_work_that_replaces_storage_waits_for_locking_views():
    v = mirelan.Volume((1, 4, 4))
    writer = v.view(writeable=True)
    with pytest.raises(BufferError, match="view"):
        mirelan.rotate_cw(v, in_place=True)
    del writer
    assert mirelan.rotate_cw(v, in_place=True) is v


@pytest.mark.parametrize(
    "source_type, values, target_type, expected",
    [
        ("grey8", [0, 255], "grey16", [0, 65535]),
        ("grey16", [0x1234, 0xFFFF], "grey8", [0x12, 0xFF]),
        ("grey8", [3, 200], "float", [3.0, 200.0]),
        ("grey8", [3, 200], "mask", [3, 200]),
    ],
)
def test_conversion_between_pixel_types(source_type, values, target_type, expected):
    v = mirelan.Volume.from_array(np.array([values]), source_type, calibration=(2.0, 0.5, 0.25))
    converted = v.astype(target_type)
    assert converted.pixel_type == target_type and converted.calibration == (2.0, 0.5, 0.25)
    np.testing.assert_array_equal(np.asarray(converted).ravel(), expected)


def test_colour_converts_to_grey_by_the_average():
    argb = mirelan.Volume.from_array(np.array([[[[255, 30, 60, 91]]]], np.uint8))
    assert np.asarray(argb.astype("grey8")).item() == (30 + 60 + 91) // 3
    assert np.asarray(argb.astype("rgb48")).ravel().tolist() == [30 * 257, 60 * 257, 91 * 257]


def test_origin_calibration_and_crop():
    v = mirelan.Volume.from_array(np.arange(8, dtype=np.uint8).reshape(2, 2, 2), origin=(10, -5, 3), calibration=0.5)
    assert v.origin == (10, -5, 3) and v.calibration == (0.5, 0.5, 0.5)
    v.origin = (0, 0, 0)
    v.calibration = (1.0, 2.0, 3.0)
    assert v.origin == (0, 0, 0) and v.calibration == (1.0, 2.0, 3.0)
    part = v.crop((1, 1, 1), (2, 2, 2))
    assert part.origin == (1, 1, 1)
    np.testing.assert_array_equal(np.asarray(part), [[[7, 0], [0, 0]], [[0, 0], [0, 0]]])
    assert "grey8" in repr(v) and v.crc32() == mirelan.Volume.from_array(v.to_array()).crc32()


def test_new_volumes_are_cleared_and_sized():
    v = mirelan.Volume((2, 3, 4, 4), "argb32")
    assert v.shape == (2, 3, 4, 4) and v.nbytes == 2 * 3 * 4 * 4 and not v.to_array().any()
    assert mirelan.Volume((3, 4), "float").shape == (1, 3, 4)
    with pytest.raises(ValueError):
        mirelan.Volume((2, 3, 4, 3), "argb32")
    empty = mirelan.Volume((0, 5, 5))
    assert np.asarray(empty).shape == (0, 5, 5)
