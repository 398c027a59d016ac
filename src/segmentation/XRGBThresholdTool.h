// Selects the voxels whose red, green and blue each lie in a band of their
// own (both ends included); each channel's invert flag selects the rest of
// its band, and a voxel must pass all three. Limits are rounded and clamped
// to the type. Colour data is refused (the region left as it was) only when
// in every channel the upper limit is not above the lower one: one open
// channel is enough. Grey data is tested, with the red invert flag, against
// the greatest of the three lower and the greatest of the three upper
// limits, if that upper limit is above the lower; float data likewise, with
// the limits as they are.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "volume/XColour.h"

namespace mirelan {

class X3DRegion;
class XVolume;
class XGrey8Volume;
class XGrey16Volume;
class XFPVolume;
class XARGB32Volume;
class XRGB48Volume;

class MIRELAN_EXPORT XRGBThresholdTool {
 public:
  XRGBThresholdTool() = default;
  XRGBThresholdTool(const XRGBThresholdTool&) = default;
  // The tool has no state: nothing to copy.
  XRGBThresholdTool& operator=(const XRGBThresholdTool&) { return *this; }

  // Grey8 (and masks), Grey16, FP, ARGB32 and RGB48; other types throw
  // XException 2500.
  void ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inRedMin, Float32 inRedMax,
                      Float32 inGreenMin, Float32 inGreenMax, Float32 inBlueMin, Float32 inBlueMax, bool inInvertRed,
                      bool inInvertGreen, bool inInvertBlue);

 private:
  // The six limits and three flags, as given.
  struct XLimits {
    Float32 redMin, redMax, greenMin, greenMax, blueMin, blueMax;
    bool invertRed, invertGreen, invertBlue;
  };

  // Each channel rounded and clamped to the type; alpha 255.
  static XARGB32Colour GetLimitedARGB32Colour(Float32 inRed, Float32 inGreen, Float32 inBlue);
  static XRGB48Colour GetLimitedRGB48Colour(Float32 inRed, Float32 inGreen, Float32 inBlue);

  void AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume, const XLimits& inLimits);
  void AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume, const XLimits& inLimits);
  void AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, const XLimits& inLimits);
  void AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume, const XLimits& inLimits);
  void AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume, const XLimits& inLimits);
};

}  // namespace mirelan
