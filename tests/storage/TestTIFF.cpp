// TIFF stacks: the layouts other programs write, round trips of every pixel
// type, a cross-check with tifffile, the real stacks of the shared data, and
// damaged files.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iterator>
#include <vector>

#include "StorageTestSupport.h"
#include "core/XMemoryHandle.h"
#include "storage/XTIFFCodec.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XMaskVolume.h"

using namespace mirelan;
using namespace storagetest;

namespace {

const XString kMicron = "\xC2\xB5m";

XImageStack ReadFixture(const char* inName) { return XTIFFCodec::Read(XFileSpec(Fixture(inName))); }

void ExpectShape(const XImageStack& inStack, UInt32 inT, UInt32 inC, UInt32 inZ, UInt32 inW, UInt32 inH,
                 XPixelType inType) {
  EXPECT_EQ(inStack.GetTimepointCount(), inT);
  EXPECT_EQ(inStack.GetChannelCount(), inC);
  EXPECT_EQ(inStack.GetBounds(), X3DRect(inW, inH, inZ));
  EXPECT_EQ(XPixelTypeOf(inStack.GetFirstVolume()), inType);
}

// The fixtures are ramps: value = (index * step) mod range, index in file order.
UInt64 Ramp(UInt64 inIndex, UInt64 inStep, UInt64 inRange) { return inIndex * inStep % inRange; }

}  // namespace

TEST(TIFFRead, ImageJHyperstackPlacesChannelsSlicesAndFrames) {
  XImageStack stack = ReadFixture("imagej_tzc_u16.tif");
  ExpectShape(stack, 2, 2, 3, 5, 4, XPixelType::kGrey16);
  for (UInt32 t = 0; t < 2; ++t)
    for (UInt32 z = 0; z < 3; ++z)
      for (UInt32 c = 0; c < 2; ++c) {
        const UInt64 index = (((t * 3 + z) * 2 + c) * 4 + 2) * 5 + 3;  // voxel (3, 2)
        EXPECT_EQ(VoxelAt<UInt16>(stack.GetVolume(t + 1, c + 1), 3, 2, z), Ramp(index, 997, 65536));
      }
  const XVolume& v = stack.GetFirstVolume();
  EXPECT_DOUBLE_EQ(v.GetXCalibration(), 0.25);
  EXPECT_DOUBLE_EQ(v.GetYCalibration(), 0.5);
  EXPECT_DOUBLE_EQ(v.GetZCalibration(), 0.5);
  EXPECT_EQ(stack.GetUnit(), kMicron);
  EXPECT_DOUBLE_EQ(stack.GetTimeInterval(), 2.5);
}

TEST(TIFFRead, OMEFollowsTheDimensionOrderUnitsAndChannelNames) {
  XImageStack stack = ReadFixture("ome_czyx_u8.ome.tif");
  ExpectShape(stack, 1, 2, 3, 5, 4, XPixelType::kGrey8);
  for (UInt32 c = 0; c < 2; ++c)
    for (UInt32 z = 0; z < 3; ++z)
      EXPECT_EQ(VoxelAt<UInt8>(stack.GetVolume(1, c + 1), 4, 1, z), Ramp(((c * 3 + z) * 4 + 1) * 5 + 4, 7, 256));
  const XVolume& v = stack.GetFirstVolume();
  EXPECT_NEAR(v.GetXCalibration(), 0.2, 1e-12);  // nm turned into µm
  EXPECT_NEAR(v.GetYCalibration(), 0.3, 1e-12);
  EXPECT_NEAR(v.GetZCalibration(), 1.5, 1e-12);
  EXPECT_EQ(stack.GetUnit(), kMicron);
  EXPECT_EQ(stack.GetChannelName(1), "DAPI");
  EXPECT_EQ(stack.GetChannelName(2), "GFP");
}

