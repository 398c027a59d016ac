// What volumes of a number type do for themselves, the per-type additions of
// masks and colour volumes, the nearest-choice tables and the level pyramid.
#include <cmath>

#include "volume/X3DRegion.h"
#include "volume/XVolumeLevelScalingHelper.h"
#include "volume/XVolumeScaler.h"
#include "VolumeTestSupport.h"

using namespace volumetest;

namespace {

class NumberVolume : public VolumeTest {};

template <class V>
std::unique_ptr<V> Row(const std::vector<typename V::Voxel>& inValues) {
  auto volume = std::make_unique<V>(UInt32(inValues.size()), 1, 1);
  FillWith(*volume, [&](SInt32 x, SInt32, SInt32) { return inValues[x]; });
  return volume;
}

template <class V>
std::vector<typename V::Voxel> Values(const V& inVolume) {
  std::vector<typename V::Voxel> values;
  XLock lock(inVolume, kLockRead);
  for (SInt32 x = 0; x < SInt32(inVolume.GetWidth()); ++x) values.push_back(inVolume.GetVoxel(x, 0, 0));
  return values;
}

}  // namespace

// ---------------------------------------------------------------- arithmetic

TEST_F(NumberVolume, IntegerArithmeticWrapsWithoutSaturation) {
  auto grey = Row<XGrey8Volume>({200, 0, 255});
  *grey += 100;
  EXPECT_EQ(Values(*grey), (std::vector<UInt8>{44, 100, 99}));
  *grey -= 101;
  EXPECT_EQ(Values(*grey), (std::vector<UInt8>{199, 255, 254}));
  auto wide = Row<XGrey16Volume>({65535, 300, 2});
  *wide *= 65535;  // the product of two 16-bit values must not overflow an int on the way
  EXPECT_EQ(Values(*wide), (std::vector<UInt16>{1, UInt16(300u * 65535u), 65534}));
  auto labels = Row<XGrey32Volume>({0xFFFFFFFFu, 7});
  *labels += 2;
  EXPECT_EQ(Values(*labels), (std::vector<UInt32>{1, 9}));
}

TEST_F(NumberVolume, DivisionByAValueGoesThroughItsReciprocal) {
  auto grey = Row<XGrey8Volume>({200, 3});
  *grey /= 2;  // the factor 0.5 becomes 0 in 8 bits: the volume clears
  EXPECT_EQ(Values(*grey), (std::vector<UInt8>{0, 0}));
  auto same = Row<XGrey8Volume>({200, 3});
  *same /= 1;
  EXPECT_EQ(Values(*same), (std::vector<UInt8>{200, 3}));
  *same /= 0;  // an infinite factor converts to 0, not to undefined behaviour
  EXPECT_EQ(Values(*same), (std::vector<UInt8>{0, 0}));
  auto fp = Row<XFPVolume>({3.0f, -1.0f});
  *fp /= 4.0f;
  EXPECT_EQ(Values(*fp), (std::vector<Float32>{0.75f, -0.25f}));
}

TEST_F(NumberVolume, VolumeFormsWorkVoxelByVoxel) {
  auto a = Row<XGrey16Volume>({10, 20, 65535, 9});
  auto b = Row<XGrey16Volume>({3, 25, 2, 0});
  *a += *b;
  EXPECT_EQ(Values(*a), (std::vector<UInt16>{13, 45, 1, 9}));
  *a -= *b;
  EXPECT_EQ(Values(*a), (std::vector<UInt16>{10, 20, 65535, 9}));
  *a *= *b;
  EXPECT_EQ(Values(*a), (std::vector<UInt16>{30, 500, 65534, 0}));
  *a /= *b;  // integer division; a zero divisor gives 0
  EXPECT_EQ(Values(*a), (std::vector<UInt16>{10, 20, 32767, 0}));
  *a += *a;  // a volume with itself
  EXPECT_EQ(Values(*a), (std::vector<UInt16>{20, 40, 65534, 0}));
  // Same size, different place: fine. Different size: a precondition.
  XGrey16Volume moved(X3DRect(5, 5, 5, 9, 6, 6));
  moved.Fill(1);
  *a += moved;
  EXPECT_EQ(Values(*a)[0], 21);
  EXPECT_THROW(*a += XGrey16Volume(3, 1, 1), XInternalError);
  EXPECT_THROW(a->FindAbsoluteDifference(XGrey16Volume(4, 2, 1)), XInternalError);

  auto x = Row<XFPVolume>({1.0f, -2.0f});
  auto y = Row<XFPVolume>({0.0f, 4.0f});
  *x /= *y;
  EXPECT_TRUE(std::isinf(Values(*x)[0]));
  EXPECT_EQ(Values(*x)[1], -0.5f);
}

