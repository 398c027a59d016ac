// The conversion copy: every cell of the source by destination matrix at
// black, a middle value and white; float range mapping; resampling; clipping.
#include <cmath>
#include <limits>

#include "rendering/XFPImageRenderer.h"
#include "volume/X3DRegion.h"
#include "VolumeTestSupport.h"

using namespace volumetest;

namespace {

class VolumeConversion : public VolumeTest {};

// Converts a row of source voxels into a destination of class D and checks each result.
template <class S, class D>
void CheckCell(const std::vector<typename S::Voxel>& inSource, const std::vector<typename D::Voxel>& inExpected) {
  const UInt32 n = UInt32(inSource.size());
  S source(X3DRect(-3, 4, 9, -3 + SInt32(n), 5, 10));
  {
    XLock lock(source, kLockReadWrite);
    for (UInt32 i = 0; i < n; ++i) source.SetVoxel(-3 + SInt32(i), 4, 9, inSource[i]);
  }
  D dest(n, 1, 1);
  source.CopyOut(dest, source.GetBounds(), dest.GetBounds(), nullptr);
  for (UInt32 i = 0; i < n; ++i)
    EXPECT_EQ(VoxelAt(dest, SInt32(i), 0, 0), inExpected[i])
        << source.GetDescription() << " to " << dest.GetDescription() << ", voxel " << i;
}

const std::vector<UInt8> kGrey8 = {0, 128, 255};
const std::vector<UInt16> kGrey16 = {0, 0x8081, 65535};
const std::vector<UInt32> kGrey32 = {0, 0x80818283u, 0xFFFFFFFFu};
const std::vector<Float32> kFloat = {0.0f, 0.5f, 1.0f};  // the float renderer's default range
const std::vector<XARGB32Colour> kARGB = {XARGB32Colour(0, 0, 0, 0), XARGB32Colour(7, 10, 20, 33),
                                          XARGB32Colour(255, 255, 255, 255)};
const std::vector<XBGRA32Colour> kBGRA = {XBGRA32Colour(0, 0, 0, 0), XBGRA32Colour(7, 10, 20, 33),
                                          XBGRA32Colour(255, 255, 255, 255)};
const std::vector<XRGB48Colour> kRGB48 = {XRGB48Colour(0, 0, 0), XRGB48Colour(1000, 2000, 3001),
                                          XRGB48Colour(65535, 65535, 65535)};

// Opaque grey in either 32-bit order.
template <class C>
std::vector<C> Greys(UInt8 a, UInt8 b, UInt8 c) {
  return {C(a), C(b), C(c)};
}

}  // namespace

TEST_F(VolumeConversion, ToGrey8AndMask) {
  // The colour middle: (10 + 20 + 33) / 3 = 21; RGB48: 6001 / 3 = 2000, high byte 7.
  const std::vector<UInt8> colour = {0, 21, 255}, rgb48 = {0, 7, 255}, grey = {0, 128, 255};
  CheckCell<XGrey8Volume, XGrey8Volume>(kGrey8, grey);
  CheckCell<XMaskVolume, XGrey8Volume>(kGrey8, grey);
  CheckCell<XGrey16Volume, XGrey8Volume>(kGrey16, grey);
  CheckCell<XGrey32Volume, XGrey8Volume>(kGrey32, grey);
  CheckCell<XFPVolume, XGrey8Volume>(kFloat, grey);  // 0.5 * 255 = 127.5 rounds up
  CheckCell<XARGB32Volume, XGrey8Volume>(kARGB, colour);
  CheckCell<XBGRA32Volume, XGrey8Volume>(kBGRA, colour);
  CheckCell<XRGB48Volume, XGrey8Volume>(kRGB48, rgb48);

  CheckCell<XGrey8Volume, XMaskVolume>(kGrey8, grey);  // no thresholding on the way
  CheckCell<XMaskVolume, XMaskVolume>(kGrey8, grey);
  CheckCell<XGrey16Volume, XMaskVolume>(kGrey16, grey);
  CheckCell<XFPVolume, XMaskVolume>(kFloat, grey);
  CheckCell<XARGB32Volume, XMaskVolume>(kARGB, colour);
  CheckCell<XBGRA32Volume, XMaskVolume>(kBGRA, colour);
  CheckCell<XRGB48Volume, XMaskVolume>(kRGB48, rgb48);
}

