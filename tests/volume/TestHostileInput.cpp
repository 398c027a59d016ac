// Input made to break the readers and constructors: each case here was once a
// heap overflow, a huge allocation from a few bytes, a run of seconds or an
// unstable round trip.
#include <climits>

#include "core/XMemoryHandle.h"
#include "volume/X3DRegion.h"
#include "VolumeTestSupport.h"

using namespace volumetest;

namespace {

class HostileInput : public VolumeTest {
 protected:
  void SetUp() override { XMemoryHandle::ResetPeakAllocatedBytes(); }
  // Bytes allocated at the peak since the test began, beyond what was held then.
  UInt64 PeakGrowth() const { return XMemoryHandle::GetPeakAllocatedBytes() - itsBaseline; }

 private:
  UInt64 itsBaseline = XMemoryHandle::GetAllocatedBytes();
};

// The lossy form's header with no coded image behind it.
Bytes LossyHeader(UInt16 inClassID, UInt32 w, UInt32 h, UInt32 d, UInt32 inRowVoxels) {
  Bytes b;
  b.U32(XVersion(inClassID, 1).GetValue()).U32(w).U32(h).U32(d).U32(7).U32(8).U32(9);
  return b.F64(1).F64(1).F64(1).U32(inRowVoxels);
}

// A region stream with the given box and no mask.
Bytes RegionStream(SInt32 l, SInt32 r, SInt32 t, SInt32 b, SInt32 f, SInt32 k) {
  Bytes bytes;
  bytes.U32(65645).U32(65645).U32(100).U32(100);
  for (SInt32 v : {l, r, t, b, f, k}) bytes.U32(UInt32(v));
  return bytes.U8(0);
}

}  // namespace

TEST_F(HostileInput, LossyVolumesWithAnEmptyBoxHoldNoRowsOfTheStream) {
  for (UInt16 id : {12101, 12100}) {
    SCOPED_TRACE(id);
    auto read = ReadFromBytes<XBasePackedVolume>(LossyHeader(id, 0, 5, 5, 1000).Get());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->GetRowVoxels(), 0u);
    EXPECT_EQ(read->GetVolumeBytes(), 0u);
    EXPECT_EQ(read->CalculateCRC(), 0u);
    std::unique_ptr<XVolume> copy(read->Clone());
    EXPECT_TRUE(*read == *copy);
    // Its stored form reads back.
    auto again = ReadFromBytes<XVolume>(WriteToBytes(*read));
    EXPECT_EQ(again->GetBounds(), read->GetBounds());
  }
  auto grey = ReadFromBytes<XGrey8Volume>(LossyHeader(12101, 3, 0, 2, 1000).Get());
  *grey += *grey;  // arithmetic walks nothing
  EXPECT_EQ(grey->GetVolumeBytes(), 0u);
}

TEST_F(HostileInput, VolumesWhoseDataIsNotOnTheStreamCannotBeLockedWithoutAFetcher) {
  // A non-zero data format word: the rows are huge and nothing follows.
  Bytes b;
  VolumeLayer(b.U32(65641), 4, 3, 2).U32(114).U32(65638).U32(0xE0E0E0E0).U32(1);
  b.U32(103).U32(65640).U32(65641);
  auto read = ReadFromBytes<XGrey8Volume>(b.Get());
  ASSERT_TRUE(read);
  EXPECT_EQ(read->GetRowVoxels(), 0xE0E0E0E0u);
  EXPECT_FALSE(read->GetStorage().IsDataPresent());
  EXPECT_EQ(ErrorOf([&] { read->CalculateCRC(); }), kErrGeneral);
  EXPECT_EQ(ErrorOf([&] { WriteToBytes(*read); }), kErrGeneral);
  EXPECT_LT(PeakGrowth(), UInt64(1) << 20);
}

TEST_F(HostileInput, BlankLegacyImagesCannotClaimMoreThanAPlane) {
  // 22 bytes once made a 1 GiB image.
  auto huge = Legacy(4, 0, 0, 32768, 32768, {}).Get();
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XGrey8Volume>(huge); }), kErrBadStreamSize);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XFPVolume>(Legacy(2, 0, 0, 8192, 8192, {}).Get()); }), kErrBadStreamSize);
  EXPECT_LT(PeakGrowth(), UInt64(1) << 20);
  auto blank = ReadFromBytes<XGrey16Volume>(Legacy(3, 0, 0, 2048, 2048, {}).Get());
  EXPECT_EQ(VoxelAt(*blank, 2047, 2047, 0), 0);
}

