#include "volume/XNumberVolume.h"

#include <cmath>
#include <type_traits>
#include <vector>

#include "core/XStream.h"
#include "volume/internal/XBlockLoop.h"
#include "volume/internal/XWideKernels.h"
#include "volume/internal/XVolumeInterpolation.h"

namespace mirelan {

namespace {

// Every element of the block, padding included: the arithmetic operators.
template <class T, class Op>
void ForEachElement(XPackedVolume<T>& ioVolume, Op inOp) {
  XLock lock(ioVolume, kLockReadWrite);
  T* __restrict voxel = ioVolume.GetBaseVoxelPtr();
  XAssert(voxel);
  XForEachIndex(ioVolume.GetVolumeVoxels(), [&](UInt64 i) { voxel[i] = inOp(voxel[i]); });
}

// Pairs of voxels of two volumes of one size: as whole blocks when both are
// laid out alike, else row by row.
template <class T, class Op>
void ForEachElementPair(XPackedVolume<T>& ioVolume, const XPackedVolume<T>& inOther, Op inOp) {
  XAssert(inOther.GetBounds().IsSameSizeAs(ioVolume.GetBounds()));
  XLock otherLock(inOther, kLockRead);
  XLock lock(ioVolume, kLockReadWrite);
  T* voxel = ioVolume.GetBaseVoxelPtr();
  const T* other = inOther.GetBaseVoxelPtr();
  XAssert(voxel && other);
  auto run = [&inOp](T* a, const T* b, UInt64 n) {
    XForEachPair(b, a, n, [inOp](const T* inFrom, T* ioTo) { *ioTo = inOp(*ioTo, *inFrom); });
  };
  if (ioVolume.GetRowVoxels() == inOther.GetRowVoxels() && &ioVolume != &inOther) {
    run(voxel, other, ioVolume.GetVolumeVoxels());
    return;
  }
  const X3DRect& a = ioVolume.GetBounds();
  const X3DRect& b = inOther.GetBounds();
  for (UInt32 k = 0; k < ioVolume.GetDepth(); ++k)
    for (UInt32 j = 0; j < ioVolume.GetHeight(); ++j) {
      T* row = ioVolume.GetVoxelPtr(a.left, a.top + SInt32(j), a.front + SInt32(k));
      const T* otherRow = inOther.GetVoxelPtr(b.left, b.top + SInt32(j), b.front + SInt32(k));
      if (row == otherRow) {
        for (UInt32 i = 0; i < ioVolume.GetWidth(); ++i) row[i] = inOp(row[i], row[i]);
      } else {
        run(row, otherRow, ioVolume.GetWidth());
      }
    }
}

// The voxels only, as runs: one run when rows are not padded.
template <class T, class Fn>
void ForEachVoxelRun(const XPackedVolume<T>& inVolume, Fn inFn) {
  XLock lock(inVolume, kLockRead);
  const T* base = inVolume.GetBaseVoxelPtr();
  XAssert(base);
  if (inVolume.GetRowVoxels() == inVolume.GetWidth()) {
    inFn(base, inVolume.GetVolumeVoxels());
    return;
  }
  const X3DRect& b = inVolume.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y) inFn(inVolume.GetVoxelPtr(b.left, y, z), inVolume.GetWidth());
}

template <class T>
using Promote = typename XPixelTraits<T>::Promote;

}  // namespace

// ---------------------------------------------------------------- streams

template <class T>
XNumberVolume<T>::XNumberVolume(XStream& inStream) : Base(inStream) {
  ReadNumberLayer(inStream);
}

template <class T>
void XNumberVolume<T>::ReadNumberLayer(XStream& inStream) {
  if (XVolume::GetStreamForm(inStream) == XVolume::kLayeredForm)
    XStorable::CheckClassVersion(XStorable::ReadClassVersion(inStream), GetClassVersion());
}

template <class T>
void XNumberVolume<T>::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XNumberVolume(inStream, inOptions);
}

template <class T>
void XNumberVolume<T>::ReadStream2_XNumberVolume(XStream& inStream, XOptions inOptions) {
  this->ReadStream2_XPackedVolume(inStream, inOptions);
  ReadNumberLayer(inStream);
}

template <class T>
void XNumberVolume<T>::WriteStream2(XStream& inStream, XOptions inOptions) const {
  Base::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

template <class T>
void XNumberVolume<T>::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
}

template <class T>
XIntegerVolume<T>::XIntegerVolume(XStream& inStream) : Base(inStream) {
  ReadIntegerLayer(inStream, XStorable::kReadAll);
}

template <class T>
XIntegerVolume<T>::~XIntegerVolume() = default;

template <class T>
void XIntegerVolume<T>::ReadIntegerLayer(XStream& inStream, XOptions inOptions) {
  if (XVolume::GetStreamForm(inStream) != XVolume::kLayeredForm) return;
  XVersion tag = XStorable::ReadClassVersion(inStream);
  XStorable::CheckClassVersion(tag, GetClassVersion());
  if (tag.GetClassVersion() == 0) itsLegacyLUT.reset(inStream.ReadObject(inOptions));
}

