// Selects the voxels whose value (for colour: the greatest of red, green and
// blue) lies within limits given in standard deviations from the mean of the
// whole volume, all channels together: a limit k becomes sigma * k + mean,
// and an infinite limit stays infinite. For integer data -infinity then
// becomes 0 and +infinity the type's greatest value, and the limits are
// rounded and clamped. Both limits are included; invert selects the rest. A
// band that is reversed or a single value leaves the region as it was.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class X3DRegion;
class XVolume;
class XGrey8Volume;
class XGrey16Volume;
class XFPVolume;
class XARGB32Volume;
class XRGB48Volume;

class MIRELAN_EXPORT XStandardDeviationThresholdTool {
 public:
  XStandardDeviationThresholdTool() = default;
  XStandardDeviationThresholdTool(const XStandardDeviationThresholdTool&) = default;
  // The tool has no state: nothing to copy.
  XStandardDeviationThresholdTool& operator=(const XStandardDeviationThresholdTool&) { return *this; }

  // Grey8 (and masks), Grey16, FP, ARGB32 and RGB48; other types throw
  // XException 2500.
  void ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inMin, Float32 inMax, bool inInvert);

 private:
  void AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume, Float32 inMin, Float32 inMax,
                          bool inInvert);
  void AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume, Float32 inMin, Float32 inMax,
                           bool inInvert);
  void AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, Float32 inMin, Float32 inMax, bool inInvert);
  void AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume, Float32 inMin, Float32 inMax,
                           bool inInvert);
  void AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume, Float32 inMin, Float32 inMax,
                          bool inInvert);
};

}  // namespace mirelan
