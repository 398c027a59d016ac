// The scan helpers of XVolumeStatsTool and XVolumeVarianceTool.
//
// A voxel holds up to 9 channels of type T (one for grey data, three for
// colour), starting itsOffset channels into the voxel (1 for ARGB32, which
// skips alpha). A channel value v is taken when
//   - itsIncludeOutOfLimits is set, or lower < v < upper (both limits out),
//   - and itsIncludeZero is set, or v > 0 (for floats: no negatives either).
// Grey voxels have a run form: with nothing excluded the run is a plain
// minimum, maximum and sum; integer exclusions become one band test.
#pragma once

#include <algorithm>
#include <cstring>
#include <limits>
#include <type_traits>

#include "core/XTypes.h"

namespace mirelan {

// The channel type's own range, the seeds of minimum and maximum: greatest
// and least integer; the greatest finite float and its negative.
template <class T>
struct XStatsRange {
  static constexpr T Greatest() { return std::numeric_limits<T>::max(); }
  static constexpr T Least() { return std::is_floating_point_v<T> ? -std::numeric_limits<T>::max() : T(0); }
};

// Which channel values count, shared by both helpers.
template <class L>
struct XStatsRule {
  L lower;
  L upper;
  bool includeOutOfLimits = true;
  bool includeZero = true;

  template <class T>
  bool Takes(T inValue) const {
    if (!includeOutOfLimits && !(lower < inValue && inValue < upper)) return false;
    if (!includeZero && !(inValue > T(0))) return false;
    return true;
  }
  bool TakesAll() const { return includeOutOfLimits && includeZero; }
  // For integers: v is taken exactly when low < v < high.
  void Band(SInt64& outLow, SInt64& outHigh, SInt64 inTypeMax) const {
    outLow = includeOutOfLimits ? -1 : SInt64(lower);
    if (!includeZero) outLow = std::max<SInt64>(outLow, 0);
    outHigh = includeOutOfLimits ? inTypeMax + 1 : SInt64(upper);
  }
};

// Channel c of a voxel, read byte-wise: 16-bit channels of packed colours
// need not be aligned.
template <class T, class Voxel>
inline T XChannelOf(const Voxel* inVoxel, UInt32 inChannel) {
  T value;
  std::memcpy(&value, reinterpret_cast<const UInt8*>(inVoxel) + inChannel * sizeof(T), sizeof(T));
  return value;
}

// T: channel type; S: type of the minimum, maximum and limits (the pixel's
// own); Sum: the accumulator (signed 64-bit for integers, f32 for floats,
// summed in voxel order). Voxel: the volume's voxel type.
template <class T, class S, class Sum, class Voxel = T>
class XStatsHelper {
 public:
  static constexpr UInt32 kMaxChannels = 9;

  XStatsHelper() {
    for (UInt32 c = 0; c < kMaxChannels; ++c) {
      itsMin[c] = XStatsRange<S>::Greatest();
      itsMax[c] = XStatsRange<S>::Least();
      itsValid[c] = false;
      itsSum[c] = Sum(0);
      itsCount[c] = 0;
    }
    itsRule.lower = S(0);
    itsRule.upper = XStatsRange<S>::Greatest();
  }

  void SetChannelCount(UInt32 inCount) { itsChannelCount = std::min(inCount, kMaxChannels); }
  void SetOffset(UInt32 inOffset) { itsOffset = inOffset; }
  void SetLimits(S inLower, S inUpper) {
    itsRule.lower = inLower;
    itsRule.upper = inUpper;
  }
  void SetIncludeOutOfLimits(bool inInclude) { itsRule.includeOutOfLimits = inInclude; }
  void SetIncludeZero(bool inInclude) { itsRule.includeZero = inInclude; }

  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void FinishedScanning(V&) {}

