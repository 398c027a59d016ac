// The min-max tools, the colour census, the wavelength band, the sampled
// histogram and the channel split.
#include <cmath>
#include <limits>
#include <memory>

#include "MeasureTestSupport.h"
#include "measurement/XRestrictedHistogramTool.h"
#include "measurement/XVolumeColourTools.h"
#include "measurement/XVolumeMinMaxTools.h"
#include "measurement/XVolumeRGBSplitTool.h"
#include "volume/XGrey32Volume.h"

using namespace mirelan;
using namespace measuretest;

namespace {

class MinMaxTools : public ToolTest {};

constexpr Float32 kGreatest = std::numeric_limits<Float32>::max();
constexpr Float32 kTiny = std::numeric_limits<Float32>::min();

TEST_F(MinMaxTools, LuminanceRangeOfEveryType) {
  XVolumeLuminanceMinMaxTool tool;
  auto grey8 = RandomGrey<XGrey8Volume>(X3DRect(40, 3, 2), 200, 1);
  Float64 low = 255, high = 0;
  ForEachVoxel(grey8, nullptr, [&](UInt8 v) {
    low = std::min<Float64>(low, v);
    high = std::max<Float64>(high, v);
  });
  tool.ApplyTool(grey8, nullptr);
  EXPECT_EQ(tool.GetMin(), low);
  EXPECT_EQ(tool.GetMax(), high);

  auto fp = tooltest::RowOf<XFPVolume>({-5.0f, 3.5f, 2.0f});
  tool.ApplyTool(fp, nullptr);
  EXPECT_EQ(tool.GetMin(), 0.0f);  // negatives count as 0
  EXPECT_EQ(tool.GetMax(), 3.5f);

  auto argb = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(255, 10, 20, 5), XARGB32Colour(255, 90, 2, 3)});
  tool.ApplyTool(argb, nullptr);
  EXPECT_EQ(tool.GetMin(), 20.0f);  // greatest channel; alpha is none
  EXPECT_EQ(tool.GetMax(), 90.0f);
  XBGRA32Volume bgra(argb.GetBounds());
  bgra.CopyIn(argb, argb.GetBounds(), argb.GetBounds(), nullptr);
  tool.ApplyTool(bgra, nullptr);
  EXPECT_EQ(tool.GetMax(), 90.0f);

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(1, 50000, 7)});
  tool.ApplyTool(rgb48, nullptr);
  EXPECT_EQ(tool.GetMin(), 50000.0f);

  // A region that misses the volume leaves the seeds.
  const X3DRegion outside(X3DRect(100, 100, 100, 101, 101, 101));
  auto grey16 = RandomGrey<XGrey16Volume>(X3DRect(4, 4, 1), 9, 2);
  tool.ApplyTool(grey16, &outside);
  EXPECT_EQ(tool.GetMin(), 65535.0f);
  EXPECT_EQ(tool.GetMax(), 0.0f);
  tool.ApplyTool(fp, &outside);
  EXPECT_EQ(tool.GetMin(), kGreatest);
  EXPECT_EQ(tool.GetMax(), -kGreatest);
}

TEST_F(MinMaxTools, HSIRangeSeedsTheMaximaWithTheLeastPositiveFloat) {
  XVolumeHSIStatsTool tool;
  Float32 h, s, i;
  tool.GetMaxHSI(h, s, i);
  EXPECT_EQ(i, 0.0f);  // nothing before a scan

  auto argb = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(255, 0, 0), XARGB32Colour(40, 40, 40)});
  tool.ApplyTool(argb, nullptr);
  tool.GetMinHSI(h, s, i);
  EXPECT_EQ(s, 0.0f);
  EXPECT_EQ(i, 40.0f);
  tool.GetMaxHSI(h, s, i);
  EXPECT_EQ(h, kTiny);  // both hues are 0: the seed stays
  EXPECT_EQ(s, 255.0f);
  EXPECT_EQ(i, 255.0f);

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(0, 0, 65535)});
  tool.ApplyTool(rgb48, nullptr);
  tool.GetMaxHSI(h, s, i);
  EXPECT_EQ(h, Float32(XRGB48Colour(0, 0, 65535).GetHue()));
  EXPECT_EQ(h, 43690.0f);

  auto fp = tooltest::RowOf<XFPVolume>({-4.0f, -1.0f});
  tool.ApplyTool(fp, nullptr);
  tool.GetMinHSI(h, s, i);
  EXPECT_EQ(i, -4.0f);
  tool.GetMaxHSI(h, s, i);
  EXPECT_EQ(i, kTiny);  // all negative: the seed stays
  EXPECT_EQ(h, kTiny);
}

