// Which histograms a threaded histogram tool or a histogram generator makes.
#pragma once

#include "core/XTypes.h"

namespace mirelan {

enum XHistogramMode : SInt32 {
  kLuminanceHistogram = 0,       // XVolumeLuminanceTool: one histogram
  kHSIHistogram = 1,             // XVolumeHSITool: hue, saturation, intensity
  kRGBHistogram = 2,             // XVolumeRGBTool: red, green, blue
  kPercentageHistogram = 3,      // XVolumePercentageTool: one histogram
  kLuminanceHistogramTwo = 4,    // the same as kLuminanceHistogram; both are in use
  kFloat64VectorHistogram = 5,   // a histogram of a vector of doubles
  kFloat64VectorMinAndMax = 6,   // the least and greatest of such a vector; no histogram
};

}  // namespace mirelan