TEST(TIFFRead, TilesPlanesSamplesBitsAndPalettes) {
  XImageStack tiled = ReadFixture("tiled_be_f32.tif");  // big-endian, partial tiles at the edges
  ExpectShape(tiled, 1, 1, 2, 40, 35, XPixelType::kFloat);
  for (auto [x, y, z] : {std::array<UInt32, 3>{39, 34, 1}, {17, 16, 0}, {0, 0, 1}})
    EXPECT_FLOAT_EQ(VoxelAt<Float32>(tiled.GetFirstVolume(), x, y, z), Float32(((z * 35 + y) * 40 + x) % 65536) / 8);

  XImageStack planar = ReadFixture("planar_rgb16.tif");  // separate planes of 16-bit RGB
  ExpectShape(planar, 1, 1, 1, 5, 4, XPixelType::kRGB48);
  const XRGB48Colour rgb = VoxelAt<XRGB48Colour>(planar.GetFirstVolume(), 2, 3, 0);
  EXPECT_EQ(rgb.red, Ramp((0 * 4 + 3) * 5 + 2, 4099, 65536));
  EXPECT_EQ(rgb.blue, Ramp((2 * 4 + 3) * 5 + 2, 4099, 65536));

  XImageStack rgba = ReadFixture("rgba8_deflate.tif");
  ExpectShape(rgba, 1, 1, 1, 5, 4, XPixelType::kARGB32);
  const XARGB32Colour argb = VoxelAt<XARGB32Colour>(rgba.GetFirstVolume(), 4, 2, 0);
  const UInt64 pixel = (2 * 5 + 4) * 4;
  EXPECT_EQ(argb.red, Ramp(pixel, 11, 256));
  EXPECT_EQ(argb.alpha, Ramp(pixel + 3, 11, 256));

  XImageStack samples = ReadFixture("samples_grey16.tif");  // three samples: three channels
  ExpectShape(samples, 1, 3, 1, 5, 4, XPixelType::kGrey16);
  for (UInt32 s = 0; s < 3; ++s)
    EXPECT_EQ(VoxelAt<UInt16>(samples.GetVolume(1, s + 1), 1, 3, 0), Ramp((3 * 5 + 1) * 3 + s, 301, 65536));

  XImageStack bits = ReadFixture("bilevel.tif");
  ExpectShape(bits, 1, 1, 1, 9, 4, XPixelType::kGrey8);
  for (UInt32 i : {0u, 1u, 8u, 9u, 35u}) EXPECT_EQ(VoxelAt<UInt8>(bits.GetFirstVolume(), i % 9, i / 9, 0), i % 3 ? 0 : 255);

  XImageStack palette = ReadFixture("palette.tif");  // the indices are the data
  ExpectShape(palette, 1, 1, 1, 5, 4, XPixelType::kGrey8);
  EXPECT_EQ(VoxelAt<UInt8>(palette.GetFirstVolume(), 3, 3, 0), Ramp(18, 13, 256));

  XImageStack signed16 = ReadFixture("signed_i16.tif");  // signed integers keep their values as float
  ExpectShape(signed16, 1, 1, 2, 5, 4, XPixelType::kFloat);
  EXPECT_EQ(VoxelAt<Float32>(signed16.GetFirstVolume(), 4, 3, 1), Float32(SInt16(Ramp(39, 2503, 65536) - 30000)));

  ExpectShape(ReadFixture("bigtiff_u8.tif"), 1, 1, 2, 5, 4, XPixelType::kGrey8);
}

TEST(TIFFRead, CalibrationFromResolutionTagsAndImageJsLargeStacks) {
  XImageStack centimetres = ReadFixture("resolution_cm.tif");
  EXPECT_NEAR(centimetres.GetFirstVolume().GetXCalibration(), 1.0, 1e-6);
  EXPECT_NEAR(centimetres.GetFirstVolume().GetYCalibration(), 2.0, 1e-6);
  EXPECT_EQ(centimetres.GetUnit(), kMicron);
  // One page, the other planes stored right behind its data.
  XImageStack large = ReadFixture("imagej_behind_one_page_u8.tif");
  ExpectShape(large, 1, 1, 3, 5, 4, XPixelType::kGrey8);
  for (UInt32 z = 0; z < 3; ++z) EXPECT_EQ(VoxelAt<UInt8>(large.GetFirstVolume(), 1, 2, z), Ramp(z * 20 + 11, 3, 256));
  EXPECT_DOUBLE_EQ(large.GetFirstVolume().GetZCalibration(), 2.0);
}

