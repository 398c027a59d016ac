#include "segmentation/XIntensityThresholdTool.h"

#include "core/XException.h"
#include "segmentation/internal/XThresholdPass.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

using namespace XThresholdPass;

void XIntensityThresholdTool::ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inMin,
                                             Float32 inMax, bool inInvert) {
  if (inVolume.IsA(XGrey8Volume::GetClassVersion()))
    AppyThresholdGrey8(outRegion, static_cast<const XGrey8Volume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XGrey16Volume::GetClassVersion()))
    AppyThresholdGrey16(outRegion, static_cast<const XGrey16Volume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XFPVolume::GetClassVersion()))
    AppyThresholdFP(outRegion, static_cast<const XFPVolume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XARGB32Volume::GetClassVersion()))
    AppyThresholdARGB32(outRegion, static_cast<const XARGB32Volume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XBGRA32Volume::GetClassVersion()))
    AppyThresholdBGRA32(outRegion, static_cast<const XBGRA32Volume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XRGB48Volume::GetClassVersion()))
    AppyThresholdRGB48(outRegion, static_cast<const XRGB48Volume&>(inVolume), inMin, inMax, inInvert);
  else
    throw XException(kErrNotForPixelType);
}

void XIntensityThresholdTool::AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume, Float32 inMin,
                                                 Float32 inMax, bool inInvert) {
  const UInt8 lower = Clamp<UInt8>(Round(inMin)), upper = Clamp<UInt8>(Round(inMax));
  if (upper >= lower) Apply(XGreyLimits<UInt8>{lower, upper, inInvert}, outRegion, inVolume);
}

void XIntensityThresholdTool::AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume, Float32 inMin,
                                                  Float32 inMax, bool inInvert) {
  const UInt16 lower = Clamp<UInt16>(Round(inMin)), upper = Clamp<UInt16>(Round(inMax));
  if (upper >= lower) Apply(XGreyLimits<UInt16>{lower, upper, inInvert}, outRegion, inVolume);
}

void XIntensityThresholdTool::AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, Float32 inMin,
                                              Float32 inMax, bool inInvert) {
  if (Float64(inMax) - Float64(inMin) >= 0.0) Apply(XGreyLimits<Float32>{inMin, inMax, inInvert}, outRegion, inVolume);
}

void XIntensityThresholdTool::AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume, Float32 inMin,
                                                  Float32 inMax, bool inInvert) {
  const UInt8 lower = Clamp<UInt8>(Round(inMin)), upper = Clamp<UInt8>(Round(inMax));
  if (upper >= lower)
    Apply(XColourLimits<XARGB32Colour>{XARGB32Colour(lower, lower, lower), XARGB32Colour(upper, upper, upper), inInvert},
          outRegion, inVolume);
}

void XIntensityThresholdTool::AppyThresholdBGRA32(X3DRegion& outRegion, const XBGRA32Volume& inVolume, Float32 inMin,
                                                  Float32 inMax, bool inInvert) {
  const UInt8 lower = Clamp<UInt8>(Round(inMin)), upper = Clamp<UInt8>(Round(inMax));
  if (upper >= lower)
    Apply(XBGRA32Limits{XBGRA32Colour(lower, lower, lower), XBGRA32Colour(upper, upper, upper), inInvert}, outRegion,
          inVolume);
}

void XIntensityThresholdTool::AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume, Float32 inMin,
                                                 Float32 inMax, bool inInvert) {
  const UInt16 lower = Clamp<UInt16>(Round(inMin)), upper = Clamp<UInt16>(Round(inMax));
  if (upper >= lower)
    Apply(XColourLimits<XRGB48Colour>{XRGB48Colour(lower), XRGB48Colour(upper), inInvert}, outRegion, inVolume);
}

}  // namespace mirelan
