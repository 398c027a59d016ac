// Segmentation of a real confocal stack read from TIFF: a threshold and the
// labelling give the objects that scipy.ndimage.label finds (faces only, its
// default in 3-D). Here, because only this test program links the codecs.
//
// The figures were computed once with
//   a = skimage.io.imread("coloc2_colocsample1b_green_z33_u8.tif")
//   labels, n = scipy.ndimage.label(a > 128)
//   sizes = collections.Counter(numpy.bincount(labels.ravel())[1:])
#include <map>
#include <memory>

#include "StorageTestSupport.h"
#include "segmentation/X3DConnectedComponentsTool.h"
#include "segmentation/X3DObjectFinder.h"
#include "segmentation/XVolumeSeedThresholdTool.h"
#include "storage/XTIFFCodec.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"

using namespace storagetest;

namespace {

// Object size -> number of objects of that size, from scipy.
const std::map<UInt64, UInt32> kScipySizes = {{1, 1009}, {2, 88}, {3, 30}, {4, 10},  {5, 6},  {6, 2},
                                              {7, 3},    {12, 2}, {27, 1}, {34, 1}, {48, 1}, {17267, 1}};
constexpr UInt32 kScipyObjects = 1154;
constexpr UInt8 kThreshold = 128;

}  // namespace

TEST(SegmentationOfRealStack, ThresholdAndLabellingAgreeWithScipy) {
  if (!SharedDataPresent()) GTEST_SKIP() << "the shared data folder is not here";
  XImageStack stack = XTIFFCodec::Read(XFileSpec(SharedData("coloc2_colocsample1b_green_z33_u8.tif")));
  const auto& green = dynamic_cast<const XGrey8Volume&>(stack.GetFirstVolume());
  const X3DRect& box = green.GetBounds();

  // Above the threshold; and the dimmest voxel above it, as a seed.
  XMaskVolume mask(box);
  X3DPoint dimmest;
  UInt8 dimmestValue = 255;
  {
    XLock greenLock(green, kLockRead);
    XLock maskLock(mask, kLockWrite);
    for (SInt32 z = box.front; z < box.back; ++z)
      for (SInt32 y = box.top; y < box.bottom; ++y)
        for (SInt32 x = box.left; x < box.right; ++x) {
          const UInt8 v = green.GetVoxel(x, y, z);
          mask.SetVoxel(x, y, z, v > kThreshold ? 255 : 0);
          if (v > kThreshold && v < dimmestValue) {
            dimmestValue = v;
            dimmest = X3DPoint(x, y, z);
          }
        }
  }
  const X3DRegion bright(mask);

  X3DConnectedComponentsTool tool;
  std::unique_ptr<XGrey32Volume> labels(tool.ApplyTool(bright));
  ASSERT_EQ(tool.GetComponentCount(), kScipyObjects);
  std::vector<UInt64> voxelsOf(kScipyObjects + 1, 0);
  {
    XLock lock(*labels, kLockRead);
    const X3DRect& b = labels->GetBounds();
    for (SInt32 z = b.front; z < b.back; ++z)
      for (SInt32 y = b.top; y < b.bottom; ++y)
        for (SInt32 x = b.left; x < b.right; ++x) ++voxelsOf[labels->GetVoxel(x, y, z)];
  }
  std::map<UInt64, UInt32> sizes;
  for (UInt32 label = 1; label <= kScipyObjects; ++label) ++sizes[voxelsOf[label]];
  EXPECT_EQ(sizes, kScipySizes);

  // The object finder gives the same pieces, in label order.
  const XVector<X3DRegion> objects = X3DObjectFinder().ApplyTool(bright);
  ASSERT_EQ(objects.size(), kScipyObjects);
  for (UInt32 i = 0; i < kScipyObjects; ++i) EXPECT_EQ(objects[i].GetVolume(), voxelsOf[i + 1]) << "object " << i;

  // "At least as bright as the dimmest bright voxel" is the same threshold.
  XVolumeSeedThresholdTool brighter(XVolumeSeedThresholdTool::kBrighter, XVolumeSeedThresholdTool::kAllMatches);
  EXPECT_TRUE(brighter.ApplyTool(green, dimmest).IsEqual(bright));
}
