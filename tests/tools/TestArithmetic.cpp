// The two-volume tools. XVolumeArithmeticTool: the eight operators on each
// served type at the edges of the type, the long-run (vector) path against
// the short tail, padding, and the refusals. XRatioTool: subtraction before
// the strict thresholds, the result volume, and the two refusals (2509 for a
// class mismatch, 2500 for a class not served).
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <vector>

#include "ToolTestSupport.h"
#include "tools/XRatioTool.h"
#include "tools/XVolumeArithmeticTool.h"

using namespace mirelan;

using namespace tooltest;
using XOp = XVolumeArithmeticTool::XOperator;

namespace {

constexpr Float64 kInfinity = std::numeric_limits<Float32>::infinity();

struct Case {
  SInt32 op;
  Float64 a, b, expected;
};

// Runs every case in one volume: voxel i holds case i. The count is raised
// past the tools' block length so that each case meets the vector path and
// the scalar tail.
template <class V>
void RunCases(const std::vector<Case>& inCases) {
  using T = typename V::Voxel;
  for (SInt32 op = -1; op <= 8; ++op) {
    std::vector<Case> cases;
    std::copy_if(inCases.begin(), inCases.end(), std::back_inserter(cases), [&](const Case& c) { return c.op == op; });
    if (cases.empty()) continue;
    const UInt32 n = UInt32(cases.size()), repeat = 150;
    V a(n, repeat, 1), b(n, repeat, 1);
    FillWith(a, [&](SInt32 x, SInt32, SInt32) { return T(cases[x].a); });
    FillWith(b, [&](SInt32 x, SInt32, SInt32) { return T(cases[x].b); });
    XVolumeArithmeticTool().ApplyTool(a, b, XOp(op));
    for (UInt32 y : {0u, repeat - 1})
      for (UInt32 i = 0; i < n; ++i)
        EXPECT_TRUE(VoxelAt(a, i, y, 0) == T(cases[i].expected))
            << "op " << op << ": " << cases[i].a << " with " << cases[i].b << " row " << y;
  }
}

}  // namespace

TEST_F(ToolTest, ArithmeticOperatorsPerTypeAtTheEdges) {
  RunCases<XGrey8Volume>({
      {0, 200, 100, 255}, {0, 255, 255, 255}, {0, 100, 55, 155}, {1, 100, 200, 0},   {1, 255, 0, 255},
      {1, 200, 55, 145},  {2, 100, 200, 28},  {2, 255, 0, 255},  {2, 127, 0, 255},   {2, 126, 0, 254},
      {3, 100, 200, 100}, {3, 200, 100, 100}, {3, 0, 255, 255},  {4, 16, 16, 255},   {4, 15, 17, 255},
      {4, 3, 4, 12},      {4, 0, 255, 0},     {5, 200, 0, 200},  {5, 200, 99, 2},    {5, 7, 1, 3},
      {6, 3, 200, 3},     {6, 255, 0, 0},     {7, 3, 200, 200},  {7, 255, 0, 255},
      {8, 10, 20, 10},    {-1, 10, 20, 10},  // outside 0..7: nothing
  });
  RunCases<XGrey16Volume>({
      {0, 65535, 1, 65535}, {0, 40000, 30000, 65535}, {0, 300, 200, 500},     {1, 1, 65535, 0},
      {1, 65535, 1, 65534}, {2, 0, 65535, 0},         {2, 65535, 0, 65535},   {2, 40000, 10000, 62768},
      {2, 10000, 40000, 2768}, {3, 1, 65535, 65534},
      // 65535 * 65535 needs all 32 bits.
      {4, 300, 300, 65535}, {4, 65535, 65535, 65535}, {4, 255, 257, 65535},   {4, 256, 255, 65280},
      {5, 65535, 0, 65535}, {5, 65535, 65535, 0},     {5, 1000, 9, 100},
      // Quotients at and just below an integer.
      {5, 65534, 32766, 2}, {5, 65533, 32766, 1},     {6, 65535, 256, 256},   {7, 65535, 256, 65535},
  });
  RunCases<XFPVolume>({
      {0, 1e30, 1e30, 2e30}, {0, -5, 2.5, -2.5}, {1, 1, 3, -2}, {2, 1, 3, -2},  // no offset for floats
      {3, 1, 3, 2},          {3, -1.5, 2, 3.5},  {4, -2, 3.5, -7}, {4, 1e20, 1e20, kInfinity},
      {5, 7, 0, 7},          {5, 3, 0.5, 2},     {5, -6, 2, -2},
      {5, 1, -1, kInfinity},  // b = -1 divides by zero, unguarded
      {6, -1, 0.5, -1},      {7, -1, 0.5, 0.5},
  });
}

