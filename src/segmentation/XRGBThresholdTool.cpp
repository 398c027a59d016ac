#include "segmentation/XRGBThresholdTool.h"

#include <algorithm>

#include "core/XException.h"
#include "segmentation/internal/XThresholdPass.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

using namespace XThresholdPass;

namespace {

// True unless every channel's band is narrower than one value (upper - lower < 1).
template <class C>
bool AnyChannelOpen(const C& inLower, const C& inUpper) {
  return SInt32(inUpper.red) - SInt32(inLower.red) >= 1 || SInt32(inUpper.green) - SInt32(inLower.green) >= 1 ||
         SInt32(inUpper.blue) - SInt32(inLower.blue) >= 1;
}

}  // namespace

XARGB32Colour XRGBThresholdTool::GetLimitedARGB32Colour(Float32 inRed, Float32 inGreen, Float32 inBlue) {
  return XARGB32Colour(255, Clamp<UInt8>(Round(inRed)), Clamp<UInt8>(Round(inGreen)), Clamp<UInt8>(Round(inBlue)));
}

XRGB48Colour XRGBThresholdTool::GetLimitedRGB48Colour(Float32 inRed, Float32 inGreen, Float32 inBlue) {
  return XRGB48Colour(Clamp<UInt16>(Round(inRed)), Clamp<UInt16>(Round(inGreen)), Clamp<UInt16>(Round(inBlue)));
}

void XRGBThresholdTool::ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inRedMin,
                                       Float32 inRedMax, Float32 inGreenMin, Float32 inGreenMax, Float32 inBlueMin,
                                       Float32 inBlueMax, bool inInvertRed, bool inInvertGreen, bool inInvertBlue) {
  const XLimits limits{inRedMin, inRedMax,    inGreenMin,    inGreenMax,  inBlueMin,
                       inBlueMax, inInvertRed, inInvertGreen, inInvertBlue};
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

// Grey data: the greatest lower and the greatest upper limit of the three.
void XRGBThresholdTool::AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume, const XLimits& inLimits) {
  const UInt8 lower = GetLimitedARGB32Colour(inLimits.redMin, inLimits.greenMin, inLimits.blueMin).GetIntensity();
  const UInt8 upper = GetLimitedARGB32Colour(inLimits.redMax, inLimits.greenMax, inLimits.blueMax).GetIntensity();
  if (upper > lower) Apply(XGreyLimits<UInt8>{lower, upper, inLimits.invertRed}, outRegion, inVolume);
}

void XRGBThresholdTool::AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume, const XLimits& inLimits) {
  const UInt16 lower = GetLimitedRGB48Colour(inLimits.redMin, inLimits.greenMin, inLimits.blueMin).GetIntensity();
  const UInt16 upper = GetLimitedRGB48Colour(inLimits.redMax, inLimits.greenMax, inLimits.blueMax).GetIntensity();
  if (upper > lower) Apply(XGreyLimits<UInt16>{lower, upper, inLimits.invertRed}, outRegion, inVolume);
}

void XRGBThresholdTool::AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, const XLimits& inLimits) {
  const Float32 lower = std::max(inLimits.redMin, std::max(inLimits.greenMin, inLimits.blueMin));
  const Float32 upper = std::max(inLimits.redMax, std::max(inLimits.greenMax, inLimits.blueMax));
  if (Float64(upper) - Float64(lower) > 0.0) Apply(XGreyLimits<Float32>{lower, upper, inLimits.invertRed}, outRegion, inVolume);
}

void XRGBThresholdTool::AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume, const XLimits& inLimits) {
  const XARGB32Colour lower = GetLimitedARGB32Colour(inLimits.redMin, inLimits.greenMin, inLimits.blueMin);
  const XARGB32Colour upper = GetLimitedARGB32Colour(inLimits.redMax, inLimits.greenMax, inLimits.blueMax);
  if (AnyChannelOpen(lower, upper))
    Apply(XRGBLimits<XARGB32Colour>{lower, upper, inLimits.invertRed, inLimits.invertGreen, inLimits.invertBlue}, outRegion, inVolume);
}

void XRGBThresholdTool::AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume, const XLimits& inLimits) {
  const XRGB48Colour lower = GetLimitedRGB48Colour(inLimits.redMin, inLimits.greenMin, inLimits.blueMin);
  const XRGB48Colour upper = GetLimitedRGB48Colour(inLimits.redMax, inLimits.greenMax, inLimits.blueMax);
  if (AnyChannelOpen(lower, upper))
    Apply(XRGBLimits<XRGB48Colour>{lower, upper, inLimits.invertRed, inLimits.invertGreen, inLimits.invertBlue}, outRegion, inVolume);
}

}  // namespace mirelan
