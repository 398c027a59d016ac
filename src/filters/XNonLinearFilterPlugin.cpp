#include "filters/XNonLinearFilterPlugin.h"

#include <limits>

#include "filters/internal/XQuickSelect.h"

namespace mirelan {

XNonLinearFilterPlugin::~XNonLinearFilterPlugin() = default;

Float32 XMedianFilterPlugin::FilterKernelPixelsSelf(Float32, XVector<Float32>& ioPixels) const {
  return XQuickSelect(ioPixels.data(), ioPixels.size());
}

Float32 XAntiMedianFilterPlugin::FilterKernelPixelsSelf(Float32 inCentre, XVector<Float32>& ioPixels) const {
  Float32 lo = std::numeric_limits<Float32>::infinity();
  Float32 hi = -std::numeric_limits<Float32>::infinity();
  for (Float32 v : ioPixels) {
    if (v < lo) lo = v;
    if (v > hi) hi = v;
  }
  return hi - inCentre > inCentre - lo ? lo : hi;
}

}  // namespace mirelan
