// Selects colour voxels whose hue, saturation (on the colour's own scale,
// 0 to 255 or 0 to 65535) and intensity (the greatest channel) each lie in a
// band of their own, both ends included; each invert flag selects the rest
// of its band, and a voxel must pass all three. Grey and float data are
// tested on their value against the intensity band alone. Limits are
// rounded and clamped to the type (used as they are for float data). There
// is no guard: a reversed band is applied as it stands.
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

class MIRELAN_EXPORT XHSIThresholdTool {
 public:
  XHSIThresholdTool() = default;
  XHSIThresholdTool(const XHSIThresholdTool&) = default;
  // The tool has no state: nothing to copy.
  XHSIThresholdTool& operator=(const XHSIThresholdTool&) { return *this; }

  // Grey8 (and masks), Grey16, FP, ARGB32 and RGB48; other types throw
  // XException 2500.
  void ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inHueMin, Float32 inHueMax,
                      Float32 inSaturationMin, Float32 inSaturationMax, Float32 inIntensityMin,
                      Float32 inIntensityMax, bool inInvertHue, bool inInvertSaturation, bool inInvertIntensity);

 private:
  // The six limits (hue, saturation, intensity) and three flags, as given.
  struct XLimits {
    Float32 minimum[3];
    Float32 maximum[3];
    bool invert[3];
  };

  void AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume, const XLimits& inLimits);
  void AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume, const XLimits& inLimits);
  void AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, const XLimits& inLimits);
  void AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume, const XLimits& inLimits);
  void AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume, const XLimits& inLimits);
};

}  // namespace mirelan
