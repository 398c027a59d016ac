// Statistics and variance per channel, with the three exclusion options,
// and the statistics of a real stack against numpy.
#include <cmath>
#include <limits>
#include <memory>

#include "MeasureTestSupport.h"
#include "core/XFile.h"
#include "measurement/XVolumeStatsTool.h"
#include "rendering/XImageRenderer.h"
#include "storage/XTIFFCodec.h"
#include "volume/XGrey32Volume.h"

using namespace mirelan;
using namespace measuretest;

namespace {

class StatsTools : public ToolTest {};

constexpr Float64 kInfinity = std::numeric_limits<Float64>::infinity();
const X3DRect kBox(11, 6, 4);

// Minimum, maximum, sum and count of the values that pass inTakes.
struct Expected {
  Float64 min = kInfinity, max = -kInfinity, sum = 0, squares = 0;
  UInt32 count = 0;
  void Add(Float64 v) {
    min = std::min(min, v);
    max = std::max(max, v);
    sum += v;
    ++count;
  }
  Float64 Mean() const { return sum / count; }
};

// The deviations are summed over the values inDeviates takes (by default
// the same as inTakes).
template <class V, class Takes>
Expected Reference(const V& inVolume, const X3DRegion* inRegion, Takes inTakes,
                   std::function<bool(Float64)> inDeviates = nullptr) {
  if (!inDeviates) inDeviates = inTakes;
  Expected e;
  ForEachVoxel(inVolume, inRegion, [&](typename V::Voxel v) {
    if (inTakes(v)) e.Add(v);
  });
  ForEachVoxel(inVolume, inRegion, [&](typename V::Voxel v) {
    if (inDeviates(v)) e.squares += (e.Mean() - v) * (e.Mean() - v);
  });
  return e;
}

void ExpectStats(const XVolumeVarianceTool& inTool, UInt32 inChannel, const Expected& inExpected) {
  ASSERT_EQ(inTool.GetPixCount(inChannel), inExpected.count);
  EXPECT_EQ(inTool.GetMin(inChannel), inExpected.min);
  EXPECT_EQ(inTool.GetMax(inChannel), inExpected.max);
  EXPECT_EQ(inTool.GetMean(inChannel), inExpected.Mean());
  // Summed in voxel order, as the tool promises: equal to the last bit.
  EXPECT_EQ(inTool.GetVariance(inChannel), inExpected.squares / inExpected.count);
}

TEST_F(StatsTools, GreyStatisticsWithEveryOptionAndRegion) {
  std::mt19937 random(1);  // many 0s, and type maxima in the first column
  auto grey16 = Make<XGrey16Volume>(kBox, [&](SInt32 x, SInt32, SInt32) {
    const UInt16 v = UInt16(random() % 41);
    return x == 0 ? UInt16(65535) : v;
  });
  grey16.GetPlaneRenderer().SetBlack(5.0);
  grey16.GetPlaneRenderer().SetWhite(30.0);
  const X3DRegion region = CheckerRegion(kBox);
  struct Case {
    UInt32 options;
    std::function<bool(Float64)> takes;
    std::function<bool(Float64)> deviates = nullptr;  // null: the same
  };
  const Case cases[] = {
      {0, [](Float64) { return true; }},
      {XVolumeStatsTool::kExcludeZero, [](Float64 v) { return v > 0; }},
      {XVolumeStatsTool::kExcludeTypeLimits, [](Float64 v) { return v > 0 && v < 65535; }},
      {XVolumeStatsTool::kExcludeTypeLimits | XVolumeStatsTool::kExcludeZero,
       [](Float64 v) { return v > 0 && v < 65535; }},
      // The deviations pass keeps the type's limits.
      {XVolumeStatsTool::kExcludeOutsideBlackAndWhite, [](Float64 v) { return v > 5 && v < 30; },
       [](Float64 v) { return v > 0 && v < 65535; }},
  };
  for (const Case& c : cases)
    for (const X3DRegion* r : {static_cast<const X3DRegion*>(nullptr), &region}) {
      XVolumeVarianceTool tool(c.options);
      tool.ApplyTool(grey16, r);
      EXPECT_EQ(tool.GetChannelCount(), 1u);
      const Expected e = Reference(grey16, r, c.takes, c.deviates);
      SCOPED_TRACE(c.options);
      ExpectStats(tool, 1, e);
      EXPECT_TRUE(tool.IsMinMaxMeanValid(1));
      EXPECT_DOUBLE_EQ(tool.GetMeanAllChannels(), e.Mean());
      EXPECT_EQ(tool.GetMinAllChannels(), e.min);
    }
}

TEST_F(StatsTools, ExcludingEverythingLeavesNoValidChannel) {
  auto full = Make<XGrey8Volume>(kBox, [](SInt32, SInt32, SInt32) { return UInt8(255); });
  XVolumeStatsTool tool(XVolumeStatsTool::kExcludeTypeLimits);
  tool.ApplyTool(static_cast<const XVolume&>(full), nullptr);
  EXPECT_EQ(tool.GetPixCount(1), 0u);
  EXPECT_FALSE(tool.IsMinMaxMeanValid(1));
  EXPECT_FALSE(tool.IsMinMaxMeanValidAllChannels());
  EXPECT_THROW(tool.GetMin(1), XInternalError);
  EXPECT_THROW(tool.GetMean(1), XInternalError);
  EXPECT_EQ(tool.GetMinAllChannels(), kInfinity);
  EXPECT_EQ(tool.GetMaxAllChannels(), -kInfinity);
  EXPECT_EQ(tool.GetMeanAllChannels(), 0.0);
  EXPECT_THROW(tool.GetPixCount(0), XInternalError);
  EXPECT_THROW(tool.GetPixCount(2), XInternalError);
  XVolumeVarianceTool variance;
  EXPECT_THROW(variance.GetVariance(10), XInternalError);
}

TEST_F(StatsTools, FloatsSumInSinglePrecisionAndExcludeNegativesWithZero) {
  auto fp = tooltest::RowOf<XFPVolume>({-3.0f, 0.0f, 0.1f, 2.5f, std::numeric_limits<Float32>::infinity()});
  XVolumeVarianceTool all(0);
  all.ApplyTool(fp, nullptr);
  EXPECT_EQ(all.GetPixCount(1), 5u);
  EXPECT_EQ(all.GetMax(1), kInfinity);

  XVolumeVarianceTool positive(XVolumeStatsTool::kExcludeZero | XVolumeStatsTool::kExcludeTypeLimits);
  positive.ApplyTool(fp, nullptr);
  EXPECT_EQ(positive.GetPixCount(1), 2u);  // 0.1 and 2.5
  EXPECT_EQ(positive.GetMin(1), Float64(0.1f));
  const Float32 sum = 0.1f + 2.5f;
  EXPECT_EQ(positive.GetMean(1), Float64(sum) / 2);
  const Float64 mean = Float64(sum) / 2;
  EXPECT_DOUBLE_EQ(positive.GetVariance(1),
                   ((mean - 0.1f) * (mean - 0.1f) + (mean - 2.5) * (mean - 2.5)) / 2);
}

TEST_F(StatsTools, ColourChannelsSkipAlpha) {
  std::mt19937 random(3);
  auto argb = Make<XARGB32Volume>(kBox, [&](SInt32, SInt32, SInt32) {
    return XARGB32Colour(UInt8(random()), UInt8(random() % 50), UInt8(random()), UInt8(200 + random() % 50));
  });
  XVolumeVarianceTool tool;
  tool.ApplyTool(argb, nullptr);
  ASSERT_EQ(tool.GetChannelCount(), 3u);
  Expected channels[3];
  ForEachVoxel(argb, nullptr, [&](const XARGB32Colour& c) {
    channels[0].Add(c.red);
    channels[1].Add(c.green);
    channels[2].Add(c.blue);
  });
  Float64 squares = 0;
  for (int k = 0; k < 3; ++k) {
    ForEachVoxel(argb, nullptr, [&](const XARGB32Colour& c) {
      const Float64 v = k == 0 ? c.red : k == 1 ? c.green : c.blue;
      channels[k].squares += (channels[k].Mean() - v) * (channels[k].Mean() - v);
    });
    ExpectStats(tool, k + 1, channels[k]);
    squares += channels[k].squares;
  }
  EXPECT_EQ(tool.GetMinAllChannels(), std::min({channels[0].min, channels[1].min, channels[2].min}));
  EXPECT_EQ(tool.GetMaxAllChannels(), std::max({channels[0].max, channels[1].max, channels[2].max}));
  EXPECT_DOUBLE_EQ(tool.GetMeanAllChannels(), (channels[0].Mean() + channels[1].Mean() + channels[2].Mean()) / 3);
  // All channels over channel 1's count times three.
  EXPECT_NEAR(tool.GetVarianceAllChannels(), squares / (channels[0].count * 3.0), 1e-9 * squares);

  XBGRA32Volume bgra(kBox);
  bgra.CopyIn(argb, kBox, kBox, nullptr);
  // BGRA is read as ARGB, but the volume says it has one channel, and that
  // bounds what the tool keeps: red alone.
  XVolumeStatsTool fromBGRA;
  fromBGRA.ApplyTool(bgra, nullptr);
  EXPECT_EQ(fromBGRA.GetChannelCount(), 1u);
  EXPECT_DOUBLE_EQ(fromBGRA.GetMean(1), channels[0].Mean());
  EXPECT_THROW(fromBGRA.GetMax(2), XInternalError);

  auto rgb48 = tooltest::RowOf<XRGB48Volume>({XRGB48Colour(1, 60000, 0), XRGB48Colour(3, 20000, 0)});
  XVolumeStatsTool wide(XVolumeStatsTool::kExcludeZero);
  wide.ApplyTool(rgb48, nullptr);
  EXPECT_EQ(wide.GetMean(1), 2.0);
  EXPECT_EQ(wide.GetMax(2), 60000.0);
  EXPECT_FALSE(wide.IsMinMaxMeanValid(3));
  EXPECT_TRUE(wide.IsMinMaxMeanValidAllChannels());
  EXPECT_DOUBLE_EQ(wide.GetMeanAllChannels(), (2.0 + 40000.0) / 2);  // valid channels only
}

// The deviation pass judges values against the type's limits, not against
// the black and white points that chose the mean's values.
TEST_F(StatsTools, VariancePassUsesTypeLimitsEvenWithBlackAndWhite) {
  auto grey8 = tooltest::RowOf<XGrey8Volume>({0, 10, 20, 250, 255});
  grey8.GetPlaneRenderer().SetBlack(5.0);
  grey8.GetPlaneRenderer().SetWhite(100.0);
  XVolumeVarianceTool tool(XVolumeStatsTool::kExcludeOutsideBlackAndWhite);
  tool.ApplyTool(grey8, nullptr);
  EXPECT_EQ(tool.GetPixCount(1), 2u);
  EXPECT_EQ(tool.GetMean(1), 15.0);
  EXPECT_EQ(tool.GetVariance(1), (25.0 + 25.0 + 235.0 * 235.0) / 2);
}

TEST_F(StatsTools, MasksAndOtherTypes) {
  auto mask = tooltest::RowOf<XMaskVolume>({0, 255, 255});
  XVolumeStatsTool tool;
  tool.ApplyTool(mask, nullptr);
  EXPECT_EQ(tool.GetMean(1), 170.0);
  XGrey32Volume grey32(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(grey32, nullptr); }), kErrNotForPixelType);
}

