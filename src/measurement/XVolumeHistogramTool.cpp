#include "measurement/XVolumeHistogramTool.h"

#include <cmath>
#include <limits>
#include <vector>

#include "measurement/XVolumeMinMaxTools.h"
#include "measurement/internal/XHistogramScan.h"
#include "measurement/internal/XMeasureSupport.h"
#include "rendering/XImageRenderer.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XPixelTraits.h"

namespace mirelan {

using namespace XHistogramScan;

namespace {

constexpr UInt32 kByteKeys = 256;
constexpr UInt32 kWordKeys = 65536;
constexpr UInt32 kFloatBuckets = 1000;
constexpr Float64 kHalfPi = 1.57079632679489661923;

// Every key stands for 0.0 (hue and saturation of grey data).
struct XZeroValue {
  Float64 operator()(UInt32) const { return 0.0; }
};

Float64 Luminance(Float32 inValue) { return inValue < 0.0f ? 0.0 : Float64(inValue); }

// Values of float voxels, one per histogram.
struct XLuminanceValue {
  void operator()(Float32 inVoxel, Float64* outValues) const { outValues[0] = Luminance(inVoxel); }
};
struct XSameValue3 {
  void operator()(Float32 inVoxel, Float64* outValues) const { outValues[0] = outValues[1] = outValues[2] = inVoxel; }
};
// Hue and saturation 0.0, intensity the luminance.
struct XHSIFloatValues {
  void operator()(Float32 inVoxel, Float64* outValues) const {
    outValues[0] = outValues[1] = 0.0;
    outValues[2] = Luminance(inVoxel);
  }
};

// Keys of the three-histogram tools.
struct XSameKey3 {
  template <class T>
  void operator()(T inVoxel, UInt32 (&outKeys)[3]) const {
    outKeys[0] = outKeys[1] = outKeys[2] = UInt32(inVoxel);
  }
};
struct XRGBKeys {
  template <class C>
  void operator()(const C& inColour, UInt32 (&outKeys)[3]) const {
    outKeys[0] = inColour.red;
    outKeys[1] = inColour.green;
    outKeys[2] = inColour.blue;
  }
};
// Hue and saturation 0, intensity the grey value.
struct XGreyHSIKeys {
  template <class T>
  void operator()(T inVoxel, UInt32 (&outKeys)[3]) const {
    outKeys[0] = outKeys[1] = 0;
    outKeys[2] = UInt32(inVoxel);
  }
};
struct XHSIKeys {
  void operator()(const XARGB32Colour& inColour, UInt32 (&outKeys)[3]) const {
    UInt8 h, s, i;
    XARGB32Colour::RGBToHSI(inColour, h, s, i);
    outKeys[0] = h;
    outKeys[1] = s;
    outKeys[2] = i;
  }
  void operator()(const XRGB48Colour& inColour, UInt32 (&outKeys)[3]) const {
    UInt16 h, s, i;
    XRGB48Colour::RGBToHSI(inColour, h, s, i);
    outKeys[0] = h;
    outKeys[1] = s;
    outKeys[2] = i;
  }
};

// GetClampedRatio of every pair of bytes, a * 256 + b, made once.
const std::vector<UInt8>& ByteRatioTable() {
  static const std::vector<UInt8> table = [] {
    std::vector<UInt8> t(kByteKeys * kByteKeys);
    for (UInt32 a = 0; a < kByteKeys; ++a)
      for (UInt32 b = 0; b < kByteKeys; ++b) t[a * kByteKeys + b] = XVolumeRatioTool::GetClampedRatio(a, b);
    return t;
  }();
  return table;
}

struct XByteRatioKeys {
  const UInt8* table;
  void operator()(const XARGB32Colour& inColour, UInt32 (&outKeys)[3]) const {
    const UInt32 r = inColour.red, g = inColour.green, b = inColour.blue;
    outKeys[0] = table[r * kByteKeys + g];
    outKeys[1] = table[g * kByteKeys + b];
    outKeys[2] = table[b * kByteKeys + r];
  }
};
struct XWordRatioKeys {
  void operator()(const XRGB48Colour& inColour, UInt32 (&outKeys)[3]) const {
    const Float64 r = inColour.red, g = inColour.green, b = inColour.blue;
    outKeys[0] = XVolumeRatioTool::GetClampedRatio(r, g);
    outKeys[1] = XVolumeRatioTool::GetClampedRatio(g, b);
    outKeys[2] = XVolumeRatioTool::GetClampedRatio(b, r);
  }
};

// The same axis for all three histograms of a kind of key.
template <class V, class Keys, class ValueOfKey>
void CountSameAxes3(const V& inVolume, const X3DRegion* inRegion, Keys inKeys, UInt32 inKeyRange,
                    ValueOfKey inValueOfKey, const std::array<XVolumeHistogram*, 3>& ioHistograms) {
  const auto axis = KeyAxis(inKeyRange, inValueOfKey);
  CountKeys3(inVolume, inRegion, inKeys, axis, axis, axis, ioHistograms);
}

}  // namespace

// ---------------------------------------------------------------------------
// XVolumeHistogramTool

XVolumeHistogramTool::XVolumeHistogramTool() = default;

XVolumeHistogramTool::~XVolumeHistogramTool() {
  if (itsOwnsHistogramOne) delete itsHistogramOne;
  if (itsOwnsHistogramTwo) delete itsHistogramTwo;
  if (itsOwnsHistogramThr) delete itsHistogramThr;
}

void XVolumeHistogramTool::ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion) {
  if (itsMinValOne == 0.0 && itsMaxValOne == 0.0 && itsMinValTwo == 0.0 && itsMaxValTwo == 0.0 &&
      itsMinValThr == 0.0 && itsMaxValThr == 0.0)
    SetMinMaxVals(ioVolume);
  XVolumeScanningTool::ApplyTool(ioVolume, inRegion);
}

