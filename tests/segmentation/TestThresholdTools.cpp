// The region threshold tools (intensity, percentage, standard deviation,
// RGB, HSI) and the in-place XVolumeThresholdTool: inclusive limits,
// rounding, guards that leave the region alone, inversion, NaN, and every
// pixel type.
#include <cmath>
#include <limits>
#include <random>
#include <set>

#include "../tools/ToolTestSupport.h"
#include "segmentation/XHSIThresholdTool.h"
#include "segmentation/XIntensityThresholdTool.h"
#include "segmentation/XPercentageThresholdTool.h"
#include "segmentation/XRGBThresholdTool.h"
#include "segmentation/XStandardDeviationThresholdTool.h"
#include "segmentation/XVolumeThresholdTool.h"
#include "volume/XGrey32Volume.h"

using namespace mirelan;
using tooltest::ExpectRefused;
using tooltest::RowOf;
using tooltest::ToolTest;
using volumetest::FillWith;

namespace {

class ThresholdTools : public ToolTest {};

constexpr Float32 kInf = std::numeric_limits<Float32>::infinity();
constexpr Float32 kNaN = std::numeric_limits<Float32>::quiet_NaN();

// The x of the selected voxels of a region over a one-row volume.
std::set<SInt32> Selected(const X3DRegion& inRegion) {
  std::set<SInt32> xs;
  XLock lock(inRegion, kLockRead);
  const X3DRect& b = inRegion.GetBounds();
  for (SInt32 x = b.left; x < b.right; ++x)
    if (inRegion.Contains(x, 0, 0)) xs.insert(x);
  return xs;
}

// A region standing for "left as it was".
X3DRegion Untouched() { return X3DRegion(X3DRect(100, 100, 100, 101, 101, 101)); }
bool IsUntouched(const X3DRegion& inRegion) { return inRegion.GetBounds() == X3DRect(100, 100, 100, 101, 101, 101); }

template <class Fn>
std::set<SInt32> Selecting(Fn inApply) {
  X3DRegion region = Untouched();
  inApply(region);
  EXPECT_FALSE(IsUntouched(region));
  return Selected(region);
}

template <class Fn>
bool LeavesUntouched(Fn inApply) {
  X3DRegion region = Untouched();
  inApply(region);
  return IsUntouched(region);
}

TEST_F(ThresholdTools, IntensityLimitsAreInclusiveAndRounded) {
  XIntensityThresholdTool tool;
  const auto grey8 = RowOf<XGrey8Volume>({9, 10, 11, 15, 20, 21});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 10, 20, false); }), (std::set<SInt32>{1, 2, 3, 4}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 10.4f, 19.5f, false); }),
            (std::set<SInt32>{1, 2, 3, 4}));  // 10.4 -> 10, 19.5 -> 20
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 10.5f, 20.49f, false); }),
            (std::set<SInt32>{2, 3, 4}));  // 10.5 -> 11
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 10, 20, true); }), (std::set<SInt32>{0, 5}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, -50, 300, false); }).size(), 6u);  // clamped
  // Invert over the whole range selects nothing: an empty region, not the old one.
  EXPECT_TRUE(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0, 255, true); }).empty());
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 21, 20, false); }));
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 20.6f, 20.4f, false); }));
  // NaN limits are not tested: they clamp to 0.
  EXPECT_TRUE(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, kNaN, kNaN, false); }).empty());

  const auto mask = RowOf<XMaskVolume>({0, 255});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, mask, 128, 255, false); }), (std::set<SInt32>{1}));
  const auto grey16 = RowOf<XGrey16Volume>({255, 256, 40000, 65535});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey16, 255.5f, 1e9f, false); }),
            (std::set<SInt32>{1, 2, 3}));
}

