#include "measurement/XVolumeStatsTool.h"

#include <algorithm>
#include <limits>
#include <type_traits>
#include <vector>

#include "measurement/internal/XMeasureSupport.h"
#include "measurement/internal/XStatsHelper.h"
#include "rendering/XImageRenderer.h"
#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XPixelTraits.h"

namespace mirelan {

namespace {

constexpr Float64 kInfinity = std::numeric_limits<Float64>::infinity();

// The limits kExcludeTypeLimits sets: the integer type's range, or the
// infinities for floats.
template <class T>
void TypeLimits(T& outLower, T& outUpper) {
  if constexpr (std::is_floating_point_v<T>) {
    outLower = -std::numeric_limits<T>::infinity();
    outUpper = std::numeric_limits<T>::infinity();
  } else {
    outLower = T(0);
    outUpper = std::numeric_limits<T>::max();
  }
}

// A renderer's black or white point in the channel type: truncated for
// integers, as f32 for floats.
template <class T>
T PointAs(Float64 inPoint) {
  if constexpr (std::is_floating_point_v<T>)
    return T(inPoint);
  else
    return XTruncateTo<T>(inPoint);
}

// Which values count, from the options; the black and white points, read
// last, replace the type limits.
template <class T>
XStatsRule<T> RuleOf(UInt32 inOptions, const XVolume& inVolume) {
  XStatsRule<T> rule;
  rule.lower = T(0);
  rule.upper = XStatsRange<T>::Greatest();
  if (inOptions & XVolumeStatsTool::kExcludeTypeLimits) {
    TypeLimits(rule.lower, rule.upper);
    rule.includeOutOfLimits = false;
  }
  if (inOptions & XVolumeStatsTool::kExcludeZero) rule.includeZero = false;
  if (inOptions & XVolumeStatsTool::kExcludeOutsideBlackAndWhite) {
    const XImageRenderer& renderer = inVolume.GetPlaneRenderer();
    rule.upper = PointAs<T>(renderer.GetWhite());
    rule.lower = PointAs<T>(renderer.GetBlack());
    rule.includeOutOfLimits = false;
  }
  return rule;
}

}  // namespace

// ---------------------------------------------------------------------------
// XVolumeStatsTool

XVolumeStatsTool::XVolumeStatsTool(UInt32 inOptions) : itsOptions(inOptions) { ClearResults(); }

void XVolumeStatsTool::ClearResults() {
  std::fill(std::begin(itsMin), std::end(itsMin), kInfinity);
  std::fill(std::begin(itsMax), std::end(itsMax), -kInfinity);
  std::fill(std::begin(itsValid), std::end(itsValid), false);
  std::fill(std::begin(itsSum), std::end(itsSum), 0.0);
  std::fill(std::begin(itsPixelCount), std::end(itsPixelCount), 0u);
}

void XVolumeStatsTool::ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion) {
  ApplyTool(static_cast<const XVolume&>(ioVolume), inRegion);
}

void XVolumeStatsTool::ApplyTool(const XVolume& inVolume, const X3DRegion* inRegion) {
  ClearResults();
  itsChannelCount = std::min(inVolume.GetChannelCount(), kMaxChannels);
  // The slots take the volume for change; every one of this tool reads only.
  XVolumeScanningTool::ApplyTool(const_cast<XVolume&>(inVolume), inRegion);
}

template <class T, class Sum, class V>
void XVolumeStatsTool::Gather(const V& inVolume, const X3DRegion* inRegion, UInt32 inChannels, UInt32 inOffset) {
  XStatsHelper<T, T, Sum, typename V::Voxel> helper;
  helper.SetChannelCount(inChannels);
  helper.SetOffset(inOffset);
  const XStatsRule<T> rule = RuleOf<T>(itsOptions, inVolume);
  helper.SetLimits(rule.lower, rule.upper);
  helper.SetIncludeOutOfLimits(rule.includeOutOfLimits);
  helper.SetIncludeZero(rule.includeZero);
  XScanVolume(inVolume, inRegion, helper);
  for (UInt32 c = 0; c < itsChannelCount && c < inChannels; ++c) {
    itsMin[c] = helper.GetMin(c);
    itsMax[c] = helper.GetMax(c);
    itsSum[c] = Float64(helper.GetSum(c));
    itsValid[c] = helper.IsValid(c);
    itsPixelCount[c] = helper.GetCount(c);
  }
}

void XVolumeStatsTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  Gather<UInt8, SInt64>(XAsConst(ioVolume), inRegion, 1, 0);
}

void XVolumeStatsTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  Gather<UInt16, SInt64>(XAsConst(ioVolume), inRegion, 1, 0);
}

// Red, green, blue are bytes 1 to 3 of the ARGB word: alpha is skipped.
void XVolumeStatsTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  Gather<UInt8, SInt64>(XAsConst(ioVolume), inRegion, 3, 1);
}

void XVolumeStatsTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToolARGB32(*XCopyAsARGB32(ioVolume), inRegion);
}

void XVolumeStatsTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  Gather<UInt16, SInt64>(XAsConst(ioVolume), inRegion, 3, 0);
}

void XVolumeStatsTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  Gather<Float32, Float32>(XAsConst(ioVolume), inRegion, 1, 0);
}

void XVolumeStatsTool::CheckChannel(UInt32 channel) const {
  const UInt32 channelCount = itsChannelCount;
  XAssert(channel != 0);
  XAssert(channel <= channelCount);
}

Float64 XVolumeStatsTool::GetMin(UInt32 channel) const {
  CheckChannel(channel);
  const UInt32* pixelCount = itsPixelCount;
  XAssert(pixelCount[ channel-1 ]);
  return itsMin[channel - 1];
}

