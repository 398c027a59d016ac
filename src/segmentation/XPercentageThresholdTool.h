// Selects the voxels whose luminance lies between two percentages of the
// luminance range of the whole volume (its least and greatest luminance,
// negative floats counting as 0.0; the greatest of red, green and blue for
// colour). A limit p becomes p * (max - min) / 100 + min; for integer data it
// is then floored and clamped to the type. Both limits are included; invert
// selects the rest; a reversed band leaves the region as it was.
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

class MIRELAN_EXPORT XPercentageThresholdTool {
 public:
  XPercentageThresholdTool() = default;
  XPercentageThresholdTool(const XPercentageThresholdTool&) = default;
  // The tool has no state: nothing to copy.
  XPercentageThresholdTool& operator=(const XPercentageThresholdTool&) { return *this; }

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
