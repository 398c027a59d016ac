"""The real stacks of the shared data, where scikit-image (or tifffile) does
the same operation as the library."""

import numpy as np
import pytest

import mirelan

skimage = pytest.importorskip("skimage")
tifffile = pytest.importorskip("tifffile")
from scipy import ndimage  # noqa: E402  (scikit-image brings scipy)
from skimage import measure, morphology, util  # noqa: E402

GREEN = "coloc2_colocsample1b_green_z33_u8.tif"
MASK = "coloc2_colocsample1b_mask_z33_u8.tif"
BEAD = "pycudadecon_bead_psf_z61_u16.tif"
TIMELAPSE = "pystackreg_pc12_timelapse_unregistered_t5_u16.tif"
TURBOREG = "pystackreg_pc12_ref_imagej_turboreg_bilinear_f32.tif"


def real(shared_data, name):
    path = shared_data / name
    if not path.exists():
        pytest.skip(f"{name} is not in the shared data")
    return mirelan.read(path), tifffile.imread(path)


@pytest.mark.parametrize("name", [GREEN, MASK, BEAD, TIMELAPSE, TURBOREG])
def test_real_stacks_read_as_tifffile_reads_them(shared_data, name):
    stack, theirs = real(shared_data, name)
    ours = stack.to_array()
    assert ours.dtype == theirs.dtype and ours.size == theirs.size
    np.testing.assert_array_equal(ours.reshape(theirs.shape), theirs)


@pytest.mark.parametrize("name", [GREEN, BEAD])
def test_invert_matches_skimage(shared_data, name):
    stack, theirs = real(shared_data, name)
    np.testing.assert_array_equal(np.asarray(mirelan.invert(stack[0, 0])), util.invert(theirs))


def test_conversions_match_skimage(shared_data):
    bead, theirs = real(shared_data, BEAD)
    np.testing.assert_array_equal(np.asarray(bead[0, 0].astype("grey8")), util.img_as_ubyte(theirs))
    green, theirs = real(shared_data, GREEN)
    np.testing.assert_array_equal(np.asarray(green[0, 0].astype("grey16")), util.img_as_uint(theirs))


def test_region_grow_and_shrink_match_binary_morphology(shared_data):
    _, mask = real(shared_data, MASK)
    cross = ndimage.generate_binary_structure(3, 1)
    region = mirelan.Region.from_array(mask > 127)
    pad = 3
    frame = dict(origin=(-pad,) * 3, shape=tuple(s + 2 * pad for s in mask.shape))
    padded = np.pad(mask > 127, pad)

    grown = region.copy()
    grown.grow(x=2, y=2, z=2)
    expected = morphology.binary_dilation(morphology.binary_dilation(padded, cross), cross)
    np.testing.assert_array_equal(grown.to_array(**frame), expected)

    shrunk = region.copy()
    shrunk.shrink(x=1, y=1, z=1)
    np.testing.assert_array_equal(shrunk.to_array(**frame), morphology.binary_erosion(padded, cross))


def test_region_measures_match_regionprops(shared_data):
    _, mask = real(shared_data, MASK)
    region = mirelan.Region.from_array(mask > 127)
    (props,) = measure.regionprops((mask > 127).astype(np.uint8))
    assert region.voxel_count == props.area
    np.testing.assert_allclose(region.centroid(), props.centroid, rtol=1e-5)
    z0, y0, x0, z1, y1, x1 = props.bbox
    assert region.origin == (z0, y0, x0) and region.shape == (z1 - z0, y1 - y0, x1 - x0)


def test_masking_matches_numpy_on_real_data(shared_data):
    green, theirs = real(shared_data, GREEN)
    _, mask = real(shared_data, MASK)
    kept = mirelan.and_mask(green[0, 0], mirelan.Region.from_array(mask > 127))
    np.testing.assert_array_equal(np.asarray(kept), np.where(mask > 127, theirs, 0))