TEST_F(VolumeConversion, ToGrey16) {
  CheckCell<XGrey8Volume, XGrey16Volume>(kGrey8, {0, 128 * 257, 65535});
  CheckCell<XMaskVolume, XGrey16Volume>(kGrey8, {0, 128 * 257, 65535});
  CheckCell<XGrey16Volume, XGrey16Volume>(kGrey16, kGrey16);
  CheckCell<XGrey32Volume, XGrey16Volume>(kGrey32, {0, 0x8081, 65535});
  CheckCell<XFPVolume, XGrey16Volume>(kFloat, {0, 32768, 65535});
  CheckCell<XARGB32Volume, XGrey16Volume>(kARGB, {0, 21 * 257, 65535});
  CheckCell<XBGRA32Volume, XGrey16Volume>(kBGRA, {0, 21 * 257, 65535});
  CheckCell<XRGB48Volume, XGrey16Volume>(kRGB48, {0, 2000, 65535});
}

TEST_F(VolumeConversion, ToARGB32AndBGRA32) {
  CheckCell<XGrey8Volume, XARGB32Volume>(kGrey8, Greys<XARGB32Colour>(0, 128, 255));
  CheckCell<XMaskVolume, XARGB32Volume>(kGrey8, Greys<XARGB32Colour>(0, 128, 255));
  CheckCell<XGrey16Volume, XARGB32Volume>(kGrey16, Greys<XARGB32Colour>(0, 0x80, 255));
  CheckCell<XGrey32Volume, XARGB32Volume>(kGrey32, Greys<XARGB32Colour>(0, 0x80, 255));
  CheckCell<XFPVolume, XARGB32Volume>(kFloat, Greys<XARGB32Colour>(0, 127, 255));  // truncated
  CheckCell<XARGB32Volume, XARGB32Volume>(kARGB, kARGB);
  CheckCell<XBGRA32Volume, XARGB32Volume>(kBGRA, kARGB);  // alpha travels between the orders
  CheckCell<XRGB48Volume, XARGB32Volume>(kRGB48, {XARGB32Colour(255, 0, 0, 0), XARGB32Colour(255, 3, 7, 11),
                                                  XARGB32Colour(255, 255, 255, 255)});

  CheckCell<XGrey8Volume, XBGRA32Volume>(kGrey8, Greys<XBGRA32Colour>(0, 128, 255));
  CheckCell<XMaskVolume, XBGRA32Volume>(kGrey8, Greys<XBGRA32Colour>(0, 128, 255));
  CheckCell<XGrey16Volume, XBGRA32Volume>(kGrey16, Greys<XBGRA32Colour>(0, 0x80, 255));
  CheckCell<XFPVolume, XBGRA32Volume>(kFloat, Greys<XBGRA32Colour>(0, 127, 255));
  CheckCell<XARGB32Volume, XBGRA32Volume>(kARGB, kBGRA);
  CheckCell<XBGRA32Volume, XBGRA32Volume>(kBGRA, kBGRA);
  CheckCell<XRGB48Volume, XBGRA32Volume>(kRGB48, {XBGRA32Colour(255, 0, 0, 0), XBGRA32Colour(255, 3, 7, 11),
                                                  XBGRA32Colour(255, 255, 255, 255)});
}

TEST_F(VolumeConversion, ToRGB48) {
  const std::vector<XRGB48Colour> grey = {XRGB48Colour(0), XRGB48Colour(128 * 257), XRGB48Colour(65535)};
  const std::vector<XRGB48Colour> colour = {XRGB48Colour(0), XRGB48Colour(10 * 257, 20 * 257, 33 * 257),
                                            XRGB48Colour(65535)};
  CheckCell<XGrey8Volume, XRGB48Volume>(kGrey8, grey);
  CheckCell<XMaskVolume, XRGB48Volume>(kGrey8, grey);
  CheckCell<XGrey16Volume, XRGB48Volume>(kGrey16, {XRGB48Colour(0), XRGB48Colour(0x8081), XRGB48Colour(65535)});
  CheckCell<XGrey32Volume, XRGB48Volume>(kGrey32, {XRGB48Colour(0), XRGB48Colour(0x8081), XRGB48Colour(65535)});
  CheckCell<XFPVolume, XRGB48Volume>(kFloat, {XRGB48Colour(0), XRGB48Colour(32767), XRGB48Colour(65535)});
  CheckCell<XARGB32Volume, XRGB48Volume>(kARGB, colour);
  CheckCell<XBGRA32Volume, XRGB48Volume>(kBGRA, colour);
  CheckCell<XRGB48Volume, XRGB48Volume>(kRGB48, kRGB48);
}