TEST_F(ThresholdTools, IntensityOfFloatsAndColours) {
  XIntensityThresholdTool tool;
  const auto fp = RowOf<XFPVolume>({-1.0f, 0.25f, 0.5f, kNaN, 2.0f});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 0.25f, 0.5f, false); }), (std::set<SInt32>{1, 2}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, -kInf, kInf, true); }),
            (std::set<SInt32>{3}));  // NaN is out of every band
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 0.5f, 0.25f, false); }));
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, kNaN, 1.0f, false); }));

  const auto argb = RowOf<XARGB32Volume>({XARGB32Colour(0, 5, 5, 5), XARGB32Colour(0, 5, 50, 5),
                                          XARGB32Colour(255, 200, 0, 0)});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 40, 60, false); }), (std::set<SInt32>{1}));
  const auto rgb48 = RowOf<XRGB48Volume>({XRGB48Colour(1000, 0, 0), XRGB48Colour(0, 0, 3000)});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, rgb48, 2000, 4000, false); }), (std::set<SInt32>{1}));

  // BGRA32: any channel at least the lower limit and any at most the upper.
  XBGRA32Volume bgra(3, 1, 1);
  FillWith(bgra, [](SInt32 x, SInt32, SInt32) {
    const XBGRA32Colour colours[] = {XBGRA32Colour(255, 0, 0), XBGRA32Colour(30, 30, 30), XBGRA32Colour(0, 0, 0)};
    return colours[x];
  });
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, bgra, 10, 20, false); }), (std::set<SInt32>{0}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, bgra, 10, 20, true); }), (std::set<SInt32>{1, 2}));

  XGrey32Volume grey32(2, 1, 1);
  X3DRegion region;
  EXPECT_EQ(volumetest::ErrorOf([&] { tool.ApplyThreshold(region, grey32, 0, 1, false); }), kErrNotForPixelType);
}

TEST_F(ThresholdTools, RegionPassMatchesAVoxelByVoxelTest) {
  std::mt19937 random(7);
  XGrey16Volume volume(X3DRect(-3, 2, 1, 70, 19, 6));  // odd widths, a free origin
  FillWith(volume, [&](SInt32, SInt32, SInt32) { return UInt16(random() % 1000); });
  XIntensityThresholdTool tool;
  struct Band {
    UInt16 lower, upper;
    bool invert;
  };
  // Half the voxels, their complement, and a sparse band whose rows are
  // mostly empty (the region is cropped to the set voxels).
  for (const Band& band : {Band{200, 700, false}, Band{200, 700, true}, Band{500, 501, false}}) {
    X3DRegion region;
    tool.ApplyThreshold(region, volume, band.lower, band.upper, band.invert);
    XLock lock(volume, kLockRead), regionLock(region, kLockRead);
    const X3DRect& b = volume.GetBounds();
    for (SInt32 z = b.front; z < b.back; ++z)
      for (SInt32 y = b.top; y < b.bottom; ++y)
        for (SInt32 x = b.left; x < b.right; ++x) {
          const UInt16 v = volume.GetVoxel(x, y, z);
          ASSERT_EQ(region.Contains(x, y, z), (v >= band.lower && v <= band.upper) != band.invert)
              << x << " " << y << " " << z;
        }
  }
}

TEST_F(ThresholdTools, PercentagesOfTheLuminanceRangeAreFloored) {
  XPercentageThresholdTool tool;
  const auto grey8 = RowOf<XGrey8Volume>({0, 9, 10, 11, 100});  // range 0 .. 100
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 9.9f, 10.9f, false); }),
            (std::set<SInt32>{1, 2}));  // floor: 9 and 10
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 50, 100, true); }), (std::set<SInt32>{0, 1, 2, 3}));
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 60, 40, false); }));

  const auto grey16 = RowOf<XGrey16Volume>({1000, 2000, 3000});  // 1000 + p * 20
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey16, 50, 100, false); }), (std::set<SInt32>{1, 2}));

  // Floats work from a minimum of 0 at most: the luminance clamps negatives.
  const auto fp = RowOf<XFPVolume>({-8.0f, 1.0f, 2.0f, 4.0f});  // range 0 .. 4
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 25, 50, false); }), (std::set<SInt32>{1, 2}));
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 50, 25, false); }));

  const auto argb = RowOf<XARGB32Volume>({XARGB32Colour(0, 0, 0), XARGB32Colour(0, 0, 200), XARGB32Colour(100, 0, 0)});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 40, 60, false); }), (std::set<SInt32>{2}));
  const auto rgb48 = RowOf<XRGB48Volume>({XRGB48Colour(0), XRGB48Colour(10, 20, 30)});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, rgb48, 90, 100, false); }), (std::set<SInt32>{1}));
}