template <class T>
void XIntegerVolume<T>::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XIntegerVolume(inStream, inOptions);
}

template <class T>
void XIntegerVolume<T>::ReadStream2_XIntegerVolume(XStream& inStream, XOptions inOptions) {
  this->ReadStream2_XNumberVolume(inStream, inOptions);
  ReadIntegerLayer(inStream, inOptions);
}

template <class T>
void XIntegerVolume<T>::WriteStream2(XStream& inStream, XOptions inOptions) const {
  Base::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

template <class T>
void XIntegerVolume<T>::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
}

// ---------------------------------------------------------------- arithmetic

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator+=(T inValue) {
  // The wide kernel adds in the voxel's own width: the same result, since
  // integers wrap to it and a float sum is a float.
  XLock lock(*this, kLockReadWrite);
  T* voxel = this->GetBaseVoxelPtr();
  XAssert(voxel);
  XWideAdd(voxel, this->GetVolumeVoxels(), inValue);
  return *this;
}

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator+=(const XNumberVolume& inVolume) {
  ForEachElementPair(*this, inVolume, [](T a, T b) { return T(Promote<T>(a) + Promote<T>(b)); });
  return *this;
}

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator-=(T inValue) {
  const Promote<T> value = inValue;
  ForEachElement(*this, [value](T v) { return T(Promote<T>(v) - value); });
  return *this;
}

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator-=(const XNumberVolume& inVolume) {
  ForEachElementPair(*this, inVolume, [](T a, T b) { return T(Promote<T>(a) - Promote<T>(b)); });
  return *this;
}

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator*=(T inValue) {
  const Promote<T> value = inValue;
  ForEachElement(*this, [value](T v) { return T(Promote<T>(v) * value); });
  return *this;
}

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator*=(const XNumberVolume& inVolume) {
  ForEachElementPair(*this, inVolume, [](T a, T b) { return T(Promote<T>(a) * Promote<T>(b)); });
  return *this;
}

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator/=(T inValue) {
  return *this *= XTruncateTo<T>(1.0 / Float64(inValue));
}

template <class T>
XNumberVolume<T>& XNumberVolume<T>::operator/=(const XNumberVolume& inVolume) {
  if constexpr (Traits::kIsInteger)
    ForEachElementPair(*this, inVolume, [](T a, T b) { return b ? T(a / b) : T(0); });
  else
    ForEachElementPair(*this, inVolume, [](T a, T b) { return T(a / b); });
  return *this;
}

template <class T>
void XNumberVolume<T>::Log() {
  ForEachElement(*this, [](T v) { return XRoundCurrentTo<T>(std::log(Float64(v))); });
}

template <class T>
void XNumberVolume<T>::Exp() {
  ForEachElement(*this, [](T v) { return XRoundCurrentTo<T>(std::exp(Float64(v))); });
}

template <class T>
void XNumberVolume<T>::Sqrt() {
  if constexpr (Traits::kIsInteger)
    ForEachElement(*this, [](T v) { return XTruncateTo<T>(std::sqrt(Float64(v))); });
  else
    ForEachElement(*this, [](T v) { return T(std::sqrt(v)); });
}

template <class T>
void XNumberVolume<T>::SubtractAndClamp(T inValue) {
  if constexpr (std::is_unsigned_v<T>)
    ForEachElement(*this, [inValue](T v) { return v > inValue ? T(v - inValue) : T(0); });
  else
    ForEachElement(*this, [inValue](T v) { return T(v - inValue); });
}

// ---------------------------------------------------------------- reductions

template <class T>
void XNumberVolume<T>::FindMinMax(T& outMin, T& outMax) const {
  bool first = true;
  T low = T(0), high = T(0);
  ForEachVoxelRun(*this, [&](const T* inRun, UInt64 inCount) {
    if (!inCount) return;
    if (first) {
      low = high = inRun[0];
      first = false;
    }
    XWideMinMax(inRun, inCount, low, high);
  });
  outMin = low;
  outMax = high;
}

template <class T>
T XNumberVolume<T>::FindMin() const {
  T low, high;
  FindMinMax(low, high);
  return low;
}

template <class T>
T XNumberVolume<T>::FindMax() const {
  T low, high;
  FindMinMax(low, high);
  return high;
}

namespace {

// The exact sum of a run; 8- and 16-bit voxels go through the wide kernel.
template <class T, class Sum>
Sum SumOfRun(const T* __restrict inRun, UInt64 inCount) {
  if constexpr (std::is_same_v<T, UInt8> || std::is_same_v<T, UInt16>) {
    return Sum(XWideSum(inRun, inCount));
  } else {
    return XReduceIndex(
        inCount, Sum(0), [&](Sum& ioSum, UInt64 i) { ioSum += Sum(inRun[i]); },
        [](Sum& ioSum, Sum inOther) { ioSum += inOther; });
  }
}

}  // namespace

