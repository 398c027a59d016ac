#include "alignment/XBestFocusMergeTool.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <vector>

#include "alignment/internal/XAlignmentDispatch.h"
#include "core/XLockable.h"
#include "core/XProgress.h"
#include "core/XWorkerPool.h"
#include "filters/XSpatialFilterVolumeTool.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

X3DRect FirstPlane(const X3DRect& inBounds) {
  return X3DRect(inBounds.left, inBounds.top, inBounds.front, inBounds.right, inBounds.bottom, inBounds.front + 1);
}

}  // namespace

XBestFocusMergeTool::~XBestFocusMergeTool() = default;

XVolume* XBestFocusMergeTool::MakeDestVolume(const XVolume& inSource) {
  return inSource.CloneWithoutCopy(FirstPlane(inSource.GetBounds()));
}

void XBestFocusMergeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) { Merge(inSource, ioDest); }
void XBestFocusMergeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) { Merge(inSource, ioDest); }
void XBestFocusMergeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) { Merge(inSource, ioDest); }
void XBestFocusMergeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) { Merge(inSource, ioDest); }
void XBestFocusMergeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) { Merge(inSource, ioDest); }

template <class T>
void XBestFocusMergeTool::Merge(const XPackedVolume<T>& inSource, XVolume& ioDest) {
  auto& dest = DestAs<XPackedVolume<T>>(ioDest);
  if (inSource.GetDepth() == 1) {
    dest.CopyFrom(inSource);
    return;
  }
  XGrey16Volume slices(FirstPlane(inSource.GetBounds()));
  FindBestFocusSlices(inSource, slices);
  SmoothSlices(slices);
  CopyBestFocus(inSource, slices, dest);
}

namespace {

// The focus measure of one row: the sum of absolute differences to the four
// neighbours in the plane. A missing neighbour stands in as the pixel itself,
// which adds 0, so that the inner loop has no test.
template <class T>
void RowMeasure(const T* inRow, const T* inUp, const T* inDown, SInt32 inWidth, float* outMeasure) {
  using alignment::FocusValue;
  if (inWidth == 1) {
    const float c = FocusValue(inRow[0]);
    outMeasure[0] = std::abs(c - FocusValue(inUp[0])) + std::abs(c - FocusValue(inDown[0]));
    return;
  }
  auto at = [&](SInt32 x, SInt32 left, SInt32 right) {
    const float c = FocusValue(inRow[x]);
    return std::abs(c - FocusValue(inRow[left])) + std::abs(c - FocusValue(inRow[right])) +
           std::abs(c - FocusValue(inUp[x])) + std::abs(c - FocusValue(inDown[x]));
  };
  outMeasure[0] = at(0, 0, 1);
  for (SInt32 x = 1; x + 1 < inWidth; ++x) outMeasure[x] = at(x, x - 1, x + 1);
  outMeasure[inWidth - 1] = at(inWidth - 1, inWidth - 2, inWidth - 1);
}

}  // namespace

template <class T>
void XBestFocusMergeTool::FindBestFocusSlices(const XPackedVolume<T>& inSource, XGrey16Volume& outSlices) {
  const X3DRect& b = inSource.GetBounds();
  const SInt32 width = SInt32(b.GetWidth());
  const SInt32 mapPlane = outSlices.GetBounds().front;
  XFPVolume best(outSlices.GetBounds());
  best.Clear();
  XLock lockSource(inSource, kLockRead);
  XLock lockSlices(outSlices, kLockWrite);
  XLock lockBest(best, kLockReadWrite);
  // Bands of rows go to the worker pool; each band takes every plane in
  // ascending order, so its rows of the map stay in cache and every pixel
  // sees the planes in the same order for every worker count.
  const UInt64 rows = b.GetHeight();
  const UInt64 bandRows = std::max<UInt64>(1, 8192 / std::max<UInt64>(1, UInt64(width)));
  XProgress progress(rows * b.GetDepth(), kProgressStandard, 2000, false);
  XWorkerPool::ForEachSlab(rows, bandRows, [&](UInt64 inBegin, UInt64 inEnd) {
    std::vector<float> measure(static_cast<size_t>(width));
    for (SInt32 z = b.front; z < b.back; ++z) {
      const UInt16 plane = UInt16(z - b.front);
      for (SInt32 y = b.top + SInt32(inBegin); y < b.top + SInt32(inEnd); ++y) {
        const T* row = inSource.GetVoxelPtr(b.left, y, z);
        const T* up = y > b.top ? inSource.GetVoxelPtr(b.left, y - 1, z) : row;
        const T* down = y + 1 < b.bottom ? inSource.GetVoxelPtr(b.left, y + 1, z) : row;
        RowMeasure(row, up, down, width, measure.data());
        float* bestRow = best.GetVoxelPtr(b.left, y, mapPlane);
        UInt16* sliceRow = outSlices.GetVoxelPtr(b.left, y, mapPlane);
        // At least as sharp: the higher plane wins ties, so a flat column ends on the last plane.
        for (SInt32 x = 0; x < width; ++x) {
          const bool sharper = measure[x] >= bestRow[x];
          bestRow[x] = sharper ? measure[x] : bestRow[x];
          sliceRow[x] = sharper ? plane : sliceRow[x];
        }
      }
    }
  }, &progress, b.GetDepth());
}

void XBestFocusMergeTool::SmoothSlices(XGrey16Volume& ioSlices) {
  static const Float32 kWeights[9] = {16, 26, 16, 26, 41, 26, 16, 26, 16};
  XSpatialFilterVolumeTool smoothing(kWeights, 3, 3, 1, 0.0f, false);
  smoothing.ApplyToolInPlace(ioSlices);
}

template <class T>
void XBestFocusMergeTool::CopyBestFocus(const XPackedVolume<T>& inSource, const XGrey16Volume& inBestFocusSlices,
                                        XPackedVolume<T>& inDestVolume) {
  const X3DRect& srcBounds = inSource.GetBounds();
  XAssert(srcBounds.GetXYBounds() == inBestFocusSlices.GetBounds().GetXYBounds());
  XAssert(inDestVolume.GetBounds() == inBestFocusSlices.GetBounds());
  const X3DRect& b = inDestVolume.GetBounds();
  const UInt16 lastPlane = UInt16(srcBounds.GetDepth() - 1);
  XLock lockSource(inSource, kLockRead);
  XLock lockSlices(inBestFocusSlices, kLockRead);
  XLock lockDest(inDestVolume, kLockWrite);
  for (SInt32 y = b.top; y < b.bottom; ++y) {
    const UInt16* slices = inBestFocusSlices.GetVoxelPtr(b.left, y, b.front);
    T* dest = inDestVolume.GetVoxelPtr(b.left, y, b.front);
    for (SInt32 x = 0; x < SInt32(b.GetWidth()); ++x) {
      const SInt32 z = srcBounds.front + std::min(slices[x], lastPlane);
      dest[x] = *inSource.GetVoxelPtr(b.left + x, y, z);
    }
  }
}

}  // namespace mirelan
