// Shared helpers of the measurement tests: volumes from functions or random
// numbers, and a histogram counted the slow way, voxel by voxel with
// AddCount, to hold the tools' table-driven walks against.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "../tools/ToolTestSupport.h"
#include "measurement/XVolumeHistogram.h"
#include "volume/X3DRegion.h"

namespace measuretest {

using tooltest::ExpectRefused;
using tooltest::MakeMask;
using tooltest::ToolTest;
using volumetest::ErrorOf;
using volumetest::FillWith;

// A volume of the class with every voxel from inValueAt(x, y, z).
template <class V, class Fn>
V Make(const X3DRect& inBox, Fn inValueAt) {
  V volume(inBox);
  FillWith(volume, inValueAt);
  return volume;
}

// Random integer voxels in [0, inTop], the same for the same seed.
template <class V>
V RandomGrey(const X3DRect& inBox, UInt32 inTop, UInt32 inSeed) {
  std::mt19937 random(inSeed);
  return Make<V>(inBox, [&](SInt32, SInt32, SInt32) { return typename V::Voxel(random() % (inTop + 1)); });
}

// Calls inFn(voxel) for each voxel of the volume inside the region (all when null).
template <class V, class Fn>
void ForEachVoxel(const V& inVolume, const X3DRegion* inRegion, Fn inFn) {
  XLock lock(inVolume, kLockRead);
  std::unique_ptr<XLock> regionLock(inRegion ? new XLock(*inRegion, kLockRead) : nullptr);
  const X3DRect& b = inVolume.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x)
        if (!inRegion || inRegion->Contains(x, y, z)) inFn(inVolume.GetVoxel(x, y, z));
}

// The histogram over [inMin, inMax] with the bucket argument, each voxel
// added at inValueOf(voxel).
template <class V, class ValueOf>
XVolumeHistogram SlowHistogram(const V& inVolume, const X3DRegion* inRegion, Float64 inMin, Float64 inMax,
                               UInt32 inArgument, ValueOf inValueOf) {
  XVolumeHistogram histogram(inMin, inMax, inArgument);
  ForEachVoxel(inVolume, inRegion, [&](const typename V::Voxel& v) { histogram.AddCount(inValueOf(v), 1); });
  return histogram;
}

inline std::vector<UInt32> Counts(const XVolumeHistogram& inHistogram) {
  return std::vector<UInt32>(inHistogram.GetBuckets(), inHistogram.GetBuckets() + inHistogram.GetBucketCount());
}

// Axis and counts agree.
inline void ExpectSameHistogram(const XVolumeHistogram& inExpected, const XVolumeHistogram* inActual) {
  ASSERT_NE(inActual, nullptr);
  EXPECT_EQ(inActual->GetMinVal(), inExpected.GetMinVal());
  EXPECT_EQ(inActual->GetMaxVal(), inExpected.GetMaxVal());
  EXPECT_EQ(inActual->GetBucketSize(), inExpected.GetBucketSize());
  EXPECT_EQ(Counts(*inActual), Counts(inExpected));
}

// A region of roughly half the box, as a mask.
inline X3DRegion CheckerRegion(const X3DRect& inBox) {
  return X3DRegion(MakeMask(inBox, [](SInt32 x, SInt32 y, SInt32 z) { return (x / 3 + y + z) % 2 == 0; }));
}

}  // namespace measuretest
