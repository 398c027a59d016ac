// XVolumeArithmeticTool: the eight operators on each served type at the
// edges of the type, the long-run (vector) path against the short tail,
// padding, and the refusals.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "SimpleToolsTestSupport.h"
#include "tools/XVolumeArithmeticTool.h"

using namespace simpletools;
using XOp = XVolumeArithmeticTool::XOperator;

namespace {

struct Case {
  SInt32 op;
  Float64 a, b, expected;
};

// Runs every case in one volume: voxel i holds case i. The count is raised
// past the tools' block length so that each case meets the vector path and
// the scalar tail.
template <class V, class Make>
void RunCases(const std::vector<Case>& inCases, Make inMake) {
  for (SInt32 op = -1; op <= 8; ++op) {
    std::vector<Case> cases;
    for (const Case& c : inCases)
      if (c.op == op) cases.push_back(c);
    if (cases.empty()) continue;
    const UInt32 n = UInt32(cases.size()), repeat = 150;
    V a(n, repeat, 1), b(n, repeat, 1);
    FillWith(a, [&](SInt32 x, SInt32, SInt32) { return inMake(cases[x].a); });
    FillWith(b, [&](SInt32 x, SInt32, SInt32) { return inMake(cases[x].b); });
    XVolumeArithmeticTool().ApplyTool(a, b, XOp(op));
    for (UInt32 y : {0u, repeat - 1})
      for (UInt32 i = 0; i < n; ++i)
        EXPECT_TRUE(VoxelAt(a, i, y, 0) == inMake(cases[i].expected))
            << "op " << op << ": " << cases[i].a << " with " << cases[i].b << " row " << y;
  }
}

UInt8 Grey8(Float64 v) { return UInt8(v); }
UInt16 Grey16(Float64 v) { return UInt16(v); }

}  // namespace

TEST_F(SimpleToolTest, Grey8OperatorsSaturateAtBothEnds) {
  RunCases<XGrey8Volume>(
      {
          {0, 200, 100, 255}, {0, 255, 255, 255}, {0, 0, 0, 0}, {0, 100, 55, 155},
          {1, 100, 200, 0},   {1, 0, 255, 0},     {1, 255, 0, 255}, {1, 200, 55, 145},
          {2, 100, 200, 28},  {2, 0, 255, 0},     {2, 255, 0, 255}, {2, 127, 0, 255}, {2, 126, 0, 254}, {2, 5, 5, 128},
          {3, 100, 200, 100}, {3, 200, 100, 100}, {3, 0, 255, 255},
          {4, 16, 16, 255},   {4, 15, 17, 255},   {4, 3, 4, 12}, {4, 255, 255, 255}, {4, 0, 255, 0},
          {5, 200, 0, 200},   {5, 200, 99, 2},    {5, 255, 255, 0}, {5, 7, 1, 3},
          {6, 3, 200, 3},     {6, 255, 0, 0},     {7, 3, 200, 200}, {7, 255, 0, 255},
          // Values outside 0..7 change nothing.
          {8, 10, 20, 10},    {-1, 10, 20, 10},
      },
      Grey8);
}