TEST_F(ThresholdTools, StandardDeviationsFromTheMean) {
  XStandardDeviationThresholdTool tool;
  const auto grey8 = RowOf<XGrey8Volume>({0, 4, 6, 10});  // mean 5, sigma sqrt(13)
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, -kInf, kInf, false); }).size(), 4u);
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, -0.5f, 0.5f, false); }),
            (std::set<SInt32>{1, 2}));  // 5 -+ 1.8 round to 3 and 7
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0, kInf, true); }), (std::set<SInt32>{0, 1}));
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0.1f, 0.1f, false); }));
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0, 0.05f, false); }));  // 5 and 5

  // A flat volume has no deviation; infinite limits still span it.
  const auto flat = RowOf<XGrey16Volume>({7, 7, 7});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, flat, -kInf, kInf, false); }).size(), 3u);

  const auto fp = RowOf<XFPVolume>({-1.0f, 1.0f});  // mean 0, sigma 1
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 0.0f, 2.0f, false); }), (std::set<SInt32>{1}));
  EXPECT_TRUE(LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 1.0f, 1.0f, false); }));

  // Colour: all channels' statistics, tested on the greatest channel.
  const auto argb = RowOf<XARGB32Volume>({XARGB32Colour(0, 0, 0), XARGB32Colour(30, 30, 30)});  // mean 15, sigma 15
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 0.5f, 1.0f, false); }), (std::set<SInt32>{1}));
}

TEST_F(ThresholdTools, RGBBandsPerChannel) {
  XRGBThresholdTool tool;
  const auto argb = RowOf<XARGB32Volume>({XARGB32Colour(10, 100, 200), XARGB32Colour(10, 150, 200),
                                          XARGB32Colour(90, 100, 200)});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 0, 20, 90, 110, 0, 255, false, false, false); }),
            (std::set<SInt32>{0}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 0, 20, 90, 110, 0, 255, false, true, false); }),
            (std::set<SInt32>{1}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 0, 20, 0, 255, 0, 255, true, false, false); }),
            (std::set<SInt32>{2}));
  // One value in every channel is refused; one open channel is enough.
  EXPECT_TRUE(LeavesUntouched(
      [&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 10, 10, 100, 100, 200, 200, false, false, false); }));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 10, 10, 100, 101, 200, 200, false, false, false); }),
            (std::set<SInt32>{0}));

  const auto rgb48 = RowOf<XRGB48Volume>({XRGB48Colour(1000, 2000, 3000), XRGB48Colour(1000, 2000, 60000)});
  EXPECT_EQ(Selecting([&](X3DRegion& r) {
              tool.ApplyThreshold(r, rgb48, 0, 65535, 0, 65535, 50000, 70000, false, false, false);
            }),
            (std::set<SInt32>{1}));

  // Grey data: the greatest lower and greatest upper limit, the red flag.
  const auto grey8 = RowOf<XGrey8Volume>({5, 30, 60});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0, 10, 20, 50, 0, 0, false, true, true); }),
            (std::set<SInt32>{1}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0, 10, 20, 50, 0, 0, true, false, false); }),
            (std::set<SInt32>{0, 2}));
  EXPECT_TRUE(LeavesUntouched(
      [&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 30, 10, 0, 30, 0, 0, false, false, false); }));
  const auto fp = RowOf<XFPVolume>({0.5f, 1.5f});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 1, 2, 0, 0, 0, 0, false, false, false); }),
            (std::set<SInt32>{1}));
  EXPECT_TRUE(
      LeavesUntouched([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 1, 1, 0, 0, 0, 0, false, false, false); }));
}

