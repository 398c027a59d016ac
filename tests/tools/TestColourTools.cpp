// The colour tools: the two colour-difference transforms (with the 32-bit
// wrap of the RGB48 sums and the persisting maximum), the CMYK step's
// four-voxel writes, and the 24-bit buffer import.
#include <cmath>
#include <cstring>
#include <memory>
#include <vector>

#include "ToolTestSupport.h"
#include "tools/XKCMYToARGBTool.h"
#include "tools/XRGB24ToARGB32Tool.h"
#include "tools/XYCVolumeTools.h"

using namespace mirelan;

using namespace tooltest;
using ARGB = XARGB32Colour;
using RGB48 = XRGB48Colour;

TEST_F(ToolTest, YCTransformsOnARGB32ClampAndMakeOpaque) {
  const std::vector<ARGB> in = {ARGB(0, 0, 0, 0),     ARGB(9, 255, 255, 255), ARGB(255, 255, 0, 0),
                                ARGB(255, 0, 255, 0), ARGB(255, 0, 0, 255),   ARGB(255, 10, 20, 30)};
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

TEST_F(ToolTest, YCTransformsOnRGB48WrapTheirSumsInThirtyTwoBits) {
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

TEST_F(ToolTest, ColourToolsRefuseOtherTypes) {
  XYBarCVolumeTool yBarC;
  XYCBarVolumeTool yCBar;
  XKCMYToARGBTool kcmy;
  for (X1To1VolumeTool* tool : std::vector<X1To1VolumeTool*>{&yBarC, &yCBar, &kcmy})
    ExpectRefused(Volumes<XGrey8Volume, XGrey16Volume, XFPVolume, XBGRA32Volume>(),
                  [&](XVolume& v) { tool->ApplyToolInPlace(v); });
  EXPECT_TRUE(std::isnan(yBarC.GetMaximum()));  // a refusal fills nothing in
}

TEST_F(ToolTest, KCMYWritesFourVoxelsAtATime) {
  // Black, then three white voxels behind; the next voxel's black covers two
  // of them. The three words behind the last voxel lie in the spare bytes.
  XARGB32Volume volume(3, 2, 2);
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32 z) { return ARGB(UInt8(x), UInt8(y), UInt8(z), 77); });
  XKCMYToARGBTool().ApplyToolInPlace(volume);
  {
    XLock lock(volume, kLockRead);
    const XARGB32Colour* voxels = volume.GetBaseVoxelPtr();
    for (int i = 0; i < 15; ++i) EXPECT_EQ(voxels[i].GetARGB(), i < 12 ? 0xFF000000u : 0xFFFFFFFFu) << i;
  }

  // Padding after a row is written white and stays so; the next row's
  // voxels are scanned after and end black.
  auto padded = ReadPadded<XARGB32Volume>(65644, 2, 2, 1, 4, std::vector<UInt8>(2 * 4 * 4 + 16, 0x11));
  ASSERT_TRUE(padded);
  XKCMYToARGBTool().ApplyToolInPlace(*padded);
  {
    XLock lock(*padded, kLockRead);
    const UInt32 black = 0xFF000000, white = 0xFFFFFFFF;
    const UInt32 expected[] = {black, black, white, white, black, black, white, white, white, 0x11111111};
    for (int i = 0; i < 10; ++i) EXPECT_EQ(padded->GetBaseVoxelPtr()[i].GetARGB(), expected[i]) << i;
  }

  // A block read from a stream may end at the last voxel: no room behind.
  auto tight = ReadPadded<XARGB32Volume>(65644, 2, 2, 1, 2, std::vector<UInt8>(2 * 2 * 4, 0));
  ASSERT_TRUE(tight);
  ASSERT_EQ(tight->GetDataSize(), 16u);
  EXPECT_THROW(XKCMYToARGBTool().ApplyToolInPlace(*tight), XInternalError);
}

TEST_F(ToolTest, BGR24ImportPutsBlueGreenRedInTheHighBytes) {
  // Two rows of two pixels, rows 8 bytes apart; a second plane follows on.
  const std::vector<UInt8> buffer = {10, 20, 30, 11, 21, 31, 99, 99, 12, 22, 32, 13, 23, 33, 99, 99,
                                     0,  0,  0,  9,  9,  9,  99, 99, 1,  2,  3,  4,  5,  6,  99, 99};
  XARGB32Volume dest(X3DRect(-1, 4, 2, 1, 6, 4));
  XRGB24ToARGB32Tool::BGR24ToARGB32(buffer.data(), 8, dest);
  UInt32 word;
  const XARGB32Colour first = VoxelAt(dest, -1, 4, 2);
  std::memcpy(&word, &first, 4);
  EXPECT_EQ(word, 0x0A141E00u);  // blue, green, red in the high bytes of the word in memory
  const std::vector<ARGB> expected = {{0, 30, 20, 10}, {0, 31, 21, 11}, {0, 32, 22, 12}, {0, 33, 23, 13},
                                      {0, 0, 0, 0},    {0, 9, 9, 9},    {0, 3, 2, 1},    {0, 6, 5, 4}};
  XLock lock(dest, kLockRead);
  EXPECT_EQ(std::vector<ARGB>(dest.GetBaseVoxelPtr(), dest.GetBaseVoxelPtr() + 8), expected);

  XARGB32Volume packed(2, 1, 1);
  const UInt8 row[] = {1, 2, 3, 4, 5, 6};
  XRGB24ToARGB32Tool().BGR24ToARGB32(row, packed);
  EXPECT_EQ(VoxelAt(packed, 1, 0, 0), ARGB(0, 6, 5, 4));
}
