// The histogram tools: luminance, RGB, HSI, percentage and ratio, on every
// pixel type, with and without regions, held against histograms counted
// voxel by voxel.
#include <cmath>
#include <limits>
#include <memory>

#include "MeasureTestSupport.h"
#include "measurement/XVolumeHistogramTool.h"
#include "rendering/XImageRenderer.h"
#include "volume/XGrey32Volume.h"

using namespace mirelan;
using namespace measuretest;

namespace {

class HistogramTools : public ToolTest {};

const X3DRect kBox(9, 7, 3);

template <class Tool>
struct Results {
  std::unique_ptr<XVolumeHistogram> one, two, thr;
};

// Applies a new tool and takes its three results.
template <class Tool>
Results<Tool> RunTool(XVolume& ioVolume, const X3DRegion* inRegion = nullptr) {
  Tool tool;
  tool.ApplyTool(ioVolume, inRegion);
  return {std::unique_ptr<XVolumeHistogram>(tool.GetHistogramOne()),
          std::unique_ptr<XVolumeHistogram>(tool.GetHistogramTwo()),
          std::unique_ptr<XVolumeHistogram>(tool.GetHistogramThr())};
}

UInt32 MaxOf(const XARGB32Colour& c) { return c.GetIntensity(); }
UInt32 MaxOf(const XRGB48Colour& c) { return c.GetIntensity(); }

TEST_F(HistogramTools, LuminanceOfEveryIntegerTypeMatchesTheBucketRule) {
  const X3DRegion region = CheckerRegion(kBox);
  for (const X3DRegion* r : {static_cast<const X3DRegion*>(nullptr), &region}) {
    auto grey8 = RandomGrey<XGrey8Volume>(kBox, 255, 1);
    ExpectSameHistogram(SlowHistogram(grey8, r, 0, 255, 0, [](UInt8 v) { return v; }),
                        RunTool<XVolumeLuminanceTool>(grey8, r).one.get());
    auto mask = RandomGrey<XMaskVolume>(kBox, 255, 2);
    ExpectSameHistogram(SlowHistogram(mask, r, 0, 255, 0, [](UInt8 v) { return v; }),
                        RunTool<XVolumeLuminanceTool>(mask, r).one.get());
    auto grey16 = RandomGrey<XGrey16Volume>(kBox, 65535, 3);
    ExpectSameHistogram(SlowHistogram(grey16, r, 0, 65535, 0, [](UInt16 v) { return v; }),
                        RunTool<XVolumeLuminanceTool>(grey16, r).one.get());

    std::mt19937 random(4);
    auto argb = Make<XARGB32Volume>(kBox, [&](SInt32, SInt32, SInt32) {
      return XARGB32Colour(UInt8(random()), UInt8(random()), UInt8(random()), UInt8(random()));
    });
    const XVolumeHistogram argbExpected = SlowHistogram(argb, r, 0, 255, 0, [](const XARGB32Colour& c) { return MaxOf(c); });
    ExpectSameHistogram(argbExpected, RunTool<XVolumeLuminanceTool>(argb, r).one.get());
    // BGRA is read as ARGB, and left as it was.
    XBGRA32Volume bgra(kBox);
    bgra.CopyIn(argb, kBox, kBox, nullptr);
    const UInt32 crc = bgra.CalculateCRC();
    ExpectSameHistogram(argbExpected, RunTool<XVolumeLuminanceTool>(bgra, r).one.get());
    EXPECT_EQ(bgra.CalculateCRC(), crc);

    auto rgb48 = Make<XRGB48Volume>(kBox, [&](SInt32, SInt32, SInt32) {
      return XRGB48Colour(UInt16(random()), UInt16(random()), UInt16(random()));
    });
    ExpectSameHistogram(SlowHistogram(rgb48, r, 0, 65535, 0, [](const XRGB48Colour& c) { return MaxOf(c); }),
                        RunTool<XVolumeLuminanceTool>(rgb48, r).one.get());
  }
}

TEST_F(HistogramTools, LuminanceOfFloatsCountsNegativesAtZeroOnTheTrueAxis) {
  auto fp = Make<XFPVolume>(kBox, [](SInt32 x, SInt32 y, SInt32 z) { return Float32(x * 1.5 - y * 2.0 + z * 0.25); });
  Float32 min, max;
  fp.FindMinMax(min, max);
  ASSERT_LT(min, 0.0f);
  auto result = RunTool<XVolumeLuminanceTool>(fp);
  ExpectSameHistogram(SlowHistogram(fp, nullptr, min, max, 1000, [](Float32 v) { return v < 0 ? 0.0 : v; }),
                      result.one.get());
  EXPECT_EQ(result.one->GetBucketCount(), 1000u);
  EXPECT_EQ(result.one->GetMinVal(), min);
  EXPECT_EQ(result.two, nullptr);
}

// A luminance tool with a range of its own, so that the bucket table is not
// the identity and buckets hold several grey levels.
class XRangedLuminanceTool : public XVolumeLuminanceTool {
 public:
  void SetMinMaxVals(const XVolume&) override {
    itsMinValOne = itsMinValTwo = itsMinValThr = 100.0;
    itsMaxValOne = itsMaxValTwo = itsMaxValThr = 40000.0;
  }
};

TEST_F(HistogramTools, RangesComeFromTheRendererOnceAndStay) {
  auto grey16 = RandomGrey<XGrey16Volume>(kBox, 65535, 5);
  const X3DRegion region = CheckerRegion(kBox);
  XRangedLuminanceTool ranged;
  ranged.ApplyTool(grey16, &region);
  ExpectSameHistogram(SlowHistogram(grey16, &region, 100.0, 40000.0, 0, [](UInt16 v) { return v; }),
                      ranged.GetHistogramOne());
  delete ranged.GetHistogramOne();

  // The first apply fixes 0 .. 255; a second, on 16-bit data, keeps it.
  XVolumeLuminanceTool tool;
  auto grey8 = RandomGrey<XGrey8Volume>(kBox, 255, 6);
  grey8.GetPlaneRenderer().SetWhite(100.0);  // black and white points play no part
  tool.ApplyTool(grey8, nullptr);
  EXPECT_EQ(tool.GetMaxValOne(), 255.0);
  EXPECT_EQ(tool.GetMaxValThr(), 255.0);
  tool.ApplyTool(grey16, nullptr);  // the untaken first result is freed
  std::unique_ptr<XVolumeHistogram> second(tool.GetHistogramOne());
  EXPECT_EQ(second->GetBucketCount(), 256u);
  ExpectSameHistogram(SlowHistogram(grey16, nullptr, 0, 255, 0, [](UInt16 v) { return v; }), second.get());
}

TEST_F(HistogramTools, TypesWithoutASlotAreRefused) {
  XGrey32Volume grey32(2, 2, 1);
  XVolumeLuminanceTool luminance;
  XVolumeRGBTool rgb;
  XVolumeHSITool hsi;
  XVolumePercentageTool percentage;
  XVolumeRatioTool ratio;
  for (XVolumeHistogramTool* tool : std::initializer_list<XVolumeHistogramTool*>{&luminance, &rgb, &hsi, &percentage, &ratio}) {
    EXPECT_EQ(ErrorOf([&] { tool->ApplyTool(grey32, nullptr); }), kErrNotForPixelType);
    EXPECT_EQ(tool->GetHistogramOne(), nullptr);
  }
}

TEST_F(HistogramTools, RGBCountsEachChannelAndGreyInAllThree) {
  auto argb = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(9, 1, 2, 3), XARGB32Colour(9, 1, 200, 3)});
  auto result = RunTool<XVolumeRGBTool>(argb);
  EXPECT_EQ(result.one->GetCount(1.0), 2u);
  EXPECT_EQ(result.two->GetCount(2.0), 1u);
  EXPECT_EQ(result.two->GetCount(200.0), 1u);
  EXPECT_EQ(result.thr->GetCount(3.0), 2u);
  EXPECT_EQ(result.one->GetCount(9.0), 0u);  // alpha is no channel

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(1000, 2000, 65535)});
  auto wide = RunTool<XVolumeRGBTool>(rgb48);
  EXPECT_EQ(wide.one->GetBucketCount(), 65536u);
  EXPECT_EQ(wide.thr->GetCount(65535.0), 1u);

  auto grey16 = tooltest::RowOf<XGrey16Volume>({7, 7, 300});
  auto grey = RunTool<XVolumeRGBTool>(grey16);
  for (const auto* h : {grey.one.get(), grey.two.get(), grey.thr.get()}) {
    EXPECT_EQ(h->GetCount(7.0), 2u);
    EXPECT_EQ(h->GetCount(300.0), 1u);
  }

  auto fp = tooltest::RowOf<XFPVolume>({-2.0f, 0.5f, 3.0f});  // bucket size 1 from -2
  auto floats = RunTool<XVolumeRGBTool>(fp);
  EXPECT_EQ(floats.one->GetBucketCount(), 6u);
  EXPECT_EQ(floats.two->GetBucketValue(0), 1u);  // -2 as it is
  EXPECT_EQ(floats.thr->GetBucketValue(2), 1u);  // 0.5 is 2.5 from the minimum: a tie, lower
  EXPECT_EQ(floats.thr->GetBucketValue(5), 1u);
}

