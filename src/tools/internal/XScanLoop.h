// The one voxel walker of the tools. A tool supplies a small helper per pixel
// type; the loop is instantiated per helper, so the helper's ScanPixel is
// inlined into the innermost loop, and the region test is decided outside it.
//
// A helper has three operations:
//   void SetupForScan(V& volume);
//   void ScanPixel(Voxel* voxel, V& volume, SInt32 x, SInt32 y, SInt32 z);
//   void FinishedScanning(V& volume);
// where V is the concrete volume class, const for a read-only walk. The pair
// walk passes a second voxel pointer after the first:
//   void ScanPixel(Voxel* voxel, OtherVoxel* other, V& volume, SInt32 x, SInt32 y, SInt32 z);
//
// The walk, in order:
//  1. Lock the volume: mode 2 when V is const (read), 1 otherwise.
//  2. The working box: the volume's bounds, cut to the region's bounds and,
//     in the pair walk, to the other volume's bounds.
//  3. Row and plane strides from GetRowVoxels and GetPlaneVoxels.
//  4. Progress: XProgress(planes of the box) with one Increment per plane, or
//     XProgress(rows of the box) with SetProgress after a row whenever an
//     XTimer(300, 0) has run out. A cancel surfaces here, as the XException
//     thrown by the progress call; locks are scoped and let go on the way out.
//  5. No region, or a region without a mask: a plain z, y, x loop.
//  6. A region with a mask: the region is locked for reading and a third
//     pointer walks its mask; a voxel is taken where the mask byte is not 0.
//     (Not the "above 127" test of X3DRegion::Contains: masks made by regions
//     hold 0 and 255 only, so the two agree on them.) The mask row is cut
//     into runs of non-zero bytes a word at a time, so the voxel loop itself
//     carries no mask test.
//
// Optional helper operations, found at compile time: ScanRun takes a whole
// run of voxels (see below), and IsScanComplete, asked after each row, ends
// the walk early.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

#include "core/XLockable.h"
#include "core/XProgress.h"
#include "core/XTimer.h"
#include "tools/XScanHelperBase.h"
#include "volume/X3DRegion.h"
#include "volume/XPackedVolume.h"

namespace mirelan {

enum XScanProgressMode : UInt8 {
  kScanProgressPerPlane = 0,     // one Increment per plane
  kScanProgressPerRowTimed = 1,  // rows counted, reported when a 300 ms timer runs out
};

namespace XScanLoopDetail {

template <class V>
using VoxelOf = std::conditional_t<std::is_const_v<V>, const typename std::remove_const_t<V>::Voxel,
                                   typename std::remove_const_t<V>::Voxel>;

template <class V>
constexpr XLockMode LockModeOf() {
  return std::is_const_v<V> ? kLockRead : kLockReadWrite;
}

// Where the box starts in a volume's block, and its strides in voxels.
template <class V>
struct XWalk {
  using Voxel = VoxelOf<V>;
  Voxel* origin;
  ptrdiff_t row;
  ptrdiff_t plane;

  XWalk(V& inVolume, const X3DRect& inBox) {
    const X3DRect& b = inVolume.GetBounds();
    row = static_cast<ptrdiff_t>(inVolume.GetRowVoxels());
    plane = static_cast<ptrdiff_t>(inVolume.GetPlaneVoxels());
    origin = inVolume.GetBaseVoxelPtr() + (static_cast<ptrdiff_t>(inBox.front) - b.front) * plane +
             (static_cast<ptrdiff_t>(inBox.top) - b.top) * row + (static_cast<ptrdiff_t>(inBox.left) - b.left);
  }
};

// The same for the mask of a locked complex region, in bytes.
struct XMaskWalk {
  const UInt8* origin = nullptr;
  ptrdiff_t row = 0;
  ptrdiff_t plane = 0;

  XMaskWalk() = default;
  XMaskWalk(const X3DRegion& inRegion, const X3DRect& inBox) {
    const X3DRect& b = inRegion.GetBounds();
    row = static_cast<ptrdiff_t>(inRegion.GetMaskRowBytes());
    plane = static_cast<ptrdiff_t>(inRegion.GetMaskPlaneBytes());
    origin = inRegion.GetMaskBasePtr() + (static_cast<ptrdiff_t>(inBox.front) - b.front) * plane +
             (static_cast<ptrdiff_t>(inBox.top) - b.top) * row + (static_cast<ptrdiff_t>(inBox.left) - b.left);
  }
};

// A helper may end the walk early with `bool IsScanComplete() const`, asked
// after each row (never per voxel).
template <class H, class = void>
struct XHasScanComplete : std::false_type {};
template <class H>
struct XHasScanComplete<H, std::void_t<decltype(std::declval<const H&>().IsScanComplete())>> : std::true_type {};

template <class H>
inline bool IsScanComplete(const H& inHelper) {
  if constexpr (XHasScanComplete<H>::value)
    return inHelper.IsScanComplete();
  else
    return false;
}

// Progress in either mode; the per-voxel loops never see it.
class XScanProgress {
 public:
  XScanProgress(const X3DRect& inBox, XScanProgressMode inMode)
      : itsMode(inMode),
        itsProgress(inMode == kScanProgressPerPlane ? UInt64(inBox.GetDepth())
                                                    : UInt64(inBox.GetDepth()) * inBox.GetHeight(),
                    kProgressStandard, 2000, false),
        itsTimer(300, 0),
        itsRowsPerLook(std::max<UInt32>(1, kVoxelsPerLook / std::max<UInt32>(1, inBox.GetWidth()))) {}

