// The generic voxel walker: working box, region and mask rule, progress and
// cancellation, early completion.
#include <tuple>
#include <vector>

#include "ToolTestSupport.h"
#include "core/XProgress.h"
#include "tools/internal/XPixelCountHelper.h"
#include "tools/internal/XScanLoop.h"

using namespace mirelan;

using namespace tooltest;

namespace {

using XVisit = std::tuple<SInt32, SInt32, SInt32, UInt8>;  // x, y, z, value

// Records every voxel it is given, and the innermost progress report's
// total and position at each row start (not trivially copyable: runs by reference).
struct XRecordHelper {
  std::vector<XVisit> itsVisits;
  std::vector<UInt64> itsPositions;
  UInt64 itsTotal = 0;
  int itsSetups = 0, itsFinishes = 0;
  template <class V>
  void SetupForScan(V&) { ++itsSetups; }
  template <class V>
  void ScanPixel(const UInt8* inVoxel, V& inVolume, SInt32 x, SInt32 y, SInt32 z) {
    itsVisits.emplace_back(x, y, z, *inVoxel);
    if (x != inVolume.GetBounds().left || !XProgress::GetCurrent()) return;
    itsTotal = XProgress::GetCurrent()->GetTotal();
    itsPositions.push_back(XProgress::GetCurrent()->GetProgress());
  }
  template <class V>
  void FinishedScanning(V&) { ++itsFinishes; }
};

// Adds the other volume's byte to a 16-bit voxel.
struct XSumHelper {
  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void ScanPixel(UInt16* ioVoxel, const UInt8* inOther, V&, SInt32, SInt32, SInt32) { *ioVoxel += *inOther; }
  template <class V>
  void FinishedScanning(V&) {}
};

}  // namespace

TEST_F(ToolTest, ScanWalksTheVolumeCutToTheRegionWithTrueCoordinates) {
  XGrey8Volume volume(X3DRect(-2, 10, 3, 2, 13, 5));
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + 2 + 4 * (y - 10) + 12 * (z - 3)); });
  const XGrey8Volume& readOnly = volume;
  XRecordHelper all, cut, none;
  XScanVolume(readOnly, nullptr, all);
  ASSERT_EQ(all.itsVisits.size(), 4u * 3 * 2);
  for (size_t i = 0; i < all.itsVisits.size(); ++i) EXPECT_EQ(std::get<3>(all.itsVisits[i]), i) << i;
  EXPECT_EQ(all.itsVisits.front(), XVisit(-2, 10, 3, 0));

  // A region reaching outside the volume: only the common box is walked.
  X3DRegion region(X3DRect(1, 12, 0, 10, 20, 4));
  XScanVolume(readOnly, &region, cut);
  EXPECT_EQ(cut.itsVisits, (std::vector<XVisit>{{1, 12, 3, 3 + 8 + 0}}));
  // A disjoint region walks nothing but still sets up and finishes.
  X3DRegion disjoint(X3DRect(10, 10, 0, 12, 12, 1));
  XScanVolume(volume, &disjoint, none);
  EXPECT_TRUE(none.itsVisits.empty());
  EXPECT_EQ(none.itsSetups + none.itsFinishes, 2);
}

TEST_F(ToolTest, ScanTakesEveryNonZeroMaskByteAndCutsLongRowsIntoTheRightRuns) {
  // Rows long enough for the word-at-a-time stepping, with runs that start
  // and end at every offset within a word and bytes of every kind. The
  // region's own rule is "above 127", but the walker takes any non-zero byte.
  const X3DRect box(0, 0, 0, 53, 7, 2);
  UInt32 seed = 12345;
  XMaskVolume mask(box);
  FillWith(mask, [&](SInt32 x, SInt32 y, SInt32) {
    if (y == 0) return UInt8(255);  // a full row
    if (y == 1) return UInt8(0);    // an empty row
    if (y == 2) return UInt8(x >= 8 && x < 40 ? 1 : 0);
    const UInt32 r = (seed = seed * 1103515245u + 12345u) >> 16;
    return UInt8(r % 3 == 0 ? 0 : r % 3 == 1 ? 255 : (r >> 4) % 200 + 1);
  });
  {  // a last byte of 255 keeps the region's box the whole mask
    XLock lock(mask, kLockReadWrite);
    mask.SetVoxel(52, 6, 1, 255);
  }
  X3DRegion region(mask);
  ASSERT_EQ(region.GetBounds(), box);
  {
    XLock lock(region, kLockRead);
    EXPECT_FALSE(region.Contains(8, 2, 0));  // byte 1: outside, yet walked
  }
  XGrey8Volume volume(box);
  volume.Fill(0);
  XRecordHelper helper;
  XScanVolume(volume, &region, helper);
  std::vector<XVisit> expected;
  XLock lock(mask, kLockRead);
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = 0; y < 7; ++y)
      for (SInt32 x = 0; x < 53; ++x)
        if (mask.GetVoxel(x, y, z) != 0) expected.emplace_back(x, y, z, 0);
  EXPECT_EQ(helper.itsVisits, expected);
}

TEST_F(ToolTest, ScanPairWalkCutsToBothVolumes) {
  XSumHelper helper;
  XGrey16Volume volume(4, 1, 1);
  volume.Fill(1000);
  XGrey8Volume other(X3DRect(2, 0, 0, 6, 1, 1));
  other.Fill(5);
  const XGrey8Volume& readOnly = other;
  XScanLoop<XSumHelper>::ScanPair(volume, readOnly, nullptr, helper);
  EXPECT_EQ(RowVoxels<XGrey16Volume>(volume), (std::vector<UInt16>{1000, 1000, 1005, 1005}));
}

TEST_F(ToolTest, ScanProgressCountsPlanesOrRowsAndACancelSurfaces) {
  XGrey8Volume volume(3, 2, 4);
  XRecordHelper perPlane, perRow;
  XScanVolume(volume, nullptr, perPlane);
  EXPECT_EQ(perPlane.itsTotal, 4u);
  EXPECT_EQ(perPlane.itsPositions, (std::vector<UInt64>{0, 0, 1, 1, 2, 2, 3, 3}));
  XScanVolume(volume, nullptr, perRow, kScanProgressPerRowTimed);
  EXPECT_EQ(perRow.itsTotal, 8u);

  XProgress::Sink previous = XProgress::SetSink([](UInt64, UInt64, const XString&) { return false; });
  XGrey8Volume cube(4, 4, 4);
  XRecordHelper helper;
  {
    // The host cancels the enclosing work; the walk's own report then throws.
    XProgress outer(1, kProgressStandard, 0, false);
    EXPECT_EQ(ErrorOf([&] { outer.Increment(); }), kErrCancelled);
    EXPECT_EQ(ErrorOf([&] { XScanVolume(cube, nullptr, helper); }), kErrCancelled);
  }
  XProgress::SetSink(previous);
  // One plane was walked before the first progress call threw; the locks are released.
  EXPECT_EQ(helper.itsVisits.size(), 16u);
  EXPECT_EQ(cube.GetStorage().GetLockCount(), 0u);
}

TEST_F(ToolTest, ScanHelperMayEndTheWalkEarly) {
  XMaskVolume mask(8, 8, 8);
  mask.Fill(255);
  const XMaskVolume& readOnly = mask;
  XPixelCountHelper all, upTo(20);
  XScanVolume(readOnly, nullptr, all);
  EXPECT_EQ(all.GetCount(), 512u);
  XScanVolume(readOnly, nullptr, upTo);
  // Checked after each row: the walk stops at the end of the row that reached the limit.
  EXPECT_EQ(upTo.GetCount(), 24u);
}