TEST_F(HistogramTools, HSIOfColourGreyAndFloat) {
  const XARGB32Colour colours[] = {XARGB32Colour(255, 0, 0), XARGB32Colour(10, 200, 90), XARGB32Colour(50, 50, 50)};
  auto argb = tooltest::RowOf<XARGB32Volume>({colours[0], colours[1], colours[2]});
  auto hsi = RunTool<XVolumeHSITool>(argb);
  EXPECT_EQ(hsi.one->GetBucketCount(), 256u);  // colour: bucket size 1
  for (const XARGB32Colour& c : colours) {
    UInt8 h, s, i;
    XARGB32Colour::RGBToHSI(c, h, s, i);
    EXPECT_GE(hsi.one->GetCount(h), 1u);
    EXPECT_GE(hsi.two->GetCount(s), 1u);
    EXPECT_GE(hsi.thr->GetCount(i), 1u);
  }
  EXPECT_EQ(hsi.thr->GetCount(200.0), 1u);

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(0, 65535, 0)});
  auto wide = RunTool<XVolumeHSITool>(rgb48);
  EXPECT_EQ(wide.one->GetCount(XRGB48Colour(0, 65535, 0).GetHue()), 1u);  // hue on the 16-bit scale
  EXPECT_EQ(XRGB48Colour(0, 65535, 0).GetHue(), 21845);
  EXPECT_EQ(wide.two->GetCount(65535.0), 1u);

  auto grey8 = tooltest::RowOf<XGrey8Volume>({0, 128, 255});
  auto grey = RunTool<XVolumeHSITool>(grey8);
  EXPECT_EQ(grey.one->GetBucketCount(), 1000u);  // grey: 1000 buckets
  EXPECT_EQ(grey.one->GetBucketValue(0), 3u);
  EXPECT_EQ(grey.two->GetBucketValue(0), 3u);
  EXPECT_EQ(grey.thr->GetCount(128.0), 1u);
  EXPECT_EQ(grey.thr->GetBucketValue(999), 1u);

  auto fp = tooltest::RowOf<XFPVolume>({-4.0f, 1.0f, 6.0f});
  auto floats = RunTool<XVolumeHSITool>(fp);
  EXPECT_EQ(floats.one->GetBucketCount(), 11u);  // bucket size 1 over -4 .. 6
  EXPECT_EQ(floats.one->GetCount(0.0), 3u);
  EXPECT_EQ(floats.thr->GetBucketCount(), 1000u);  // the luminance rule
  EXPECT_EQ(floats.thr->GetCount(0.0), 1u);        // -4 counts as 0.0
  EXPECT_EQ(floats.thr->GetCount(-4.0), 0u);
}