  void RowDone() {
    if (itsMode == kScanProgressPerRowTimed) {
      ++itsRows;
      // Reading the clock costs as much as walking a short row: the timer is
      // looked at once every so many voxels rather than after every row.
      if (++itsRowsSinceLook < itsRowsPerLook) return;
      itsRowsSinceLook = 0;
      if (itsTimer.HasElapsed()) {
        itsProgress.SetProgress(itsRows);
        itsTimer.Start();
      }
    }
  }
  void PlaneDone() {
    if (itsMode == kScanProgressPerPlane) itsProgress.Increment();
  }

 private:
  static constexpr UInt32 kVoxelsPerLook = 16384;

  XScanProgressMode itsMode;
  UInt64 itsRows = 0;
  XProgress itsProgress;
  XTimer itsTimer;
  UInt32 itsRowsPerLook;
  UInt32 itsRowsSinceLook = 0;
};

// A helper that copies cheaply runs on a local copy: the compiler can then
// keep its fields in registers while the voxel stores (which, through a
// byte pointer, might alias anything reachable) go on.
template <class Helper>
struct XHelperSlot {
  static constexpr bool kLocal = std::is_trivially_copyable_v<Helper> && sizeof(Helper) <= 256;
  using Storage = std::conditional_t<kLocal, Helper, Helper&>;
};

// A helper may also take a whole run of voxels at once with
//   void ScanRun(Voxel* run, SInt32 count, V& volume, SInt32 x, SInt32 y, SInt32 z);
// (x is the run's first voxel). The single-volume walk then hands it every
// run instead of calling ScanPixel per voxel: counting and filling helpers
// use it to work a machine word at a time.
template <class H, class = void>
struct XHasScanRun : std::false_type {};
template <class H>
struct XHasScanRun<H, std::void_t<decltype(&H::template ScanRun<int>)>> : std::true_type {};

template <class H, class Voxel, class V>
inline void ScanOneRun(H& ioHelper, Voxel* inRun, SInt32 inCount, V& ioVolume, SInt32 inX, SInt32 inY,
                       SInt32 inZ) {
  if constexpr (XHasScanRun<H>::value) {
    ioHelper.ScanRun(inRun, inCount, ioVolume, inX, inY, inZ);
  } else {
    for (SInt32 i = 0; i < inCount; ++i) ioHelper.ScanPixel(inRun + i, ioVolume, inX + i, inY, inZ);
  }
}

inline UInt64 LoadWord(const UInt8* inBytes) {
  UInt64 word;
  std::memcpy(&word, inBytes, sizeof(word));
  return word;
}

// True when some byte of the word is 0.
inline bool HasZeroByte(UInt64 inWord) {
  return ((inWord - 0x0101010101010101ull) & ~inWord & 0x8080808080808080ull) != 0;
}

// Calls inFn(begin, end) for each run of non-zero bytes among inMask[0 ..
// inCount), stepping over stretches of all-zero and of all-non-zero bytes a
// word at a time.
template <class Fn>
inline void ForEachMaskRun(const UInt8* inMask, SInt32 inCount, Fn&& inFn) {
  SInt32 i = 0;
  while (i < inCount) {
    while (i + 8 <= inCount && LoadWord(inMask + i) == 0) i += 8;
    while (i < inCount && inMask[i] == 0) ++i;
    if (i >= inCount) return;
    const SInt32 begin = i;
    while (i + 8 <= inCount && !HasZeroByte(LoadWord(inMask + i))) i += 8;
    while (i < inCount && inMask[i] != 0) ++i;
    inFn(begin, i);
  }
}

}  // namespace XScanLoopDetail

template <class Helper>
class XScanLoop {
 public:
  // Walks ioVolume (const for a read-only walk), inside inRegion when given.
  template <class V>
  static void Scan(V& ioVolume, const X3DRegion* inRegion, Helper& ioHelper,
                   XScanProgressMode inProgress = kScanProgressPerPlane) {
    using namespace XScanLoopDetail;
    XLock volumeLock(ioVolume, LockModeOf<V>());
    X3DRect box = ioVolume.GetBounds();
    if (inRegion) box.Sect(inRegion->GetBounds());

    ioHelper.SetupForScan(ioVolume);
    if (!box.IsEmptyOrInsideOut()) {
      typename XHelperSlot<Helper>::Storage helper(ioHelper);
      XWalk<V> walk(ioVolume, box);
      XScanProgress progress(box, inProgress);
      if (inRegion && inRegion->IsComplex()) {
        XLock regionLock(*inRegion, kLockRead);
        const XMaskWalk mask(*inRegion, box);
        Walk(box, walk.plane, walk.row, walk.origin, mask, helper, progress,
             [&](auto* inRow, const UInt8* inMaskRow, SInt32 y, SInt32 z) {
               ForEachMaskRun(inMaskRow, SInt32(box.GetWidth()), [&](SInt32 inBegin, SInt32 inEnd) {
                 ScanOneRun(helper, inRow + inBegin, inEnd - inBegin, ioVolume, box.left + inBegin, y, z);
               });
             });
      } else {
        Walk(box, walk.plane, walk.row, walk.origin, XMaskWalk(), helper, progress,
             [&](auto* inRow, const UInt8*, SInt32 y, SInt32 z) {
               ScanOneRun(helper, inRow, SInt32(box.GetWidth()), ioVolume, box.left, y, z);
             });
      }
      if constexpr (XHelperSlot<Helper>::kLocal) ioHelper = helper;
    }
    ioHelper.FinishedScanning(ioVolume);
  }