TEST_F(ThresholdTools, HSIBandsAndGreyIntensity) {
  XHSIThresholdTool tool;
  const XARGB32Colour red(255, 0, 0), green(0, 200, 0), grey(90, 90, 90);
  const auto argb = RowOf<XARGB32Volume>({red, green, grey});
  const UInt8 greenHue = green.GetHue();
  EXPECT_EQ(Selecting([&](X3DRegion& r) {
              tool.ApplyThreshold(r, argb, greenHue - 1, greenHue + 1, 0, 255, 0, 255, false, false, false);
            }),
            (std::set<SInt32>{1}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 0, 255, 1, 255, 0, 255, false, false, false); }),
            (std::set<SInt32>{0, 1}));  // saturation above 0
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 0, 255, 1, 255, 0, 255, false, true, false); }),
            (std::set<SInt32>{2}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, argb, 0, 255, 0, 255, 100, 255, false, false, true); }),
            (std::set<SInt32>{2}));

  const auto rgb48 = RowOf<XRGB48Volume>({XRGB48Colour(0, 65535, 0), XRGB48Colour(0, 0, 65535)});
  EXPECT_EQ(Selecting([&](X3DRegion& r) {
              tool.ApplyThreshold(r, rgb48, 21845, 21845, 0, 65535, 0, 65535, false, false, false);
            }),
            (std::set<SInt32>{0}));  // hue on the 16-bit scale

  // Grey data: the hue and saturation limits play no part.
  const auto grey8 = RowOf<XGrey8Volume>({10, 100, 200});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 50, 40, 9, 3, 90, 150, false, false, false); }),
            (std::set<SInt32>{1}));
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0, 0, 0, 0, 90, 150, true, true, true); }),
            (std::set<SInt32>{0, 2}));
  // No guard: a reversed band is applied and selects nothing.
  EXPECT_TRUE(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, grey8, 0, 0, 0, 0, 150, 90, false, false, false); }).empty());
  const auto fp = RowOf<XFPVolume>({0.25f, kNaN});
  EXPECT_EQ(Selecting([&](X3DRegion& r) { tool.ApplyThreshold(r, fp, 0, 0, 0, 0, 0.0f, 1.0f, false, false, true); }),
            (std::set<SInt32>{1}));
}

TEST_F(ThresholdTools, OnlyIntensityTakesBGRA) {
  XBGRA32Volume bgra(2, 1, 1);
  XGrey32Volume grey32(2, 1, 1);
  X3DRegion region;
  XPercentageThresholdTool percentage;
  XStandardDeviationThresholdTool deviation;
  XRGBThresholdTool rgb;
  XHSIThresholdTool hsi;
  for (XVolume* v : {static_cast<XVolume*>(&bgra), static_cast<XVolume*>(&grey32)}) {
    EXPECT_EQ(volumetest::ErrorOf([&] { percentage.ApplyThreshold(region, *v, 0, 1, false); }), kErrNotForPixelType);
    EXPECT_EQ(volumetest::ErrorOf([&] { deviation.ApplyThreshold(region, *v, 0, 1, false); }), kErrNotForPixelType);
    EXPECT_EQ(volumetest::ErrorOf([&] { rgb.ApplyThreshold(region, *v, 0, 1, 0, 1, 0, 1, false, false, false); }),
              kErrNotForPixelType);
    EXPECT_EQ(volumetest::ErrorOf([&] { hsi.ApplyThreshold(region, *v, 0, 1, 0, 1, 0, 1, false, false, false); }),
              kErrNotForPixelType);
  }
}

// ---------------------------------------------------------------------------
// XVolumeThresholdTool