TEST_F(VolumeConversion, ToFP) {
  CheckCell<XGrey8Volume, XFPVolume>(kGrey8, {0.0f, 128.0f, 255.0f});  // plain values, no range
  CheckCell<XMaskVolume, XFPVolume>(kGrey8, {0.0f, 128.0f, 255.0f});
  CheckCell<XGrey16Volume, XFPVolume>(kGrey16, {0.0f, 32897.0f, 65535.0f});
  CheckCell<XGrey32Volume, XFPVolume>(kGrey32, {0.0f, Float32(0x80818283u), 4294967296.0f});
  CheckCell<XFPVolume, XFPVolume>({-7.5f, 0.25f, 1e30f}, {-7.5f, 0.25f, 1e30f});
  // Colours map through the destination's range, 0 to 1 by default.
  CheckCell<XARGB32Volume, XFPVolume>(kARGB, {0.0f, Float32(21.0 / 255.0), 1.0f});
  CheckCell<XBGRA32Volume, XFPVolume>(kBGRA, {0.0f, Float32(21.0 / 255.0), 1.0f});
  CheckCell<XRGB48Volume, XFPVolume>(kRGB48, {0.0f, Float32(2000.0 / 65535.0), 1.0f});
}

TEST_F(VolumeConversion, ToGrey32ThroughTheDefaultCell) {
  CheckCell<XGrey8Volume, XGrey32Volume>(kGrey8, {0, 128u * 0x01010101u, 0xFFFFFFFFu});
  CheckCell<XGrey16Volume, XGrey32Volume>(kGrey16, {0, 0x8081u * 65537u, 0xFFFFFFFFu});
  CheckCell<XGrey32Volume, XGrey32Volume>(kGrey32, kGrey32);
  CheckCell<XFPVolume, XGrey32Volume>(kFloat, {0, 2147483648u, 0xFFFFFFFFu});
  CheckCell<XARGB32Volume, XGrey32Volume>(kARGB, {0, 21u * 0x01010101u, 0xFFFFFFFFu});
  CheckCell<XRGB48Volume, XGrey32Volume>(kRGB48, {0, 2000u * 65537u, 0xFFFFFFFFu});
}

// ---------------------------------------------------------------- float ranges

TEST_F(VolumeConversion, FloatSourceMapsThroughBothRenderersRanges) {
  XFPVolume source(6, 1, 1);
  auto& renderer = dynamic_cast<XFPImageRenderer&>(source.GetPlaneRenderer());
  renderer.SetBlack(-1.0);
  renderer.SetWhite(3.0);
  const Float32 nan = std::numeric_limits<Float32>::quiet_NaN();
  const std::vector<Float32> values = {-1.0f, 1.0f, 3.0f, -5.0f, 10.0f, nan};
  {
    XLock lock(source, kLockReadWrite);
    for (SInt32 i = 0; i < 6; ++i) source.SetVoxel(i, 0, 0, values[i]);
  }
  XGrey8Volume grey(6, 1, 1);
  source.CopyOut(grey, source.GetBounds(), grey.GetBounds(), nullptr);
  // (1 + 1) * 255 / 4 = 127.5 rounds to 128; beyond the range clamps; NaN lands low.
  const UInt8 expected[] = {0, 128, 255, 0, 255, 0};
  for (SInt32 i = 0; i < 6; ++i) EXPECT_EQ(VoxelAt(grey, i, 0, 0), expected[i]) << i;

  XARGB32Volume colour(6, 1, 1);
  source.CopyOut(colour, source.GetBounds(), colour.GetBounds(), nullptr);
  const UInt8 truncated[] = {0, 127, 255, 0, 255, 0};
  for (SInt32 i = 0; i < 6; ++i) EXPECT_EQ(VoxelAt(colour, i, 0, 0), XARGB32Colour(truncated[i])) << i;

  // Float to float is plain assignment, whatever the ranges say.
  XFPVolume copy(6, 1, 1);
  source.CopyOut(copy, source.GetBounds(), copy.GetBounds(), nullptr);
  EXPECT_EQ(VoxelAt(copy, 1, 0, 0), 1.0f);
  EXPECT_TRUE(std::isnan(VoxelAt(copy, 5, 0, 0)));
}

