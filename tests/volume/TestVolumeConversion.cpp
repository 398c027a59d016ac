// The conversion copy: every cell of the source by destination matrix at
// black, a middle value and white; float range mapping; resampling; clipping.
#include <cmath>
#include <limits>

#include "rendering/XFPImageRenderer.h"
#include "volume/X3DRegion.h"
#include "VolumeTestSupport.h"

using namespace mirelan;

using namespace volumetest;

using VolumeConversion = VolumeTest;

namespace {

// Converts a row of source voxels into a destination of class D and checks each result.
template <class S, class D>
void CheckCell(const std::vector<typename S::Voxel>& inSource, const std::vector<typename D::Voxel>& inExpected) {
  S source(X3DRect(-3, 4, 9, -3 + SInt32(inSource.size()), 5, 10));
  FillWith(source, [&](SInt32 x, SInt32, SInt32) { return inSource[x + 3]; });
  D dest(UInt32(inSource.size()), 1, 1);
  source.CopyOut(dest, source.GetBounds(), dest.GetBounds(), nullptr);
  EXPECT_EQ(Values(dest), inExpected) << source.GetDescription() << " to " << dest.GetDescription();
}

// Black, a middle value and white of every class.
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

// Every source class into D; the expected rows in the order Grey8, Mask, Grey16,
// Grey32, float, ARGB32, BGRA32, RGB48.
template <class D>
void CheckColumn(const std::vector<std::vector<typename D::Voxel>>& inExpected) {
  CheckCell<XGrey8Volume, D>(kGrey8, inExpected[0]);
  CheckCell<XMaskVolume, D>(kGrey8, inExpected[1]);
  CheckCell<XGrey16Volume, D>(kGrey16, inExpected[2]);
  CheckCell<XGrey32Volume, D>(kGrey32, inExpected[3]);
  CheckCell<XFPVolume, D>(kFloat, inExpected[4]);
  CheckCell<XARGB32Volume, D>(kARGB, inExpected[5]);
  CheckCell<XBGRA32Volume, D>(kBGRA, inExpected[6]);
  CheckCell<XRGB48Volume, D>(kRGB48, inExpected[7]);
}

// Opaque greys in either 32-bit order.
template <class C>
std::vector<C> Greys(UInt8 a, UInt8 b, UInt8 c) {
  return {C(a), C(b), C(c)};
}

}  // namespace

