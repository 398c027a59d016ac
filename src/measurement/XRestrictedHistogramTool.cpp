#include "measurement/XRestrictedHistogramTool.h"

#include <algorithm>
#include <limits>
#include <typeinfo>

#include "core/XLockable.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"
#include "volume/XPixelTraits.h"

namespace mirelan {

namespace {

// The integer value a voxel counts as: grey as it is, colour the mean.
template <class T>
UInt32 SampleOf(T inVoxel) {
  if constexpr (XPixelTraits<T>::kIsColour)
    return (UInt32(inVoxel.red) + inVoxel.green + inVoxel.blue) / 3;
  else
    return UInt32(inVoxel);
}

// Calls inFn with every step-th voxel of the store.
template <class V, class Fn>
void ForEachSample(const V& inVolume, UInt64 inStepSize, Fn&& inFn) {
  XAssert(inStepSize > 0);
  const auto* voxels = inVolume.GetBaseVoxelPtr();
  const UInt64 count = inVolume.GetVolumeVoxels();
  for (UInt64 i = 0; i < count; i += inStepSize) inFn(voxels[i]);
}

}  // namespace

XRestrictedHistogramTool::XRestrictedHistogramTool(UInt32 inMaxSamples) : itsMaxSamples(inMaxSamples) {}

UInt64 XRestrictedHistogramTool::CalculateDataStepSize(const XVolume& inVolume) const {
  const UInt64 voxels = UInt64(inVolume.GetWidth()) * inVolume.GetHeight() * inVolume.GetDepth();
  // No maximum at all allows one sample.
  const UInt64 step = itsMaxSamples == 0 ? voxels : voxels / itsMaxSamples;
  return std::min(std::max<UInt64>(step, 1), voxels);
}

template <class V>
void XRestrictedHistogramTool::ScanIntegerVolume(const V& inVolume, UInt64 inStepSize) {
  using Voxel = typename V::Voxel;
  constexpr Float64 kTop = XPixelTraits<Voxel>::kDefaultHigh;
  itsHistogram.SetMinMaxBucketVals(0.0, kTop, 0);
  UInt32* buckets = itsHistogram.GetBuckets();
  XLock lock(inVolume, kLockRead);
  ForEachSample(inVolume, inStepSize, [buckets](const Voxel& v) { ++buckets[SampleOf(v)]; });
}

void XRestrictedHistogramTool::ScanFPVolume(const XVolume& inVolume, UInt64 inStepSize) {
  const auto& volume = static_cast<const XFPVolume&>(inVolume);
  XLock lock(volume, kLockRead);
  Float32 min = std::numeric_limits<Float32>::max(), max = std::numeric_limits<Float32>::min();
  ForEachSample(volume, inStepSize, [&](Float32 v) {
    if (v < min) min = v;
    if (v > max) max = v;
  });
  itsHistogram.SetMinMaxBucketVals(min, max, 1000);
  ForEachSample(volume, inStepSize, [this](Float32 v) { itsHistogram.AddCount(v, 1); });
}

void XRestrictedHistogramTool::ApplyTool(const XVolume& inVolume) {
  const UInt64 step = CalculateDataStepSize(inVolume);
  const std::type_info& type = typeid(inVolume);
  if (type == typeid(XGrey8Volume) || type == typeid(XMaskVolume))
    ScanIntegerVolume(static_cast<const XGrey8Volume&>(inVolume), step);
  else if (type == typeid(XGrey16Volume))
    ScanIntegerVolume(static_cast<const XGrey16Volume&>(inVolume), step);
  else if (type == typeid(XARGB32Volume))
    ScanIntegerVolume(static_cast<const XARGB32Volume&>(inVolume), step);
  else if (type == typeid(XBGRA32Volume))
    ScanIntegerVolume(static_cast<const XBGRA32Volume&>(inVolume), step);
  else if (type == typeid(XRGB48Volume))
    ScanIntegerVolume(static_cast<const XRGB48Volume&>(inVolume), step);
  else if (type == typeid(XFPVolume))
    ScanFPVolume(inVolume, step);
}

}  // namespace mirelan