TEST(TIFFWrite, EveryPixelTypeRoundTripsWithItsCalibration) {
  TempFolder folder;
  const XTIFFCompression compressions[] = {kTIFFUncompressed, kTIFFDeflate, kTIFFLZW};
  for (XPixelType type : {XPixelType::kGrey8, XPixelType::kMask, XPixelType::kGrey16, XPixelType::kGrey32,
                          XPixelType::kFloat, XPixelType::kARGB32, XPixelType::kBGRA32, XPixelType::kRGB48}) {
    for (XTIFFCompression compression : compressions) {
      SCOPED_TRACE(std::string(XPixelTypeName(type)) + " compression " + std::to_string(compression));
      XImageStack written = RampStack(type, 2, 3, X3DRect(0, 0, 0, 7, 5, 4));
      XTIFFWriteOptions options;
      options.itsCompression = compression;
      options.itsBigTIFF = compression == kTIFFLZW;
      const XFileSpec file = folder.Path("stack.tif");
      XTIFFCodec::Write(written, file, options);
      XImageStack read = XTIFFCodec::Read(file);
      ExpectSameStack(read, written);
    }
  }
}

TEST(TIFFWrite, FilesAreReadByTifffileWithTheSameShapeValuesAndVoxelSize) {
  if (!PythonWithTifffile()) GTEST_SKIP() << "/usr/bin/python3 with tifffile is not installed";
  TempFolder folder;
  XImageStack stack = RampStack(XPixelType::kGrey16, 2, 3, X3DRect(0, 0, 0, 5, 4, 3));
  XTIFFCodec::Write(stack, folder.Path("written.tif"));
  XTIFFWriteOptions deflate;
  deflate.itsCompression = kTIFFDeflate;
  XTIFFCodec::Write(stack, folder.Path("compressed.tif"), deflate);
  XImageStack floats = RampStack(XPixelType::kFloat, 1, 1, X3DRect(0, 0, 0, 6, 2, 2));
  XTIFFCodec::Write(floats, folder.Path("floats.tif"));
  const XString script = R"(
import sys, numpy as np, tifffile
def ramp(shape, dtype, step, modulo):
    return (np.arange(int(np.prod(shape)), dtype=np.int64) * step % modulo).astype(dtype).reshape(shape)
with tifffile.TiffFile(sys.argv[1] + '/written.tif') as t:
    data = t.asarray(); meta = t.imagej_metadata; page = t.pages[0]
    assert data.shape == (2, 3, 3, 4, 5) and data.dtype == np.uint16, (data.shape, data.dtype)
    # Our ramp runs timepoint, channel, z, y, x; the file holds T, Z, C, Y, X.
    expected = ramp((2, 3, 3, 4, 5), np.uint16, 1009, 65536).transpose(0, 2, 1, 3, 4)
    assert (data == expected).all()
    x = page.tags['XResolution'].value
    assert abs(x[1] / x[0] - 0.25) < 1e-6 and abs(meta['spacing'] - 2.0) < 1e-9 and meta['unit'] == 'micron', (x, meta)
    assert abs(meta['finterval'] - 1.5) < 1e-9
with tifffile.TiffFile(sys.argv[1] + '/compressed.tif') as t:
    assert t.pages[0].compression == 8 and (t.asarray() == expected).all()
floats = tifffile.imread(sys.argv[1] + '/floats.tif')
assert floats.dtype == np.float32 and floats.shape == (2, 2, 6)
assert (floats == (ramp((2, 2, 6), np.int64, 1009, 65536) / 4.0).astype(np.float32)).all()
print('ok')
)";
  EXPECT_EQ(RunPython(script, folder.GetPath()), "ok\n");
}

TEST(TIFFRead, RealStacksOfTheSharedData) {
  if (!SharedDataPresent()) GTEST_SKIP() << "the shared data folder is not here";
  XImageStack green = XTIFFCodec::Read(XFileSpec(SharedData("coloc2_colocsample1b_green_z33_u8.tif")));
  ExpectShape(green, 1, 1, 33, 172, 152, XPixelType::kGrey8);
  EXPECT_NEAR(green.GetFirstVolume().GetXCalibration(), 1.0 / 3.046781, 1e-6);
  EXPECT_NEAR(green.GetFirstVolume().GetZCalibration(), 0.64609375, 1e-9);
  EXPECT_EQ(green.GetUnit(), kMicron);
  XImageStack bead = XTIFFCodec::Read(XFileSpec(SharedData("pycudadecon_bead_psf_z61_u16.tif")));
  ExpectShape(bead, 1, 1, 61, 128, 128, XPixelType::kGrey16);
  XImageStack drift = XTIFFCodec::Read(XFileSpec(SharedData("pystackreg_pc12_timelapse_unregistered_t5_u16.tif")));
  ExpectShape(drift, 1, 1, 5, 199, 201, XPixelType::kGrey16);
  XImageStack registered = XTIFFCodec::Read(XFileSpec(SharedData("pystackreg_pc12_ref_imagej_turboreg_bilinear_f32.tif")));
  ExpectShape(registered, 1, 1, 5, 199, 201, XPixelType::kFloat);
}

