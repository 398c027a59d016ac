// X3DObjectFinder: one region per piece in label order, the simple-region
// shortcut, and when it reports progress.
#include "SegmentationTestSupport.h"
#include "segmentation/X3DObjectFinder.h"
#include "segmentation/internal/XObjectReportSteps.h"

using namespace segtest;

namespace {
class ObjectFinder : public ToolTest {};
}  // namespace

TEST_F(ObjectFinder, SimpleRegionComesBackAsItself) {
  X3DObjectFinder finder;
  const X3DRegion box(X3DRect(-1, 2, 3, 4, 5, 6));
  const XVector<X3DRegion> objects = finder.ApplyTool(box);
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_TRUE(objects[0].IsSimple());
  EXPECT_EQ(objects[0].GetBounds(), box.GetBounds());
}

TEST_F(ObjectFinder, OnePieceComesBackEqual) {
  const X3DRegion ring = RegionOf(X3DRect(5, 2, 7, 10, 6, 9), [](SInt32 x, SInt32 y, SInt32 z) {
    return x == 5 || x == 9 || y == 2 || y == 5 || z == 8;
  });
  ASSERT_TRUE(ring.IsComplex());
  const XVector<X3DRegion> objects = X3DObjectFinder().ApplyTool(ring);
  ASSERT_EQ(objects.size(), 1u);
  EXPECT_TRUE(objects[0].IsEqual(ring));
}

TEST_F(ObjectFinder, PiecesInLabelOrderMakeUpTheRegion) {
  const X3DRegion region(RandomMask(X3DRect(-5, 0, 2, 27, 20, 14), 0.25, 7, 12, 3));
  X3DConnectedComponentsTool labeller;
  std::unique_ptr<XGrey32Volume> labels(labeller.ApplyTool(region));
  const XVector<X3DRegion> objects = X3DObjectFinder().ApplyTool(region);
  ASSERT_EQ(objects.size(), labeller.GetComponentCount());
  ASSERT_GT(objects.size(), 20u);
  XLock lock(*labels, kLockRead);
  UInt64 total = 0;
  for (size_t i = 0; i < objects.size(); ++i) {
    const std::vector<X3DPoint> voxels = VoxelsOf(objects[i]);
    total += voxels.size();
    for (const X3DPoint& p : voxels) ASSERT_EQ(labels->GetVoxel(p.x, p.y, p.z), i + 1) << "object " << i;
  }
  EXPECT_EQ(total, region.GetVolume());
}

TEST_F(ObjectFinder, ReportsAtMostAHundredTimes) {
  XObjectReportSteps many(250);
  EXPECT_EQ(many.GetSteps(), 100u);
  std::vector<UInt32> due;
  for (UInt32 id = 1; id <= 250; ++id)
    if (many.IsDue(id)) due.push_back(id);
  ASSERT_EQ(due.size(), 100u);
  EXPECT_EQ(due[0], 3u);
  EXPECT_EQ(due[1], 5u);
  EXPECT_EQ(due[2], 8u);
  EXPECT_EQ(due[3], 10u);
  EXPECT_EQ(due.back(), 250u);

  XObjectReportSteps few(7);
  EXPECT_EQ(few.GetSteps(), 7u);
  UInt32 reports = 0;
  for (UInt32 id = 1; id <= 7; ++id) reports += few.IsDue(id);
  EXPECT_EQ(reports, 7u);
  EXPECT_EQ(XObjectReportSteps::GetMessage(0), "Processed 0 objects...");
  EXPECT_EQ(XObjectReportSteps::GetMessage(125), "Processed 125 objects...");
}