TEST_F(MinMaxTools, RGBValuesOfColourOnly) {
  XVolumeRGBValuesMinMaxTool tool;
  EXPECT_EQ(tool.GetMaxInt(), 0u);
  auto argb = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(0, 10, 200, 30), XARGB32Colour(0, 90, 5, 3)});
  tool.ApplyTool(argb, nullptr);
  EXPECT_EQ(tool.GetMinRed(), 10u);
  EXPECT_EQ(tool.GetMaxRed(), 90u);
  EXPECT_EQ(tool.GetMinGre(), 5u);
  EXPECT_EQ(tool.GetMaxGre(), 200u);
  EXPECT_EQ(tool.GetMinBlu(), 3u);
  EXPECT_EQ(tool.GetMaxBlu(), 30u);
  EXPECT_EQ(tool.GetMinInt(), 90u);
  EXPECT_EQ(tool.GetMaxInt(), 200u);

  XBGRA32Volume bgra(argb.GetBounds());
  bgra.CopyIn(argb, argb.GetBounds(), argb.GetBounds(), nullptr);
  XVolumeRGBValuesMinMaxTool fromBGRA;
  fromBGRA.ApplyTool(bgra, nullptr);
  EXPECT_EQ(fromBGRA.GetMaxGre(), 200u);

  const X3DRegion outside(X3DRect(50, 50, 50, 51, 51, 51));
  tool.ApplyTool(argb, &outside);
  EXPECT_EQ(tool.GetMinRed(), 65535u);  // also for 8-bit colour
  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(1000, 2, 60000)});
  tool.ApplyTool(rgb48, nullptr);
  EXPECT_EQ(tool.GetMaxInt(), 60000u);

  for (auto& v : tooltest::Volumes<XGrey8Volume, XMaskVolume, XGrey16Volume, XFPVolume>())
    EXPECT_THROW(tool.ApplyTool(*v, nullptr), XInternalError) << v->GetDescription();
}

TEST_F(MinMaxTools, ColourClassesOverlapAndBrightness) {
  XVolumeColourTool tool;
  auto red = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(255, 0, 0), XARGB32Colour(230, 10, 20)});
  tool.ApplyTool(red, nullptr);
  EXPECT_EQ(tool.GetColourPercent(4), 100u);  // red
  EXPECT_EQ(tool.GetColourPercent(8), 100u);  // and skin, 5.7 cells from red's corner
  EXPECT_EQ(tool.GetColourPercent(5), 0u);    // magenta is 7 cells away
  EXPECT_EQ(tool.GetColourPercent(0), 0u);    // not grey: black is not tried
  EXPECT_EQ(tool.GetBrightnessPercent(), (255u + 260u) * 100 / (2 * 765));

  // Greys are tried against black and white only: cell 3 lies 5.2 cells from
  // black and 6.9 from white, cell 4 the other way round.
  auto greys = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(100, 100, 100), XARGB32Colour(140, 140, 140),
                                               XARGB32Colour(140, 140, 140), XARGB32Colour(0, 0, 0)});
  tool.ApplyTool(greys, nullptr);
  EXPECT_EQ(tool.GetColourPercent(0), 50u);
  EXPECT_EQ(tool.GetColourPercent(7), 50u);
  EXPECT_EQ(tool.GetColourPercent(4), 0u);
  EXPECT_EQ(XVolumeColourTool::CalcDistance(3, 3, 3, 7, 7, 7), std::sqrt(48.0));

  const X3DRegion outside(X3DRect(9, 9, 9, 10, 10, 10));
  EXPECT_THROW(tool.ApplyTool(greys, &outside), XInternalError);  // no pixel, no percentages
  EXPECT_THROW(tool.GetColourPercent(9), XInternalError);
  ExpectRefused(tooltest::Volumes<XGrey8Volume, XGrey16Volume, XRGB48Volume, XFPVolume>(),
                [&](XVolume& v) { tool.ApplyTool(v, nullptr); });
}

TEST_F(MinMaxTools, WavelengthBandAndBlackLevels) {
  // Hues of the band's ends, as the tool works them out.
  auto hueOf = [](Float64 nm) {
    XARGB32Colour c(255, 0, 0, 0);
    c.SetWavelength(nm);
    return c.GetHue();
  };
  XARGB32Colour green(255, 0, 0, 0), blue(255, 0, 0, 0);
  green.SetWavelength(530);
  blue.SetWavelength(450);
  auto volume = tooltest::RowOf<XARGB32Volume>({green, blue, XARGB32Colour(255, 2, 2, 2), XARGB32Colour(255, 255, 255)});
  XVolumeWavelengthTool tool;
  tool.SetWaveBand(500, 560);  // the hue of 560 is the lower limit
  ASSERT_LT(hueOf(560), hueOf(500));
  tool.SetBlackLevel(5);
  tool.SetWhiteLevel(250);
  tool.ApplyTool(volume, nullptr);
  EXPECT_EQ(tool.GetNonBlackCount(), 2u);  // 6 and 765 are out of 15 .. 750
  EXPECT_EQ(tool.GetMatchCount(), 1u);
  EXPECT_EQ(ErrorOf([&] {
              XGrey8Volume grey(2, 2, 1);
              tool.ApplyTool(grey, nullptr);
            }),
            kErrNotForPixelType);
}

