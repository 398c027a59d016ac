// The colour tools: the two colour-difference transforms (with the 32-bit
// wrap of the RGB48 sums and the persisting maximum), the CMYK step's
// four-voxel writes, and the 24-bit buffer import.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "SimpleToolsTestSupport.h"
#include "tools/XKCMYToARGBTool.h"
#include "tools/XRGB24ToARGB32Tool.h"
#include "tools/XYCVolumeTools.h"

using namespace simpletools;

namespace {

using ARGB = XARGB32Colour;
using RGB48 = XRGB48Colour;

}  // namespace

// ---------------------------------------------------------------- Y - C and C - Y

TEST_F(SimpleToolTest, ARGB32TransformsClampAndMakeOpaque) {
  const std::vector<ARGB> in = {ARGB(0, 0, 0, 0), ARGB(9, 255, 255, 255), ARGB(255, 255, 0, 0), ARGB(255, 0, 255, 0),
                                ARGB(255, 0, 0, 255), ARGB(255, 10, 20, 30)};
  XYBarCVolumeTool yBarC;
  EXPECT_TRUE(std::isnan(yBarC.GetMaximum()));
  // Red's sum passes 256M and is clamped; negative sums clamp at 0.
  EXPECT_EQ(ApplyToRow<XARGB32Volume>(yBarC, in),
            (std::vector<ARGB>{ARGB(255, 255, 255), ARGB(0, 0, 0), ARGB(255, 102, 102), ARGB(0, 211, 0),
                               ARGB(197, 197, 255), ARGB(228, 238, 248)}));
  EXPECT_EQ(yBarC.GetMaximum(), 255.0);
  XYCBarVolumeTool yCBar;  // no M term
  EXPECT_EQ(ApplyToRow<XARGB32Volume>(yCBar, in),
            (std::vector<ARGB>{ARGB(0, 0, 0), ARGB(255, 254, 255), ARGB(0, 152, 152), ARGB(255, 43, 255),
                               ARGB(57, 57, 0), ARGB(26, 16, 6)}));
}

TEST_F(SimpleToolTest, RGB48TransformsWrapTheirSumsInThirtyTwoBits) {
  // 13172 * 65535 + 32768 * 65535 passes 2^31: the red sum of a saturated
  // red wraps negative and clamps to 0, where unbounded sums would give 65535.
  XYBarCVolumeTool yBarC;
  EXPECT_EQ(ApplyToRow<XRGB48Volume>(yBarC, {RGB48(0, 0, 0), RGB48(65535, 65535, 65535), RGB48(65535, 0, 0),
                                             RGB48(1000, 2000, 3000), RGB48(40000, 0, 0)}),
            (std::vector<RGB48>{RGB48(65535, 65535, 65535), RGB48(0, 1, 0), RGB48(0, 26345, 26345),
                                RGB48(62905, 63905, 64904), RGB48(0, 41615, 41615)}));
  EXPECT_EQ(yBarC.GetMaximum(), 65535.0);
  // 38469 * 65535 wraps too: a saturated green gives red and blue 0.
  XYCBarVolumeTool yCBar;
  EXPECT_EQ(ApplyToRow<XRGB48Volume>(yCBar, {RGB48(0, 0, 0), RGB48(65535, 65535, 65535), RGB48(0, 65535, 0),
                                             RGB48(1000, 2000, 3000), RGB48(0, 50000, 0)}),
            (std::vector<RGB48>{RGB48(0, 0, 0), RGB48(65535, 65533, 65535), RGB48(0, 11401, 0),
                                RGB48(2629, 1629, 630), RGB48(58699, 8699, 58699)}));

  // Used on ARGB32 first, a tool keeps M = 255 for RGB48 too.
  XYBarCVolumeTool first;
  ApplyToRow<XARGB32Volume>(first, {ARGB(1, 2, 3)});
  EXPECT_EQ(ApplyToRow<XRGB48Volume>(first, {RGB48(0, 0, 0), RGB48(100, 0, 0)}),
            (std::vector<RGB48>{RGB48(255, 255, 255), RGB48(255, 195, 195)}));
}

TEST_F(SimpleToolTest, TransformsServeColourVolumesOnly) {
  XGrey8Volume grey(2, 2, 1);
  XGrey16Volume grey16(2, 2, 1);
  XFPVolume fp(2, 2, 1);
  XBGRA32Volume bgra(2, 2, 1);
  XYBarCVolumeTool yBarC;
  XYCBarVolumeTool yCBar;
  for (XVolume* v : std::vector<XVolume*>{&grey, &grey16, &fp, &bgra}) {
    EXPECT_EQ(ErrorOf([&] { yBarC.ApplyToolInPlace(*v); }), kErrNotForPixelType) << v->GetDescription();
    EXPECT_EQ(ErrorOf([&] { yCBar.ApplyToolInPlace(*v); }), kErrNotForPixelType) << v->GetDescription();
  }
  EXPECT_TRUE(std::isnan(yBarC.GetMaximum()));  // a refusal fills nothing in
}