TEST_F(HistogramTools, PercentageOfTheWholeVolumesRange) {
  auto grey8 = Make<XGrey8Volume>(kBox, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(50 + (x + 9 * y + 63 * z) % 150); });
  const X3DRegion corner(X3DRect(0, 0, 0, 2, 2, 1));  // does not narrow the range
  XVolumePercentageTool tool;
  tool.ApplyTool(grey8, &corner);
  EXPECT_EQ(tool.GetMinValOne(), 0.0);
  EXPECT_EQ(tool.GetMaxValOne(), 100.0);
  std::unique_ptr<XVolumeHistogram> h(tool.GetHistogramOne());
  EXPECT_EQ(h->GetBucketCount(), 149u);  // trunc(199 - 50)
  ExpectSameHistogram(SlowHistogram(grey8, &corner, 0.0, 100.0, 149,
                                    [](UInt8 v) { return (v - 50.0) / (199.0 - 50.0) * 100.0; }),
                      h.get());

  auto flat = Make<XGrey16Volume>(kBox, [](SInt32, SInt32, SInt32) { return UInt16(300); });
  auto result = RunTool<XVolumePercentageTool>(flat);
  EXPECT_EQ(result.one->GetBucketCount(), 101u);  // max = min: argument 0
  EXPECT_EQ(result.one->GetBucketValue(0), kBox.GetVolume());  // 0 / 0 is NaN: bucket 0

  auto fp = tooltest::RowOf<XFPVolume>({-10.0f, 2.0f, 4.0f});
  auto floats = RunTool<XVolumePercentageTool>(fp);  // luminance range 0 .. 4
  EXPECT_EQ(floats.one->GetBucketCount(), 1000u);
  EXPECT_EQ(floats.one->GetCount(0.0), 1u);
  EXPECT_EQ(floats.one->GetCount(50.0), 1u);
  EXPECT_EQ(floats.one->GetCount(100.0), 1u);
}

