"""The library's errors as Python exceptions with their numbers."""

import pickle

import numpy as np
import pytest

import mirelan


def number_of(call):
    with pytest.raises(mirelan.Error) as error:
        call()
    assert str(error.value) and error.value.number != 0
    return error.value.number


def test_errors_carry_the_library_numbers(tmp_path):
    stream = mirelan.dumps(mirelan.Volume((2, 3, 4)))
    assert number_of(lambda: mirelan.loads(b"not a stream at all")) == 1004
    assert number_of(lambda: mirelan.loads(stream[:-20])) in (1001, 1002)  # past the end, or a size beyond it
    assert number_of(lambda: mirelan.read(tmp_path / "missing.tif")) == 1003
    (tmp_path / "text.tif").write_text("no image here")
    assert number_of(lambda: mirelan.read(tmp_path / "text.tif")) in (1020, 1021)
    assert number_of(lambda: mirelan.write(tmp_path / "stack.xyz", mirelan.Volume((1, 1, 1)))) == 1021
    assert mirelan.error_text(1008)


def test_error_classes():
    with pytest.raises(mirelan.PixelTypeError) as error:
        mirelan.xor_mask(mirelan.Volume((1, 2, 2), "float"), mirelan.Region((0, 0, 0), (1, 1, 1)))
    assert isinstance(error.value, TypeError) and isinstance(error.value, mirelan.Error)
    assert error.value.number == 2500
    copy = pickle.loads(pickle.dumps(error.value))
    assert (type(copy), copy.number, str(copy)) == (mirelan.PixelTypeError, 2500, str(error.value))
    assert issubclass(mirelan.Cancelled, mirelan.Error)


def test_broken_preconditions_are_a_distinct_exception():
    v = mirelan.Volume((1, 2, 3))  # a quarter turn in place needs square planes
    with pytest.raises(mirelan.InternalError) as error:
        mirelan.rotate_cw(v, in_place=True)
    assert not isinstance(error.value, mirelan.Error)
    assert error.value.expression and error.value.line > 0
    np.testing.assert_array_equal(np.asarray(v), 0)  # the volume is as it was