TEST_F(NumberVolume, LogExpRoundAndSqrtTruncates) {
  auto grey = Row<XGrey8Volume>({1, 20, 200, 0});
  grey->Log();  // ln 20 = 2.996, ln 200 = 5.298; ln 0 = -inf becomes 0
  EXPECT_EQ(Values(*grey), (std::vector<UInt8>{0, 3, 5, 0}));
  grey->Exp();  // e^3 = 20.09, e^5 = 148.4
  EXPECT_EQ(Values(*grey), (std::vector<UInt8>{1, 20, 148, 1}));
  auto half = Row<XGrey16Volume>({3});
  half->Log();  // ln 3 = 1.0986
  EXPECT_EQ(Values(*half)[0], 1);
  auto roots = Row<XGrey16Volume>({15, 16, 65535});
  roots->Sqrt();
  EXPECT_EQ(Values(*roots), (std::vector<UInt16>{3, 4, 255}));
  auto fp = Row<XFPVolume>({2.0f});
  fp->Sqrt();
  EXPECT_EQ(Values(*fp)[0], std::sqrt(2.0f));
}

TEST_F(NumberVolume, SubtractAndClampFloorsUnsignedTypesOnly) {
  auto grey = Row<XGrey8Volume>({5, 50});
  grey->SubtractAndClamp(10);
  EXPECT_EQ(Values(*grey), (std::vector<UInt8>{0, 40}));
  auto fp = Row<XFPVolume>({5.0f});
  fp->SubtractAndClamp(10.0f);
  EXPECT_EQ(Values(*fp)[0], -5.0f);
}

// ---------------------------------------------------------------- reductions

TEST_F(NumberVolume, ReductionsSeeTheVoxelsNotThePadding) {
  // Rows of 3 for a width of 2: the padding holds 250, which no reduction may see.
  Bytes b;
  b.U32(65641).U32(520).U32(2).U32(2).U32(1).U32(0).U32(0).U32(0).F64(1).F64(1).F64(1);
  b.U32(114).U32(65638).U32(3).U32(0).Handle({4, 9, 250, 6, 1, 250}).U32(103).U32(65640).U32(65641);
  auto grey = ReadFromBytes<XGrey8Volume>(b.Get());
  UInt8 low, high;
  grey->FindMinMax(low, high);
  EXPECT_EQ(low, 1);
  EXPECT_EQ(high, 9);
  EXPECT_EQ(grey->FindMin(), 1);
  EXPECT_EQ(grey->FindMax(), 9);
  EXPECT_EQ(grey->FindSum(), 20.0);
  EXPECT_EQ(grey->FindMean(), 5);
  XGrey8Volume other(2, 2, 1);
  other.Fill(5);
  EXPECT_EQ(grey->FindAbsoluteDifference(other), 1.0 + 4.0 + 1.0 + 4.0);
}

TEST_F(NumberVolume, ReductionsOfFloats) {
  auto fp = Row<XFPVolume>({-3.5f, 2.0f, 0.25f, -1.0f, 8.0f});
  Float32 low, high;
  fp->FindMinMax(low, high);
  EXPECT_EQ(low, -3.5f);
  EXPECT_EQ(high, 8.0f);
  EXPECT_DOUBLE_EQ(fp->FindSum(), 5.75);
  EXPECT_DOUBLE_EQ(fp->FindAbsSum(), 14.75);
  EXPECT_FLOAT_EQ(fp->FindMean(), 1.15f);
  EXPECT_DOUBLE_EQ(fp->FindAbsoluteDifference(*Row<XFPVolume>({0, 0, 0, 0, 0})), 14.75);
  XFPVolume empty;
  EXPECT_EQ(empty.FindMean(), 0.0f);
  EXPECT_EQ(empty.FindSum(), 0.0);
}

