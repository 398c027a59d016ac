// Minimum, maximum, mean and pixel count per channel (XVolumeStatsTool), and
// the population variance (XVolumeVarianceTool), of a volume or a region.
// Grey volumes have one channel; ARGB32 and RGB48 three: red, green, blue
// (alpha is never counted). A BGRA32 volume is scanned as ARGB32 but reports
// one channel, and only that many results are given back: its first.
// Channels are numbered from 1.
//
// The option word leaves values out:
//   kExcludeTypeLimits: the type's own limits (0 and 255, 0 and 65535,
//     the infinities for floats);
//   kExcludeZero: 0, and for floats every value that is not above 0;
//   kExcludeOutsideBlackAndWhite: whatever is not strictly between the
//     renderer's black and white points (this replaces the type limits).
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "tools/XVolumeScanningTool.h"

namespace mirelan {

class MIRELAN_EXPORT XVolumeStatsTool : public XVolumeScanningTool {
 public:
  enum : UInt32 {
    kExcludeTypeLimits = 1,
    kExcludeZero = 2,
    kExcludeOutsideBlackAndWhite = 4,
  };
  // A design limit: no volume has more channels.
  static constexpr UInt32 kMaxChannels = 9;

  explicit XVolumeStatsTool(UInt32 inOptions = 0);

  // The same as the const form: the tool never changes the volume.
  void ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion) override;
  // Takes the volume's channel count, then scans; the region may be null.
  virtual void ApplyTool(const XVolume& inVolume, const X3DRegion* inRegion);

  UInt32 GetChannelCount() const { return itsChannelCount; }
  // Per channel, from 1. GetMin, GetMax and GetMean need a pixel in the channel.
  Float64 GetMin(UInt32 channel) const;
  Float64 GetMax(UInt32 channel) const;
  Float64 GetMean(UInt32 channel) const;
  UInt32 GetPixCount(UInt32 channel) const;
  bool IsMinMaxMeanValid(UInt32 channel) const;
  // Over the valid channels: +infinity, -infinity and 0.0 when none is valid.
  // The mean is the mean of the channels' means.
  Float64 GetMinAllChannels() const;
  Float64 GetMaxAllChannels() const;
  Float64 GetMeanAllChannels() const;
  bool IsMinMaxMeanValidAllChannels() const;

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;

  UInt32 GetOptions() const { return itsOptions; }
  void CheckChannel(UInt32 channel) const;

  Float64 itsMin[kMaxChannels];
  Float64 itsMax[kMaxChannels];
  bool itsValid[kMaxChannels];
  Float64 itsSum[kMaxChannels];
  UInt32 itsChannelCount = 0;
  UInt32 itsPixelCount[kMaxChannels];
  UInt32 itsOptions;

 private:
  void ClearResults();
  template <class T, class Sum, class V>
  void Gather(const V& inVolume, const X3DRegion* inRegion, UInt32 inChannels, UInt32 inOffset);
};

class MIRELAN_EXPORT XVolumeVarianceTool : public XVolumeStatsTool {
 public:
  explicit XVolumeVarianceTool(UInt32 inOptions = 0);

  // Sum of squared deviations from the channel's mean over its pixel count.
  Float64 GetVariance(UInt32 channel) const;
  // All channels' sums over GetPixCount(1) times the channel count: channel
  // 1's count stands for every channel.
  Float64 GetVarianceAllChannels() const;

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;

 private:
  template <class T, class V>
  void GatherDeviations(const V& inVolume, const X3DRegion* inRegion, UInt32 inChannels, UInt32 inOffset);

  Float64 itsSquareSum[kMaxChannels];
};

}  // namespace mirelan