void XVolumeHistogramTool::SetMinMaxVals(const XVolume& inVolume) {
  // A volume without a renderer (32-bit grey) is refused by the dispatch.
  if (!inVolume.HasPlaneRenderer()) return;
  const XImageRenderer& renderer = inVolume.GetPlaneRenderer();
  Float64 low = renderer.GetMinInputValue(), high = renderer.GetMaxInputValue();
  if (inVolume.IsA(XFPVolume::GetClassVersion())) {
    Float32 min, max;
    static_cast<const XFPVolume&>(inVolume).FindMinMax(min, max);
    low = min;
    high = max;
  }
  SetRanges(low, high);
}

void XVolumeHistogramTool::SetRanges(Float64 inMin, Float64 inMax) {
  itsMinValOne = itsMinValTwo = itsMinValThr = inMin;
  itsMaxValOne = itsMaxValTwo = itsMaxValThr = inMax;
}

XVolumeHistogram* XVolumeHistogramTool::GetHistogramOne() {
  itsOwnsHistogramOne = false;
  return itsHistogramOne;
}
XVolumeHistogram* XVolumeHistogramTool::GetHistogramTwo() {
  itsOwnsHistogramTwo = false;
  return itsHistogramTwo;
}
XVolumeHistogram* XVolumeHistogramTool::GetHistogramThr() {
  itsOwnsHistogramThr = false;
  return itsHistogramThr;
}

void XVolumeHistogramTool::MakeHistogram(UInt32 inIndex, UInt32 inBucketArgument) {
  XVolumeHistogram** slots[3] = {&itsHistogramOne, &itsHistogramTwo, &itsHistogramThr};
  bool* owned[3] = {&itsOwnsHistogramOne, &itsOwnsHistogramTwo, &itsOwnsHistogramThr};
  const Float64 mins[3] = {itsMinValOne, itsMinValTwo, itsMinValThr};
  const Float64 maxs[3] = {itsMaxValOne, itsMaxValTwo, itsMaxValThr};
  // Made first, so that a refused size leaves the earlier result in place.
  auto* histogram = new XVolumeHistogram(mins[inIndex], maxs[inIndex], inBucketArgument);
  if (*owned[inIndex]) delete *slots[inIndex];
  *slots[inIndex] = histogram;
  *owned[inIndex] = true;
}

