// The hybrid median: a median of medians along lines and diagonals, which
// keeps thin lines and corners that a cube median rounds away.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

// With n the size and lines of n positions through the voxel (from
// -n / 2 on), each of these is the lower median of its positions that lie
// inside the source:
//   c3: the X and Y lines (the centre counts twice), c5: X and Z, c6: Y and
//   Z, c7: X, Y and Z; d1, d2, d3: both diagonals of the X-Y, X-Z and Y-Z
//   planes (the centre once); d4: the four space diagonals.
// The voxel becomes the median of c3, c5, c6, c7, d1, d2, d3: seven values.
// d4 is worked out as well and takes no part in the result.
//
// Grey8 (and masks), Grey16, FP; ARGB32 per colour byte (alpha not written)
// and RGB48 per channel. Needs a destination apart from the source; the work
// is split over the core's worker pool with the same result for every
// worker count.
class MIRELAN_EXPORT XHybridMedianFilterVolumeTool : public X1To1VolumeTool {
 public:
  // A size of at least 1; 1 copies.
  explicit XHybridMedianFilterVolumeTool(UInt32 inSize);
  ~XHybridMedianFilterVolumeTool() override;

  UInt32 GetSize() const { return itsSize; }

 protected:
  bool CanApplyInPlace() const override { return false; }
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  template <class V>
  void Filter(const XVolume& inSource, XVolume& ioDest);

  UInt32 itsSize;
};

}  // namespace mirelan
