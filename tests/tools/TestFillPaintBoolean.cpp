// The region writers: XFillVolumeTool, XPaintVolumeTool and XBooleanVolumeTool.
#include <vector>

#include "ToolTestSupport.h"
#include "rendering/XImageRenderer.h"
#include "tools/XBooleanVolumeTool.h"
#include "tools/XFillVolumeTool.h"
#include "tools/XPaintVolumeTool.h"

using namespace mirelan;

using namespace tooltest;
using ARGB = XARGB32Colour;

namespace {

// Fills a one-row volume of four with inBefore, runs inWrite on it and
// expects inBefore outside x 1..2 and inInside within.
template <class V, class Write>
void ExpectInsideOnly(Write inWrite, typename V::Voxel inBefore, typename V::Voxel inInside) {
  V volume(4, 1, 1);
  volume.Fill(inBefore);
  inWrite(volume);
  EXPECT_TRUE(RowVoxels<V>(volume) == (std::vector<typename V::Voxel>{inBefore, inInside, inInside, inBefore}))
      << volume.GetDescription();
}

}  // namespace

TEST_F(ToolTest, FillValueTruncatesToTheTypeInsideTheRegionOnly) {
  X3DRegion region(X3DRect(1, 0, 0, 3, 1, 1));
  auto fill = [&](Float64 inValue) {
    return [&, inValue](XVolume& v) { XFillVolumeTool().FillRegionValue(v, &region, inValue); };
  };
  ExpectInsideOnly<XGrey8Volume>(fill(255.9), 7, 255);
  ExpectInsideOnly<XMaskVolume>(fill(255.0), 0, 255);
  ExpectInsideOnly<XGrey16Volume>(fill(65535.5), 1, 65535);
  ExpectInsideOnly<XARGB32Volume>(fill(77.7), ARGB(0, 0, 0, 0), ARGB(255, 77, 77, 77));
  ExpectInsideOnly<XFPVolume>(fill(-2.25), 0.0f, -2.25f);
  ExpectInsideOnly<XARGB32Volume>(
      [&](XVolume& v) { XFillVolumeTool().FillRegionColour(v, &region, ARGB(9, 1, 2, 3)); }, ARGB(0, 0, 0, 0),
      ARGB(9, 1, 2, 3));
  XGrey8Volume grey(2, 1, 1);
  XFillVolumeTool().FillRegionValue(grey, nullptr, 3.0);  // no region: everywhere
  EXPECT_EQ(BlockBytes(grey, 2), (std::vector<UInt8>{3, 3}));

  ExpectRefused(Volumes<XRGB48Volume, XBGRA32Volume>(), [](XVolume& v) { XFillVolumeTool().FillRegionValue(v, 0, 1); });
  ExpectRefused(Volumes<XGrey8Volume>(), [](XVolume& v) { XFillVolumeTool().FillRegionColour(v, 0, ARGB(1, 2, 3)); });
}

TEST_F(ToolTest, PaintConvertsTheColourOnceToEachVoxelType) {
  const ARGB colour(200, 30, 60, 90), white(255, 255, 255, 255);  // average 60
  auto paint = [&](const ARGB& inColour) {
    return [&, inColour](XVolume& v) { XPaintVolumeTool::FillRect(v, X3DRect(1, 0, 0, 3, 1, 1), inColour); };
  };
  ExpectInsideOnly<XGrey8Volume>(paint(colour), 1, 60);
  ExpectInsideOnly<XMaskVolume>(paint(white), 0, 255);
  ExpectInsideOnly<XGrey16Volume>(paint(colour), 1, 60 * 257);
  ExpectInsideOnly<XGrey32Volume>(paint(white), 1, 0xFFFFFFFFu);
  ExpectInsideOnly<XARGB32Volume>(paint(colour), ARGB(), colour);
  ExpectInsideOnly<XBGRA32Volume>(paint(colour), XBGRA32Colour(), XBGRA32Colour(200, 30, 60, 90));
  ExpectInsideOnly<XRGB48Volume>(paint(colour), XRGB48Colour(), XRGB48Colour(30 * 257, 60 * 257, 90 * 257));
  // Float takes low + average * (high - low) / 255 over the display range.
  XFPVolume fp(1, 1, 1);
  fp.GetPlaneRenderer().SetWhite(510.0);
  XPaintVolumeTool::FillRect(fp, fp.GetBounds(), colour);
  EXPECT_FLOAT_EQ(VoxelAt(fp, 0, 0, 0), 120.0f);

  // Through a complex region, and only there.
  XGrey16Volume volume(X3DRect(10, 10, 0, 14, 12, 1));
  volume.Fill(1);
  X3DRegion region(MakeMask(X3DRect(8, 10, 0, 13, 11, 1), [](SInt32 x, SInt32, SInt32) { return x % 2 == 0; }));
  XPaintVolumeTool::FillRegion(volume, region, white);
  EXPECT_EQ(RowVoxels<XGrey16Volume>(volume), (std::vector<UInt16>{65535, 1, 65535, 1}));
  EXPECT_EQ(VoxelAt(volume, 10, 11, 0), 1);
}

