// X3DConnectedComponentsTool: pieces by faces, the numbering by root run,
// the grown label volume, bounding boxes, the union-find steps themselves,
// and agreement with a flood fill and with a plain step-by-step labelling.
#include <memory>
#include <set>

#include "SegmentationTestSupport.h"
#include "core/XException.h"
#include "core/XThread.h"
#include "core/XWorkerPool.h"
#include "segmentation/internal/XLabelRuns.h"

using namespace segtest;
using Access = X3DConnectedComponentsToolTestAccess;

namespace {

class ConnectedComponents : public ToolTest {};

// Labels of a region and the tool's count.
struct Labelled {
  std::unique_ptr<XGrey32Volume> labels;
  UInt32 count;
  UInt32 At(SInt32 x, SInt32 y, SInt32 z) const {
    XLock lock(*labels, kLockRead);
    return labels->GetVoxel(x, y, z);
  }
};

Labelled Label(const X3DRegion& inRegion) {
  X3DConnectedComponentsTool tool;
  std::unique_ptr<XGrey32Volume> labels(tool.ApplyTool(inRegion));
  return {std::move(labels), tool.GetComponentCount()};
}

// A region of the given voxels inside inBox.
X3DRegion RegionOfPoints(const X3DRect& inBox, const std::set<std::array<SInt32, 3>>& inPoints) {
  return RegionOf(inBox, [&](SInt32 x, SInt32 y, SInt32 z) { return inPoints.count({x, y, z}) > 0; });
}

}  // namespace

// ------------------------------------------------------------------ connectivity

TEST_F(ConnectedComponents, FacesJoinEdgesAndCornersDoNot) {
  const X3DRect box(3, 3, 3);
  EXPECT_EQ(Label(RegionOfPoints(box, {{0, 0, 0}, {1, 0, 0}})).count, 1u);
  EXPECT_EQ(Label(RegionOfPoints(box, {{0, 0, 0}, {0, 0, 1}})).count, 1u);
  EXPECT_EQ(Label(RegionOfPoints(box, {{0, 0, 0}, {1, 1, 0}})).count, 2u);  // an edge in a plane
  EXPECT_EQ(Label(RegionOfPoints(box, {{0, 0, 0}, {0, 1, 1}})).count, 2u);  // an edge across planes
  const Labelled corner = Label(RegionOfPoints(box, {{0, 0, 0}, {1, 1, 1}}));
  EXPECT_EQ(corner.count, 2u);
  EXPECT_EQ(corner.At(0, 0, 0), 1u);
  EXPECT_EQ(corner.At(1, 1, 1), 2u);
}

TEST_F(ConnectedComponents, UShapeJoinedAtTheBottomIsOnePiece) {
  // Two arms of separate runs down three rows, joined by the last row.
  const X3DRegion u = RegionOf(X3DRect(3, 4, 1), [](SInt32 x, SInt32 y, SInt32) { return y == 3 || x != 1; });
  const Labelled l = Label(u);
  EXPECT_EQ(l.count, 1u);
  for (const X3DPoint& p : VoxelsOf(u)) EXPECT_EQ(l.At(p.x, p.y, p.z), 1u);
  EXPECT_EQ(l.At(1, 1, 0), 0u);
}

TEST_F(ConnectedComponents, NumbersFollowTheRootRunNotTheFirstVoxel) {
  // The piece that starts at (4, 0) first hangs from run 1; its last row
  // meets the run of (0, 2) first, whose number (4) becomes the root, and
  // then pulls run 1's tree below it. The lone voxel at (8, 1) is run 3, so
  // it comes first.
  const X3DRegion r = RegionOf(X3DRect(9, 4, 1), [](SInt32 x, SInt32 y, SInt32) {
    return (x == 4 && y <= 2) || (x == 0 && y == 2) || (y == 3 && x <= 4) || (x == 8 && y == 1);
  });
  const Labelled l = Label(r);
  ASSERT_EQ(l.count, 2u);
  EXPECT_EQ(l.At(8, 1, 0), 1u);
  EXPECT_EQ(l.At(4, 0, 0), 2u);
  EXPECT_EQ(l.At(0, 3, 0), 2u);
}

