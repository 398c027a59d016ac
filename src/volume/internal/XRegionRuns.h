// Walks the voxels of a box that lie inside a region, as runs along x, so
// that the loops of volume copies and fills test the region once per run
// rather than once per voxel.
#pragma once

#include <memory>

#include "core/XLockable.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class X3DRegion;
class XMaskVolume;

class XRegionRuns {
 public:
  // With no region every voxel of inBox is inside. A region cuts the box to
  // its bounds and, when it has a mask, to the mask's set bytes (above 127).
  XRegionRuns(const X3DRegion* inRegion, const X3DRect& inBox);
  ~XRegionRuns();
  XRegionRuns(const XRegionRuns&) = delete;
  XRegionRuns& operator=(const XRegionRuns&) = delete;

  // The voxels worth looking at: the box cut to the region's bounds.
  const X3DRect& GetBox() const { return itsBox; }
  bool IsEmpty() const { return itsBox.IsEmptyOrInsideOut(); }
  // True when every voxel of GetBox() is inside (no mask).
  bool IsWholeBox() const { return itsMaskBase == nullptr; }

  // Calls inFn(xBegin, xEnd) for each run of inside voxels of row (y, z),
  // with y and z inside GetBox().
  template <class Fn>
  void ForEachRun(SInt32 inY, SInt32 inZ, Fn&& inFn) const {
    if (!itsMaskBase) {
      inFn(itsBox.left, itsBox.right);
      return;
    }
    const UInt8* row = itsMaskBase + static_cast<ptrdiff_t>(inZ - itsMaskBounds.front) * itsMaskPlaneBytes +
                       static_cast<ptrdiff_t>(inY - itsMaskBounds.top) * itsMaskRowBytes -
                       itsMaskBounds.left;
    SInt32 x = itsBox.left;
    while (x < itsBox.right) {
      while (x < itsBox.right && row[x] <= 127) ++x;
      SInt32 begin = x;
      while (x < itsBox.right && row[x] > 127) ++x;
      if (begin < x) inFn(begin, x);
    }
  }

  // True when the region leaves every voxel of inRect inside: no region, or
  // one without a mask whose bounds contain inRect.
  static bool CoversWhole(const X3DRegion* inRegion, const X3DRect& inRect);

 private:
  void AttachMask(const X3DRect& inRegionBounds, const XMaskVolume* inMask);

  X3DRect itsBox;
  std::unique_ptr<XMaskVolume> itsMask;  // a copy sharing the region's block
  std::unique_ptr<XLock> itsMaskLock;    // released before the copy goes
  const UInt8* itsMaskBase = nullptr;
  X3DRect itsMaskBounds;
  ptrdiff_t itsMaskRowBytes = 0;
  ptrdiff_t itsMaskPlaneBytes = 0;
};

}  // namespace mirelan
