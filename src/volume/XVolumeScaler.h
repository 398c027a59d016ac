// Nearest-neighbour index tables: for each destination position along an
// axis, the offset of the source voxel it takes. Drawing and conversion
// copies use them to resample without arithmetic in the inner loop.
#pragma once

#include <vector>

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"
#include "geometry/XRect.h"

namespace mirelan {

// The same for planes: tables along x and y.
class MIRELAN_EXPORT XImageScaler {
 public:
  XImageScaler(const XRect& inSource, const XRect& inDest, UInt64 inXStride, UInt64 inYStride);

  const XRect& GetSourceRect() const { return itsSource; }
  const XRect& GetDestRect() const { return itsDest; }
  UInt64 GetXStride() const { return itsXStride; }
  UInt64 GetYStride() const { return itsYStride; }
  UInt64 GetSrcX(UInt32 inIndex) const { return itsX[inIndex]; }
  UInt64 GetSrcY(UInt32 inIndex) const { return itsY[inIndex]; }
  const UInt64* GetXTable() const { return itsX.data(); }

 private:
  XRect itsSource;
  XRect itsDest;
  UInt64 itsXStride;
  UInt64 itsYStride;
  std::vector<UInt64> itsX;
  std::vector<UInt64> itsY;
};

class MIRELAN_EXPORT XVolumeScaler {
 public:
  // Offsets are in units of the strides, counted from the source box's
  // origin. Destination i of an axis takes source i * sourceLength /
  // destinationLength (integer division).
  XVolumeScaler(const X3DRect& inSource, const X3DRect& inDest, UInt64 inXStride, UInt64 inYStride,
                UInt64 inZStride);

  const X3DRect& GetSourceRect() const { return itsSource; }
  const X3DRect& GetDestRect() const { return itsDest; }
  UInt64 GetXStride() const { return itsXStride; }
  UInt64 GetYStride() const { return itsYStride; }
  UInt64 GetZStride() const { return itsZStride; }
  UInt64 GetSrcX(UInt32 inIndex) const { return itsX[inIndex]; }
  UInt64 GetSrcY(UInt32 inIndex) const { return itsY[inIndex]; }
  UInt64 GetSrcZ(UInt32 inIndex) const { return itsZ[inIndex]; }
  const UInt64* GetXTable() const { return itsX.data(); }
  // True when destination i takes source i along x: rows can be copied straight.
  bool IsXIdentity() const { return itsSource.GetWidth() == itsDest.GetWidth(); }

  // Fills outTable for destination positions 0 .. inDestLength - 1, running
  // i * inSourceLength as a sum rather than multiplying.
  static void FillArray(std::vector<UInt64>& outTable, UInt32 inSourceLength, UInt32 inDestLength,
                        UInt64 inStride);

 private:
  X3DRect itsSource;
  X3DRect itsDest;
  UInt64 itsXStride;
  UInt64 itsYStride;
  UInt64 itsZStride;
  std::vector<UInt64> itsX;
  std::vector<UInt64> itsY;
  std::vector<UInt64> itsZ;
};

}  // namespace mirelan