// ------------------------------------------------------------------ the label volume

TEST_F(ConnectedComponents, LabelVolumeHasARimOfOneVoxel) {
  const X3DRegion r = RegionOf(X3DRect(-4, 7, 2, 1, 10, 5), [](SInt32 x, SInt32, SInt32) { return x != -2; });
  const Labelled l = Label(r);
  EXPECT_EQ(l.labels->GetBounds(), X3DRect(-5, 6, 1, 2, 11, 6));
  EXPECT_EQ(l.count, 2u);
  // Region coordinates address the label volume directly.
  EXPECT_EQ(l.At(-4, 7, 2), 1u);
  EXPECT_EQ(l.At(-1, 9, 4), 2u);
  EXPECT_EQ(l.At(-2, 8, 3), 0u);
  for (SInt32 x = -5; x < 2; ++x) EXPECT_EQ(l.At(x, 6, 1), 0u);
  EXPECT_EQ(l.At(1, 10, 5), 0u);
}

TEST_F(ConnectedComponents, SimpleRegionIsOneComponent) {
  const Labelled l = Label(X3DRegion(X3DRect(1, 2, 3, 5, 4, 6)));
  EXPECT_EQ(l.count, 1u);
  EXPECT_EQ(l.At(1, 2, 3), 1u);
  EXPECT_EQ(l.At(4, 3, 5), 1u);
  EXPECT_EQ(l.At(0, 2, 3), 0u);
}

TEST_F(ConnectedComponents, AnyNonZeroMaskByteIsAMember) {
  XMaskVolume mask(X3DRect(4, 1, 1));
  {
    XLock lock(mask, kLockWrite);
    const UInt8 bytes[4] = {255, 0, 1, 200};
    for (SInt32 x = 0; x < 4; ++x) mask.SetVoxel(x, 0, 0, bytes[x]);
  }
  X3DRegion r(X3DRect(4, 1, 1));
  r = mask;  // keeps the bytes as they are; the box stays, held by 255 and 200
  const Labelled l = Label(r);
  EXPECT_EQ(l.count, 2u);
  EXPECT_EQ(l.At(2, 0, 0), 2u);
}

TEST_F(ConnectedComponents, EmptyRegionFailsThePrecondition) {
  X3DConnectedComponentsTool tool;
  EXPECT_THROW(tool.ApplyTool(X3DRegion()), XInternalError);
  EXPECT_THROW(tool.ApplyTool(X3DRegion(MakeMask(X3DRect(3, 3, 3), [](SInt32, SInt32, SInt32) { return false; }))),
               XInternalError);
  EXPECT_EQ(tool.GetComponentCount(), 0u);
}

TEST_F(ConnectedComponents, RegionAtTheEdgeOfTheCoordinatesHasNoRoomForTheRim) {
  const SInt32 top = std::numeric_limits<SInt32>::max();
  X3DConnectedComponentsTool tool;
  EXPECT_EQ(volumetest::ErrorOf([&] { delete tool.ApplyTool(X3DRegion(X3DRect(0, 0, top - 2, 2, 2, top))); }),
            kErrImpossibleSize);
}

// ------------------------------------------------------------------ boxes

TEST_F(ConnectedComponents, ComponentRectsAreTightBoxesInLabelOrder) {
  const X3DRegion r = RegionOf(X3DRect(-2, 0, 0, 8, 6, 4), [](SInt32 x, SInt32 y, SInt32 z) {
    return (x >= -2 && x <= 0 && y == 1 && z <= 2) || (y == 4 && z == 3 && x >= 3 && x != 5);
  });
  X3DConnectedComponentsTool tool;
  std::unique_ptr<XGrey32Volume> labels(tool.ApplyTool(r));
  const XVector<X3DRect> rects = tool.GetComponentRects(*labels);
  ASSERT_EQ(rects.size(), 3u);
  EXPECT_EQ(rects[0], X3DRect(-2, 1, 0, 1, 2, 3));
  EXPECT_EQ(rects[1], X3DRect(3, 4, 3, 5, 5, 4));
  EXPECT_EQ(rects[2], X3DRect(6, 4, 3, 8, 5, 4));
}

