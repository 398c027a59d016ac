#include "segmentation/XVolumeThresholdTool.h"

#include <cmath>
#include <limits>

#include "tools/internal/XScanLoop.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

// Blackens the voxels outside [min, max] (inclusive limits) or outside
// (min, max). The limits arrive converted but unchecked, in f64; the check
// against the type's range comes first thing in the scan.
template <class T, bool kInclusive>
class XThresholdVolumeHelper {
 public:
  XThresholdVolumeHelper(Float64 inMin, Float64 inMax, Float64 inBlack)
      : itsMinThreshold(inMin), itsMaxThreshold(inMax), itsBlackIntensity(inBlack) {}

  template <class V>
  void SetupForScan(V&) {
    const Float64 aMin = std::is_floating_point_v<T> ? -Float64(std::numeric_limits<T>::max()) : 0.0;
    const Float64 aMax = Float64(std::numeric_limits<T>::max());
    const Float64 minThreshold = itsMinThreshold, maxThreshold = itsMaxThreshold, blackIntensity = itsBlackIntensity;
    XAssert(minThreshold <= aMax);
    XAssert(minThreshold >= aMin);
    XAssert(maxThreshold <= aMax);
    XAssert(maxThreshold >= aMin);
    XAssert(blackIntensity <= aMax);
    XAssert(blackIntensity >= aMin);
    itsMin = T(minThreshold);
    itsMax = T(maxThreshold);
    itsBlack = T(blackIntensity);
  }
  template <class V>
  void FinishedScanning(V&) {}

  template <class V>
  void ScanPixel(T* ioVoxel, V&, SInt32, SInt32, SInt32) {
    const T v = *ioVoxel;
    const bool outside = kInclusive ? (v < itsMin || v > itsMax) : (v <= itsMin || v >= itsMax);
    *ioVoxel = outside ? itsBlack : v;
  }

 private:
  Float64 itsMinThreshold, itsMaxThreshold, itsBlackIntensity;
  T itsMin = 0, itsMax = 0, itsBlack = 0;
};

template <class T, class V>
void Blacken(V& ioVolume, const X3DRegion* inRegion, bool inInclusive, Float64 inMin, Float64 inMax,
             Float64 inBlack) {
  if (inInclusive) {
    XThresholdVolumeHelper<T, true> helper(inMin, inMax, inBlack);
    XScanVolume(ioVolume, inRegion, helper);
  } else {
    XThresholdVolumeHelper<T, false> helper(inMin, inMax, inBlack);
    XScanVolume(ioVolume, inRegion, helper);
  }
}

// floor(x + 0.5), at most the integer type's greatest value.
template <class T>
Float64 RoundedThreshold(Float64 inValue) {
  const Float64 rounded = std::floor(inValue + 0.5);
  return rounded > Float64(std::numeric_limits<T>::max()) ? Float64(std::numeric_limits<T>::max()) : rounded;
}

}  // namespace

template <class V>
void XVolumeThresholdTool::ApplyToIntegers(V& ioVolume, const X3DRegion* inRegion) {
  using T = typename V::Voxel;
  Blacken<T>(ioVolume, inRegion, itsInclusive, RoundedThreshold<T>(itsMinThreshold),
             RoundedThreshold<T>(itsMaxThreshold), std::trunc(itsBlackIntensity));
}

void XVolumeThresholdTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToIntegers(ioVolume, inRegion);
}

void XVolumeThresholdTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToIntegers(ioVolume, inRegion);
}

void XVolumeThresholdTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  constexpr Float64 kGreatest = std::numeric_limits<Float32>::max();
  auto capped = [](Float64 inValue) { return inValue > kGreatest ? kGreatest : inValue; };
  Blacken<Float32>(ioVolume, inRegion, itsInclusive, capped(itsMinThreshold), capped(itsMaxThreshold),
                   Float64(Float32(itsBlackIntensity)));
}

}  // namespace mirelan
