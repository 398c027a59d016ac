// The frame the neighbourhood filters share: the extent they write, typed
// views of a locked volume's voxels or of one colour component, and the walk
// over the extent's rows in slabs on the core's worker pool, with progress
// and, for a region with a mask, only the runs of set mask bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <optional>
#include <type_traits>
#include <vector>

#include "core/XLockable.h"
#include "core/XProgress.h"
#include "core/XWorkerPool.h"
#include "geometry/X3DRect.h"
#include "tools/internal/XScanLoop.h"
#include "volume/X3DRegion.h"
#include "volume/XPackedVolume.h"

namespace mirelan {
namespace XFilterDetail {

// One component of every voxel of a locked packed volume, in bounds
// coordinates: the voxel itself (kStep 1), a byte of a 32-bit colour (kStep
// 4) or a 16-bit channel of a 48-bit colour (kStep 3). C is const for a source.
template <class C, int kStep>
struct XChannelView {
  C* origin = nullptr;  // the component at the bounds' first voxel
  ptrdiff_t row = 0;    // strides in C
  ptrdiff_t plane = 0;
  X3DRect bounds;

  template <class V>
  XChannelView(V& inVolume, UInt32 inComponent) : bounds(inVolume.GetBounds()) {
    static_assert(sizeof(typename std::remove_const_t<V>::Voxel) == sizeof(std::remove_const_t<C>) * kStep,
                  "component and voxel sizes");
    XAssert(inVolume.GetVoxelBytes() == sizeof(typename std::remove_const_t<V>::Voxel));
    origin = reinterpret_cast<C*>(inVolume.GetBasePtr()) + inComponent;
    row = ptrdiff_t(inVolume.GetRowVoxels()) * kStep;
    plane = ptrdiff_t(inVolume.GetPlaneVoxels()) * kStep;
  }
  C* At(SInt32 inX, SInt32 inY, SInt32 inZ) const {
    return origin + (ptrdiff_t(inZ) - bounds.front) * plane + (ptrdiff_t(inY) - bounds.top) * row +
           (ptrdiff_t(inX) - bounds.left) * kStep;
  }
  bool Contains(SInt32 inX, SInt32 inY, SInt32 inZ) const {
    return inX >= bounds.left && inX < bounds.right && inY >= bounds.top && inY < bounds.bottom &&
           inZ >= bounds.front && inZ < bounds.back;
  }
};

// What the filters write: the destination's bounds cut to the source's and,
// with a region, to the region's.
inline X3DRect FilterExtent(const XVolume& inSource, const XVolume& inDest, const X3DRegion* inRegion) {
  X3DRect extent = inDest.GetBounds();
  extent.Sect(inSource.GetBounds());
  if (inRegion) extent.Sect(inRegion->GetBounds());
  return extent;
}

// Rows of the extent are numbered plane by plane from 0. About 64 slabs of at
// least 16384 voxels each: whole planes when there are planes enough, else
// runs of rows. The cut does not depend on the worker count, so one worker
// walks the same slabs in order, and progress moves as often either way.
inline UInt64 RowsPerSlab(const X3DRect& inExtent) {
  const UInt64 height = inExtent.GetHeight(), depth = inExtent.GetDepth();
  const UInt64 rows = height * depth;
  const UInt64 minRows = std::max<UInt64>(1, 16384 / std::max<UInt64>(1, inExtent.GetWidth()));
  const UInt64 wanted = std::max(minRows, (rows + 63) / 64);
  if (depth >= 8 && wanted <= height) return height;
  if (depth >= 8) return (wanted + height - 1) / height * height;
  return wanted;
}

// The walk over the rows of the extent. inMakeRowWorker() is called once per
// slab, on the thread that does it, and returns the slab's own row worker
// (with its own buffers); that is called as worker(y, z, x0, x1) for each run
// x0 .. x1 - 1 of voxels to compute: the whole row, or with a masked region
// each run of non-zero mask bytes. Progress: one report of the extent's rows.
class XRowWalk {
 public:
  XRowWalk(const X3DRect& inExtent, const X3DRegion* inRegion)
      : itsExtent(inExtent), itsRegion(inRegion && inRegion->IsComplex() ? inRegion : nullptr) {}

  UInt64 GetRowCount() const {
    return itsExtent.IsEmptyOrInsideOut() ? 0 : UInt64(itsExtent.GetHeight()) * itsExtent.GetDepth();
  }
  void RowAt(UInt64 inRow, SInt32& outY, SInt32& outZ) const {
    outZ = SInt32(itsExtent.front + SInt64(inRow / itsExtent.GetHeight()));
    outY = SInt32(itsExtent.top + SInt64(inRow % itsExtent.GetHeight()));
  }
  const X3DRect& GetExtent() const { return itsExtent; }
  // The mask of a locked region at (extent left, y, z), or null without a mask.
  const UInt8* MaskRow(const XScanLoopDetail::XMaskWalk& inMask, SInt32 inY, SInt32 inZ) const {
    if (!itsRegion) return nullptr;
    return inMask.origin + (ptrdiff_t(inZ) - itsExtent.front) * inMask.plane +
           (ptrdiff_t(inY) - itsExtent.top) * inMask.row;
  }

  // Runs worker(y, z, x0, x1) for the runs of rows inBegin .. inEnd - 1.
  template <class Worker>
  void RunRows(const XScanLoopDetail::XMaskWalk& inMask, UInt64 inBegin, UInt64 inEnd, Worker& ioWorker) const {
    const SInt32 width = SInt32(itsExtent.GetWidth());
    for (UInt64 r = inBegin; r < inEnd; ++r) {
      SInt32 y, z;
      RowAt(r, y, z);
      if (const UInt8* mask = MaskRow(inMask, y, z)) {
        XScanLoopDetail::ForEachMaskRun(mask, width, [&](SInt32 inRunBegin, SInt32 inRunEnd) {
          ioWorker(y, z, itsExtent.left + inRunBegin, itsExtent.left + inRunEnd);
        });
      } else {
        ioWorker(y, z, itsExtent.left, itsExtent.right);
      }
    }
  }

  // The whole walk on the worker pool.
  template <class MakeRowWorker>
  void Run(MakeRowWorker&& inMakeRowWorker) const {
    const UInt64 rows = GetRowCount();
    if (rows == 0) return;
    XProgress progress(rows, kProgressStandard, 2000, false);
    std::optional<XLock> regionLock;
    XScanLoopDetail::XMaskWalk mask;
    if (itsRegion) {
      regionLock.emplace(*itsRegion, kLockRead);
      mask = XScanLoopDetail::XMaskWalk(*itsRegion, itsExtent);
    }
    XWorkerPool::ForEachSlab(
        rows, RowsPerSlab(itsExtent),
        [&](UInt64 inBegin, UInt64 inEnd) {
          auto worker = inMakeRowWorker();
          RunRows(mask, inBegin, inEnd, worker);
        },
        &progress);
  }

 private:
  X3DRect itsExtent;
  const X3DRegion* itsRegion;  // only a region with a mask; a box is in the extent already
};

}  // namespace XFilterDetail
}  // namespace mirelan