TEST_F(ConnectedComponents, RectsOfAnotherCallsLabelsFailThePrecondition) {
  X3DConnectedComponentsTool tool;
  std::unique_ptr<XGrey32Volume> many(tool.ApplyTool(X3DRegion(RandomMask(X3DRect(8, 8, 2), 0.3, 5))));
  ASSERT_GT(tool.GetComponentCount(), 1u);
  delete tool.ApplyTool(X3DRegion(X3DRect(2, 2, 2)));
  EXPECT_THROW(tool.GetComponentRects(*many), XInternalError);
}

// ------------------------------------------------------------------ the union-find steps

TEST_F(ConnectedComponents, ConnectStepByStep) {
  // Runs 1 .. 6, each its own root.
  UInt32 t[7] = {0, 1, 2, 3, 4, 5, 6};
  Access::Connect(3, 0, t);  // background: nothing
  EXPECT_EQ(t[3], 3u);
  Access::Connect(3, 1, t);  // a lone run takes the neighbour's root
  EXPECT_EQ(t[3], 1u);
  Access::Connect(4, 2, t);
  Access::Connect(5, 4, t);  // ... the root, not the neighbour
  EXPECT_EQ(t[5], 2u);
  Access::Connect(5, 4, t);  // same parent: nothing
  // Different trees: the neighbour's root goes below this run's root, and
  // the neighbour then points at it directly.
  Access::Connect(3, 5, t);
  EXPECT_EQ(t[2], 1u);
  EXPECT_EQ(t[5], 1u);
  EXPECT_EQ(t[4], 2u);  // its path is left as it was
  EXPECT_EQ(Access::FindRoot(4, t), 1u);
  // A joined run whose root is newer than the neighbour's still wins: no ranking.
  UInt32 u[5] = {0, 1, 2, 3, 3};
  Access::Connect(4, 1, u);
  EXPECT_EQ(u[1], 3u);
  EXPECT_EQ(u[3], 3u);
}

TEST_F(ConnectedComponents, AddToAssociativeJoinsCycles) {
  UInt32 t[5] = {0, 1, 2, 3, 4};
  Access::AddToAssociative(1, 0, t);
  Access::AddToAssociative(1, 1, t);
  EXPECT_EQ(t[1], 1u);
  Access::AddToAssociative(1, 2, t);  // 1 -> 2 -> 1
  EXPECT_EQ(t[1], 2u);
  EXPECT_EQ(t[2], 1u);
  Access::AddToAssociative(3, 1, t);  // 1 -> 3 -> 2 -> 1
  EXPECT_EQ(t[1], 3u);
  EXPECT_EQ(t[3], 2u);
  EXPECT_EQ(t[2], 1u);
  Access::AddToAssociative(2, 3, t);  // already one cycle: nothing
  EXPECT_EQ(t[1], 3u);
  EXPECT_EQ(t[3], 2u);
  EXPECT_EQ(t[2], 1u);
}

TEST_F(ConnectedComponents, TableBeyond32BitBytesIsRefused) {
  EXPECT_EQ(volumetest::ErrorOf([] { Access::AllocateRunTables(UInt64(1) << 30); }), kErrOutOfMemory);
  EXPECT_EQ(Access::AllocateRunTables(17).GetDataSize(), 136u);
}

// ------------------------------------------------------------------ against independent labellings

