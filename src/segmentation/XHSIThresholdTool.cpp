#include "segmentation/XHSIThresholdTool.h"

#include "core/XException.h"
#include "segmentation/internal/XThresholdPass.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

using namespace XThresholdPass;

namespace {

constexpr int kIntensity = 2;

// The record of all six limits, rounded and clamped to channel type T.
template <class C, class T>
XHSILimits<C> HSILimitsOf(const Float32 (&inMinimum)[3], const Float32 (&inMaximum)[3], const bool (&inInvert)[3]) {
  XHSILimits<C> record;
  for (int k = 0; k < 3; ++k) {
    record.minimum[k] = Clamp<T>(Round(inMinimum[k]));
    record.maximum[k] = Clamp<T>(Round(inMaximum[k]));
    record.invert[k] = inInvert[k];
  }
  return record;
}

}  // namespace

void XHSIThresholdTool::ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inHueMin,
                                       Float32 inHueMax, Float32 inSaturationMin, Float32 inSaturationMax,
                                       Float32 inIntensityMin, Float32 inIntensityMax, bool inInvertHue,
                                       bool inInvertSaturation, bool inInvertIntensity) {
  const XLimits limits{{inHueMin, inSaturationMin, inIntensityMin},
                       {inHueMax, inSaturationMax, inIntensityMax},
                       {inInvertHue, inInvertSaturation, inInvertIntensity}};
  if (inVolume.IsA(XGrey8Volume::GetClassVersion()))
    AppyThresholdGrey8(outRegion, static_cast<const XGrey8Volume&>(inVolume), limits);
  else if (inVolume.IsA(XGrey16Volume::GetClassVersion()))
    AppyThresholdGrey16(outRegion, static_cast<const XGrey16Volume&>(inVolume), limits);
  else if (inVolume.IsA(XFPVolume::GetClassVersion()))
    AppyThresholdFP(outRegion, static_cast<const XFPVolume&>(inVolume), limits);
  else if (inVolume.IsA(XARGB32Volume::GetClassVersion()))
    AppyThresholdARGB32(outRegion, static_cast<const XARGB32Volume&>(inVolume), limits);
  else if (inVolume.IsA(XRGB48Volume::GetClassVersion()))
    AppyThresholdRGB48(outRegion, static_cast<const XRGB48Volume&>(inVolume), limits);
  else
    throw XException(kErrNotForPixelType);
}

// Grey data: the intensity band and flag; hue and saturation play no part.
void XHSIThresholdTool::AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume,
                                           const XLimits& inLimits) {
  Apply(XGreyLimits<UInt8>{Clamp<UInt8>(Round(inLimits.minimum[kIntensity])),
                           Clamp<UInt8>(Round(inLimits.maximum[kIntensity])), inLimits.invert[kIntensity]},
        outRegion, inVolume);
}

void XHSIThresholdTool::AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume,
                                            const XLimits& inLimits) {
  Apply(XGreyLimits<UInt16>{Clamp<UInt16>(Round(inLimits.minimum[kIntensity])),
                            Clamp<UInt16>(Round(inLimits.maximum[kIntensity])), inLimits.invert[kIntensity]},
        outRegion, inVolume);
}

void XHSIThresholdTool::AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, const XLimits& inLimits) {
  Apply(XGreyLimits<Float32>{inLimits.minimum[kIntensity], inLimits.maximum[kIntensity], inLimits.invert[kIntensity]},
        outRegion, inVolume);
}

void XHSIThresholdTool::AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume,
                                            const XLimits& inLimits) {
  Apply(HSILimitsOf<XARGB32Colour, UInt8>(inLimits.minimum, inLimits.maximum, inLimits.invert), outRegion, inVolume);
}

void XHSIThresholdTool::AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume,
                                           const XLimits& inLimits) {
  Apply(HSILimitsOf<XRGB48Colour, UInt16>(inLimits.minimum, inLimits.maximum, inLimits.invert), outRegion, inVolume);
}

}  // namespace mirelan