TEST_F(ToolTest, BooleanAndClearsWhereTheMaskIsZeroWithinTheSharedBox) {
  // The mask covers x 1..4 with a hole at 2: x 0 is outside its box and stays.
  const XMaskVolume mask = MakeMask(X3DRect(1, 0, 0, 5, 1, 1), [](SInt32 x, SInt32, SInt32) { return x != 2; });
  auto check = [&](auto inVolume, auto inBefore) {
    using V = decltype(inVolume);
    using T = typename V::Voxel;
    inVolume.Fill(T(inBefore));
    XBooleanVolumeTool::AndVolumes(inVolume, mask, inVolume);
    EXPECT_TRUE(RowVoxels<V>(inVolume) == (std::vector<T>{T(inBefore), T(inBefore), T(), T(inBefore)}))
        << inVolume.GetDescription();
  };
  check(XGrey8Volume(4, 1, 1), UInt8(9));
  check(XMaskVolume(4, 1, 1), UInt8(255));
  check(XGrey16Volume(4, 1, 1), UInt16(65535));
  check(XFPVolume(4, 1, 1), -1.5f);
  check(XARGB32Volume(4, 1, 1), ARGB(255, 1, 2, 3));
  check(XRGB48Volume(4, 1, 1), XRGB48Colour(65535));

  // A different source is copied into the destination first.
  const XMaskVolume first = MakeMask(X3DRect(2, 1, 1), [](SInt32 x, SInt32, SInt32) { return x == 0; });
  XGrey8Volume source(2, 1, 1), dest(2, 1, 1);
  source.Fill(40);
  dest.Fill(1);
  XBooleanVolumeTool::AndVolumes(source, first, dest);
  EXPECT_EQ(BlockBytes(dest, 2), (std::vector<UInt8>{40, 0}));
  EXPECT_EQ(BlockBytes(source, 2), (std::vector<UInt8>{40, 40}));
}

TEST_F(ToolTest, BooleanXorFlipsByteVolumesAndOtherTypesAreRefused) {
  const XMaskVolume mask = MakeMask(X3DRect(2, 1, 1), [](SInt32 x, SInt32, SInt32) { return x == 0; });
  XMaskVolume target = MakeMask(X3DRect(2, 1, 1), [](SInt32, SInt32, SInt32) { return true; });
  XBooleanVolumeTool::XorVolumes(target, mask, target);
  EXPECT_EQ(BlockBytes(target, 2), (std::vector<UInt8>{0, 255}));
  XGrey8Volume grey(2, 1, 1);
  grey.Fill(0x0F);
  XBooleanVolumeTool::XorVolumes(grey, mask, grey);
  EXPECT_EQ(BlockBytes(grey, 2), (std::vector<UInt8>{0xF0, 0x0F}));

  const XMaskVolume square = MakeMask(X3DRect(2, 2, 1), [](SInt32, SInt32, SInt32) { return true; });
  ExpectRefused(Volumes<XGrey16Volume>(), [&](XVolume& v) { XBooleanVolumeTool::XorVolumes(v, square, v); });
  ExpectRefused(Volumes<XBGRA32Volume, XGrey32Volume>(),
                [&](XVolume& v) { XBooleanVolumeTool::AndVolumes(v, square, v); });
}