TEST_F(ToolTest, ArithmeticGrey8OffsetAndDivisionOverEveryPair) {
  // Both run through other arithmetic than the integer formula; every pair agrees.
  XGrey8Volume a(256, 256, 1), b(256, 256, 1);
  FillWith(a, [](SInt32 x, SInt32, SInt32) { return UInt8(x); });
  FillWith(b, [](SInt32, SInt32 y, SInt32) { return UInt8(y); });
  XGrey8Volume quotient(a);
  XVolumeArithmeticTool().ApplyTool(quotient, b, XVolumeArithmeticTool::kDivideByOneMore);
  XVolumeArithmeticTool().ApplyTool(a, b, XVolumeArithmeticTool::kSubtractOffset);
  for (SInt32 y = 0; y < 256; ++y)
    for (SInt32 x = 0; x < 256; ++x) {
      ASSERT_EQ(VoxelAt(quotient, x, y, 0), x / (y + 1)) << x << " / " << y;
      ASSERT_EQ(VoxelAt(a, x, y, 0), std::clamp(x - y + 128, 0, 255)) << x << " - " << y;
    }
}

TEST_F(ToolTest, ArithmeticARGB32WorksPerChannelAndKeepsAlpha) {
  // Each channel meets another edge case; alpha of a stays whatever b's is.
  const UInt32 n = 70;  // past one block of bytes and into the tail
  XARGB32Volume a(n, 1, 1), b(n, 1, 1);
  a.Fill(XARGB32Colour(17, 200, 100, 0));
  b.Fill(XARGB32Colour(250, 100, 200, 255));
  const XARGB32Colour expected[8] = {{17, 255, 255, 255}, {17, 100, 0, 0},   {17, 228, 28, 0}, {17, 100, 100, 255},
                                     {17, 255, 255, 0},   {17, 1, 0, 0},     {17, 100, 100, 0}, {17, 200, 200, 255}};
  for (SInt32 op = 0; op < 8; ++op) {
    XARGB32Volume work(a);
    XVolumeArithmeticTool().ApplyTool(work, b, XOp(op));
    for (UInt32 x : {0u, 15u, 16u, n - 1}) EXPECT_EQ(VoxelAt(work, x, 0, 0), expected[op]) << "op " << op << " x " << x;
  }
}

TEST_F(ToolTest, ArithmeticWithItselfOnMasksAndOverPadding) {
  XGrey8Volume self(100, 3, 2);
  FillWith(self, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + y + z + 100); });
  XVolumeArithmeticTool().ApplyTool(self, self, XVolumeArithmeticTool::kAdd);
  EXPECT_EQ(VoxelAt(self, 0, 0, 0), 200);
  EXPECT_EQ(VoxelAt(self, 99, 2, 1), 255);
  XMaskVolume m = MakeMask(X3DRect(2, 1, 1), [](SInt32, SInt32, SInt32) { return true; });  // served as Grey8
  XVolumeArithmeticTool().ApplyTool(m, MakeMask(X3DRect(2, 1, 1), [](SInt32 x, SInt32, SInt32) { return x == 1; }),
                                    XVolumeArithmeticTool::kMinimum);
  EXPECT_EQ(BlockBytes(m, 2), (std::vector<UInt8>{0, 255}));

  // Same row length: one run over the block, padding included.
  auto a = MakePaddedGrey8(2, 2, 1, 3, [](UInt32 x, UInt32 y, UInt32) { return 10 + x + 2 * y; }, 40);
  auto b = MakePaddedGrey8(2, 2, 1, 3, [](UInt32, UInt32, UInt32) { return 1; }, 2);
  XVolumeArithmeticTool().ApplyTool(*a, *b, XVolumeArithmeticTool::kAdd);
  EXPECT_EQ(BlockBytes(*a, 6), (std::vector<UInt8>{11, 12, 42, 13, 14, 42}));
  // Different row lengths: voxels still meet their partners.
  XGrey8Volume c(2, 2, 1);
  FillWith(c, [](SInt32 x, SInt32 y, SInt32) { return UInt8(100 * y + x); });
  XVolumeArithmeticTool().ApplyTool(*a, c, XVolumeArithmeticTool::kAdd);
  EXPECT_EQ(BlockBytes(*a, 6), (std::vector<UInt8>{11, 13, 42, 113, 115, 42}));
}

