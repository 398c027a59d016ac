// Brightest-point merges: the largest value of each component along a stack
// axis, or across a list of volumes of one class and layout.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"

namespace mirelan {

class XVolume;

// Served: masks, Grey8, Grey16, FP, ARGB32 (each byte, alpha too, on its
// own), RGB48; any other class throws 2500. Results are new volumes the
// caller owns.
class MIRELAN_EXPORT XBPMergeTool {
 public:
  XBPMergeTool() = default;
  virtual ~XBPMergeTool();

  // Every source must have the first's class, bounds and row layout. A
  // contribution of exactly 1.0 compares the voxels as they are; any other
  // scales them first (clamped to the component's range, truncated).
  virtual XVolume* MergeVolumesToVolume(const XPtrVector<XVolume>& src, const XVector<double>& contributions);
  // Along Z into the first plane's X-Y bounds; a stack of depth 1 comes back as a clone.
  virtual XVolume* MergeVolumeToPlane(const XVolume& inSource);
  virtual XVolume* MergeVolumeToXYPlane(const XVolume& inSource);
  // Along Y: a plane of width W and height D (as XZPlaneToVolume lays out an X-Z plane).
  virtual XVolume* MergeVolumeToXZPlane(const XVolume& inSource);
  // Along X: a plane of width D and height H (as YZPlaneToVolume lays out a Y-Z plane).
  virtual XVolume* MergeVolumeToYZPlane(const XVolume& inSource);
};

}  // namespace mirelan