TEST_F(VolumeConversion, ColourToFloatUsesTheDestinationRange) {
  XARGB32Volume source(2, 1, 1);
  FillWith(source, [](SInt32 x, SInt32, SInt32) { return XARGB32Colour(UInt8(x ? 255 : 51)); });
  XFPVolume dest(2, 1, 1);
  dynamic_cast<XFPImageRenderer&>(dest.GetPlaneRenderer()).SetBlack(10.0);
  dynamic_cast<XFPImageRenderer&>(dest.GetPlaneRenderer()).SetWhite(20.0);
  source.CopyOut(dest, source.GetBounds(), dest.GetBounds(), nullptr);
  EXPECT_FLOAT_EQ(VoxelAt(dest, 0, 0, 0), 12.0f);
  EXPECT_FLOAT_EQ(VoxelAt(dest, 1, 0, 0), 20.0f);
}

// ---------------------------------------------------------------- geometry of the copy

TEST_F(VolumeConversion, UnequalSizesResampleByNearestChoice) {
  XGrey8Volume source(4, 2, 2);
  FillWith(source, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + 10 * y + 100 * z); });
  XGrey16Volume bigger(X3DRect(0, 0, 0, 8, 3, 1));
  source.CopyOut(bigger, X3DRect(0, 0, 1, 4, 2, 2), bigger.GetBounds(), nullptr);
  // x: i * 4 / 8, y: j * 2 / 3.
  EXPECT_EQ(VoxelAt(bigger, 5, 2, 0), UInt16((2 + 10 + 100) * 257));
  EXPECT_EQ(VoxelAt(bigger, 1, 1, 0), UInt16((0 + 0 + 100) * 257));

  XGrey8Volume smaller(2, 1, 1);
  source.CopyOut(smaller, source.GetBounds(), smaller.GetBounds(), nullptr);
  EXPECT_EQ(VoxelAt(smaller, 0, 0, 0), 0);
  EXPECT_EQ(VoxelAt(smaller, 1, 0, 0), 2);
}

TEST_F(VolumeConversion, DestinationOutsideItsVolumeIsClipped) {
  XGrey8Volume source(4, 4, 1);
  FillWith(source, [](SInt32 x, SInt32 y, SInt32) { return UInt8(1 + x + 4 * y); });
  XGrey8Volume dest(X3DRect(0, 0, 0, 3, 3, 1));
  dest.Fill(0);
  // Same class and size, but the destination box reaches outside: the general path clips.
  source.CopyOut(dest, source.GetBounds(), X3DRect(1, 1, 0, 5, 5, 1), nullptr);
  EXPECT_EQ(VoxelAt(dest, 0, 0, 0), 0);
  EXPECT_EQ(VoxelAt(dest, 1, 1, 0), 1);
  EXPECT_EQ(VoxelAt(dest, 2, 2, 0), 6);
  // Disjoint or empty destinations change nothing.
  source.CopyOut(dest, source.GetBounds(), X3DRect(10, 10, 0, 14, 14, 1), nullptr);
  source.CopyOut(dest, source.GetBounds(), X3DRect(0, 0, 0, 0, 3, 1), nullptr);
  EXPECT_EQ(VoxelAt(dest, 2, 2, 0), 6);
  // The source box must lie in the source.
  EXPECT_THROW(source.CopyOut(dest, X3DRect(0, 0, 0, 5, 4, 1), dest.GetBounds(), nullptr), XInternalError);
}