TEST_F(ToolTest, ArithmeticRefusals) {
  XVolumeArithmeticTool tool;
  ExpectRefused(Volumes<XRGB48Volume, XBGRA32Volume, XGrey32Volume>(),
                [&](XVolume& v) { tool.ApplyTool(v, v, XVolumeArithmeticTool::kAdd); });

  XGrey8Volume grey(2, 2, 1), other(X3DRect(5, 5, 0, 7, 7, 1)), wider(3, 2, 1);
  XMaskVolume mask(2, 2, 1);
  XGrey16Volume grey16(2, 2, 1);
  for (XVolume* v : std::vector<XVolume*>{&grey16, &mask, &wider})
    EXPECT_THROW(tool.ApplyTool(grey, *v, XVolumeArithmeticTool::kAdd), XInternalError);
  EXPECT_NO_THROW(tool.ApplyTool(grey, other, XVolumeArithmeticTool::kAdd));  // size, not position
}

// ---------------------------------------------------------------- ratio

namespace {

// Numerator and denominator one row each, voxel by voxel; the ratios.
template <class V>
std::vector<Float32> Ratio(XRatioTool& ioTool, const std::vector<typename V::Voxel>& inA,
                           const std::vector<typename V::Voxel>& inB) {
  std::unique_ptr<XFPVolume> r(ioTool.RatioVolumes(RowOf<V>(inA), RowOf<V>(inB)));
  return RowVoxels<XFPVolume>(*r);
}

void ExpectRatios(const std::vector<Float32>& inActual, const std::vector<Float32>& inExpected) {
  ASSERT_EQ(inActual.size(), inExpected.size());
  for (size_t i = 0; i < inActual.size(); ++i) EXPECT_FLOAT_EQ(inActual[i], inExpected[i]) << "voxel " << i;
}

}  // namespace

TEST_F(ToolTest, RatioSubtractsThenTestsBothThresholdsStrictly) {
  XRatioTool tool;
  tool.SetBackgroundSubtractionValues(10, 20);
  tool.SetThresholds(5, 4);
  // n = a - 10, d = b - 20: n must exceed 5 and d exceed 4. n = 5 and d = 4
  // sit at the thresholds and give 0, as do d = 1 and n = -10.
  ExpectRatios(Ratio<XGrey8Volume>(tool, {40, 15, 16, 40, 40, 255, 0}, {30, 30, 30, 24, 25, 21, 255}),
               {3.0f, 0.0f, 0.6f, 0.0f, 6.0f, 0.0f, 0.0f});

  // The defaults: no subtraction, thresholds 0, so zero and below give 0.
  XRatioTool plain;
  ExpectRatios(Ratio<XGrey16Volume>(plain, {65535, 1, 0, 7}, {1, 65535, 3, 0}), {65535.0f, 1.0f / 65535, 0.0f, 0.0f});
  ExpectRatios(Ratio<XMaskVolume>(plain, {255, 0}, {255, 255}), {1.0f, 0.0f});
  plain.SetBackgroundSubtractionValues(0.5f, -1.0f);
  plain.SetThresholds(-1.0f, 0.0f);
  // n = -0.25, d = 0.5; then n = -1 and d = 0 at the thresholds.
  ExpectRatios(Ratio<XFPVolume>(plain, {0.25f, -0.5f, 1.5f}, {-0.5f, 1.0f, -1.0f}), {-0.5f, 0.0f, 0.0f});
}

TEST_F(ToolTest, RatioResultTakesTheNumeratorsBoundsAndCalibration) {
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

TEST_F(ToolTest, RatioRefusals) {
  XRatioTool tool;
  XGrey8Volume grey(2, 2, 1), wider(3, 2, 1);
  XMaskVolume mask(2, 2, 1);
  XGrey16Volume grey16(2, 2, 1);
  XFPVolume fp(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(grey, grey16); }), kErrRatioClassMismatch);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(grey, mask); }), kErrRatioClassMismatch);
  EXPECT_EQ(ErrorOf([&] { delete tool.RatioVolumes(fp, grey); }), kErrRatioClassMismatch);
  ExpectRefused(Volumes<XARGB32Volume, XRGB48Volume, XGrey32Volume>(),
                [&](XVolume& v) { delete tool.RatioVolumes(v, v); });
  EXPECT_THROW(delete tool.RatioVolumes(grey, wider), XInternalError);
}
