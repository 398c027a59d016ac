// A quick luminance histogram from at most a given number of voxels, taken
// at an even step through the volume's pixel store. No region, no progress.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "measurement/XVolumeHistogram.h"

namespace mirelan {

class XVolume;

class MIRELAN_EXPORT XRestrictedHistogramTool {
 public:
  explicit XRestrictedHistogramTool(UInt32 inMaxSamples);

  // Every step-th voxel of the store from the first, step = voxels / the
  // maximum (at least 1, at most the voxel count), row padding included.
  // 8-bit data (grey, mask, ARGB32, BGRA32) over 0 to 255 and 16-bit data
  // (grey, RGB48) over 0 to 65535, bucket size 1; colour counts the integer
  // mean (R + G + B) / 3. Float data over the least and greatest sample with
  // 1000 buckets. Other types leave the histogram as it was.
  void ApplyTool(const XVolume& inVolume);
  const XVolumeHistogram& GetHistogram() const { return itsHistogram; }
  XVolumeHistogram& GetHistogram() { return itsHistogram; }

 private:
  UInt64 CalculateDataStepSize(const XVolume& inVolume) const;
  template <class V>
  void ScanIntegerVolume(const V& inVolume, UInt64 inStepSize);
  void ScanFPVolume(const XVolume& inVolume, UInt64 inStepSize);

  UInt32 itsMaxSamples;
  XVolumeHistogram itsHistogram;
};

}  // namespace mirelan
