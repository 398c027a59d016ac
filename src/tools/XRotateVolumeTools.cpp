#include "tools/XRotateVolumeTools.h"

#include <algorithm>
#include <memory>

#include "core/XProgress.h"
#include "tools/internal/XRawVoxel.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

// Quarter turns turn source columns into dest rows. Square tiles keep the
// source lines read down a column in cache until the tile's next columns
// use them.
constexpr UInt32 kTile = 64;

template <class T>
void QuarterTurnPlane(const T* inSource, ptrdiff_t inSourceRow, T* ioDest, ptrdiff_t inDestRow, UInt32 inWidth,
                      UInt32 inHeight, bool inClockwise) {
  // Source column x becomes dest row x clockwise (bottom of the column first),
  // dest row width-1-x counter clockwise (top first). Within a tile the dest
  // rows are written in runs and the source is read down its columns.
  for (UInt32 y0 = 0; y0 < inHeight; y0 += kTile) {
    const UInt32 y1 = std::min(inHeight, y0 + kTile);
    for (UInt32 x0 = 0; x0 < inWidth; x0 += kTile) {
      const UInt32 x1 = std::min(inWidth, x0 + kTile);
      for (UInt32 x = x0; x < x1; ++x) {
        const T* s = inSource + y0 * inSourceRow + x;
        if (inClockwise) {
          T* d = ioDest + x * inDestRow + (inHeight - 1 - y0);
          for (UInt32 y = y0; y < y1; ++y, s += inSourceRow) *d-- = *s;
        } else {
          T* d = ioDest + (inWidth - 1 - x) * inDestRow + y0;
          for (UInt32 y = y0; y < y1; ++y, s += inSourceRow) *d++ = *s;
        }
      }
    }
  }
}

template <class T>
void HalfTurnPlane(const T* inSource, ptrdiff_t inSourceRow, T* ioDest, ptrdiff_t inDestRow, UInt32 inWidth,
                   UInt32 inHeight, bool inSame) {
  if (inSame) {
    // Exchange (x, y) with (width-1-x, height-1-y): whole rows from both
    // ends, then the middle row of an odd height with itself reversed.
    for (UInt32 y = 0; y < inHeight / 2; ++y) {
      T* top = ioDest + y * inDestRow;
      T* bottom = ioDest + (inHeight - 1 - y) * inDestRow + inWidth;
      for (UInt32 x = 0; x < inWidth; ++x) std::swap(top[x], *--bottom);
    }
    if (inHeight % 2) {
      T* middle = ioDest + (inHeight / 2) * inDestRow;
      std::reverse(middle, middle + inWidth);
    }
    return;
  }
  for (UInt32 y = 0; y < inHeight; ++y)
    XReverseRow(inSource + y * inSourceRow, ioDest + (inHeight - 1 - y) * inDestRow, inWidth);
}

}  // namespace

// ================================================================ XRotateVolumeTool

XRotateVolumeTool::~XRotateVolumeTool() = default;

X3DRect XRotateVolumeTool::QuarterTurnBounds(const X3DRect& inSource) {
  X3DRect box(inSource.GetHeight(), inSource.GetWidth(), inSource.GetDepth());
  box.CentreOn(inSource);
  return box;
}

template <class T>
void XRotateVolumeTool::RotateCopy(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest) const {
  const X3DRect& from = inSource.GetBounds();
  const X3DRect& to = ioDest.GetBounds();
  if (itsTurn == kTurn180) {
    XAssert(from.IsSameSizeAs(to));
  } else {
    XAssert(from.GetWidth() == to.GetHeight());
    XAssert(from.GetHeight() == to.GetWidth());
    XAssert(from.GetDepth() == to.GetDepth());
  }
  const bool same = &inSource == &ioDest;
  XLock sourceLock(inSource, same ? kLockReadWrite : kLockRead);
  XLock destLock(ioDest, same ? kLockReadWrite : kLockWrite);

  const UInt32 width = inSource.GetWidth(), height = inSource.GetHeight(), depth = inSource.GetDepth();
  const ptrdiff_t sourceRow = inSource.GetRowVoxels(), destRow = ioDest.GetRowVoxels();
  const ptrdiff_t sourcePlane = inSource.GetPlaneVoxels(), destPlane = ioDest.GetPlaneVoxels();
  const T* source = inSource.GetBaseVoxelPtr();
  T* dest = ioDest.GetBaseVoxelPtr();

  XProgress progress(depth, kProgressStandard, 2000, false);
  for (UInt32 z = 0; z < depth; ++z) {
    const T* s = source + z * sourcePlane;
    T* d = dest + z * destPlane;
    if (itsTurn == kTurn180)
      HalfTurnPlane(s, sourceRow, d, destRow, width, height, same);
    else
      QuarterTurnPlane(s, sourceRow, d, destRow, width, height, itsTurn == kTurnCW);
    progress.Increment();
  }
}

void XRotateVolumeTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  RotateCopy<UInt8>(inSource, DestAs<XGrey8Volume>(ioDest));
}
void XRotateVolumeTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  RotateCopy<UInt16>(inSource, DestAs<XGrey16Volume>(ioDest));
}
void XRotateVolumeTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  RotateCopy<XARGB32Colour>(inSource, DestAs<XARGB32Volume>(ioDest));
}
void XRotateVolumeTool::ApplyToolBGRA32(const XBGRA32Volume& inSource, XVolume& ioDest) {
  RotateCopy<XBGRA32Colour>(inSource, DestAs<XBGRA32Volume>(ioDest));
}
void XRotateVolumeTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  RotateCopy<XRGB48Colour>(inSource, DestAs<XRGB48Volume>(ioDest));
}
void XRotateVolumeTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  RotateCopy<Float32>(inSource, DestAs<XFPVolume>(ioDest));
}

// ================================================================ the three turns

XRotate90CWVolumeTool::~XRotate90CWVolumeTool() = default;

XVolume* XRotate90CWVolumeTool::MakeDestVolume(const XVolume& inSource) {
  return inSource.CloneWithoutCopy(QuarterTurnBounds(inSource.GetBounds()));
}

XRotate90CCWVolumeTool::~XRotate90CCWVolumeTool() = default;

XVolume* XRotate90CCWVolumeTool::MakeDestVolume(const XVolume& inSource) {
  return inSource.CloneWithoutCopy(QuarterTurnBounds(inSource.GetBounds()));
}

XRotate180VolumeTool::~XRotate180VolumeTool() = default;

}  // namespace mirelan
