#include "segmentation/XStandardDeviationThresholdTool.h"

#include <cmath>
#include <limits>

#include "core/XException.h"
#include "measurement/XVolumeStatsTool.h"
#include "segmentation/internal/XThresholdPass.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

using namespace XThresholdPass;

namespace {

// Turns deviations into values: sigma * k + mean over all channels of the
// whole volume; infinite limits stay as they are.
void DeviationsToValues(const XVolume& inVolume, Float32& ioMin, Float32& ioMax) {
  XVolumeVarianceTool variance(0);
  variance.ApplyTool(inVolume, nullptr);
  const Float32 sigma = Float32(std::sqrt(variance.GetVarianceAllChannels()));
  const Float32 mean = Float32(variance.GetMeanAllChannels());
  if (!std::isinf(ioMin)) ioMin = sigma * ioMin + mean;
  if (!std::isinf(ioMax)) ioMax = sigma * ioMax + mean;
}

// -infinity is 0 and +infinity the type's greatest value; then Round, Clamp.
template <class T>
T IntegerLimit(Float32 inLimit) {
  if (std::isinf(inLimit)) return inLimit < 0.0f ? T(0) : std::numeric_limits<T>::max();
  return Clamp<T>(Round(inLimit));
}

template <class T>
bool IntegerLimits(const XVolume& inVolume, Float32 inMin, Float32 inMax, T& outLower, T& outUpper) {
  DeviationsToValues(inVolume, inMin, inMax);
  outLower = IntegerLimit<T>(inMin);
  outUpper = IntegerLimit<T>(inMax);
  return outUpper > outLower;
}

}  // namespace

void XStandardDeviationThresholdTool::ApplyThreshold(X3DRegion& outRegion, const XVolume& inVolume, Float32 inMin,
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

void XStandardDeviationThresholdTool::AppyThresholdGrey8(X3DRegion& outRegion, const XGrey8Volume& inVolume,
                                                         Float32 inMin, Float32 inMax, bool inInvert) {
  UInt8 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XGreyLimits<UInt8>{lower, upper, inInvert}, outRegion, inVolume);
}

void XStandardDeviationThresholdTool::AppyThresholdGrey16(X3DRegion& outRegion, const XGrey16Volume& inVolume,
                                                          Float32 inMin, Float32 inMax, bool inInvert) {
  UInt16 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XGreyLimits<UInt16>{lower, upper, inInvert}, outRegion, inVolume);
}

void XStandardDeviationThresholdTool::AppyThresholdFP(X3DRegion& outRegion, const XFPVolume& inVolume, Float32 inMin,
                                                      Float32 inMax, bool inInvert) {
  DeviationsToValues(inVolume, inMin, inMax);
  if (Float64(inMax) - Float64(inMin) > 0.0) Apply(XGreyLimits<Float32>{inMin, inMax, inInvert}, outRegion, inVolume);
}

void XStandardDeviationThresholdTool::AppyThresholdARGB32(X3DRegion& outRegion, const XARGB32Volume& inVolume,
                                                          Float32 inMin, Float32 inMax, bool inInvert) {
  UInt8 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XColourLimits<XARGB32Colour>{XARGB32Colour(lower, lower, lower), XARGB32Colour(upper, upper, upper), inInvert},
          outRegion, inVolume);
}

void XStandardDeviationThresholdTool::AppyThresholdRGB48(X3DRegion& outRegion, const XRGB48Volume& inVolume,
                                                         Float32 inMin, Float32 inMax, bool inInvert) {
  UInt16 lower, upper;
  if (IntegerLimits(inVolume, inMin, inMax, lower, upper))
    Apply(XColourLimits<XRGB48Colour>{XRGB48Colour(lower), XRGB48Colour(upper), inInvert}, outRegion, inVolume);
}

}  // namespace mirelan
