// XRatioTool: subtraction before the strict thresholds, the result volume,
// and the two refusals (2509 for a class mismatch, 2500 for a class not served).
#include <gtest/gtest.h>

#include <memory>

#include "SimpleToolsTestSupport.h"
#include "tools/XRatioTool.h"

using namespace simpletools;

namespace {

// Numerator and denominator one row each, voxel by voxel.
template <class V>
std::unique_ptr<XFPVolume> Ratio(XRatioTool& ioTool, const std::vector<Float64>& inA,
                                 const std::vector<Float64>& inB) {
  V a(UInt32(inA.size()), 1, 1), b(UInt32(inB.size()), 1, 1);
  using T = typename V::Voxel;
  FillWith(a, [&](SInt32 x, SInt32, SInt32) { return T(inA[x]); });
  FillWith(b, [&](SInt32 x, SInt32, SInt32) { return T(inB[x]); });
  return std::unique_ptr<XFPVolume>(ioTool.RatioVolumes(a, b));
}

}  // namespace

TEST_F(SimpleToolTest, RatioSubtractsThenTestsBothThresholdsStrictly) {
  XRatioTool tool;
  tool.SetBackgroundSubtractionValues(10, 20);
  tool.SetThresholds(5, 4);
  // n = a - 10, d = b - 20: n must exceed 5 and d exceed 4.
  auto r = Ratio<XGrey8Volume>(tool, {40, 15, 16, 40, 40, 255, 0}, {30, 30, 30, 24, 25, 21, 255});
  EXPECT_FLOAT_EQ(VoxelAt(*r, 0, 0, 0), 3.0f);   // 30 / 10
  EXPECT_EQ(VoxelAt(*r, 1, 0, 0), 0.0f);         // n = 5: at the threshold
  EXPECT_FLOAT_EQ(VoxelAt(*r, 2, 0, 0), 0.6f);   // n = 6
  EXPECT_EQ(VoxelAt(*r, 3, 0, 0), 0.0f);         // d = 4: at the threshold
  EXPECT_FLOAT_EQ(VoxelAt(*r, 4, 0, 0), 6.0f);   // d = 5
  EXPECT_EQ(VoxelAt(*r, 5, 0, 0), 0.0f);         // d = 1
  EXPECT_EQ(VoxelAt(*r, 6, 0, 0), 0.0f);         // n = -10
}

TEST_F(SimpleToolTest, RatioServesGrey16MasksAndFloats) {
  XRatioTool tool;
  // The defaults: no subtraction, thresholds 0, so zero and below give 0.
  auto g16 = Ratio<XGrey16Volume>(tool, {65535, 1, 0, 7}, {1, 65535, 3, 0});
  EXPECT_FLOAT_EQ(VoxelAt(*g16, 0, 0, 0), 65535.0f);
  EXPECT_FLOAT_EQ(VoxelAt(*g16, 1, 0, 0), 1.0f / 65535.0f);
  EXPECT_EQ(VoxelAt(*g16, 2, 0, 0), 0.0f);
  EXPECT_EQ(VoxelAt(*g16, 3, 0, 0), 0.0f);

  auto masks = Ratio<XMaskVolume>(tool, {255, 0}, {255, 255});
  EXPECT_FLOAT_EQ(VoxelAt(*masks, 0, 0, 0), 1.0f);
  EXPECT_EQ(VoxelAt(*masks, 1, 0, 0), 0.0f);

  tool.SetBackgroundSubtractionValues(0.5f, -1.0f);
  tool.SetThresholds(-1.0f, 0.0f);
  auto fp = Ratio<XFPVolume>(tool, {0.25, -0.5, 1.5}, {-0.5, 1.0, -1.0});
  EXPECT_FLOAT_EQ(VoxelAt(*fp, 0, 0, 0), -0.5f);  // n = -0.25, d = 0.5
  EXPECT_EQ(VoxelAt(*fp, 1, 0, 0), 0.0f);          // n = -1: at the threshold
  EXPECT_EQ(VoxelAt(*fp, 2, 0, 0), 0.0f);          // d = 0: at the threshold
}

TEST_F(SimpleToolTest, RatioResultTakesTheNumeratorsBoundsAndCalibration) {
  XGrey8Volume a(X3DRect(-2, 3, 1, 1, 5, 3)), b(X3DRect(3, 2, 2));
  a.SetXCalibration(0.25);
  a.SetZCalibration(2.0);
  FillWith(a, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(10 * (x + 3) + y + z); });
  FillWith(b, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(1 + x + y + z); });
  std::unique_ptr<XFPVolume> r(XRatioTool().RatioVolumes(a, b));
  EXPECT_EQ(r->GetBounds(), a.GetBounds());
  EXPECT_EQ(r->GetXCalibration(), 0.25);
  EXPECT_EQ(r->GetZCalibration(), 2.0);
  // Voxels pair by position within the bounds.
  EXPECT_FLOAT_EQ(VoxelAt(*r, 0, 4, 2), Float32(10 * 3 + 4 + 2) / Float32(1 + 2 + 1 + 1));
}

TEST_F(SimpleToolTest, RatioRefusals) {
  XRatioTool tool;
  XGrey8Volume grey(2, 2, 1);
  XMaskVolume mask(2, 2, 1);
  XGrey16Volume grey16(2, 2, 1);
  XFPVolume fp(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(grey, grey16); }), kErrRatioClassMismatch);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(grey, mask); }), kErrRatioClassMismatch);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(fp, grey); }), kErrRatioClassMismatch);

  XARGB32Volume argb(2, 2, 1);
  XRGB48Volume rgb(2, 2, 1);
  XGrey32Volume labels(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(argb, argb); }), kErrNotForPixelType);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(rgb, rgb); }), kErrNotForPixelType);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(labels, labels); }), kErrNotForPixelType);

  XGrey8Volume wider(3, 2, 1);
  EXPECT_THROW(delete tool.RatioVolumes(grey, wider), XInternalError);
}
