// The generic voxel walker: working box, region and mask rule, progress and
// cancellation, early completion.
#include <vector>

#include "ToolTestSupport.h"
#include "core/XProgress.h"
#include "tools/XPixelCountHelper.h"
#include "tools/XScanLoop.h"

using namespace tooltest;

namespace {

struct XVisit {
  SInt32 x, y, z;
  UInt8 value;
};

// Records every voxel it is given (not trivially copyable: runs by reference).
struct XRecordHelper {
  std::vector<XVisit> itsVisits;
  int itsSetups = 0;
  int itsFinishes = 0;
  template <class V>
  void SetupForScan(V&) {
    ++itsSetups;
  }
  template <class V>
  void ScanPixel(const UInt8* inVoxel, V&, SInt32 x, SInt32 y, SInt32 z) {
    itsVisits.push_back({x, y, z, *inVoxel});
  }
  template <class V>
  void FinishedScanning(V&) {
    ++itsFinishes;
  }
};

// Notes the innermost progress report's total and position at each row start.
struct XProgressProbe {
  std::vector<UInt64> itsPositions;
  UInt64 itsTotal = 0;
  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void ScanPixel(UInt8* ioVoxel, V& inVolume, SInt32 x, SInt32, SInt32) {
    if (x == inVolume.GetBounds().left) {
      itsTotal = XProgress::GetCurrent()->GetTotal();
      itsPositions.push_back(XProgress::GetCurrent()->GetProgress());
    }
    *ioVoxel = 9;
  }
  template <class V>
  void FinishedScanning(V&) {}
};

// Adds the other volume's byte to a 16-bit voxel.
struct XSumHelper {
  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void ScanPixel(UInt16* ioVoxel, const UInt8* inOther, V&, SInt32, SInt32, SInt32) {
    *ioVoxel = UInt16(*ioVoxel + *inOther);
  }
  template <class V>
  void FinishedScanning(V&) {}
};

}  // namespace

class ScanLoopTest : public ToolTest {};

TEST_F(ScanLoopTest, WalksTheVolumeCutToTheRegionWithTrueCoordinates) {
  XGrey8Volume volume(X3DRect(-2, 10, 3, 2, 13, 5));
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x + 2 + 4 * (y - 10) + 12 * (z - 3)); });
  XRecordHelper helper;
  const XGrey8Volume& readOnly = volume;
  XScanVolume(readOnly, nullptr, helper);
  ASSERT_EQ(helper.itsVisits.size(), 4u * 3 * 2);
  for (const XVisit& v : helper.itsVisits)
    EXPECT_EQ(v.value, UInt8(v.x + 2 + 4 * (v.y - 10) + 12 * (v.z - 3)));
  EXPECT_EQ(helper.itsVisits.front().x, -2);
  EXPECT_EQ(helper.itsVisits.back().z, 4);

  // A region reaching outside the volume: only the common box is walked.
  XRecordHelper cut;
  X3DRegion region(X3DRect(1, 12, 0, 10, 20, 4));
  XScanVolume(readOnly, &region, cut);
  ASSERT_EQ(cut.itsVisits.size(), 1u * 1 * 1);
  EXPECT_EQ(cut.itsVisits[0].x, 1);
  EXPECT_EQ(cut.itsVisits[0].y, 12);
  EXPECT_EQ(cut.itsVisits[0].z, 3);
}

TEST_F(ScanLoopTest, DisjointRegionWalksNothingButStillSetsUpAndFinishes) {
  XGrey8Volume volume(4, 4, 1);
  X3DRegion region(X3DRect(10, 10, 0, 12, 12, 1));
  XRecordHelper helper;
  XScanVolume(volume, &region, helper);
  EXPECT_TRUE(helper.itsVisits.empty());
  EXPECT_EQ(helper.itsSetups, 1);
  EXPECT_EQ(helper.itsFinishes, 1);
}

TEST_F(ScanLoopTest, MaskedWalkTakesEveryNonZeroMaskByte) {
  // The region's own rule is "above 127", but the walker takes any non-zero
  // byte: the byte 1 below is walked, though Contains says it is outside.
  XMaskVolume mask(X3DRect(0, 0, 0, 5, 1, 1));
  FillWith(mask, [](SInt32 x, SInt32, SInt32) { return UInt8(x == 2 ? 1 : x % 4 == 0 ? 255 : 0); });
  X3DRegion region(mask);
  ASSERT_TRUE(region.IsComplex());
  {
    XLock lock(region, kLockRead);
    EXPECT_FALSE(region.Contains(2, 0, 0));
  }
  XGrey8Volume volume(5, 1, 1);
  volume.Fill(0);
  XRecordHelper helper;
  XScanVolume(volume, &region, helper);
  ASSERT_EQ(helper.itsVisits.size(), 3u);
  EXPECT_EQ(helper.itsVisits[1].x, 2);

  mask.Fill(0);
  {
    XLock lock(mask, kLockReadWrite);
    mask.SetVoxel(2, 0, 0, 255);
    mask.SetVoxel(0, 0, 0, 128);
    mask.SetVoxel(4, 0, 0, 0);
  }
  X3DRegion sparse(mask);
  XRecordHelper sparseHelper;
  XScanVolume(volume, &sparse, sparseHelper);
  ASSERT_EQ(sparseHelper.itsVisits.size(), 2u);
  EXPECT_EQ(sparseHelper.itsVisits[0].x, 0);
  EXPECT_EQ(sparseHelper.itsVisits[1].x, 2);
}

