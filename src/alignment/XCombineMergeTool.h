// Weighted sums of volumes or of the planes of a stack, saturating at the
// top of integer components (XCombineMergeTool), and the same with each
// weight divided by the number of sources (XAverageMergeTool).
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"

namespace mirelan {

class XVolume;

// Served: masks, Grey8, Grey16, FP (no saturation), ARGB32 (each byte, alpha
// too), RGB48; any other class throws 2500. Results are new volumes the
// caller owns; list sources must share the first's class, bounds and layout.
class MIRELAN_EXPORT XCombineMergeTool {
 public:
  XCombineMergeTool() = default;
  virtual ~XCombineMergeTool();

  // destination = min(destination + source * contributions[i], largest value).
  virtual XVolume* CombineVolumesToVolume(const XPtrVector<XVolume>& src, const XVector<double>& contributions);
  // The planes summed with weight 1.0; a stack of depth 1 comes back as a clone.
  virtual XVolume* CombineVolumeToPlane(const XVolume& inSource);
};

class MIRELAN_EXPORT XAverageMergeTool {
 public:
  XAverageMergeTool() = default;
  virtual ~XAverageMergeTool();

  // As CombineVolumesToVolume with contributions[i] / src.size().
  virtual XVolume* AverageVolumesToVolume(const XPtrVector<XVolume>& src, const XVector<double>& contributions);
  // The planes summed with weight 1.0 and not divided by the depth: the same
  // as CombineVolumeToPlane, which hosts rely on.
  virtual XVolume* AverageVolumeToPlane(const XVolume& inSource);
};

}  // namespace mirelan