TEST_F(VolumeConversion, EveryCellAtBlackMiddleAndWhite) {
  // The colour middle: (10 + 20 + 33) / 3 = 21; RGB48: 6001 / 3 = 2000, high byte 7.
  // Grey8 and mask destinations take no thresholding; 0.5 * 255 = 127.5 rounds up.
  const std::vector<UInt8> grey = {0, 128, 255}, colour = {0, 21, 255}, rgb48 = {0, 7, 255};
  CheckColumn<XGrey8Volume>({grey, grey, grey, grey, grey, colour, colour, rgb48});
  CheckColumn<XMaskVolume>({grey, grey, grey, grey, grey, colour, colour, rgb48});
  const std::vector<UInt16> g16 = {0, 128 * 257, 65535}, c16 = {0, 21 * 257, 65535};
  CheckColumn<XGrey16Volume>({g16, g16, kGrey16, {0, 0x8081, 65535}, {0, 32768, 65535}, c16, c16, {0, 2000, 65535}});
  CheckColumn<XGrey32Volume>({{0, 128u * 0x01010101u, 0xFFFFFFFFu}, {0, 128u * 0x01010101u, 0xFFFFFFFFu},
                              {0, 0x8081u * 65537u, 0xFFFFFFFFu}, kGrey32, {0, 2147483648u, 0xFFFFFFFFu},
                              {0, 21u * 0x01010101u, 0xFFFFFFFFu}, {0, 21u * 0x01010101u, 0xFFFFFFFFu},
                              {0, 2000u * 65537u, 0xFFFFFFFFu}});
  // Float destinations take plain grey values; colours map through the destination's range, 0 to 1.
  CheckColumn<XFPVolume>({{0, 128, 255}, {0, 128, 255}, {0, 32897, 65535}, {0, Float32(0x80818283u), 4294967296.0f},
                          {0, 0.5f, 1}, {0, Float32(21.0 / 255.0), 1}, {0, Float32(21.0 / 255.0), 1},
                          {0, Float32(2000.0 / 65535.0), 1}});
  CheckCell<XFPVolume, XFPVolume>({-7.5f, 0.25f, 1e30f}, {-7.5f, 0.25f, 1e30f});
  // Float to colour truncates; alpha travels between the 32-bit orders; RGB48 keeps high bytes.
  const auto a = Greys<XARGB32Colour>(0, 128, 255), a16 = Greys<XARGB32Colour>(0, 0x80, 255);
  CheckColumn<XARGB32Volume>({a, a, a16, a16, Greys<XARGB32Colour>(0, 127, 255), kARGB, kARGB,
                              {XARGB32Colour(255, 0, 0, 0), XARGB32Colour(255, 3, 7, 11), XARGB32Colour(255)}});
  const auto b = Greys<XBGRA32Colour>(0, 128, 255), b16 = Greys<XBGRA32Colour>(0, 0x80, 255);
  CheckColumn<XBGRA32Volume>({b, b, b16, b16, Greys<XBGRA32Colour>(0, 127, 255), kBGRA, kBGRA,
                              {XBGRA32Colour(255, 0, 0, 0), XBGRA32Colour(255, 3, 7, 11), XBGRA32Colour(255)}});
  using R = XRGB48Colour;
  const std::vector<R> r = {R(0), R(128 * 257), R(65535)}, r16 = {R(0), R(0x8081), R(65535)};
  const std::vector<R> rc = {R(0), R(10 * 257, 20 * 257, 33 * 257), R(65535)};
  CheckColumn<XRGB48Volume>({r, r, r16, r16, {R(0), R(32767), R(65535)}, rc, rc, kRGB48});
}

// ---------------------------------------------------------------- float ranges

TEST_F(VolumeConversion, FloatRangesMapFloatToGreyAndColourToFloat) {
  const Float32 nan = std::numeric_limits<Float32>::quiet_NaN();
  auto source = Row<XFPVolume>({-1.0f, 1.0f, 3.0f, -5.0f, 10.0f, nan});
  auto& renderer = dynamic_cast<XFPImageRenderer&>(source->GetPlaneRenderer());
  renderer.SetBlack(-1.0);
  renderer.SetWhite(3.0);
  XGrey8Volume grey(6, 1, 1);
  source->CopyOut(grey, source->GetBounds(), grey.GetBounds(), nullptr);
  // (1 + 1) * 255 / 4 = 127.5 rounds to 128; beyond the range clamps; NaN lands low.
  EXPECT_EQ(Values(grey), (std::vector<UInt8>{0, 128, 255, 0, 255, 0}));
  XARGB32Volume colour(6, 1, 1);
  source->CopyOut(colour, source->GetBounds(), colour.GetBounds(), nullptr);
  EXPECT_EQ(Values(colour), Values(*Row<XARGB32Volume>({XARGB32Colour(0), XARGB32Colour(127), XARGB32Colour(255),
                                                         XARGB32Colour(0), XARGB32Colour(255), XARGB32Colour(0)})));
  // Float to float is plain assignment, whatever the ranges say.
  XFPVolume copy(6, 1, 1);
  source->CopyOut(copy, source->GetBounds(), copy.GetBounds(), nullptr);
  EXPECT_EQ(VoxelAt(copy, 1, 0, 0), 1.0f);
  EXPECT_TRUE(std::isnan(VoxelAt(copy, 5, 0, 0)));

  // Colour to float maps 0..255 onto the destination's range.
  auto argb = Row<XARGB32Volume>({XARGB32Colour(51), XARGB32Colour(255)});
  XFPVolume dest(2, 1, 1);
  dynamic_cast<XFPImageRenderer&>(dest.GetPlaneRenderer()).SetBlack(10.0);
  dynamic_cast<XFPImageRenderer&>(dest.GetPlaneRenderer()).SetWhite(20.0);
  argb->CopyOut(dest, argb->GetBounds(), dest.GetBounds(), nullptr);
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
  EXPECT_EQ(Values(smaller), (std::vector<UInt8>{0, 2}));
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
  auto volume = Row<XGrey16Volume>({1000, 1001, 1002, 1003, 1004});
  volume->CopyOut(*volume, X3DRect(0, 0, 0, 4, 1, 1), X3DRect(1, 0, 0, 5, 1, 1), nullptr);
  EXPECT_EQ(Values(*volume), (std::vector<UInt16>{1000, 1000, 1001, 1002, 1003}));
  // Rows and planes moved down and back within one volume.
  XGrey8Volume stack(3, 4, 3);
  FillWith(stack, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + 4 * y + 16 * z); });
  stack.CopyOut(stack, X3DRect(0, 0, 0, 3, 3, 3), X3DRect(0, 1, 0, 3, 4, 3), nullptr);
  for (SInt32 y = 1; y < 4; ++y) EXPECT_EQ(VoxelAt(stack, 2, y, 1), 2 + 4 * (y - 1) + 16);
  stack.CopyOut(stack, X3DRect(0, 0, 1, 3, 4, 3), X3DRect(0, 0, 0, 3, 4, 2), nullptr);
  EXPECT_EQ(VoxelAt(stack, 2, 3, 1), 2 + 4 * 2 + 32);
}