Float64 XVolumeStatsTool::GetMax(UInt32 channel) const {
  CheckChannel(channel);
  const UInt32* pixelCount = itsPixelCount;
  XAssert(pixelCount[ channel-1 ]);
  return itsMax[channel - 1];
}

Float64 XVolumeStatsTool::GetMean(UInt32 channel) const {
  CheckChannel(channel);
  const UInt32* pixelCount = itsPixelCount;
  XAssert(pixelCount[ channel-1 ]);
  return itsSum[channel - 1] / itsPixelCount[channel - 1];
}

UInt32 XVolumeStatsTool::GetPixCount(UInt32 channel) const {
  CheckChannel(channel);
  return itsPixelCount[channel - 1];
}

bool XVolumeStatsTool::IsMinMaxMeanValid(UInt32 channel) const {
  CheckChannel(channel);
  return itsValid[channel - 1];
}

Float64 XVolumeStatsTool::GetMinAllChannels() const {
  Float64 min = kInfinity;
  for (UInt32 c = 0; c < itsChannelCount; ++c)
    if (itsValid[c]) min = std::min(min, itsMin[c]);
  return min;
}

Float64 XVolumeStatsTool::GetMaxAllChannels() const {
  Float64 max = -kInfinity;
  for (UInt32 c = 0; c < itsChannelCount; ++c)
    if (itsValid[c]) max = std::max(max, itsMax[c]);
  return max;
}

Float64 XVolumeStatsTool::GetMeanAllChannels() const {
  Float64 sum = 0.0;
  UInt32 valid = 0;
  for (UInt32 c = 0; c < itsChannelCount; ++c) {
    if (!itsValid[c]) continue;
    sum += itsSum[c] / itsPixelCount[c];
    ++valid;
  }
  return valid == 0 ? 0.0 : sum / valid;
}

bool XVolumeStatsTool::IsMinMaxMeanValidAllChannels() const {
  for (UInt32 c = 0; c < itsChannelCount; ++c)
    if (itsValid[c]) return true;
  return false;
}

// ---------------------------------------------------------------------------
// XVolumeVarianceTool

XVolumeVarianceTool::XVolumeVarianceTool(UInt32 inOptions) : XVolumeStatsTool(inOptions) {
  std::fill(std::begin(itsSquareSum), std::end(itsSquareSum), 0.0);
}

// The deviations pass has a rule of its own: the options' exclusions, but
// always against the type's limits, not the black and white points.
template <class T, class V>
void XVolumeVarianceTool::GatherDeviations(const V& inVolume, const X3DRegion* inRegion, UInt32 inChannels,
                                           UInt32 inOffset) {
  XStatsRule<Float64> rule;
  T lower, upper;
  TypeLimits(lower, upper);
  rule.lower = lower;
  rule.upper = upper;
  rule.includeOutOfLimits = !(itsOptions & (kExcludeTypeLimits | kExcludeOutsideBlackAndWhite));
  rule.includeZero = !(itsOptions & kExcludeZero);
  Float64 means[kMaxChannels] = {};
  for (UInt32 c = 0; c < itsChannelCount; ++c)
    if (itsValid[c]) means[c] = itsSum[c] / itsPixelCount[c];
  XVarianceHelper<T, typename V::Voxel> helper(rule, std::min(inChannels, itsChannelCount), inOffset, means,
                                               itsValid);
  std::vector<Float64> squares;
  if constexpr (std::is_integral_v<T>) {
    if (inChannels == 1 && itsValid[0]) {
      squares.resize(size_t(std::numeric_limits<T>::max()) + 1);
      for (size_t v = 0; v < squares.size(); ++v) {
        const Float64 d = means[0] - Float64(v);
        squares[v] = d * d;
      }
      helper.SetSquareTable(squares.data());
    }
  }
  XScanVolume(inVolume, inRegion, helper);
  std::fill(std::begin(itsSquareSum), std::end(itsSquareSum), 0.0);
  for (UInt32 c = 0; c < itsChannelCount && c < inChannels; ++c) itsSquareSum[c] = helper.GetSum(c);
}

void XVolumeVarianceTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  XVolumeStatsTool::ApplyToolGrey8(ioVolume, inRegion);
  GatherDeviations<UInt8>(XAsConst(ioVolume), inRegion, 1, 0);
}

void XVolumeVarianceTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  XVolumeStatsTool::ApplyToolGrey16(ioVolume, inRegion);
  GatherDeviations<UInt16>(XAsConst(ioVolume), inRegion, 1, 0);
}

void XVolumeVarianceTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  XVolumeStatsTool::ApplyToolARGB32(ioVolume, inRegion);
  GatherDeviations<UInt8>(XAsConst(ioVolume), inRegion, 3, 1);
}

void XVolumeVarianceTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  XVolumeStatsTool::ApplyToolRGB48(ioVolume, inRegion);
  GatherDeviations<UInt16>(XAsConst(ioVolume), inRegion, 3, 0);
}

void XVolumeVarianceTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  XVolumeStatsTool::ApplyToolFP(ioVolume, inRegion);
  GatherDeviations<Float32>(XAsConst(ioVolume), inRegion, 1, 0);
}

Float64 XVolumeVarianceTool::GetVariance(UInt32 channel) const {
  const UInt32* pixelCount = itsPixelCount;
  XAssert(channel != 0);
  XAssert(channel <= 9UL);
  XAssert(pixelCount[channel-1]);
  return itsSquareSum[channel - 1] / itsPixelCount[channel - 1];
}

Float64 XVolumeVarianceTool::GetVarianceAllChannels() const {
  Float64 sum = 0.0;
  for (UInt32 c = 0; c < itsChannelCount; ++c) sum += itsSquareSum[c];
  return sum / (Float64(GetPixCount(1)) * itsChannelCount);
}

}  // namespace mirelan