template <class T>
Float64 XNumberVolume<T>::FindSum() const {
  using Sum = typename Traits::Sum;
  Sum total = 0;
  ForEachVoxelRun(*this, [&total](const T* __restrict inRun, UInt64 inCount) { total += SumOfRun<T, Sum>(inRun, inCount); });
  return Float64(total);
}

template <class T>
Float64 XNumberVolume<T>::FindAbsSum() const {
  if constexpr (std::is_unsigned_v<T>) {
    return FindSum();
  } else {
    Float64 total = 0.0;
    ForEachVoxelRun(*this, [&total](const T* inRun, UInt64 inCount) {
      for (UInt64 i = 0; i < inCount; ++i) total += std::fabs(Float64(inRun[i]));
    });
    return total;
  }
}

template <class T>
T XNumberVolume<T>::FindMean() const {
  UInt64 count = UInt64(this->GetWidth()) * this->GetHeight() * UInt64(this->GetDepth());
  if (!count) return T(0);
  return XTruncateTo<T>(FindSum() / Float64(count));
}

template <class T>
Float64 XNumberVolume<T>::FindAbsoluteDifference(const XNumberVolume& inVolume) const {
  XAssert(inVolume.GetBounds().IsSameSizeAs(this->GetBounds()));
  XLock lock(*this, kLockRead);
  XLock otherLock(inVolume, kLockRead);
  const X3DRect& a = this->GetBounds();
  const X3DRect& b = inVolume.GetBounds();
  Float64 total = 0.0;
  UInt64 integerTotal = 0;
  for (UInt32 k = 0; k < this->GetDepth(); ++k)
    for (UInt32 j = 0; j < this->GetHeight(); ++j) {
      const T* row = this->GetVoxelPtr(a.left, a.top + SInt32(j), a.front + SInt32(k));
      const T* otherRow = inVolume.GetVoxelPtr(b.left, b.top + SInt32(j), b.front + SInt32(k));
      for (UInt32 i = 0; i < this->GetWidth(); ++i) {
        if constexpr (Traits::kIsInteger)
          integerTotal += row[i] > otherRow[i] ? UInt64(row[i] - otherRow[i]) : UInt64(otherRow[i] - row[i]);
        else
          total += std::fabs(Float64(row[i]) - Float64(otherRow[i]));
      }
    }
  return Traits::kIsInteger ? Float64(integerTotal) : total;
}

template <class T>
void XNumberVolume<T>::FindPercentiles(Float64 inLow, Float64 inHigh, Float64& outLow, Float64& outHigh) const {
  T minimum, maximum;
  FindMinMax(minimum, maximum);
  const Float64 low = Float64(minimum);
  const Float64 width = (Float64(maximum) - low) / 257.0;
  outLow = outHigh = low;
  if (!(width > 0.0)) return;
  std::vector<UInt64> bins(256, 0);
  UInt64 total = 0;
  ForEachVoxelRun(*this, [&](const T* inRun, UInt64 inCount) {
    for (UInt64 i = 0; i < inCount; ++i) {
      Float64 position = (Float64(inRun[i]) - low) / width;
      UInt64 bin = position > 0.0 ? (position < 255.0 ? UInt64(position) : 255) : 0;
      ++bins[bin];
    }
    total += inCount;
  });
  auto valueAt = [&](Float64 inFraction) {
    const Float64 wanted = inFraction * Float64(total);
    UInt64 sum = 0;
    for (UInt32 bin = 0; bin < 256; ++bin) {
      sum += bins[bin];
      if (Float64(sum) >= wanted) return low + bin * width;
    }
    return low + 255 * width;
  };
  outLow = valueAt(inLow);
  outHigh = valueAt(inHigh);
}

template <class T>
void XNumberVolume<T>::FindGainOffset(const XNumberVolume& inReference, Float64& outGain, Float64& outOffset,
                                      Float64 inLowPercentile, Float64 inHighPercentile) const {
  Float64 low, high, referenceLow, referenceHigh;
  FindPercentiles(inLowPercentile, inHighPercentile, low, high);
  inReference.FindPercentiles(inLowPercentile, inHighPercentile, referenceLow, referenceHigh);
  outGain = high != low ? (referenceHigh - referenceLow) / (high - low) : 1.0;
  outOffset = referenceLow - outGain * low;
}

template <class T>
Float32 XNumberVolume<T>::GetInterpolatedVoxel(Float32 inX, Float32 inY, Float32 inZ) const {
  Float32 sum = 0.0f;
  XVisitTrilinear(*this, inX, inY, inZ, [&sum](const T& inVoxel, Float32 inWeight) { sum += Float32(inVoxel) * inWeight; });
  return sum;
}

template class XNumberVolume<UInt8>;
template class XNumberVolume<UInt16>;
template class XNumberVolume<UInt32>;
template class XNumberVolume<Float32>;
template class XIntegerVolume<UInt8>;
template class XIntegerVolume<UInt16>;
template class XIntegerVolume<UInt32>;

}  // namespace mirelan