// ---------------------------------------------------------------- CMYK step

TEST_F(SimpleToolTest, KCMYLeavesBlackAndThreeWhiteVoxelsBehindTheEnd) {
  XARGB32Volume volume(3, 2, 2);
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32 z) { return ARGB(UInt8(x), UInt8(y), UInt8(z), 77); });
  XKCMYToARGBTool().ApplyToolInPlace(volume);
  XLock lock(volume, kLockRead);
  const XARGB32Colour* voxels = volume.GetBaseVoxelPtr();
  for (int i = 0; i < 12; ++i) EXPECT_EQ(voxels[i], ARGB(255, 0, 0, 0)) << i;
  // The three words behind the last voxel lie in the block's spare bytes.
  for (int i = 12; i < 15; ++i) EXPECT_EQ(voxels[i].GetARGB(), 0xFFFFFFFFu) << i;
}

TEST_F(SimpleToolTest, KCMYOnPaddedRows) {
  // Padding after a row is written white and stays so; the next row's
  // voxels are scanned after and end black.
  std::vector<UInt8> data(2 * 4 * 4 + 16, 0x11);
  auto padded = volumetest::ReadFromBytes<XARGB32Volume>(PaddedVolumeBytes(65644, 2, 2, 1, 4, data));
  ASSERT_TRUE(padded);
  XKCMYToARGBTool().ApplyToolInPlace(*padded);
  XLock lock(*padded, kLockRead);
  const UInt32 black = 0xFF000000, white = 0xFFFFFFFF;
  const UInt32 expected[] = {black, black, white, white, black, black, white, white, white, 0x11111111};
  const XARGB32Colour* voxels = padded->GetBaseVoxelPtr();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(voxels[i].GetARGB(), expected[i]) << i;
}

TEST_F(SimpleToolTest, KCMYRefusesOtherTypesAndABlockWithoutRoomBehind) {
  XBGRA32Volume bgra(2, 2, 1);
  XGrey8Volume grey(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { XKCMYToARGBTool().ApplyToolInPlace(bgra); }), kErrNotForPixelType);
  EXPECT_EQ(ErrorOf([&] { XKCMYToARGBTool().ApplyToolInPlace(grey); }), kErrNotForPixelType);

  // A block read from a stream may end at the last voxel.
  std::vector<UInt8> data(2 * 2 * 4, 0);
  auto tight = volumetest::ReadFromBytes<XARGB32Volume>(PaddedVolumeBytes(65644, 2, 2, 1, 2, data));
  ASSERT_TRUE(tight);
  ASSERT_EQ(tight->GetDataSize(), 16u);
  EXPECT_THROW(XKCMYToARGBTool().ApplyToolInPlace(*tight), XInternalError);
}

// ---------------------------------------------------------------- 24-bit import

TEST_F(SimpleToolTest, BGR24ImportPutsBlueGreenRedInTheHighBytes) {
  // Two rows of two pixels, rows 8 bytes apart; two planes follow on.
  const std::vector<UInt8> buffer = {
      10, 20, 30, 11, 21, 31, 99, 99,  // plane 0, row 0
      12, 22, 32, 13, 23, 33, 99, 99,  // plane 0, row 1
      0,  0,  0,  255, 255, 255, 99, 99,
      1,  2,  3,  4,   5,   6,   99, 99,
  };
  XARGB32Volume dest(X3DRect(-1, 4, 2, 1, 6, 4));
  XRGB24ToARGB32Tool::BGR24ToARGB32(buffer.data(), 8, dest);
  EXPECT_EQ(VoxelAt(dest, -1, 4, 2), ARGB(0, 30, 20, 10));
  const XARGB32Colour first = VoxelAt(dest, -1, 4, 2);
  UInt32 word;
  std::memcpy(&word, &first, 4);
  EXPECT_EQ(word, 0x0A141E00u);  // blue, green, red in the high bytes of the word in memory
  EXPECT_EQ(VoxelAt(dest, 0, 4, 2), ARGB(0, 31, 21, 11));
  EXPECT_EQ(VoxelAt(dest, 0, 5, 2), ARGB(0, 33, 23, 13));
  EXPECT_EQ(VoxelAt(dest, 0, 4, 3), ARGB(0, 255, 255, 255));
  EXPECT_EQ(VoxelAt(dest, 0, 5, 3), ARGB(0, 6, 5, 4));

  XARGB32Volume packed(2, 1, 1);
  const UInt8 row[] = {1, 2, 3, 4, 5, 6};
  XRGB24ToARGB32Tool().BGR24ToARGB32(row, packed);
  EXPECT_EQ(VoxelAt(packed, 1, 0, 0), ARGB(0, 6, 5, 4));
}