// Real stacks from ../shared/data. The figures come from numpy on the same
// files (tifffile.imread): float64 mean and var of the voxels that pass, and
// for float data the single-precision running sum np.cumsum(v, dtype=float32)
// in voxel order, which is how the tool sums floats.
XImageStack ReadShared(const char* inName) {
  const XFileSpec file(XString(MIRELAN_SHARED_DATA) + "/" + inName);
  if (!file.Exists()) return XImageStack();
  return XTIFFCodec::Read(file);
}

#define SKIP_WITHOUT(stack) \
  if ((stack).GetTimepointCount() == 0) GTEST_SKIP() << "no shared data"

// 172 x 152 x 33, 8-bit.
TEST_F(StatsTools, RealStacksAgreeWithNumpyGrey8) {
  const XImageStack stack = ReadShared("coloc2_colocsample1b_green_z33_u8.tif");
  SKIP_WITHOUT(stack);
  XVolume& volume = stack.GetVolume(1, 1);
  ASSERT_TRUE(volume.IsA(XGrey8Volume::GetClassVersion()));
  ASSERT_EQ(volume.GetBounds().GetVolume(), 862752u);

  struct Case {
    UInt32 options;
    UInt32 count;
    Float64 min, max, mean, variance;
  };
  const Case cases[] = {
      {0, 862752, 0, 255, 11.74908548458885, 1061.5321828039196},
      {XVolumeStatsTool::kExcludeZero, 812921, 1, 255, 12.469289143717532, 1117.6222972934854},
      {XVolumeStatsTool::kExcludeTypeLimits, 810068, 1, 254, 11.61511379291615, 913.6651103843262},
  };
  for (const Case& c : cases) {
    XVolumeVarianceTool tool(c.options);
    tool.ApplyTool(volume, nullptr);
    EXPECT_EQ(tool.GetPixCount(1), c.count);
    EXPECT_EQ(tool.GetMin(1), c.min);
    EXPECT_EQ(tool.GetMax(1), c.max);
    EXPECT_NEAR(tool.GetMean(1), c.mean, 1e-12 * c.mean);
    EXPECT_NEAR(tool.GetVariance(1), c.variance, 1e-10 * c.variance);
  }
  const X3DRegion box(X3DRect(10, 20, 5, 60, 80, 15));  // numpy [5:15, 20:80, 10:60]
  XVolumeVarianceTool inBox;
  inBox.ApplyTool(volume, &box);
  EXPECT_EQ(inBox.GetPixCount(1), 50u * 60u * 10u);
  EXPECT_NEAR(inBox.GetMean(1), 22.929333333333332, 1e-12 * 23);
  EXPECT_NEAR(inBox.GetVariance(1), 2230.224806222223, 1e-10 * 2230);
}

