// Scanning tools that fill up to three histograms from a volume, with or
// without a region: luminance, red-green-blue, hue-saturation-intensity,
// percentage of the luminance range, and channel ratios.
//
// Each tool has three ranges (one per histogram). While all six numbers are
// 0.0, ApplyTool first calls SetMinMaxVals(volume), which takes the range
// from the volume's plane renderer (0 to 255 for 8-bit and ARGB32 data, 0 to
// 65535 for 16-bit and RGB48 data) or, for an XFPVolume, from FindMinMax.
// How many buckets a histogram has depends on the tool and the pixel type:
// an argument of 0 means a bucket size of 1 (so 256 buckets for 8-bit data).
//
// A tool owns its results until the caller takes one with GetHistogramOne
// and the like; a second apply keeps the ranges of the first and replaces
// the results.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "measurement/XVolumeHistogram.h"
#include "tools/XVolumeScanningTool.h"

namespace mirelan {

class MIRELAN_EXPORT XVolumeHistogramTool : public XVolumeScanningTool {
 public:
  XVolumeHistogramTool();
  ~XVolumeHistogramTool() override;
  XVolumeHistogramTool(const XVolumeHistogramTool&) = delete;
  XVolumeHistogramTool& operator=(const XVolumeHistogramTool&) = delete;

  void ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion) override;
  // Gives all three ranges the renderer's input range (FindMinMax for float data).
  virtual void SetMinMaxVals(const XVolume& inVolume);

  Float64 GetMinValOne() const { return itsMinValOne; }
  Float64 GetMaxValOne() const { return itsMaxValOne; }
  Float64 GetMinValTwo() const { return itsMinValTwo; }
  Float64 GetMaxValTwo() const { return itsMaxValTwo; }
  Float64 GetMinValThr() const { return itsMinValThr; }
  Float64 GetMaxValThr() const { return itsMaxValThr; }

  // Hand a result to the caller, who then owns it; null where the tool made none.
  XVolumeHistogram* GetHistogramOne();
  XVolumeHistogram* GetHistogramTwo();
  XVolumeHistogram* GetHistogramThr();

 protected:
  // Replaces the first inCount results by new histograms over their ranges
  // with inBucketArgument (see XVolumeHistogram). An earlier result the
  // caller did not take is freed.
  void MakeHistograms(UInt32 inCount, UInt32 inBucketArgument);
  // The same for result inIndex (0, 1 or 2) alone.
  void MakeHistogram(UInt32 inIndex, UInt32 inBucketArgument);
  // All three ranges.
  void SetRanges(Float64 inMin, Float64 inMax);
  // Scans a converted copy: these tools never change the pixels.
  void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) override;

  XVolumeHistogram* itsHistogramOne = nullptr;
  XVolumeHistogram* itsHistogramTwo = nullptr;
  XVolumeHistogram* itsHistogramThr = nullptr;
  Float64 itsMinValOne = 0.0;
  Float64 itsMaxValOne = 0.0;
  Float64 itsMinValTwo = 0.0;
  Float64 itsMaxValTwo = 0.0;
  Float64 itsMinValThr = 0.0;
  Float64 itsMaxValThr = 0.0;
  bool itsOwnsHistogramOne = true;
  bool itsOwnsHistogramTwo = true;
  bool itsOwnsHistogramThr = true;
};

// One histogram of the luminance: the grey value, the greatest of red, green
// and blue for colour, the value with negatives counted as 0.0 for floats.
// Integer data: bucket size 1; float data: 1000 buckets.
class MIRELAN_EXPORT XVolumeLuminanceTool : public XVolumeHistogramTool {
 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;
};

// Three histograms: red, green, blue, each with bucket size 1. A grey or
// float voxel goes into all three as it is.
class MIRELAN_EXPORT XVolumeRGBTool : public XVolumeHistogramTool {
 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;
};

// Three histograms: hue, saturation (both on the scale of the colour type)
// and intensity (the greatest channel). Colour data: bucket size 1. Grey
// data: 1000 buckets, with every voxel at hue and saturation 0.0. Float
// data: bucket size 1 for hue and saturation (all at 0.0), and the intensity
// histogram is the luminance one: 1000 buckets, negatives at 0.0.
class MIRELAN_EXPORT XVolumeHSITool : public XVolumeHistogramTool {
 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;
};

// One histogram over 0 to 100 of where each voxel's luminance lies between
// the least and the greatest luminance of the whole volume:
// ((luminance - min) / (max - min)) * 100. Integer data: trunc(max - min)
// buckets (101 when that is 0); float data: 1000 buckets.
class MIRELAN_EXPORT XVolumePercentageTool : public XVolumeHistogramTool {
 public:
  // Measures the luminance range of the whole volume (the region plays no
  // part in it), then scans the region.
  void ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion) override;
  // 0 to 100 for all three ranges.
  void SetMinMaxVals(const XVolume& inVolume) override;

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;

 private:
  Float64 itsLuminanceMin = 0.0;
  Float64 itsLuminanceMax = 0.0;
};

// Three histograms over 0 to 255 of the channel ratios red : green,
// green : blue and blue : red of colour data, mapped to a byte by
// GetClampedRatio. Grey and float data give three empty histograms.
class MIRELAN_EXPORT XVolumeRatioTool : public XVolumeHistogramTool {
 public:
  // 0 if the denominator is 0.0; else trunc(255 - atan(n / d) / (pi / 2) * 255):
  // 255 for n = 0, falling towards 0 as n outgrows d.
  static UInt8 GetClampedRatio(Float64 inNumerator, Float64 inDenominator);
  // The inverse: tan((255 - c) / 255 * pi / 2), and infinity for 0.
  static Float64 GetActualRatio(UInt8 inClampedRatio);
  // 0 to 255 for all three ranges, whatever the volume.
  void SetMinMaxVals(const XVolume& inVolume) override;

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;
};

}  // namespace mirelan