TEST_F(VolumeConversion, CopyIntoASharedBlockLeavesTheSourceAloneAndCopyInIsCopyOut) {
  XGrey8Volume source(3, 3, 1);
  source.Fill(9);
  std::unique_ptr<XGrey8Volume> dest(source.Clone());
  XRGB48Volume other(3, 3, 1);
  other.Fill(XRGB48Colour(512, 1024, 2048));
  other.CopyOut(*dest, other.GetBounds(), dest->GetBounds(), nullptr);
  EXPECT_EQ(VoxelAt(*dest, 1, 1, 0), 4);  // (2 + 4 + 8) / 3
  EXPECT_EQ(VoxelAt(source, 1, 1, 0), 9);
  XARGB32Volume colour(3, 3, 1);
  colour.CopyIn(other, other.GetBounds(), colour.GetBounds(), nullptr);
  EXPECT_EQ(VoxelAt(colour, 1, 1, 0), XARGB32Colour(255, 2, 4, 8));
}

TEST_F(VolumeConversion, RegionLimitsTheVoxelsWritten) {
  auto onRing = [](SInt32 x, SInt32 y) { return x == 0 || y == 0 || x == 3 || y == 3; };
  auto code = [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(10 + x + 4 * y + 16 * z); };
  XGrey8Volume source(4, 4, 2), expected(4, 4, 2);
  XMaskVolume ring(X3DRect(0, 0, 0, 4, 4, 2));
  FillWith(source, code);
  FillWith(expected, [&](SInt32 x, SInt32 y, SInt32 z) { return onRing(x, y) ? code(x, y, z) : UInt8(0); });
  FillWith(ring, [&](SInt32 x, SInt32 y, SInt32) { return UInt8(onRing(x, y) ? 255 : 0); });
  const X3DRegion region(ring);
  for (bool sameClass : {true, false}) {
    std::unique_ptr<XVolume> dest;
    dest.reset(sameClass ? static_cast<XVolume*>(new XGrey8Volume(4, 4, 2)) : new XGrey16Volume(4, 4, 2));
    dest->Clear();
    source.CopyOut(*dest, source.GetBounds(), dest->GetBounds(), &region);
    XGrey8Volume back(4, 4, 2);
    dest->CopyOut(back, dest->GetBounds(), back.GetBounds(), nullptr);
    EXPECT_TRUE(back == expected) << sameClass;
  }
  // A plain box region covering the destination takes the row path and copies all.
  const X3DRegion all(X3DRect(-5, -5, -5, 10, 10, 10));
  XGrey8Volume whole(4, 4, 2);
  source.CopyOut(whole, source.GetBounds(), whole.GetBounds(), &all);
  EXPECT_TRUE(whole == source);
}
