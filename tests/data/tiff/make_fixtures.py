#!/usr/bin/python3
"""Writes the small TIFF files the storage tests read, with tifffile (and by
hand where tifffile writes no such file). Run with /usr/bin/python3 from this
folder; the files are committed, so the tests need no Python."""
import struct

import numpy as np
import tifffile


def ramp(shape, dtype, step=1):
    size = int(np.prod(shape))
    return (np.arange(size, dtype=np.int64) * step % (np.iinfo(dtype).max + 1 if np.dtype(dtype).kind in 'ui' else 1 << 20)).astype(dtype).reshape(shape)


def main():
    # ImageJ hyperstack: 2 timepoints, 3 slices, 2 channels, 5 x 4, 16-bit.
    tifffile.imwrite('imagej_tzc_u16.tif', ramp((2, 3, 2, 4, 5), np.uint16, 997), imagej=True,
                     resolution=(4.0, 2.0), metadata={'axes': 'TZCYX', 'spacing': 0.5, 'unit': 'um', 'finterval': 2.5})
    # OME-TIFF, planes in channel-then-slice order, sizes in nm.
    tifffile.imwrite('ome_czyx_u8.ome.tif', ramp((2, 3, 4, 5), np.uint8, 7), ome=True,
                     metadata={'axes': 'CZYX', 'PhysicalSizeX': 200.0, 'PhysicalSizeXUnit': 'nm',
                               'PhysicalSizeY': 300.0, 'PhysicalSizeYUnit': 'nm',
                               'PhysicalSizeZ': 1.5, 'PhysicalSizeZUnit': 'µm',
                               'Channel': {'Name': ['DAPI', 'GFP']}})
    # Tiles with partial edges, big-endian floats.
    tifffile.imwrite('tiled_be_f32.tif', (ramp((2, 35, 40), np.uint16) / 8.0).astype('>f4'), byteorder='>',
                     tile=(16, 16))
    # Separate planes of 16-bit RGB, and 8-bit RGBA compressed.
    tifffile.imwrite('planar_rgb16.tif', ramp((3, 4, 5), np.uint16, 4099), photometric='rgb', planarconfig='separate')
    tifffile.imwrite('rgba8_deflate.tif', ramp((4, 5, 4), np.uint8, 11), photometric='rgb', extrasamples=['unassalpha'],
                     compression='zlib')
    # Three samples of a grey page: three channels.
    tifffile.imwrite('samples_grey16.tif', ramp((4, 5, 3), np.uint16, 301), photometric='minisblack', planarconfig='contig')
    # One bit a pixel, a palette, signed 16-bit and BigTIFF.
    tifffile.imwrite('bilevel.tif', (ramp((4, 9), np.uint8) % 3 == 0))
    tifffile.imwrite('palette.tif', ramp((4, 5), np.uint8, 13), photometric='palette',
                     colormap=np.stack([np.arange(256) * 256] * 3).astype(np.uint16))
    tifffile.imwrite('signed_i16.tif', (ramp((2, 4, 5), np.uint16, 2503).astype(np.int32) - 30000).astype(np.int16))
    tifffile.imwrite('bigtiff_u8.tif', ramp((2, 4, 5), np.uint8, 5), bigtiff=True, photometric='minisblack')
    # Resolution in centimetres, no ImageJ description.
    tifffile.imwrite('resolution_cm.tif', ramp((4, 5), np.uint8), resolution=(10000.0, 5000.0), resolutionunit='CENTIMETER')
    write_imagej_large_stack('imagej_behind_one_page_u8.tif')


def write_imagej_large_stack(name):
    """ImageJ's form of large stacks: one page, the other planes right after its data."""
    width, height, planes = 5, 4, 3
    description = b'ImageJ=1.53t\nimages=3\nslices=3\nunit=micron\nspacing=2.0\nloop=false\n\0'
    entries = [(256, 4, 1, width), (257, 4, 1, height), (258, 3, 1, 8), (259, 3, 1, 1), (262, 3, 1, 1),
               (270, 2, len(description), None), (273, 4, 1, None), (277, 3, 1, 1), (278, 4, 1, height),
               (279, 4, 1, width * height)]
    ifd_size = 2 + 12 * len(entries) + 4
    description_at = 8 + ifd_size
    data_at = description_at + len(description)
    out = bytearray(b'II*\0' + struct.pack('<I', 8) + struct.pack('<H', len(entries)))
    for tag, kind, count, value in entries:
        if tag == 270:
            value = description_at
        if tag == 273:
            value = data_at
        out += struct.pack('<HHII', tag, kind, count, value) if kind != 3 else struct.pack('<HHIHH', tag, kind, count, value, 0)
    out += struct.pack('<I', 0) + description
    out += bytes((i * 3) % 256 for i in range(width * height * planes))
    with open(name, 'wb') as f:
        f.write(out)


if __name__ == '__main__':
    main()