TEST_F(MinMaxTools, RestrictedHistogramSamplesTheStore) {
  auto grey8 = RandomGrey<XGrey8Volume>(X3DRect(10, 10, 10), 255, 3);
  XRestrictedHistogramTool everyTenth(100);  // 1000 voxels: step 10
  everyTenth.ApplyTool(grey8);
  EXPECT_EQ(everyTenth.GetHistogram().GetBucketCount(), 256u);
  EXPECT_EQ(everyTenth.GetHistogram().GetTotalCount(), 100u);
  XVolumeHistogram expected(0, 255, 0);
  {
    XLock lock(grey8, kLockRead);
    for (UInt32 i = 0; i < 1000; i += 10) expected.AddCount(grey8.GetBaseVoxelPtr()[i], 1);
  }
  EXPECT_EQ(Counts(everyTenth.GetHistogram()), Counts(expected));

  // Row padding is sampled too: rows of 8 voxels, 5 of them image.
  auto padded = tooltest::MakePaddedGrey8(5, 2, 1, 8, [](UInt32, UInt32, UInt32) { return 1; }, 0xEE);
  XRestrictedHistogramTool all(1000);
  all.ApplyTool(*padded);
  EXPECT_EQ(all.GetHistogram().GetCount(1.0), 10u);
  EXPECT_EQ(all.GetHistogram().GetCount(0xEE), 6u);

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(1, 2, 6), XRGB48Colour(65535, 65535, 65534)});
  all.ApplyTool(rgb48);
  EXPECT_EQ(all.GetHistogram().GetBucketCount(), 65536u);
  EXPECT_EQ(all.GetHistogram().GetCount(3.0), 1u);      // (1 + 2 + 6) / 3
  EXPECT_EQ(all.GetHistogram().GetCount(65534.0), 1u);  // integer mean

  auto fp = tooltest::RowOf<XFPVolume>({-3.0f, -1.0f});
  all.ApplyTool(fp);  // minimum -3, maximum the least positive float
  EXPECT_EQ(all.GetHistogram().GetBucketCount(), 1000u);
  EXPECT_EQ(all.GetHistogram().GetMinVal(), -3.0);
  EXPECT_EQ(all.GetHistogram().GetMaxVal(), Float64(kTiny));
  EXPECT_EQ(all.GetHistogram().GetTotalCount(), 2u);

  XGrey32Volume grey32(2, 1, 1);
  all.ApplyTool(grey32);  // not a type of this tool: the histogram stays
  EXPECT_EQ(all.GetHistogram().GetMinVal(), -3.0);
  XRestrictedHistogramTool copy = all;
  EXPECT_EQ(copy.GetHistogram().GetTotalCount(), 2u);
}

TEST_F(MinMaxTools, SplitIntoChannels) {
  auto argb = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(9, 1, 2, 3), XARGB32Colour(9, 4, 5, 6)});
  argb.SetXCalibration(0.5);
  XVolumeRGBSplitTool tool;
  XPtrVector<XVolume> channels = tool.ApplyTool(argb);
  ASSERT_EQ(channels.size(), 3u);
  EXPECT_EQ(tooltest::RowVoxels<XGrey8Volume>(*channels[0]), (std::vector<UInt8>{1, 4}));
  EXPECT_EQ(tooltest::RowVoxels<XGrey8Volume>(*channels[1]), (std::vector<UInt8>{2, 5}));
  EXPECT_EQ(tooltest::RowVoxels<XGrey8Volume>(*channels[2]), (std::vector<UInt8>{3, 6}));
  EXPECT_EQ(channels[2]->GetXCalibration(), 0.5);

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(1000, 2000, 3000)});
  XPtrVector<XVolume> wide = tool.ApplyTool(rgb48);
  EXPECT_EQ(tooltest::RowVoxels<XGrey16Volume>(*wide[1]), (std::vector<UInt16>{2000}));

  ExpectRefused(tooltest::Volumes<XGrey8Volume, XMaskVolume, XGrey16Volume, XFPVolume, XBGRA32Volume>(),
                [&](XVolume& v) { tool.ApplyTool(v); });
}

// 32-bit grey has a slot in no scanning tool: 2500 from the dispatch, before
// any precondition of a tool's own.
TEST_F(MinMaxTools, ThirtyTwoBitGreyIsServedByNone) {
  XGrey32Volume grey32(3, 2, 1);
  XVolumeLuminanceMinMaxTool luminance;
  XVolumeHSIStatsTool hsi;
  XVolumeRGBValuesMinMaxTool rgb;
  XVolumeColourTool colour;
  XVolumeWavelengthTool wavelength;
  for (XVolumeScanningTool* tool : std::initializer_list<XVolumeScanningTool*>{&luminance, &hsi, &rgb, &colour, &wavelength})
    EXPECT_EQ(ErrorOf([&] { tool->ApplyTool(grey32, nullptr); }), kErrNotForPixelType);
  XVolumeRGBSplitTool split;
  EXPECT_EQ(ErrorOf([&] { split.ApplyTool(grey32); }), kErrNotForPixelType);
  XRestrictedHistogramTool sampled(10);  // no error: the histogram stays as it was
  sampled.ApplyTool(grey32);
  EXPECT_EQ(sampled.GetHistogram().GetBucketCount(), 0u);
}

}  // namespace