  template <class V>
  void ScanPixel(const Voxel* inVoxel, V&, SInt32, SInt32, SInt32) {
    for (UInt32 c = 0; c < itsChannelCount; ++c) Take(c, XChannelOf<T>(inVoxel, itsOffset + c));
  }

  template <class V>
  void ScanRun(const Voxel* inRun, SInt32 inCount, V& ioVolume, SInt32 inX, SInt32 inY, SInt32 inZ) {
    if constexpr (std::is_same_v<Voxel, T>) {
      if (itsChannelCount == 1 && itsOffset == 0) {
        if (itsRule.TakesAll())
          TakeAll(inRun, inCount);
        else if constexpr (std::is_integral_v<T>)
          TakeBand(inRun, inCount);
        else
          for (SInt32 i = 0; i < inCount; ++i) Take(0, inRun[i]);
        return;
      }
    }
    for (SInt32 i = 0; i < inCount; ++i) ScanPixel(inRun + i, ioVolume, inX + i, inY, inZ);
  }

  S GetMin(UInt32 inChannel) const { return itsMin[inChannel]; }
  S GetMax(UInt32 inChannel) const { return itsMax[inChannel]; }
  bool IsValid(UInt32 inChannel) const { return itsValid[inChannel]; }
  Sum GetSum(UInt32 inChannel) const { return itsSum[inChannel]; }
  UInt32 GetCount(UInt32 inChannel) const { return itsCount[inChannel]; }

 private:
  void Take(UInt32 inChannel, T inValue) {
    if (!itsRule.Takes(inValue)) return;
    if (inValue < itsMin[inChannel]) itsMin[inChannel] = inValue;
    if (inValue > itsMax[inChannel]) itsMax[inChannel] = inValue;
    itsValid[inChannel] = true;
    itsSum[inChannel] += inValue;
    ++itsCount[inChannel];
  }

  void TakeAll(const T* inRun, SInt32 inCount) {
    S low = itsMin[0], high = itsMax[0];
    Sum sum = itsSum[0];
    if constexpr (std::is_integral_v<T>) {
      // Integer sums are exact in any grouping: blocks of 32768 fit a 32-bit
      // partial sum, which the processor adds many lanes at a time.
      constexpr SInt32 kBlock = 32768;
      for (SInt32 start = 0; start < inCount; start += kBlock) {
        const SInt32 end = std::min(inCount, start + kBlock);
        UInt32 partial = 0;
        for (SInt32 i = start; i < end; ++i) {
          const T v = inRun[i];
          low = v < low ? v : low;
          high = v > high ? v : high;
          partial += v;
        }
        sum += partial;
      }
    } else {
      // Floats: one single-precision running sum in voxel order.
      for (SInt32 i = 0; i < inCount; ++i) {
        const T v = inRun[i];
        low = v < low ? v : low;
        high = v > high ? v : high;
        sum += v;
      }
    }
    itsMin[0] = low;
    itsMax[0] = high;
    itsSum[0] = sum;
    itsCount[0] += UInt32(inCount);
    itsValid[0] = itsValid[0] || inCount > 0;
  }

  void TakeBand(const T* inRun, SInt32 inCount) {
    SInt64 bandLow, bandHigh;
    itsRule.Band(bandLow, bandHigh, SInt64(std::numeric_limits<T>::max()));
    S low = itsMin[0], high = itsMax[0];
    Sum sum = 0;
    UInt32 count = 0;
    for (SInt32 i = 0; i < inCount; ++i) {
      const T v = inRun[i];
      const bool take = SInt64(v) > bandLow && SInt64(v) < bandHigh;
      low = take && v < low ? v : low;
      high = take && v > high ? v : high;
      sum += take ? Sum(v) : Sum(0);
      count += take;
    }
    itsMin[0] = low;
    itsMax[0] = high;
    itsSum[0] += sum;
    itsCount[0] += count;
    itsValid[0] = itsValid[0] || count > 0;
  }