TEST_F(HistogramTools, RatiosOfChannels) {
  EXPECT_EQ(XVolumeRatioTool::GetClampedRatio(0, 5), 255);
  EXPECT_EQ(XVolumeRatioTool::GetClampedRatio(5, 0), 0);
  EXPECT_EQ(XVolumeRatioTool::GetClampedRatio(7, 7), 127);  // 255 - 127.5, truncated
  EXPECT_EQ(XVolumeRatioTool::GetActualRatio(0), std::numeric_limits<Float64>::infinity());
  EXPECT_NEAR(XVolumeRatioTool::GetActualRatio(255), 0.0, 1e-12);
  for (UInt32 c = 1; c < 256; ++c) {
    const Float64 ratio = XVolumeRatioTool::GetActualRatio(UInt8(c));
    EXPECT_NEAR(Float64(XVolumeRatioTool::GetClampedRatio(ratio, 1.0)), c, 1.0) << c;
  }

  auto argb = tooltest::RowOf<XARGB32Volume>({XARGB32Colour(0, 10, 10, 0), XARGB32Colour(0, 0, 40, 20)});
  auto result = RunTool<XVolumeRatioTool>(argb);
  EXPECT_EQ(result.one->GetBucketCount(), 256u);
  EXPECT_EQ(result.one->GetCount(127.0), 1u);  // 10 : 10
  EXPECT_EQ(result.one->GetCount(255.0), 1u);  // 0 : 40
  EXPECT_EQ(result.two->GetCount(0.0), 1u);    // 10 : 0
  EXPECT_EQ(result.two->GetCount(XVolumeRatioTool::GetClampedRatio(40, 20)), 1u);
  EXPECT_EQ(result.thr->GetCount(XVolumeRatioTool::GetClampedRatio(20, 0)), 1u);

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(1000, 3000, 3000)});
  auto wide = RunTool<XVolumeRatioTool>(rgb48);
  EXPECT_EQ(wide.one->GetCount(XVolumeRatioTool::GetClampedRatio(1000, 3000)), 1u);
  EXPECT_EQ(wide.two->GetCount(127.0), 1u);

  auto grey8 = RandomGrey<XGrey8Volume>(kBox, 255, 7);
  auto none = RunTool<XVolumeRatioTool>(grey8);  // no channels: three empty histograms
  for (const auto* h : {none.one.get(), none.two.get(), none.thr.get()}) {
    EXPECT_EQ(h->GetBucketCount(), 256u);
    EXPECT_EQ(h->GetNumUsed(), 0u);
  }
}

}  // namespace
