// Grey-level dilation and erosion over a list of offsets, any number of times.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/XPoint.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

// The offsets are the structuring element, used as given: any shape, and
// the centre need not be among them (the centre's value is always where a
// voxel starts). An empty list at construction becomes the six face
// neighbours, in the order -x, +x, -y, +y, -z, +z.
//
// Each iteration walks every voxel of the previous iteration's result (at
// first a copy of the source) into the destination. A voxel starts at its
// own value and takes, offset by offset, a value strictly greater (dilation)
// or smaller (erosion) than the best so far; offsets reaching outside the
// source are skipped. Erosion with the edge flag instead makes a voxel 0 when
// any offset reaches outside, so the image erodes in from its edges.
// With 0 iterations the destination is left as it was made.
//
// Grey8 (and masks), Grey16 and FP compare values; ARGB32 compares voxels by
// brightness (the largest of red, green and blue) and copies the winner
// whole, all four bytes, so the result is always a colour of the
// neighbourhood; on a tie the earlier voxel stays. Needs a destination apart
// from the source; each iteration is split over the core's worker pool with
// the same result for every worker count.
class MIRELAN_EXPORT XDilateFilterVolumeTool : public X1To1VolumeTool {
 public:
  XDilateFilterVolumeTool(UInt32 iterations, const XVector<X3DPoint>& offsets);
  ~XDilateFilterVolumeTool() override;

  UInt32 GetIterations() const { return itsIterations; }
  const XVector<X3DPoint>& GetOffsets() const { return itsOffsets; }

 protected:
  bool CanApplyInPlace() const override { return false; }
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  UInt32 itsIterations;
  XVector<X3DPoint> itsOffsets;
};

class MIRELAN_EXPORT XErodeFilterVolumeTool : public X1To1VolumeTool {
 public:
  XErodeFilterVolumeTool(UInt32 iterations, const XVector<X3DPoint>& offsets, bool edgeFlag);
  ~XErodeFilterVolumeTool() override;

  UInt32 GetIterations() const { return itsIterations; }
  const XVector<X3DPoint>& GetOffsets() const { return itsOffsets; }
  bool GetEdgeFlag() const { return itsEdgeFlag; }

 protected:
  bool CanApplyInPlace() const override { return false; }
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  UInt32 itsIterations;
  XVector<X3DPoint> itsOffsets;
  bool itsEdgeFlag;
};

}  // namespace mirelan