TEST_F(HostileInput, RegionBoxesMustNotBeInsideOutAndEmptyOnesSitAtTheOrigin) {
  EXPECT_EQ(ErrorOf([] { ReadFromBytes<X3DRegion>(RegionStream(10, 0, 0, 5, 0, 5).Get()); }), kErrBadStreamSize);
  EXPECT_EQ(ErrorOf([] { ReadFromBytes<X3DRegion>(RegionStream(0, 5, 0, 5, 9, 1).Get()); }), kErrBadStreamSize);
  auto far = ReadFromBytes<X3DRegion>(RegionStream(1 << 30, 1 << 30, 0, 1 << 30, 0, 1 << 30).Get());
  EXPECT_EQ(far->GetBounds(), X3DRect());
  EXPECT_TRUE(far->IsSimple());
  // United with a small box it stretches nothing.
  X3DRegion cell(X3DRect(0, 0, 0, 4, 4, 4));
  cell.Union(*far);
  EXPECT_EQ(cell.GetBounds(), X3DRect(0, 0, 0, 4, 4, 4));
  EXPECT_LT(PeakGrowth(), UInt64(1) << 20);
}

TEST_F(HostileInput, UnionsThatEndAsABoxNeedNoMask) {
  const X3DRect big(0, 0, 0, 1000, 1000, 200), small(10, 10, 10, 20, 20, 20);
  X3DRegion region(big);
  region.Union(X3DRegion(small));
  EXPECT_TRUE(region.IsSimple());
  EXPECT_EQ(region.GetBounds(), big);
  X3DRegion inside(small);
  inside.Union(X3DRegion(big));
  EXPECT_TRUE(inside.IsSimple());
  EXPECT_EQ(inside.GetBounds(), big);
  X3DRegion withEmpty(big);
  withEmpty.Union(X3DRegion(X3DRect(5000, 5000, 5000, 5000, 5000, 5000)));
  EXPECT_EQ(withEmpty.GetBounds(), big);
  EXPECT_LT(PeakGrowth(), UInt64(1) << 20);
  // Under a crop lock the painted mask stays, as it always did.
  X3DRegion locked(X3DRect(0, 0, 0, 8, 8, 2));
  locked.LockCrop();
  locked.Union(X3DRegion(X3DRect(1, 1, 0, 2, 2, 1)));
  EXPECT_TRUE(locked.IsComplex());
  locked.UnlockCrop();
  EXPECT_TRUE(locked.IsSimple());
}

TEST_F(HostileInput, ForeignByteOrderRoundTripsAreStable) {
  // A block whose spare tail is not zero, as a stream may bring it.
  auto withTail = [](XBasePackedVolume& ioVolume) {
    XLock lock(ioVolume, kLockReadWrite);
    UInt8* tail = ioVolume.GetBasePtr() + ioVolume.GetVolumeBytes();
    for (int i = 0; i < 16; ++i) tail[i] = UInt8(0xA0 + i);
  };
  XGrey16Volume grey(3, 2, 1);
  XFPVolume real(3, 2, 1);
  XRGB48Volume colour(1, 1, 1);
  for (XBasePackedVolume* v : std::initializer_list<XBasePackedVolume*>{&grey, &real, &colour}) {
    SCOPED_TRACE(v->GetDescription());
    v->Clear();
    withTail(*v);
    std::vector<UInt8> first = WriteToBytes(*v, kBigEndian);
    auto read = ReadFromBytes<XBasePackedVolume>(first, kBigEndian);
    EXPECT_EQ(WriteToBytes(*read, kBigEndian), first);
    EXPECT_EQ(WriteToBytes(*read, kLittleEndian), WriteToBytes(*v, kLittleEndian));
  }
}

TEST_F(HostileInput, ImpossibleVolumeSizesAreRefused) {
  EXPECT_EQ(ErrorOf([] { XGrey8Volume v(0xFFFFFFFBu, 1, 1); }), kErrImpossibleSize);
  EXPECT_EQ(ErrorOf([] { XGrey16Volume v(1, 0x80000000u, 1); }), kErrImpossibleSize);
  // A box whose sides came from wrapped arithmetic.
  EXPECT_EQ(ErrorOf([] { XGrey8Volume v(X3DRect(INT_MIN, 0, 0, INT_MAX, 1, 1)); }), kErrImpossibleSize);
  X3DRect insideOut(0, 0, 0, 4, 4, 4);
  insideOut.back = -3;
  EXPECT_EQ(ErrorOf([&] { XFPVolume v(insideOut); }), kErrImpossibleSize);
  // A possible box that the machine cannot hold fails before touching memory.
  const UInt64 limit = XMemoryHandle::GetAllocationLimit();
  XMemoryHandle::SetAllocationLimit(UInt64(64) << 20);
  EXPECT_EQ(ErrorOf([] { XARGB32Volume v(8192, 8192, 1); }), kErrOutOfMemory);
  XMemoryHandle::SetAllocationLimit(limit);
  EXPECT_LT(PeakGrowth(), UInt64(1) << 20);
}

#if MIRELAN_CHECK_LOCKS
TEST_F(HostileInput, VoxelsTouchedWithoutALockFailTheCheck) {
  XGrey8Volume a(4, 4, 1);
  a.Clear();
  XGrey8Volume b(a);
  EXPECT_THROW(a.SetVoxel(0, 0, 0, 7), XInternalError);  // would have changed b too
  {
    XLock lock(a, kLockReadWrite);
    a.SetVoxel(0, 0, 0, 7);
  }
  EXPECT_EQ(VoxelAt(b, 0, 0, 0), 0);
}
#endif
