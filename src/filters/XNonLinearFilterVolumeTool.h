// A neighbourhood filter whose rule is a plug-in (median, anti-median, or a
// host's own).
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/XPoint.h"
#include "tools/X1To1VolumeTool.h"
#include "volume/X3DRegion.h"

namespace mirelan {

class XNonLinearFilterPlugin;

// At each voxel the window of the kernel size (odd on every axis) is
// clipped to the source, and its voxels are written, plane, row, column,
// from the start of one float vector of width * height * depth elements that
// lives for the whole walk and starts as zeros. The vector keeps its length:
// at the border, behind the voxels written, it holds what the plug-in left
// there for an earlier voxel (reordered as the plug-in left it). The plug-in
// gets the centre value and the whole vector; its result is stored,
// truncated for the integer types.
//
// That border rule makes each voxel depend on the voxels before it, so the
// walk split over the core's worker pool starts each slab by replaying the
// voxels from the last one before it whose window was whole (which
// overwrites the vector) without storing them: the result is the same for
// every worker count.
//
// Grey8 (and masks), Grey16, FP; ARGB32 takes red, green and blue, RGB48 its
// three channels, one after the other in each voxel step, each with its own
// gather and plug-in call on the one vector. Needs a destination apart from
// the source.
class MIRELAN_EXPORT XNonLinearFilterVolumeTool : public X1To1VolumeTool {
 public:
  // The plug-in is held by reference and must outlive the tool.
  XNonLinearFilterVolumeTool(const X3DPoint& inKernelSize, const XNonLinearFilterPlugin* inFilter);
  ~XNonLinearFilterVolumeTool() override;

  // Limits the tool to a region: only voxels in its box, and with a mask
  // where the mask byte is not 0, are computed; the others of the
  // destination stay as they are. An empty region means the whole extent.
  void SetTargetRegion(const X3DRegion& inRegion) { itsTargetRegion = inRegion; }
  const X3DRegion& GetTargetRegion() const { return itsTargetRegion; }
  const X3DPoint& GetKernelSize() const { return itsKernelSize; }

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

  X3DPoint itsKernelSize;
  const XNonLinearFilterPlugin& itsFilter;
  X3DRegion itsTargetRegion;
};

}  // namespace mirelan