// A bead PSF, 128 x 128 x 61, 16-bit, values 59 to 7792.
TEST_F(StatsTools, RealStacksAgreeWithNumpyGrey16) {
  const XImageStack stack = ReadShared("pycudadecon_bead_psf_z61_u16.tif");
  SKIP_WITHOUT(stack);
  XVolume& volume = stack.GetVolume(1, 1);
  ASSERT_TRUE(volume.IsA(XGrey16Volume::GetClassVersion()));
  ASSERT_EQ(volume.GetBounds().GetVolume(), 999424u);

  for (UInt32 options : {0u, UInt32(XVolumeStatsTool::kExcludeZero | XVolumeStatsTool::kExcludeTypeLimits)}) {
    XVolumeVarianceTool tool(options);  // no 0 and no 65535: the options change nothing
    tool.ApplyTool(volume, nullptr);
    EXPECT_EQ(tool.GetPixCount(1), 999424u);
    EXPECT_EQ(tool.GetMin(1), 59.0);
    EXPECT_EQ(tool.GetMax(1), 7792.0);
    EXPECT_NEAR(tool.GetMean(1), 143.09844670530225, 1e-12 * 143);
    EXPECT_NEAR(tool.GetVariance(1), 1977.5915685721625, 1e-10 * 1977);
    EXPECT_NEAR(tool.GetVarianceAllChannels(), 1977.5915685721625, 1e-10 * 1977);
  }
  const X3DRegion box(X3DRect(40, 30, 20, 100, 90, 40));  // numpy [20:40, 30:90, 40:100]
  XVolumeVarianceTool inBox;
  inBox.ApplyTool(volume, &box);
  EXPECT_EQ(inBox.GetPixCount(1), 72000u);
  EXPECT_EQ(inBox.GetMin(1), 89.0);
  EXPECT_EQ(inBox.GetMax(1), 7792.0);
  EXPECT_NEAR(inBox.GetMean(1), 156.02058333333332, 1e-12 * 156);
  EXPECT_NEAR(inBox.GetVariance(1), 25742.703076326383, 1e-10 * 25742);
}