TEST_F(VolumeConversion, SameClassCopyWithinOneVolumeMayOverlap) {
  XGrey16Volume volume(5, 1, 1);
  FillWith(volume, [](SInt32 x, SInt32, SInt32) { return UInt16(1000 + x); });
  volume.CopyOut(volume, X3DRect(0, 0, 0, 4, 1, 1), X3DRect(1, 0, 0, 5, 1, 1), nullptr);
  for (SInt32 x = 1; x < 5; ++x) EXPECT_EQ(VoxelAt(volume, x, 0, 0), 1000 + x - 1);
  // Rows and planes moved down and back within one volume.
  XGrey8Volume stack(3, 4, 3);
  FillWith(stack, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + 4 * y + 16 * z); });
  stack.CopyOut(stack, X3DRect(0, 0, 0, 3, 3, 3), X3DRect(0, 1, 0, 3, 4, 3), nullptr);
  for (SInt32 y = 1; y < 4; ++y) EXPECT_EQ(VoxelAt(stack, 2, y, 1), 2 + 4 * (y - 1) + 16);
  stack.CopyOut(stack, X3DRect(0, 0, 1, 3, 4, 3), X3DRect(0, 0, 0, 3, 4, 2), nullptr);
  EXPECT_EQ(VoxelAt(stack, 2, 3, 1), 2 + 4 * 2 + 32);
}

TEST_F(VolumeConversion, CopyIntoASharedBlockLeavesTheSourceAlone) {
  XGrey8Volume source(3, 3, 1);
  source.Fill(9);
  std::unique_ptr<XGrey8Volume> dest(source.Clone());
  XGrey16Volume other(3, 3, 1);
  other.Fill(0);
  other.CopyOut(*dest, other.GetBounds(), dest->GetBounds(), nullptr);
  EXPECT_EQ(VoxelAt(*dest, 1, 1, 0), 0);
  EXPECT_EQ(VoxelAt(source, 1, 1, 0), 9);
}

TEST_F(VolumeConversion, CopyInIsTheSourcesCopyOut) {
  XRGB48Volume source(2, 2, 1);
  source.Fill(XRGB48Colour(512, 1024, 2048));
  XARGB32Volume dest(2, 2, 1);
  dest.CopyIn(source, source.GetBounds(), dest.GetBounds(), nullptr);
  EXPECT_EQ(VoxelAt(dest, 1, 1, 0), XARGB32Colour(255, 2, 4, 8));
}

TEST_F(VolumeConversion, RegionLimitsTheVoxelsWritten) {
  XGrey8Volume source(4, 4, 2);
  FillWith(source, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(10 + x + 4 * y + 16 * z); });
  XMaskVolume ring(X3DRect(0, 0, 0, 4, 4, 2));
  FillWith(ring, [](SInt32 x, SInt32 y, SInt32) { return UInt8(x == 0 || y == 0 || x == 3 || y == 3 ? 255 : 0); });
  const X3DRegion region(ring);
  for (bool sameClass : {true, false}) {
    std::unique_ptr<XVolume> dest(sameClass ? static_cast<XVolume*>(new XGrey8Volume(4, 4, 2))
                                            : static_cast<XVolume*>(new XGrey16Volume(4, 4, 2)));
    dest->Clear();
    source.CopyOut(*dest, source.GetBounds(), dest->GetBounds(), &region);
    XGrey8Volume back(4, 4, 2);
    dest->CopyOut(back, dest->GetBounds(), back.GetBounds(), nullptr);
    for (SInt32 z = 0; z < 2; ++z)
      for (SInt32 y = 0; y < 4; ++y)
        for (SInt32 x = 0; x < 4; ++x) {
          bool inside = x == 0 || y == 0 || x == 3 || y == 3;
          EXPECT_EQ(VoxelAt(back, x, y, z), inside ? 10 + x + 4 * y + 16 * z : 0) << x << y << z << sameClass;
        }
  }
  // A plain box region covering the destination takes the row path and copies all.
  const X3DRegion all(X3DRect(-5, -5, -5, 10, 10, 10));
  XGrey8Volume whole(4, 4, 2);
  source.CopyOut(whole, source.GetBounds(), whole.GetBounds(), &all);
  EXPECT_TRUE(whole == source);
}