  // Walks ioVolume and inOther together, voxel for voxel at the same
  // coordinates; the working box is also cut to inOther's bounds. inOther is
  // locked for reading when const, for reading and writing otherwise.
  template <class V, class W>
  static void ScanPair(V& ioVolume, W& inOther, const X3DRegion* inRegion, Helper& ioHelper,
                       XScanProgressMode inProgress = kScanProgressPerPlane) {
    using namespace XScanLoopDetail;
    XLock volumeLock(ioVolume, LockModeOf<V>());
    XLock otherLock(inOther, LockModeOf<W>());
    X3DRect box = ioVolume.GetBounds();
    if (inRegion) box.Sect(inRegion->GetBounds());
    box.Sect(inOther.GetBounds());

    ioHelper.SetupForScan(ioVolume);
    if (!box.IsEmptyOrInsideOut()) {
      typename XHelperSlot<Helper>::Storage helper(ioHelper);
      XWalk<V> walk(ioVolume, box);
      XWalk<W> otherWalk(inOther, box);
      // The other volume's rows are found from the first's by a fixed offset
      // per row and plane.
      auto pairRun = [&](auto* inRow, SInt32 inBegin, SInt32 inEnd, SInt32 y, SInt32 z) {
        auto* otherRow = otherWalk.origin + (z - box.front) * otherWalk.plane + (y - box.top) * otherWalk.row;
        for (SInt32 i = inBegin; i < inEnd; ++i)
          helper.ScanPixel(inRow + i, otherRow + i, ioVolume, box.left + i, y, z);
      };
      XScanProgress progress(box, inProgress);
      if (inRegion && inRegion->IsComplex()) {
        XLock regionLock(*inRegion, kLockRead);
        const XMaskWalk mask(*inRegion, box);
        Walk(box, walk.plane, walk.row, walk.origin, mask, helper, progress,
             [&](auto* inRow, const UInt8* inMaskRow, SInt32 y, SInt32 z) {
               ForEachMaskRun(inMaskRow, SInt32(box.GetWidth()),
                              [&](SInt32 inBegin, SInt32 inEnd) { pairRun(inRow, inBegin, inEnd, y, z); });
             });
      } else {
        Walk(box, walk.plane, walk.row, walk.origin, XMaskWalk(), helper, progress,
             [&](auto* inRow, const UInt8*, SInt32 y, SInt32 z) {
               pairRun(inRow, 0, SInt32(box.GetWidth()), y, z);
             });
      }
      if constexpr (XHelperSlot<Helper>::kLocal) ioHelper = helper;
    }
    ioHelper.FinishedScanning(ioVolume);
  }

 private:
  // Planes and rows of the box, with progress and early completion between
  // rows; inRowFn does the voxels of one row (with its mask row, if any).
  template <class Voxel, class H, class RowFn>
  static void Walk(const X3DRect& inBox, ptrdiff_t inPlaneStride, ptrdiff_t inRowStride, Voxel* inOrigin,
                   const XScanLoopDetail::XMaskWalk& inMask, H& ioHelper, XScanLoopDetail::XScanProgress& ioProgress,
                   RowFn&& inRowFn) {
    Voxel* plane = inOrigin;
    const UInt8* maskPlane = inMask.origin;
    for (SInt32 z = inBox.front; z < inBox.back; ++z, plane += inPlaneStride, maskPlane += inMask.plane) {
      Voxel* row = plane;
      const UInt8* maskRow = maskPlane;
      for (SInt32 y = inBox.top; y < inBox.bottom; ++y, row += inRowStride, maskRow += inMask.row) {
        inRowFn(row, maskRow, y, z);
        ioProgress.RowDone();
        if (XScanLoopDetail::IsScanComplete(ioHelper)) return;
      }
      ioProgress.PlaneDone();
    }
  }
};

// The common case in one call: XScanVolume(volume, region, helper).
template <class V, class Helper>
inline void XScanVolume(V& ioVolume, const X3DRegion* inRegion, Helper& ioHelper,
                        XScanProgressMode inProgress = kScanProgressPerPlane) {
  XScanLoop<Helper>::Scan(ioVolume, inRegion, ioHelper, inProgress);
}

}  // namespace mirelan