template <class V>
std::vector<typename V::Voxel> Blackened(XVolumeThresholdTool& ioTool, const std::vector<typename V::Voxel>& inRow,
                                         const X3DRegion* inRegion = nullptr) {
  V volume = RowOf<V>(inRow);
  ioTool.ApplyTool(volume, inRegion);
  return volumetest::Values(volume);
}

TEST_F(ThresholdTools, VolumeThresholdBlackensOutsideTheBand) {
  XVolumeThresholdTool tool;
  tool.SetMinThreshold(9.5);  // rounds to 10
  tool.SetMaxThreshold(20.2);
  tool.SetBlackIntensity(3.9);  // truncates to 3
  EXPECT_EQ(Blackened<XGrey8Volume>(tool, {9, 10, 15, 20, 21}), (std::vector<UInt8>{3, 10, 15, 20, 3}));
  tool.SetInclusive(false);
  EXPECT_EQ(Blackened<XGrey8Volume>(tool, {9, 10, 15, 20, 21}), (std::vector<UInt8>{3, 3, 15, 3, 3}));
  EXPECT_EQ(Blackened<XMaskVolume>(tool, {0, 15}), (std::vector<UInt8>{3, 15}));

  tool.SetInclusive(true);
  tool.SetMaxThreshold(1e9);  // capped at 65535
  EXPECT_EQ(Blackened<XGrey16Volume>(tool, {5, 10, 65535}), (std::vector<UInt16>{3, 10, 65535}));

  tool.SetMinThreshold(-0.5);
  tool.SetMaxThreshold(0.5);
  tool.SetBlackIntensity(-7.25);
  const std::vector<Float32> floats = Blackened<XFPVolume>(tool, {-0.5f, 0.7f, kNaN});
  EXPECT_EQ(floats[0], -0.5f);
  EXPECT_EQ(floats[1], -7.25f);
  EXPECT_TRUE(std::isnan(floats[2]));  // NaN is neither below nor above

  // Outside the region nothing changes.
  const X3DRegion firstTwo(X3DRect(0, 0, 0, 2, 1, 1));
  tool.SetMinThreshold(10);
  tool.SetMaxThreshold(20);
  tool.SetBlackIntensity(0);
  EXPECT_EQ(Blackened<XGrey8Volume>(tool, {1, 2, 3}, &firstTwo), (std::vector<UInt8>{0, 0, 3}));
}

TEST_F(ThresholdTools, VolumeThresholdPreconditionsAndTypes) {
  struct Case {
    Float64 min, max, black;
  };
  const Case refusedForGrey8[] = {{-1, 10, 0}, {0, 10, 256}, {0, 10, -1}, {-1e9, 10, 0}};
  for (const Case& c : refusedForGrey8) {
    XVolumeThresholdTool tool;
    tool.SetMinThreshold(c.min);
    tool.SetMaxThreshold(c.max);
    tool.SetBlackIntensity(c.black);
    auto volume = RowOf<XGrey8Volume>({1, 2});
    EXPECT_THROW(tool.ApplyTool(volume, nullptr), XInternalError) << c.min << " " << c.black;
    EXPECT_EQ(volumetest::Values(volume), (std::vector<UInt8>{1, 2}));
  }
  XVolumeThresholdTool tool;
  tool.SetMinThreshold(-std::numeric_limits<Float64>::infinity());
  auto fp = RowOf<XFPVolume>({1.0f});
  EXPECT_THROW(tool.ApplyTool(fp, nullptr), XInternalError);
  tool.SetMinThreshold(0);
  tool.SetBlackIntensity(1e39);  // infinite as f32
  EXPECT_THROW(tool.ApplyTool(fp, nullptr), XInternalError);
  ExpectRefused(tooltest::Volumes<XARGB32Volume, XBGRA32Volume, XRGB48Volume, XGrey32Volume>(),
                [&](XVolume& v) { tool.ApplyTool(v, nullptr); });
}

}  // namespace