TEST_F(ScanLoopTest, PairWalkCutsToBothVolumes) {
  XSumHelper helper;
  XGrey16Volume volume(4, 1, 1);
  volume.Fill(1000);
  XGrey8Volume other(X3DRect(2, 0, 0, 6, 1, 1));
  other.Fill(5);
  const XGrey8Volume& readOnly = other;
  XScanLoop<XSumHelper>::ScanPair(volume, readOnly, nullptr, helper);
  EXPECT_EQ(At(volume, 1, 0, 0), 1000);
  EXPECT_EQ(At(volume, 2, 0, 0), 1005);
  EXPECT_EQ(At(volume, 3, 0, 0), 1005);
}

TEST_F(ScanLoopTest, ProgressCountsPlanesOrRows) {
  XGrey8Volume volume(3, 2, 4);
  XProgressProbe perPlane;
  XScanVolume(volume, nullptr, perPlane);
  EXPECT_EQ(perPlane.itsTotal, 4u);
  EXPECT_EQ(perPlane.itsPositions, (std::vector<UInt64>{0, 0, 1, 1, 2, 2, 3, 3}));
  EXPECT_EQ(At(volume, 2, 1, 3), 9);

  XProgressProbe perRow;
  XScanVolume(volume, nullptr, perRow, kScanProgressPerRowTimed);
  EXPECT_EQ(perRow.itsTotal, 8u);
}

TEST_F(ScanLoopTest, ACancelSurfacesFromTheWalkAndReleasesTheLocks) {
  XProgress::Sink previous = XProgress::SetSink([](UInt64, UInt64, const XString&) { return false; });
  XGrey8Volume volume(4, 4, 4);
  volume.Fill(1);
  XRecordHelper helper;
  {
    // The host cancels the enclosing work; the walk's own report then throws.
    XProgress outer(1, kProgressStandard, 0, false);
    EXPECT_EQ(ErrorOf([&] { outer.Increment(); }), kErrCancelled);
    EXPECT_EQ(ErrorOf([&] { XScanVolume(volume, nullptr, helper); }), kErrCancelled);
  }
  XProgress::SetSink(previous);
  // One plane was walked before the first progress call threw.
  EXPECT_EQ(helper.itsVisits.size(), 16u);
  EXPECT_EQ(volume.GetStorage().GetLockCount(), 0u);
}

TEST_F(ScanLoopTest, AHelperMayEndTheWalkEarly) {
  XMaskVolume mask(8, 8, 8);
  mask.Fill(255);
  XPixelCountHelper all;
  const XMaskVolume& readOnly = mask;
  XScanVolume(readOnly, nullptr, all);
  EXPECT_EQ(all.GetCount(), 512u);
  XPixelCountHelper upTo(20);
  XScanVolume(readOnly, nullptr, upTo);
  // Checked after each row: the walk stops at the end of the row that reached the limit.
  EXPECT_EQ(upTo.GetCount(), 24u);
}

TEST_F(ScanLoopTest, LongMaskRowsAreCutIntoTheRightRuns) {
  // Rows long enough for the word-at-a-time stepping, with runs that start
  // and end at every offset within a word and bytes of every kind.
  const X3DRect box(0, 0, 0, 53, 7, 2);
  UInt32 seed = 12345;
  auto next = [&] { return seed = seed * 1103515245u + 12345u; };
  XMaskVolume mask(box);
  FillWith(mask, [&](SInt32 x, SInt32 y, SInt32) {
    if (y == 0) return UInt8(255);              // a full row
    if (y == 1) return UInt8(0);                // an empty row
    if (y == 2) return UInt8(x >= 8 && x < 40 ? 1 : 0);
    const UInt32 r = next() >> 16;
    return UInt8(r % 3 == 0 ? 0 : r % 3 == 1 ? 255 : (r >> 4) % 200 + 1);
  });
  // A first and last byte of 255 keep the region's box the whole mask.
  {
    XLock lock(mask, kLockReadWrite);
    mask.SetVoxel(0, 0, 0, 255);
    mask.SetVoxel(52, 6, 1, 255);
  }
  X3DRegion region(mask);
  ASSERT_EQ(region.GetBounds(), box);
  XGrey8Volume volume(box);
  volume.Fill(0);
  XRecordHelper helper;
  XScanVolume(volume, &region, helper);

  std::vector<XVisit> expected;
  {
    XLock lock(mask, kLockRead);
    for (SInt32 z = 0; z < 2; ++z)
      for (SInt32 y = 0; y < 7; ++y)
        for (SInt32 x = 0; x < 53; ++x)
          if (mask.GetVoxel(x, y, z) != 0) expected.push_back({x, y, z, 0});
  }
  ASSERT_EQ(helper.itsVisits.size(), expected.size());
  for (size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(helper.itsVisits[i].x, expected[i].x);
    EXPECT_EQ(helper.itsVisits[i].y, expected[i].y);
    EXPECT_EQ(helper.itsVisits[i].z, expected[i].z);
  }
}