  S itsMin[kMaxChannels];
  S itsMax[kMaxChannels];
  bool itsValid[kMaxChannels];
  Sum itsSum[kMaxChannels];
  UInt32 itsCount[kMaxChannels];
  XStatsRule<S> itsRule;
  UInt32 itsChannelCount = 1;
  UInt32 itsOffset = 0;
};

// The second pass of the variance: the squared deviation of each value
// taken from its channel's mean, summed in f64 in voxel order. The rule
// is compared in f64. Channels without a mean are left out.
template <class T, class Voxel = T>
class XVarianceHelper {
 public:
  static constexpr UInt32 kMaxChannels = 9;

  XVarianceHelper(const XStatsRule<Float64>& inRule, UInt32 inChannelCount, UInt32 inOffset, const Float64* inMeans,
                  const bool* inHasMean)
      : itsRule(inRule), itsChannelCount(std::min(inChannelCount, kMaxChannels)), itsOffset(inOffset) {
    for (UInt32 c = 0; c < kMaxChannels; ++c) {
      itsMean[c] = c < itsChannelCount ? inMeans[c] : 0.0;
      itsHasMean[c] = c < itsChannelCount && inHasMean[c];
      itsSum[c] = 0.0;
    }
  }

  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void FinishedScanning(V&) {}

  template <class V>
  void ScanPixel(const Voxel* inVoxel, V&, SInt32, SInt32, SInt32) {
    for (UInt32 c = 0; c < itsChannelCount; ++c) {
      const Float64 v = XChannelOf<T>(inVoxel, itsOffset + c);
      if (itsHasMean[c] && itsRule.Takes(v)) Add(c, v);
    }
  }

  template <class V>
  void ScanRun(const Voxel* inRun, SInt32 inCount, V& ioVolume, SInt32 inX, SInt32 inY, SInt32 inZ) {
    if constexpr (std::is_same_v<Voxel, T>) {
      if (itsChannelCount == 1 && itsOffset == 0 && itsHasMean[0] && itsRule.TakesAll()) {
        // One running sum in voxel order, as the voxel loop adds: the same
        // rounding, only without the rule and the channel loop.
        if constexpr (std::is_integral_v<T>) {
          if (itsSquares) {
            const Float64* squares = itsSquares;
            AddSquares(inRun, inCount, [squares](T v) { return squares[v]; }, itsSum[0]);
            return;
          }
        }
        const Float64 mean = itsMean[0];
        AddSquares(inRun, inCount, [mean](T v) {
          const Float64 d = mean - Float64(v);
          return d * d;
        }, itsSum[0]);
        return;
      }
    }
    for (SInt32 i = 0; i < inCount; ++i) ScanPixel(inRun + i, ioVolume, inX + i, inY, inZ);
  }

  Float64 GetSum(UInt32 inChannel) const { return itsSum[inChannel]; }

  // For grey integer data: (mean - v)^2 of every value v of the type, made
  // once, the same numbers the voxel loop would compute. The table must
  // outlive the scan.
  void SetSquareTable(const Float64* inTable) { itsSquares = inTable; }

 private:
  template <class SquareOf>
  static void AddSquares(const T* inRun, SInt32 inCount, SquareOf inSquareOf, Float64& ioSum) {
    Float64 sum = ioSum;
    for (SInt32 i = 0; i < inCount; ++i) sum += inSquareOf(inRun[i]);
    ioSum = sum;
  }

  void Add(UInt32 inChannel, Float64 inValue) {
    const Float64 d = itsMean[inChannel] - inValue;
    itsSum[inChannel] += d * d;
  }

  XStatsRule<Float64> itsRule;
  UInt32 itsChannelCount;
  UInt32 itsOffset;
  Float64 itsMean[kMaxChannels];
  bool itsHasMean[kMaxChannels];
  Float64 itsSum[kMaxChannels];
  const Float64* itsSquares = nullptr;
};

}  // namespace mirelan
