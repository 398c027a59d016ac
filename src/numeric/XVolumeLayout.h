// One view of a block of elements as a three-dimensional array with padded
// rows and planes: how a Fourier volume's storage reads as real numbers in
// image space and as complex numbers in Fourier space.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

template <class T>
class XVolumeLayout {
 public:
  XVolumeLayout() = default;
  XVolumeLayout(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth, UInt32 inRowSize, UInt32 inLayerSize,
                UInt32 inEndPadding)
      : itsWidth(inWidth),
        itsHeight(inHeight),
        itsDepth(inDepth),
        itsRowSize(inRowSize),
        itsLayerSize(inLayerSize),
        itsEndPadding(inEndPadding) {}

  // Elements of T along each axis.
  UInt32 GetWidth() const { return itsWidth; }
  UInt32 GetHeight() const { return itsHeight; }
  UInt32 GetDepth() const { return itsDepth; }
  // Elements from one row, and from one plane, to the next.
  UInt32 GetRowSize() const { return itsRowSize; }
  UInt32 GetLayerSize() const { return itsLayerSize; }
  // Elements behind the last plane.
  UInt32 GetEndPadding() const { return itsEndPadding; }

  UInt32 GetYPadding() const { return itsRowSize - itsWidth; }
  UInt32 GetZPadding() const { return itsLayerSize - itsRowSize * itsHeight; }
  // Bytes of the whole view, end padding included.
  UInt64 GetStorageSize() const { return (UInt64(itsLayerSize) * itsDepth + itsEndPadding) * sizeof(T); }
  bool IsSameSizeAs(const XVolumeLayout& inOther) const {
    return itsWidth == inOther.itsWidth && itsHeight == inOther.itsHeight && itsDepth == inOther.itsDepth;
  }

  void SetWidth(UInt32 inValue) { itsWidth = inValue; }
  void SetHeight(UInt32 inValue) { itsHeight = inValue; }
  void SetDepth(UInt32 inValue) { itsDepth = inValue; }
  void SetRowSize(UInt32 inValue) { itsRowSize = inValue; }
  void SetLayerSize(UInt32 inValue) { itsLayerSize = inValue; }
  void SetEndPadding(UInt32 inValue) { itsEndPadding = inValue; }

 private:
  UInt32 itsWidth = 0;
  UInt32 itsHeight = 0;
  UInt32 itsDepth = 0;
  UInt32 itsRowSize = 0;
  UInt32 itsLayerSize = 0;
  UInt32 itsEndPadding = 0;
};

}  // namespace mirelan
