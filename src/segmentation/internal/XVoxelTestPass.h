// The selection pass of the object and seed tools: one walk over a volume
// that writes 255 into a new mask where a voxel passes a test and 0 where it
// fails, then makes a region of the mask.
//
// A test is a small object with
//   bool operator()(const Voxel* voxel, SInt32 x, SInt32 y, SInt32 z) const;
// instantiated per pixel type so that it inlines into the loop. The pointer
// lets a neighbourhood test read around the voxel. A test that shares work
// between neighbouring voxels may instead take a row at once with
//   void PassRow(const Voxel* row, SInt32 left, SInt32 width, SInt32 y, SInt32 z, UInt8* mask) const;
// writing 255 or 0 for each voxel of the row.
#pragma once

#include <cstddef>
#include <type_traits>

#include "core/XLockable.h"
#include "core/XProgress.h"
#include "volume/X3DRegion.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

// The voxels of a label volume that carry one label.
struct XLabelTest {
  UInt32 label;
  bool operator()(const UInt32* inVoxel, SInt32, SInt32, SInt32) const { return *inVoxel == label; }
};

template <class Test, class = void>
struct XHasPassRow : std::false_type {};
template <class Test>
struct XHasPassRow<Test, std::void_t<decltype(&Test::PassRow)>> : std::true_type {};

// The pass over inVolume's bounds cut to inRect: the mask covers that box,
// and the region is made from mask and rectangle, so it ends cropped.
template <class V, class Test>
X3DRegion XSelectByTest(const V& inVolume, const X3DRect& inRect, const Test& inTest) {
  X3DRect box = inVolume.GetBounds();
  box.Sect(inRect);
  if (box.IsEmptyOrInsideOut()) return X3DRegion();
  XMaskVolume mask(box);
  {
    XLock sourceLock(inVolume, kLockRead);
    XLock maskLock(mask, kLockWrite);
    XProgress progress(box.GetDepth(), kProgressStandard, 2000, false);
    const X3DRect& bounds = inVolume.GetBounds();
    const ptrdiff_t row = ptrdiff_t(inVolume.GetRowVoxels());
    const ptrdiff_t plane = ptrdiff_t(inVolume.GetPlaneVoxels());
    const ptrdiff_t maskRow = ptrdiff_t(mask.GetRowVoxels());
    const ptrdiff_t maskPlane = ptrdiff_t(mask.GetPlaneVoxels());
    const SInt32 width = SInt32(box.GetWidth());
    const auto* sourcePlane = inVolume.GetBaseVoxelPtr() + (ptrdiff_t(box.front) - bounds.front) * plane +
                              (ptrdiff_t(box.top) - bounds.top) * row + (ptrdiff_t(box.left) - bounds.left);
    UInt8* destPlane = mask.GetBaseVoxelPtr();
    for (SInt32 z = box.front; z < box.back; ++z, sourcePlane += plane, destPlane += maskPlane) {
      const auto* source = sourcePlane;
      UInt8* dest = destPlane;
      for (SInt32 y = box.top; y < box.bottom; ++y, source += row, dest += maskRow) {
        if constexpr (XHasPassRow<Test>::value)
          inTest.PassRow(source, box.left, width, y, z, dest);
        else
          for (SInt32 i = 0; i < width; ++i) dest[i] = inTest(source + i, box.left + i, y, z) ? 255 : 0;
      }
      progress.Increment();
    }
  }
  return X3DRegion(mask, inRect);
}

}  // namespace mirelan
