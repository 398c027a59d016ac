"""Pieces of regions and seed selections against scipy's labelling."""

import numpy as np
import pytest

import mirelan

ndimage = pytest.importorskip("scipy.ndimage")

RNG = np.random.default_rng(11)


def same_partition(ours, theirs):
    """Two labellings split the voxels into the same pieces (numbers aside)."""
    assert (ours > 0).sum() == (theirs > 0).sum()
    pairs = set(zip(ours[ours > 0].tolist(), theirs[theirs > 0].tolist()))
    assert len(pairs) == len({a for a, _ in pairs}) == len({b for _, b in pairs})


def labels_in_frame(labels, shape):
    """The label volume is the region's box grown by one: cut it to the frame at 0."""
    z, y, x = labels.origin
    a = np.asarray(labels)
    full = np.zeros(tuple(s + 2 for s in shape), a.dtype)
    full[z + 1:z + 1 + a.shape[0], y + 1:y + 1 + a.shape[1], x + 1:x + 1 + a.shape[2]] = a
    return full[1:-1, 1:-1, 1:-1]


@pytest.mark.parametrize("density", [0.2, 0.45, 0.7])
def test_label_matches_scipy_face_connectivity(density):
    a = RNG.random((7, 19, 23)) < density
    labels, count = mirelan.label(mirelan.Region.from_array(a))
    theirs, their_count = ndimage.label(a)  # faces only in 3-D by default
    assert count == their_count
    assert labels.pixel_type == "grey32" and np.asarray(labels).max() == count
    same_partition(labels_in_frame(labels, a.shape), theirs)

    pieces = mirelan.find_objects(mirelan.Region.from_array(a))
    assert len(pieces) == count
    assert sum(p.voxel_count for p in pieces) == a.sum()
    union = mirelan.Region()
    for piece in pieces:
        assert not (union & piece).voxel_count
        union |= piece
    np.testing.assert_array_equal(union.to_array(origin=(0, 0, 0), shape=a.shape), a)


def test_edges_and_corners_do_not_join_and_empty_has_no_pieces():
    a = np.zeros((2, 4, 4), bool)
    a[0, 0, 0] = a[0, 1, 1] = a[1, 2, 2] = True  # an edge and a corner apart
    assert mirelan.label(mirelan.Region.from_array(a))[1] == 3
    a[1, 1, 1] = True  # a face below (0, 1, 1)
    assert mirelan.label(mirelan.Region.from_array(a))[1] == 3
    _, count = mirelan.label(mirelan.Region())
    assert count == 0 and mirelan.find_objects(mirelan.Region()) == []


def test_label_on_a_real_mask(shared_data):
    path = shared_data / "coloc2_colocsample1b_mask_z33_u8.tif"
    if not path.exists():
        pytest.skip("no mask stack")
    mask = mirelan.read(path)[0, 0].to_array() > 0
    labels, count = mirelan.label(mirelan.Region.from_array(mask))
    theirs, their_count = ndimage.label(mask)
    assert count == their_count
    same_partition(labels_in_frame(labels, mask.shape), theirs)


def test_seed_threshold_modes_on_grey8():
    a = RNG.integers(0, 256, (4, 20, 20), dtype=np.uint8)
    v = mirelan.Volume.from_array(a)
    seed = (2, 10, 10)
    s = int(a[seed])
    frame = dict(origin=(0, 0, 0), shape=a.shape)
    chosen = {
        "brighter": a >= s,
        "darker": a <= s,
        "similar": np.abs(a.astype(int) - s) <= 25,  # 0.1 of the window of 255, truncated
    }
    for mode, expected in chosen.items():
        every = mirelan.seed_threshold(v, seed, mode, tolerance=0.1, connected=False)
        np.testing.assert_array_equal(every.to_array(**frame), expected, err_msg=mode)
        joined = mirelan.seed_threshold(v, seed, mode, tolerance=0.1)
        pieces, _ = ndimage.label(expected)
        np.testing.assert_array_equal(joined.to_array(**frame), pieces == pieces[seed], err_msg=mode)


def test_seed_threshold_refusals():
    v = mirelan.Volume.from_array(np.zeros((2, 3, 3), np.uint8))
    with pytest.raises(ValueError, match="unknown seed mode"):
        mirelan.seed_threshold(v, (0, 0, 0), "greener")
    with pytest.raises(mirelan.PixelTypeError):
        mirelan.seed_threshold(mirelan.Volume((2, 3, 3), "grey32"), (0, 0, 0))
    # A seed outside moves to the nearest voxel.
    outside = mirelan.seed_threshold(v, (50, -4, 9))
    assert outside.voxel_count == v.depth * v.height * v.width