TEST_F(NumberVolume, GainAndOffsetMatchTheReferencesBand) {
  XGrey16Volume image(64, 64, 1), reference(64, 64, 1);
  FillWith(image, [](SInt32 x, SInt32 y, SInt32) { return UInt16(1000 + 10 * (x + 64 * y) % 40960); });
  FillWith(reference, [](SInt32 x, SInt32 y, SInt32) { return UInt16(500 + 5 * (x + 64 * y) % 20480); });
  Float64 gain = 0, offset = 0;
  image.FindGainOffset(reference, gain, offset, 0.05, 0.95);
  EXPECT_NEAR(gain, 0.5, 0.02);
  EXPECT_NEAR(offset, 0.0, 50.0);
}

// ---------------------------------------------------------------- interpolation

TEST_F(NumberVolume, InterpolationIsTrilinearAndClampsAtTheEdge) {
  XFPVolume volume(X3DRect(10, 20, 30, 12, 22, 32));
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32 z) { return Float32((x - 10) + 2 * (y - 20) + 4 * (z - 30)); });
  XLock lock(volume, kLockRead);
  EXPECT_FLOAT_EQ(volume.GetInterpolatedVoxel(10, 20, 30), 0.0f);
  EXPECT_FLOAT_EQ(volume.GetInterpolatedVoxel(11, 21, 31), 7.0f);
  EXPECT_FLOAT_EQ(volume.GetInterpolatedVoxel(10.5f, 20.25f, 30.75f), 0.5f + 0.5f + 3.0f);
  EXPECT_FLOAT_EQ(volume.GetInterpolatedVoxel(11.5f, 21, 30), 3.0f);  // beyond the last voxel: the edge
  EXPECT_FLOAT_EQ(volume.GetInterpolatedVoxel(-100, 20, 30), 0.0f);

  XARGB32Volume colour(2, 1, 1);
  {
    XLock colourLock(colour, kLockReadWrite);
    colour.SetVoxel(0, 0, 0, XARGB32Colour(255, 0, 100, 200));
    colour.SetVoxel(1, 0, 0, XARGB32Colour(0, 255, 0, 100));
  }
  XLock colourLock(colour, kLockRead);
  XRGBFloat32Colour c = colour.GetInterpolatedVoxel(0.25f, 0, 0);
  EXPECT_FLOAT_EQ(c.red, 63.75f);
  EXPECT_FLOAT_EQ(c.green, 75.0f);
  EXPECT_FLOAT_EQ(c.blue, 175.0f);
  XRGB48Volume rgb(1, 1, 1);
  rgb.Fill(XRGB48Colour(1, 2, 60000));
  XLock rgbLock(rgb, kLockRead);
  EXPECT_FLOAT_EQ(rgb.GetInterpolatedVoxel(0.5f, 0.5f, 0.5f).blue, 60000.0f);
}

// ---------------------------------------------------------------- masks and colour

TEST_F(NumberVolume, MaskThresholdSplitsAtTheValue) {
  auto mask = Row<XMaskVolume>({0, 127, 128, 255});
  mask->Threshold(127);
  EXPECT_EQ(Values(*mask), (std::vector<UInt8>{0, 0, 255, 255}));
}

TEST_F(NumberVolume, FillAlphaChannelLeavesColoursAlone) {
  auto colour = Row<XARGB32Volume>({XARGB32Colour(1, 2, 3, 4), XARGB32Colour(5, 6, 7, 8)});
  colour->FillAlphaChannel(200);
  EXPECT_EQ(Values(*colour),
            (std::vector<XARGB32Colour>{XARGB32Colour(200, 2, 3, 4), XARGB32Colour(200, 6, 7, 8)}));
  const X3DRegion second(X3DRect(1, 0, 0, 2, 1, 1));
  const UInt8 clear = 0;
  colour->FillAlphaChannel(90, &second, &clear);
  EXPECT_EQ(Values(*colour),
            (std::vector<XARGB32Colour>{XARGB32Colour(0, 2, 3, 4), XARGB32Colour(90, 6, 7, 8)}));
}