// 199 x 201 x 5, f32, values 0 to 22674.24. The mean is the f32 running sum
// over the count, which lies 7.5e-7 from numpy's float64 mean.
TEST_F(StatsTools, RealStacksAgreeWithNumpyFloat) {
  const XImageStack stack = ReadShared("pystackreg_pc12_ref_imagej_turboreg_bilinear_f32.tif");
  SKIP_WITHOUT(stack);
  XVolume& volume = stack.GetVolume(1, 1);
  ASSERT_TRUE(volume.IsA(XFPVolume::GetClassVersion()));
  ASSERT_EQ(volume.GetBounds().GetVolume(), 199995u);

  XVolumeVarianceTool all(0);
  all.ApplyTool(volume, nullptr);
  EXPECT_EQ(all.GetPixCount(1), 199995u);
  EXPECT_EQ(all.GetMin(1), 0.0);
  EXPECT_EQ(all.GetMax(1), 22674.2421875);
  EXPECT_EQ(all.GetMean(1), 196000288.0 / 199995);
  EXPECT_NEAR(all.GetMean(1), 980.0266780628866, 1e-6 * 980);  // numpy, float64
  EXPECT_NEAR(all.GetVariance(1), 2172864.209228907, 1e-10 * 2172864);

  XVolumeVarianceTool positive(XVolumeStatsTool::kExcludeZero);
  positive.ApplyTool(volume, nullptr);
  EXPECT_EQ(positive.GetPixCount(1), 187957u);
  EXPECT_EQ(positive.GetMin(1), 212.47987365722656);
  EXPECT_EQ(positive.GetMean(1), 196000288.0 / 187957);
  EXPECT_NEAR(positive.GetMean(1), 1042.7940192660396, 1e-6 * 1042);  // numpy, float64
  EXPECT_NEAR(positive.GetVariance(1), 2246575.2875128547, 1e-10 * 2246575);
}

}  // namespace
