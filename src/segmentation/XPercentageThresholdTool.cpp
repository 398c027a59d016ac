#include "segmentation/XPercentageThresholdTool.h"

#include "core/XException.h"
#include "measurement/XVolumeMinMaxTools.h"
#include "segmentation/internal/XThresholdPass.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

using namespace XThresholdPass;

namespace {

// Turns the two percentages into luminances of the whole volume's range.
void PercentagesToLuminances(const XVolume& inVolume, Float32& ioMin, Float32& ioMax) {
  XVolumeLuminanceMinMaxTool range;
  // The tool only reads; the frame's slots take the volume for change.
  range.ApplyTool(const_cast<XVolume&>(inVolume), nullptr);
  const Float64 low = range.GetMin(), high = range.GetMax();
  ioMin = Float32(ioMin * (high - low) / 100.0 + low);
  ioMax = Float32(ioMax * (high - low) / 100.0 + low);
}

template <class T>
bool IntegerLimits(const XVolume& inVolume, Float32 inMin, Float32 inMax, T& outLower, T& outUpper) {
  PercentagesToLuminances(inVolume, inMin, inMax);
  outLower = Clamp<T>(Floor(inMin));
  outUpper = Clamp<T>(Floor(inMax));
  return outUpper >= outLower;
}

}  // namespace

void XPercentageThresholdTool::ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inMin,
                                              Float32 inMax, bool inInvert) {
  if (inVolume.IsA(XGrey8Volume::GetClassVersion()))
    AppyThresholdGrey8(outRegion, static_cast<const XGrey8Volume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XGrey16Volume::GetClassVersion()))
    AppyThresholdGrey16(outRegion, static_cast<const XGrey16Volume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XFPVolume::GetClassVersion()))
    AppyThresholdFP(outRegion, static_cast<const XFPVolume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XARGB32Volume::GetClassVersion()))
    AppyThresholdARGB32(outRegion, static_cast<const XARGB32Volume&>(inVolume), inMin, inMax, inInvert);
  else if (inVolume.IsA(XRGB48Volume::GetClassVersion()))
    AppyThresholdRGB48(outRegion, static_cast<const XRGB48Volume&>(inVolume), inMin, inMax, inInvert);
  else
    throw XException(kErrNotForPixelType);
}

void XPercentageThresholdTool::AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume, Float32 inMin,
                                                  Float32 inMax, bool inInvert) {
  UInt8 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XGreyLimits<UInt8>{lower, upper, inInvert}, outRegion, inVolume);
}

void XPercentageThresholdTool::AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume,
                                                   Float32 inMin, Float32 inMax, bool inInvert) {
  UInt16 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XGreyLimits<UInt16>{lower, upper, inInvert}, outRegion, inVolume);
}

void XPercentageThresholdTool::AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, Float32 inMin,
                                               Float32 inMax, bool inInvert) {
  PercentagesToLuminances(inVolume, inMin, inMax);
  if (Float64(inMax) - Float64(inMin) >= 0.0) Apply(XGreyLimits<Float32>{inMin, inMax, inInvert}, outRegion, inVolume);
}

void XPercentageThresholdTool::AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume,
                                                   Float32 inMin, Float32 inMax, bool inInvert) {
  UInt8 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XColourLimits<XARGB32Colour>{XARGB32Colour(lower, lower, lower), XARGB32Colour(upper, upper, upper), inInvert},
          outRegion, inVolume);
}

void XPercentageThresholdTool::AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume, Float32 inMin,
                                                  Float32 inMax, bool inInvert) {
  UInt16 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XColourLimits<XRGB48Colour>{XRGB48Colour(lower), XRGB48Colour(upper), inInvert}, outRegion, inVolume);
}

}  // namespace mirelan