// ---------------------------------------------------------------- tables and pyramids

TEST_F(NumberVolume, ScalerTablesPickSourceIndexTimesStride) {
  XVolumeScaler scaler(X3DRect(0, 0, 0, 4, 3, 1), X3DRect(0, 0, 0, 8, 2, 3), 1, 10, 100);
  const UInt64 x[] = {0, 0, 1, 1, 2, 2, 3, 3};
  for (UInt32 i = 0; i < 8; ++i) EXPECT_EQ(scaler.GetSrcX(i), x[i]);
  EXPECT_EQ(scaler.GetSrcY(1), 10u);  // 1 * 3 / 2 = 1
  EXPECT_EQ(scaler.GetSrcZ(2), 0u);
  EXPECT_FALSE(scaler.IsXIdentity());
  std::vector<UInt64> table;
  XVolumeScaler::FillArray(table, 3, 3, 4);
  EXPECT_EQ(table, (std::vector<UInt64>{0, 4, 8}));
}

TEST_F(NumberVolume, LevelHelperHalvesTheShortAxesFirst) {
  XVolumeLevelScalingHelper helper(X3DRect(-3, 0, 0, 1000, 1000, 100), X3DPointF(0.5f, 0.5f, -2.0f));
  EXPECT_EQ(helper.GetScale().z, 4.0f);  // absolute, smallest made 1
  EXPECT_EQ(helper.GetMaxAnisotropy(), X3DPoint(0, 0, 2));
  EXPECT_EQ(helper.GetAnisotropyOfLevel(-1), X3DPoint(0, 0, 1));
  EXPECT_EQ(helper.GetAxisLevelsOfLevel(-1), X3DPoint(-1, -1, 0));
  EXPECT_EQ(helper.GetAxisLevelsOfLevel(-3), X3DPoint(-3, -3, -1));
  EXPECT_EQ(helper.GetChildSubSampleAxesOfLevel(-1), 3u);
  EXPECT_EQ(helper.GetChildSubSampleAxesOfLevel(-2), 7u);
  EXPECT_EQ(helper.GetScalingOfLevel(-2), X3DPointF(1.0f, 1.0f, 1.0f));
  // Far edges round up: 1000 / 8 = 125, 100 / 2 = 50, -3 >> 3 = -1.
  EXPECT_EQ(helper.GetBoundsOfLevel(-3), X3DRect(-1, 0, 0, 125, 125, 50));
  EXPECT_EQ(helper.GetBoundsOfLevel(-1), X3DRect(-2, 0, 0, 500, 500, 100));
  // The nearest power of two by value: 2.9 goes to 2, 3.1 to 4.
  XVolumeLevelScalingHelper odd(X3DRect(0, 0, 0, 8, 8, 8), X3DPointF(1.0f, 2.9f, 3.1f));
  EXPECT_EQ(odd.GetMaxAnisotropy(), X3DPoint(0, 1, 2));

  XGrey8Volume big(256, 256, 64);  // 2^22 voxels: one level of 8 brings it below 2^20
  big.SetZCalibration(4.0);
  XVolumeLevelScalingHelper fromVolume = XVolumeLevelScalingHelper::MakeFromTemplateVolume(big);
  EXPECT_EQ(fromVolume.GetSubdivisionLevel(), -1);
  EXPECT_EQ(fromVolume.GetMaxAnisotropy(), X3DPoint(0, 0, 2));
  EXPECT_EQ(XVolumeLevelScalingHelper::MakeFromTemplateVolume(XGrey8Volume(64, 64, 64)).GetSubdivisionLevel(), 0);
  // A zero scale has no smallest axis to measure the others by.
  EXPECT_THROW(XVolumeLevelScalingHelper(X3DRect(1u, 1u, 1u), X3DPointF(0.0f, 1.0f, 1.0f)), XInternalError);
}