TEST_F(SimpleToolTest, Grey8OffsetAndDivisionOverEveryPair) {
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

TEST_F(SimpleToolTest, Grey16OperatorsUseTheSixteenBitRange) {
  RunCases<XGrey16Volume>(
      {
          {0, 65535, 1, 65535}, {0, 40000, 30000, 65535}, {0, 300, 200, 500},
          {1, 1, 65535, 0},     {1, 65535, 1, 65534},
          {2, 0, 65535, 0},     {2, 65535, 0, 65535},     {2, 40000, 10000, 62768}, {2, 10000, 40000, 2768},
          {3, 1, 65535, 65534},
          // 65535 * 65535 needs all 32 bits.
          {4, 300, 300, 65535}, {4, 65535, 65535, 65535}, {4, 255, 257, 65535}, {4, 256, 255, 65280},
          {5, 65535, 0, 65535}, {5, 65535, 65535, 0},     {5, 1000, 9, 100},
          // Quotients at and just below an integer.
          {5, 65534, 32766, 2}, {5, 65533, 32766, 1},     {5, 65535, 255, 255},
          {6, 65535, 256, 256}, {7, 65535, 256, 65535},
      },
      Grey16);
}

TEST_F(SimpleToolTest, FloatOperatorsArePlainAndDivideByOneMore) {
  RunCases<XFPVolume>(
      {
          {0, 1e30, 1e30, 2e30}, {0, -5, 2.5, -2.5},
          {1, 1, 3, -2},         {2, 1, 3, -2},  // no offset for floats
          {3, 1, 3, 2},          {3, -1.5, 2, 3.5},
          {4, -2, 3.5, -7},      {4, 1e20, 1e20, std::numeric_limits<Float32>::infinity()},
          {5, 7, 0, 7},          {5, 3, 0.5, 2},   {5, -6, 2, -2},
          {6, -1, 0.5, -1},      {7, -1, 0.5, 0.5},
      },
      [](Float64 v) { return Float32(v); });

  // b = -1 divides by zero; the operator does not guard against it.
  XFPVolume a(1, 1, 1), b(1, 1, 1);
  FillWith(a, [](SInt32, SInt32, SInt32) { return 1.0f; });
  FillWith(b, [](SInt32, SInt32, SInt32) { return -1.0f; });
  XVolumeArithmeticTool().ApplyTool(a, b, XVolumeArithmeticTool::kDivideByOneMore);
  EXPECT_TRUE(std::isinf(VoxelAt(a, 0, 0, 0)));
}

TEST_F(SimpleToolTest, ARGB32OperatorsWorkPerChannelAndKeepAlpha) {
  // Each channel meets another edge case; alpha of a stays whatever b's is.
  const UInt32 n = 70;  // past one block of bytes and into the tail
  XARGB32Volume a(n, 1, 1), b(n, 1, 1);
  const XARGB32Colour ca(17, 200, 100, 0), cb(250, 100, 200, 255);
  FillWith(a, [&](SInt32, SInt32, SInt32) { return ca; });
  FillWith(b, [&](SInt32, SInt32, SInt32) { return cb; });
  const XARGB32Colour expected[8] = {
      XARGB32Colour(17, 255, 255, 255), XARGB32Colour(17, 100, 0, 0), XARGB32Colour(17, 228, 28, 0),
      XARGB32Colour(17, 100, 100, 255), XARGB32Colour(17, 255, 255, 0), XARGB32Colour(17, 1, 0, 0),
      XARGB32Colour(17, 100, 100, 0),   XARGB32Colour(17, 200, 200, 255),
  };
  for (SInt32 op = 0; op < 8; ++op) {
    XARGB32Volume work(a);
    XVolumeArithmeticTool().ApplyTool(work, b, XOp(op));
    for (UInt32 x : {0u, 15u, 16u, n - 1}) EXPECT_EQ(VoxelAt(work, x, 0, 0), expected[op]) << "op " << op << " x " << x;
  }
}

TEST_F(SimpleToolTest, ArithmeticWithItselfAndOnMasks) {
  XGrey8Volume a(100, 3, 2);
  FillWith(a, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + y + z + 100); });
  XVolumeArithmeticTool().ApplyTool(a, a, XVolumeArithmeticTool::kAdd);
  EXPECT_EQ(VoxelAt(a, 0, 0, 0), 200);
  EXPECT_EQ(VoxelAt(a, 99, 2, 1), 255);

  XMaskVolume m(2, 1, 1), n(2, 1, 1);  // served as Grey8
  FillWith(m, [](SInt32, SInt32, SInt32) { return UInt8(255); });
  FillWith(n, [](SInt32 x, SInt32, SInt32) { return UInt8(x ? 255 : 0); });
  XVolumeArithmeticTool().ApplyTool(m, n, XVolumeArithmeticTool::kMinimum);
  EXPECT_EQ(VoxelAt(m, 0, 0, 0), 0);
  EXPECT_EQ(VoxelAt(m, 1, 0, 0), 255);
}

TEST_F(SimpleToolTest, ArithmeticWalksThePaddingAndPairsPaddedRows) {
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

TEST_F(SimpleToolTest, ArithmeticRefusals) {
  XRGB48Volume rgbA(2, 2, 1), rgbB(2, 2, 1);
  XBGRA32Volume bgraA(2, 2, 1), bgraB(2, 2, 1);
  XGrey32Volume labelsA(2, 2, 1), labelsB(2, 2, 1);
  XVolumeArithmeticTool tool;
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(rgbA, rgbB, XVolumeArithmeticTool::kAdd); }), kErrNotForPixelType);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(bgraA, bgraB, XVolumeArithmeticTool::kAdd); }), kErrNotForPixelType);
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(labelsA, labelsB, XVolumeArithmeticTool::kAdd); }), kErrNotForPixelType);

  XGrey8Volume grey(2, 2, 1), other(X3DRect(5, 5, 0, 7, 7, 1)), wider(3, 2, 1);
  XMaskVolume mask(2, 2, 1);
  XGrey16Volume grey16(2, 2, 1);
  EXPECT_THROW(tool.ApplyTool(grey, grey16, XVolumeArithmeticTool::kAdd), XInternalError);
  EXPECT_THROW(tool.ApplyTool(grey, mask, XVolumeArithmeticTool::kAdd), XInternalError);
  EXPECT_THROW(tool.ApplyTool(grey, wider, XVolumeArithmeticTool::kAdd), XInternalError);
  EXPECT_NO_THROW(tool.ApplyTool(grey, other, XVolumeArithmeticTool::kAdd));  // size, not position
}
