// What volumes of a number type do for themselves, the per-type additions of
// masks and colour volumes, and the level pyramid.
#include <cmath>

#include "volume/X3DRegion.h"
#include "volume/XVolumeLevelScalingHelper.h"
#include "VolumeTestSupport.h"

using namespace mirelan;

using namespace volumetest;

using NumberVolume = VolumeTest;

// ---------------------------------------------------------------- arithmetic

TEST_F(NumberVolume, ValueArithmeticWrapsWithoutSaturation) {
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
  // SubtractAndClamp floors unsigned types only.
  auto floored = Row<XGrey8Volume>({5, 50});
  floored->SubtractAndClamp(10);
  EXPECT_EQ(Values(*floored), (std::vector<UInt8>{0, 40}));
  auto fp = Row<XFPVolume>({5.0f});
  fp->SubtractAndClamp(10.0f);
  EXPECT_EQ(Values(*fp)[0], -5.0f);
  // Division by a value goes through its reciprocal.
  auto halved = Row<XGrey8Volume>({200, 3});
  *halved /= 2;  // the factor 0.5 becomes 0 in 8 bits: the volume clears
  EXPECT_EQ(Values(*halved), (std::vector<UInt8>{0, 0}));
  auto same = Row<XGrey8Volume>({200, 3});
  *same /= 1;
  EXPECT_EQ(Values(*same), (std::vector<UInt8>{200, 3}));
  *same /= 0;  // an infinite factor converts to 0, not to undefined behaviour
  EXPECT_EQ(Values(*same), (std::vector<UInt8>{0, 0}));
  auto quarter = Row<XFPVolume>({3.0f, -1.0f});
  *quarter /= 4.0f;
  EXPECT_EQ(Values(*quarter), (std::vector<Float32>{0.75f, -0.25f}));
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

// ---------------------------------------------------------------- reductions

TEST_F(NumberVolume, ReductionsSeeTheVoxelsNotThePadding) {
  // Rows of 3 for a width of 2: the padding holds 250, which no reduction may see.
  auto grey = ReadFromBytes<XGrey8Volume>(Grey8Stream(2, 2, 1, 3, {4, 9, 250, 6, 1, 250}).Get());
  UInt8 low, high;
  grey->FindMinMax(low, high);
  EXPECT_EQ(std::vector<int>({low, high, grey->FindMin(), grey->FindMax(), grey->FindMean()}),
            (std::vector<int>{1, 9, 1, 9, 5}));
  EXPECT_EQ(grey->FindSum(), 20.0);
  XGrey8Volume other(2, 2, 1);
  other.Fill(5);
  EXPECT_EQ(grey->FindAbsoluteDifference(other), 1.0 + 4.0 + 1.0 + 4.0);
}

TEST_F(NumberVolume, ReductionsOfFloats) {
  auto fp = Row<XFPVolume>({-3.5f, 2.0f, 0.25f, -1.0f, 8.0f});
  Float32 low, high;
  fp->FindMinMax(low, high);
  EXPECT_EQ(std::vector<Float64>({low, high, fp->FindSum(), fp->FindAbsSum(),
                                  fp->FindAbsoluteDifference(*Row<XFPVolume>({0, 0, 0, 0, 0}))}),
            (std::vector<Float64>{-3.5, 8.0, 5.75, 14.75, 14.75}));
  EXPECT_FLOAT_EQ(fp->FindMean(), 1.15f);
  EXPECT_EQ(XFPVolume().FindMean(), 0.0f);
  EXPECT_EQ(XFPVolume().FindSum(), 0.0);
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

  auto colour = Row<XARGB32Volume>({XARGB32Colour(255, 0, 100, 200), XARGB32Colour(0, 255, 0, 100)});
  XLock colourLock(*colour, kLockRead);
  EXPECT_EQ(colour->GetInterpolatedVoxel(0.25f, 0, 0), XRGBFloat32Colour(63.75f, 75.0f, 175.0f));
  auto rgb = Row<XRGB48Volume>({XRGB48Colour(1, 2, 60000)});
  XLock rgbLock(*rgb, kLockRead);
  EXPECT_FLOAT_EQ(rgb->GetInterpolatedVoxel(0.5f, 0.5f, 0.5f).blue, 60000.0f);
}

// ---------------------------------------------------------------- masks and colour

TEST_F(NumberVolume, MaskThresholdAndColourAlpha) {
  auto mask = Row<XMaskVolume>({0, 127, 128, 255});
  mask->Threshold(127);
  EXPECT_EQ(Values(*mask), (std::vector<UInt8>{0, 0, 255, 255}));

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