TEST(TIFFRead, DamagedFilesEndInAClearError) {
  const std::vector<UInt8> good = FileBytes(Fixture("imagej_tzc_u16.tif"));
  XImageStack expected = XTIFFCodec::Read(good.data(), good.size(), "good.tif");
  // Every byte changed three ways, and every cut: a stack or an XException, never a crash.
  auto tryRead = [](const std::vector<UInt8>& inBytes) {
    try {
      XTIFFCodec::Read(inBytes.data(), inBytes.size(), "damaged.tif");
    } catch (const XException& e) {
      EXPECT_NE(std::string(e.what()).find("damaged.tif"), std::string::npos) << e.what();
    }
  };
  for (size_t i = 0; i < good.size(); ++i)
    for (UInt8 change : {UInt8(0x00), UInt8(0xFF), UInt8(~good[i])}) {
      std::vector<UInt8> damaged = good;
      damaged[i] = change;
      tryRead(damaged);
    }
  for (size_t length = 0; length < good.size(); length += 7) tryRead(std::vector<UInt8>(good.begin(), good.begin() + length));
  EXPECT_EQ(ErrorOf([] { XTIFFCodec::Read(XFileSpec("/no/such/file.tif")); }), kErrFile);
  TempFolder folder;
  WriteFile(folder.Path("text.tif"), "this is no image\n");
  SInt32 error = ErrorOf([&] { XTIFFCodec::Read(folder.Path("text.tif")); });
  EXPECT_EQ(error, kErrBadImageFile);
}

TEST(TIFFRead, WhatTheFuzzerFoundEndsInAnErrorWithoutHugeAllocations) {
  const std::string folder = std::string(MIRELAN_TEST_DATA) + "/../fuzz/corpus/tiff_reader";
  TempFolder listing;
  std::system(("ls " + folder + " | grep '^regression_' > " + listing.GetPath() + "/names").c_str());
  std::ifstream names(listing.GetPath() + "/names");
  int count = 0;
  for (std::string name; std::getline(names, name); ++count) {
    SCOPED_TRACE(name);
    const std::vector<UInt8> bytes = FileBytes(folder + "/" + name);
    XMemoryHandle::ResetPeakAllocatedBytes();
    const UInt64 before = XMemoryHandle::GetAllocatedBytes();
    try {
      XTIFFCodec::Read(bytes.data(), bytes.size(), name);
    } catch (const XException&) {
    }
    EXPECT_LT(XMemoryHandle::GetPeakAllocatedBytes() - before, UInt64(64) << 20);
  }
  EXPECT_GT(count, 0);
}

TEST(TIFFWrite, FailuresLeaveNoFileBehind) {
  TempFolder folder;
  XImageStack stack = RampStack(XPixelType::kGrey8, 1, 1, X3DRect(0, 0, 0, 3, 3, 2));
  EXPECT_EQ(ErrorOf([&] { XTIFFCodec::Write(stack, XFileSpec(folder.Path("missing/stack.tif"))); }), kErrFile);
  // A cancel part-way leaves the old file as it was.
  XTIFFCodec::Write(stack, folder.Path("kept.tif"));
  const std::vector<UInt8> before = FileBytes(folder.Path("kept.tif").GetPath());
  XImageStack bigger = RampStack(XPixelType::kGrey8, 1, 1, X3DRect(0, 0, 0, 64, 64, 400));
  {
    CancelRequested cancel;
    EXPECT_EQ(ErrorOf([&] { XTIFFCodec::Write(bigger, folder.Path("kept.tif")); }), kErrCancelled);
  }
  EXPECT_EQ(FileBytes(folder.Path("kept.tif").GetPath()), before);
  EXPECT_EQ(folder.Entries(), std::vector<std::string>{"kept.tif"});
}
