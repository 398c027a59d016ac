// Selects the voxels whose value (for colour: the greatest of red, green and
// blue) lies between two limits, both included; invert selects the rest.
// For integer data the limits are rounded (floor(x + 0.5)) and clamped to
// the type; float data uses them as they are. A reversed band leaves the
// region as it was: clear it first for an empty answer. BGRA32 data has a
// test of its own: a voxel is in band when any of blue, green, red is at
// least the lower limit and any is at most the upper one.
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
class XBGRA32Volume;
class XRGB48Volume;

class MIRELAN_EXPORT XIntensityThresholdTool {
 public:
  XIntensityThresholdTool() = default;
  XIntensityThresholdTool(const XIntensityThresholdTool&) = default;
  // The tool has no state: nothing to copy.
  XIntensityThresholdTool& operator=(const XIntensityThresholdTool&) { return *this; }

  // Grey8 (and masks), Grey16, FP, ARGB32, BGRA32 and RGB48; other types
  // throw XException 2500.
  void ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inMin, Float32 inMax, bool inInvert);

 private:
  void AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume, Float32 inMin, Float32 inMax,
                          bool inInvert);
  void AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume, Float32 inMin, Float32 inMax,
                           bool inInvert);
  void AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, Float32 inMin, Float32 inMax, bool inInvert);
  void AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume, Float32 inMin, Float32 inMax,
                           bool inInvert);
  void AppyThresholdBGRA32(X3DRegion& outRegion, const XBGRA32Volume& inVolume, Float32 inMin, Float32 inMax,
                           bool inInvert);
  void AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume, Float32 inMin, Float32 inMax,
                          bool inInvert);
};

}  // namespace mirelan
