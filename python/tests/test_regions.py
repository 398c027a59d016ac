"""Regions: boolean arrays in and out, the set algebra, grow and shrink."""

import pickle

import numpy as np
import pytest

import mirelan

RNG = np.random.default_rng(4)
FRAME = dict(origin=(-2, -2, -2), shape=(10, 12, 14))


def random_region(origin, shape, fraction=0.4):
    mask = RNG.random(shape) < fraction
    return mirelan.Region.from_array(mask, origin=origin), mask


def test_arrays_in_and_out():
    mask = np.zeros((4, 5, 6), bool)
    mask[1:3, 2:4, 1:5] = True
    box = mirelan.Region.from_array(mask, origin=(10, 20, 30))
    # Cropped to the set voxels, and a full box loses its mask.
    assert box.is_box and box.origin == (11, 22, 31) and box.shape == (2, 2, 4)
    assert box.voxel_count == 16
    np.testing.assert_array_equal(box.to_array(origin=(10, 20, 30), shape=(4, 5, 6)), mask)

    mask[1, 2, 1] = False
    holed = mirelan.Region.from_array(mask, origin=(10, 20, 30))
    assert not holed.is_box and holed.voxel_count == 15
    assert (11, 22, 31) not in holed and (11, 22, 32) in holed and (0, 0, 0) not in holed
    np.testing.assert_array_equal(holed.to_array(), mask[1:3, 2:4, 1:5])
    np.testing.assert_array_equal(np.asarray(holed.mask()) > 127, mask[1:3, 2:4, 1:5])
    assert mirelan.Region.from_mask(holed.mask().copy()) == holed

    assert mirelan.Region().is_empty and mirelan.Region.from_array(np.zeros((2, 2), bool)).is_empty
    assert mirelan.Region((0, 0, 0), (2, 3, 4)).voxel_count == 24
    assert mirelan.Region(shape=(3, 4)).shape == (1, 3, 4)


@pytest.mark.parametrize(
    "operator, numpy_operator",
    [
        ("__and__", np.logical_and),
        ("__or__", np.logical_or),
        ("__xor__", np.logical_xor),
        ("__sub__", lambda a, b: a & ~b),
    ],
)
def test_set_algebra_matches_boolean_arrays(operator, numpy_operator):
    a, mask_a = random_region((0, 0, 0), (6, 8, 9))
    b, mask_b = random_region((2, 1, 3), (6, 8, 9))
    full_a = np.zeros(FRAME["shape"], bool)
    full_b = np.zeros(FRAME["shape"], bool)
    full_a[2:8, 2:10, 2:11] = mask_a
    full_b[4:10, 3:11, 5:14] = mask_b
    expected = numpy_operator(full_a, full_b)

    result = getattr(a, operator)(b)
    np.testing.assert_array_equal(result.to_array(**FRAME), expected)
    assert result.voxel_count == expected.sum()
    in_place = a.copy()
    getattr(in_place, operator.replace("__", "__i", 1))(b)
    assert in_place == result
    assert a.to_array(**FRAME).sum() == mask_a.sum()  # the operands stay


def test_inclusion_touching_and_centroid():
    big = mirelan.Region((0, 0, 0), (5, 5, 5))
    small, mask = random_region((1, 1, 1), (3, 3, 3), 0.5)
    assert big.contains(small) and not small.contains(big) and big.touches(small)
    assert not small.touches(mirelan.Region((10, 10, 10), (1, 1, 1)))
    expected = np.argwhere(mask).mean(axis=0) + 1
    np.testing.assert_allclose(small.centroid(), expected, rtol=1e-5)
    assert np.isnan(mirelan.Region().centroid()).all()


def test_grow_is_a_diamond_and_shrink_its_dual():
    voxel = mirelan.Region((0, 0, 0), (1, 1, 1))
    voxel.grow(x=2, y=2)
    assert voxel.voxel_count == 13 and voxel.shape == (1, 5, 5)
    voxel.shrink(x=2, y=2)
    assert voxel == mirelan.Region((0, 0, 0), (1, 1, 1))
    cube = mirelan.Region((0, 0, 0), (3, 3, 3))
    cube.invert()
    assert cube.is_empty


def test_outline_planes_and_projections():
    square = mirelan.Region((0, 0, 0), (2, 5, 5))
    square.outline(1)
    assert square.voxel_count == 2 * 16
    column = mirelan.Region.from_array(np.eye(3, dtype=bool)[:, :, None] * np.ones((3, 3, 2), bool))
    assert column.xy_projection().voxel_count == 6 and column.xy_plane(1).voxel_count == 2
    assert column.xz_plane(5).is_empty
    moved = column.copy()
    moved.offset(x=1, z=-1)
    assert moved.origin == (-1, 0, 1) and moved.voxel_count == column.voxel_count


def test_regions_travel_as_streams_and_pickles():
    region, _ = random_region((3, -4, 5), (4, 5, 6))
    assert mirelan.loads(mirelan.dumps(region)) == region
    assert pickle.loads(pickle.dumps(region)) == region
    assert region != mirelan.Region() and "mask" in repr(region)


def test_roi_shapes_as_regions():
    draw = pytest.importorskip("skimage.draw")
    square = mirelan.polygon_region([(0, 0), (0, 6), (6, 6), (6, 0)], z=2, depth=3)
    assert square.origin == (2, 0, 0) and square.shape == (3, 7, 7) and square.voxel_count == 3 * 49

    # A triangle: the outline is drawn too, so scikit-image's interior lies
    # inside ours and ours adds no more than the outline's voxels.
    corners = np.array([(2, 3), (30, 8), (12, 27)])
    ours = mirelan.polygon_region([tuple(map(int, c)) for c in corners]).to_array(origin=(0, 0, 0),
                                                                                shape=(1, 32, 32))[0]
    theirs = draw.polygon2mask((32, 32), corners)
    assert not (theirs & ~ours).any()
    assert (ours & ~theirs).sum() <= 2 * 3 * 30

    ellipse = mirelan.ellipse_region((0, 10, 20), (4, 21, 31))
    assert ellipse.origin == (0, 10, 20) and ellipse.shape == (4, 21, 31)
    a = ellipse.to_array()
    np.testing.assert_array_equal(a, a[:, ::-1, ::-1])  # symmetric about its centre
    assert all((plane == a[0]).all() for plane in a)  # a cylinder through z
    rr, cc = draw.ellipse(10, 15, 10.5, 15.5, shape=(21, 31))
    expected = np.zeros((21, 31), bool)
    expected[rr, cc] = True
    assert (a[0] & expected).sum() / (a[0] | expected).sum() > 0.9
    side = mirelan.ellipse_region((0, 0, 0), (9, 5, 7), plane="xz").to_array()
    assert all((row == side[:, 0]).all() for row in np.moveaxis(side, 1, 0))  # extruded along y
    with pytest.raises(ValueError, match="plane"):
        mirelan.ellipse_region((0, 0, 0), (1, 2, 2), plane="zz")
    with pytest.raises(ValueError):
        mirelan.polygon_region([])
