// The extended volume for Fourier work: margins blended between opposite
// edges, with the high side's settled asymmetry, and the cut back.
#include "NumericTestSupport.h"
#include "numeric/XVolumeExtensionTool.h"

using namespace numerictest;

namespace {

using VolumeExtensionTest = FourierTest;

}  // namespace

TEST_F(VolumeExtensionTest, ALineBlendsItsMarginsAsymmetrically) {
  XFPVolume source(X3DRect(0, 0, 0, 5, 1, 1));
  const float values[5] = {10, 20, 30, 40, 50};
  Fill(source, [&](SInt32 x, SInt32, SInt32) { return values[x]; });
  // Margins 2 and 3: m = 3, L is the sample at index 3 (20), R at index 6 (50).
  std::unique_ptr<XFourierVolume> extended(
      XVolumeExtensionTool::CreateXYZExtendedVolume(source, X3DRect(-2, 0, 0, 8, 1, 1)));
  const float expected[10] = {35, 30, 10, 20, 30, 40, 50, 75, 70, 65};
  for (int i = 0; i < 10; ++i) EXPECT_FLOAT_EQ(At(*extended, i - 2, 0, 0), expected[i]) << i;
  EXPECT_TRUE(extended->IsInImageSpace());
}

TEST_F(VolumeExtensionTest, LaterPassesCoverTheEarlierMargins) {
  XFPVolume source(X3DRect(0, 0, 0, 3, 2, 2));
  Fill(source, [](SInt32 x, SInt32 y, SInt32 z) { return float(1 + x + 4 * y + 16 * z); });
  const X3DRect box(-1, -1, -1, 4, 4, 3);  // margins x 1/1, y 1/2, z 1/1
  std::unique_ptr<XFourierVolume> extended(XVolumeExtensionTool::CreateXYZExtendedVolume(source, box));
  // The image itself is untouched, and cut back out exactly.
  std::unique_ptr<XFPVolume> trimmed(XVolumeExtensionTool::CreateXYZTrimmedVolume(*extended, source.GetBounds()));
  EXPECT_TRUE(*trimmed == source);
  // X first, on the image's rows: m = 1, L and R the first and last samples.
  const float left = 1 + 4 + 16, right = 3 + 4 + 16;  // row y = 1, z = 1
  EXPECT_FLOAT_EQ(At(*extended, -1, 1, 1), (right - left) * 1 / 2 + left);
  EXPECT_FLOAT_EQ(At(*extended, 3, 1, 1), (right - left) * 1 / 2 + right);
  // Y then runs over the X margins too: column x = -1 at z = 1, margins 1 and 2,
  // m = 2, so L is the sample at index 2 (y = 1) and R at index 5 - 1 - 2 (y = 1).
  const float top = At(*extended, -1, 1, 1);
  EXPECT_FLOAT_EQ(At(*extended, -1, -1, 1), top);  // R - L = 0
  // Z last, over everything: every voxel of the box is set.
  XLock lock(*extended, kLockRead);
  for (SInt32 z = -1; z < 3; ++z)
    for (SInt32 y = -1; y < 4; ++y)
      for (SInt32 x = -1; x < 4; ++x) EXPECT_TRUE(std::isfinite(extended->GetVoxel(x, y, z)));
  EXPECT_THROW(XVolumeExtensionTool::CreateXYZExtendedVolume(source, X3DRect(0, 0, 0, 2, 2, 2)), XInternalError);
}