void XVolumeHistogramTool::MakeHistograms(UInt32 inCount, UInt32 inBucketArgument) {
  for (UInt32 i = 0; i < inCount; ++i) MakeHistogram(i, inBucketArgument);
}

void XVolumeHistogramTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToolARGB32(*XCopyAsARGB32(ioVolume), inRegion);
}

// ---------------------------------------------------------------------------
// XVolumeLuminanceTool

void XVolumeLuminanceTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, 0);
  CountKeys(XAsConst(ioVolume), inRegion, XGreyKey(), kByteKeys, XKeyValue(), *itsHistogramOne);
}

void XVolumeLuminanceTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, 0);
  CountKeys(XAsConst(ioVolume), inRegion, XGreyKey(), kWordKeys, XKeyValue(), *itsHistogramOne);
}

void XVolumeLuminanceTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, 0);
  CountKeys(XAsConst(ioVolume), inRegion, XMaxRGBKey(), kByteKeys, XKeyValue(), *itsHistogramOne);
}

void XVolumeLuminanceTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, 0);
  CountKeys(XAsConst(ioVolume), inRegion, XMaxRGBKey(), kWordKeys, XKeyValue(), *itsHistogramOne);
}

void XVolumeLuminanceTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, kFloatBuckets);
  CountFloats<1>(XAsConst(ioVolume), inRegion, XLuminanceValue(), {itsHistogramOne});
}

// ---------------------------------------------------------------------------
// XVolumeRGBTool

void XVolumeRGBTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 0);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XSameKey3(), kByteKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeRGBTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 0);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XSameKey3(), kWordKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeRGBTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 0);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XRGBKeys(), kByteKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeRGBTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 0);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XRGBKeys(), kWordKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeRGBTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 0);
  CountFloats<3>(XAsConst(ioVolume), inRegion, XSameValue3(), {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

// ---------------------------------------------------------------------------
// XVolumeHSITool

void XVolumeHSITool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, kFloatBuckets);
  CountKeys3(XAsConst(ioVolume), inRegion, XGreyHSIKeys(), KeyAxis(1, XZeroValue()), KeyAxis(1, XZeroValue()),
             KeyAxis(kByteKeys, XKeyValue()), {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeHSITool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, kFloatBuckets);
  CountKeys3(XAsConst(ioVolume), inRegion, XGreyHSIKeys(), KeyAxis(1, XZeroValue()), KeyAxis(1, XZeroValue()),
             KeyAxis(kWordKeys, XKeyValue()), {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeHSITool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 0);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XHSIKeys(), kByteKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeHSITool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 0);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XHSIKeys(), kWordKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

// Hue and saturation with bucket size 1, all at 0.0; intensity as the
// luminance tool counts it (1000 buckets, negatives at 0.0), which is what
// a second scan with the luminance rule leaves in the third histogram.
void XVolumeHSITool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  MakeHistogram(0, 0);
  MakeHistogram(1, 0);
  MakeHistogram(2, kFloatBuckets);
  CountFloats<3>(XAsConst(ioVolume), inRegion, XHSIFloatValues(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

// ---------------------------------------------------------------------------
// XVolumePercentageTool

void XVolumePercentageTool::ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion) {
  XVolumeLuminanceMinMaxTool range;
  range.ApplyTool(ioVolume, nullptr);
  itsLuminanceMin = range.GetMin();
  itsLuminanceMax = range.GetMax();
  XVolumeHistogramTool::ApplyTool(ioVolume, inRegion);
}

void XVolumePercentageTool::SetMinMaxVals(const XVolume&) { SetRanges(0.0, 100.0); }

namespace {

// Where a luminance lies in [min, max], in percent.
struct XPercentOf {
  Float64 min, max;
  Float64 operator()(Float64 inLuminance) const { return (inLuminance - min) / (max - min) * 100.0; }
};
struct XPercentValue {
  XPercentOf percent;
  void operator()(Float32 inVoxel, Float64* outValues) const { outValues[0] = percent(Luminance(inVoxel)); }
};

// Integer data: trunc(max - min) buckets (0, bucket size 1, when they are equal).
template <class V, class Key>
void CountPercentages(const V& inVolume, const X3DRegion* inRegion, Key inKey, UInt32 inKeyRange,
                      XPercentOf inPercent, XVolumeHistogram& ioHistogram) {
  CountKeys(inVolume, inRegion, inKey, inKeyRange, [&](UInt32 k) { return inPercent(k); }, ioHistogram);
}

}  // namespace

void XVolumePercentageTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, XTruncateTo<UInt32>(itsLuminanceMax - itsLuminanceMin));
  CountPercentages(XAsConst(ioVolume), inRegion, XGreyKey(), kByteKeys, {itsLuminanceMin, itsLuminanceMax},
                   *itsHistogramOne);
}

void XVolumePercentageTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, XTruncateTo<UInt32>(itsLuminanceMax - itsLuminanceMin));
  CountPercentages(XAsConst(ioVolume), inRegion, XGreyKey(), kWordKeys, {itsLuminanceMin, itsLuminanceMax},
                   *itsHistogramOne);
}

void XVolumePercentageTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, XTruncateTo<UInt32>(itsLuminanceMax - itsLuminanceMin));
  CountPercentages(XAsConst(ioVolume), inRegion, XMaxRGBKey(), kByteKeys, {itsLuminanceMin, itsLuminanceMax},
                   *itsHistogramOne);
}

void XVolumePercentageTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, XTruncateTo<UInt32>(itsLuminanceMax - itsLuminanceMin));
  CountPercentages(XAsConst(ioVolume), inRegion, XMaxRGBKey(), kWordKeys, {itsLuminanceMin, itsLuminanceMax},
                   *itsHistogramOne);
}

void XVolumePercentageTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(1, kFloatBuckets);
  CountFloats<1>(XAsConst(ioVolume), inRegion, XPercentValue{{itsLuminanceMin, itsLuminanceMax}},
                 {itsHistogramOne});
}

// ---------------------------------------------------------------------------
// XVolumeRatioTool

UInt8 XVolumeRatioTool::GetClampedRatio(Float64 inNumerator, Float64 inDenominator) {
  if (inDenominator == 0.0) return 0;
  return XTruncateTo<UInt8>(255.0 - (std::atan(inNumerator / inDenominator) / kHalfPi) * 255.0);
}

Float64 XVolumeRatioTool::GetActualRatio(UInt8 inClampedRatio) {
  if (inClampedRatio == 0) return std::numeric_limits<Float64>::infinity();
  return std::tan(((255 - inClampedRatio) / 255.0) * kHalfPi);
}

void XVolumeRatioTool::SetMinMaxVals(const XVolume&) { SetRanges(0.0, 255.0); }

// Grey and float data have no channels to compare: three empty histograms.
void XVolumeRatioTool::ApplyToolGrey8(XGrey8Volume&, const X3DRegion*) { MakeHistograms(3, 0); }
void XVolumeRatioTool::ApplyToolGrey16(XGrey16Volume&, const X3DRegion*) { MakeHistograms(3, 0); }
void XVolumeRatioTool::ApplyToolFP(XFPVolume&, const X3DRegion*) { MakeHistograms(3, 0); }

void XVolumeRatioTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 256);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XByteRatioKeys{ByteRatioTable().data()}, kByteKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

void XVolumeRatioTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  MakeHistograms(3, 256);
  CountSameAxes3(XAsConst(ioVolume), inRegion, XWordRatioKeys(), kByteKeys, XKeyValue(),
                 {itsHistogramOne, itsHistogramTwo, itsHistogramThr});
}

}  // namespace mirelan
