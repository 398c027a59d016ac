// Rotation about the centre with bilinear sums that truncate after each corner.
#include <cmath>

#include "ToolTestSupport.h"
#include "tools/XImageRotationTool.h"

namespace {

using namespace tooltest;

class ImageRotation : public ToolTest {};

template <class V, class Fn>
std::unique_ptr<V> Made(UInt32 inWidth, UInt32 inHeight, Fn inValueAt) {
  auto volume = std::make_unique<V>(X3DRect(-3, 7, 2, SInt32(inWidth) - 3, SInt32(inHeight) + 7, 3));
  FillWith(*volume, [&](SInt32 x, SInt32 y, SInt32) { return inValueAt(x + 3, y - 7); });
  return volume;
}

template <class V>
typename V::Voxel At(const V& inVolume, SInt32 inX, SInt32 inY) {
  return VoxelAt(inVolume, inX - 3, inY + 7, 2);
}

TEST_F(ImageRotation, NoTurnCopiesAndAQuarterTurnMovesPixelsWhole) {
  auto source = Made<XGrey8Volume>(5, 5, [](SInt32 x, SInt32 y) { return UInt8(10 * x + y); });
  XImageRotationTool tool;
  std::unique_ptr<XVolume> same(tool.ApplyTool(*source));
  EXPECT_TRUE(*same == *source);
  // A quarter turn of an odd square: (x, y) takes the source (y, 4 - x).
  // cos(90) is not quite 0, so a sample may land a hair short of a whole
  // pixel and the truncating sum then loses one.
  tool.SetRotationDegrees(90);
  EXPECT_EQ(tool.GetRotationDegrees(), 90.0f);
  std::unique_ptr<XVolume> turned(tool.ApplyTool(*source));
  auto& t = static_cast<XGrey8Volume&>(*turned);
  EXPECT_EQ(t.GetBounds(), source->GetBounds());
  for (SInt32 y = 0; y < 5; ++y)
    for (SInt32 x = 0; x < 5; ++x) {
      const SInt32 expected = 10 * y + (4 - x), shown = At(t, x, y);
      EXPECT_TRUE(shown == expected || shown == expected - 1) << x << "," << y << ": " << shown;
    }
  // In place: the same, through a copy.
  tool.ApplyToolInPlace(*source);
  EXPECT_TRUE(*source == t);
}

// A quarter turn of 4 x 5 puts every sample between four pixels, each
// weighing a quarter: 3 * 0.25 truncates to 0 at every step and the sum
// stays 0, where 4 survives. Corners outside add nothing: the corner
// pixel has two inside and keeps half.
TEST_F(ImageRotation, SumsTruncateAfterEachCorner) {
  XImageRotationTool tool(90);
  for (UInt8 value : {3, 4, 100}) {
    auto source = Made<XGrey8Volume>(4, 5, [&](SInt32, SInt32) { return value; });
    std::unique_ptr<XVolume> turned(tool.ApplyTool(*source));
    auto& t = static_cast<XGrey8Volume&>(*turned);
    EXPECT_EQ(At(t, 1, 2), value == 3 ? 0 : value);
    EXPECT_EQ(At(t, 0, 0), value == 3 ? 0 : value / 2);
  }
  auto fp = Made<XFPVolume>(4, 5, [](SInt32, SInt32) { return 3.0f; });
  std::unique_ptr<XVolume> turned(tool.ApplyTool(*fp));
  EXPECT_EQ(At(static_cast<XFPVolume&>(*turned), 1, 2), 3.0f);
}

TEST_F(ImageRotation, ColourChannelsTurnAlike) {
  XImageRotationTool tool(90);
  auto argb = Made<XARGB32Volume>(5, 5, [](SInt32 x, SInt32 y) { return XARGB32Colour(UInt8(200 + x), UInt8(x), UInt8(y), 9); });
  std::unique_ptr<XVolume> turned(tool.ApplyTool(*argb));
  EXPECT_EQ(At(static_cast<XARGB32Volume&>(*turned), 1, 3), XARGB32Colour(203, 3, 3, 9));
  auto rgb = Made<XRGB48Volume>(5, 5, [](SInt32 x, SInt32 y) { return XRGB48Colour(UInt16(1000 * x), UInt16(y), 7); });
  std::unique_ptr<XVolume> rgbTurned(tool.ApplyTool(*rgb));
  EXPECT_EQ(At(static_cast<XRGB48Volume&>(*rgbTurned), 1, 3), XRGB48Colour(3000, 3, 7));
  // Half a turn of a constant fades only at the rim.
  tool.SetRotationDegrees(45);
  auto grey16 = Made<XGrey16Volume>(9, 9, [](SInt32, SInt32) { return UInt16(1000); });
  std::unique_ptr<XVolume> tilted(tool.ApplyTool(*grey16));
  auto& g = static_cast<XGrey16Volume&>(*tilted);
  EXPECT_GE(At(g, 4, 4), 997);
  EXPECT_EQ(At(g, 0, 0), 0);
  XGrey32Volume labels(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { delete tool.ApplyTool(labels); }), kErrNotForPixelType);
}

}  // namespace