TEST_F(ConnectedComponents, RandomMasksMatchFloodFillAndTheStepByStepNumbering) {
  struct Case {
    X3DRect box;
    Float64 fill;
    UInt32 blobs;
  };
  const Case cases[] = {{X3DRect(17, 13, 9), 0.35, 0},        {X3DRect(-3, 2, -1, 30, 21, 7), 0.55, 0},
                        {X3DRect(40, 30, 12), 0.05, 40},      {X3DRect(23, 1, 19), 0.5, 0},
                        {X3DRect(1, 31, 1), 0.6, 0},          {X3DRect(25, 25, 25), 0.2, 60}};
  UInt32 seed = 11;
  for (const Case& c : cases) {
    for (int repeat = 0; repeat < 3; ++repeat, ++seed) {
      const X3DRegion region(RandomMask(c.box, c.fill, seed, c.blobs, 4));
      if (region.IsEmpty()) continue;
      const XGrownFlags flags = GrownFlagsOf(region);
      UInt32 floodCount = 0, stepCount = 0;
      const std::vector<UInt32> flood = FloodFillLabels(flags, floodCount);
      const std::vector<UInt32> steps = StepByStepLabels(flags, stepCount);
      const Labelled l = Label(region);
      const std::vector<UInt32> labels = LabelsOf(*l.labels);
      EXPECT_EQ(l.count, floodCount) << "seed " << seed;
      EXPECT_TRUE(SamePartition(labels, flood)) << "seed " << seed;
      EXPECT_EQ(labels, steps) << "seed " << seed;
      // Dense: every label from 1 to the count is used.
      std::set<UInt32> used(labels.begin(), labels.end());
      used.erase(0);
      EXPECT_EQ(used.size(), l.count);
      if (!used.empty()) {
        EXPECT_EQ(*used.rbegin(), l.count);
      }
    }
  }
}

TEST_F(ConnectedComponents, SameLabelsForEveryWorkerCount) {
  const X3DRegion region(RandomMask(X3DRect(64, 48, 40), 0.3, 99, 50, 5));
  XWorkerPool::SetWorkerCount(1);
  const Labelled one = Label(region);
  XWorkerPool::SetWorkerCount(3);
  const Labelled three = Label(region);
  XWorkerPool::SetWorkerCount(0);
  EXPECT_EQ(one.count, three.count);
  EXPECT_TRUE(*one.labels == *three.labels);
}

// ------------------------------------------------------------------ cancellation

namespace {

// Runs the labelling on a thread that has been asked to stop.
class StoppedLabelling : public XThread {
 public:
  explicit StoppedLabelling(const X3DRegion& inRegion) : itsRegion(inRegion) {}
  ~StoppedLabelling() override { StopThread(-1); }

 protected:
  SInt32 RunThreadSelf() override {
    RequestStop();
    X3DConnectedComponentsTool tool;
    delete tool.ApplyTool(itsRegion);
    return 0;
  }

 private:
  X3DRegion itsRegion;
};

}  // namespace

TEST_F(ConnectedComponents, StopRequestEndsTheLabelling) {
  StoppedLabelling thread(X3DRegion(RandomMask(X3DRect(20, 20, 20), 0.4, 3)));
  thread.StartThread();
  ASSERT_TRUE(thread.WaitForTerminate(-1));
  EXPECT_EQ(thread.GetLastThreadState(), kThreadCancelled);
  EXPECT_EQ(thread.GetThreadReturnCode(), kErrCancelled);
}

// ------------------------------------------------------------------ the run walks

TEST_F(ConnectedComponents, RunWalksFindEveryRunAcrossBlocks) {
  std::mt19937 random(4);
  for (UInt64 length : {0, 1, 63, 64, 65, 127, 128, 200, 1000}) {
    for (const Float64 fill : {0.0, 0.1, 0.5, 0.9, 1.0}) {
      std::vector<UInt8> mask(length);
      for (UInt8& b : mask) b = (random() % 1000) < fill * 1000 ? UInt8(1 + random() % 255) : 0;
      std::vector<std::pair<UInt64, UInt64>> expected, found;
      for (UInt64 i = 0; i < length; ++i)
        if (mask[i] && (i == 0 || !mask[i - 1])) {
          UInt64 end = i;
          while (end < length && mask[end]) ++end;
          expected.emplace_back(i, end);
        }
      XLabelRuns::ForEachRun(mask.data(), length, [&](UInt64 b, UInt64 e) { found.emplace_back(b, e); });
      EXPECT_EQ(found, expected) << length << " " << fill;
      EXPECT_EQ(XLabelRuns::CountRuns(mask.data(), length), expected.size()) << length << " " << fill;
    }
  }
}
