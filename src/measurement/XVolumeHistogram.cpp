#include "measurement/XVolumeHistogram.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "core/XException.h"

namespace mirelan {

namespace {

// A bucket array of this many counts, or XException 1012 when no histogram
// can have that many.
XVector<UInt32> MakeBuckets(Float64 inCount) {
  if (!(inCount <= Float64(XVolumeHistogram::kMaxBuckets)))
    throw XException(kErrOutOfMemory, "a histogram of " + std::to_string(inCount) + " buckets");
  return XVector<UInt32>(inCount >= 1.0 ? size_t(inCount) : 1, 0);
}

}  // namespace

XVolumeHistogram::XVolumeHistogram() : itsMinVal(0.0), itsMaxVal(1.0), itsBucketSize(1.0) {}

XVolumeHistogram::XVolumeHistogram(Float64 inMinVal, Float64 inMaxVal, UInt32 inBucketCount)
    : XVolumeHistogram() {
  SetMinMaxBucketVals(inMinVal, inMaxVal, inBucketCount);
}

void XVolumeHistogram::SetMinMaxBucketVals(Float64 inMinVal, Float64 inMaxVal, UInt32 inBucketCount) {
  Float64 count = inBucketCount;
  Float64 size = itsBucketSize;
  if (inBucketCount == 0) {
    size = 1.0;
    count = std::trunc(inMaxVal - inMinVal + 1.0);
  } else if (inMaxVal != inMinVal) {
    size = (inMaxVal - inMinVal) / Float64(std::max<UInt32>(inBucketCount - 1, 1));
  }
  // Made before anything changes, so that a refused size leaves the histogram as it was.
  XVector<UInt32> buckets = MakeBuckets(count);
  itsMinVal = inMinVal;
  itsMaxVal = inMaxVal;
  itsBucketSize = size;
  itsBuckets.swap(buckets);
}

void XVolumeHistogram::AddCount(Float64 inValue, SInt32 inCount) {
  XAssert(!itsBuckets.empty());
  itsBuckets[ValueToBucketIndex(inValue)] += UInt32(inCount);
}

void XVolumeHistogram::AddCountSafe(Float64 inValue, SInt32 inCount) {
  const Float64 t = std::trunc((inValue - itsMinVal) / itsBucketSize);
  XAssert(t >= 0.0);
  if (t >= Float64(itsBuckets.size())) MakeBuckets(t + 1.0).swap(itsBuckets);
  itsBuckets[size_t(t)] += UInt32(inCount);
}

UInt32 XVolumeHistogram::GetCount(Float64 inValue) const {
  XAssert(!itsBuckets.empty());
  return itsBuckets[ValueToBucketIndex(inValue)];
}

Float64 XVolumeHistogram::GetPosFromBucket(UInt32 bucketIndex) const {
  XAssert(bucketIndex < GetBucketCount());
  return bucketIndex * itsBucketSize + itsMinVal;
}

UInt32 XVolumeHistogram::GetBucketValue(UInt32 bucketIndex) const {
  XAssert(bucketIndex < GetBucketCount());
  return itsBuckets[bucketIndex];
}

UInt32 XVolumeHistogram::GetMinCount() const {
  XAssert(!itsBuckets.empty());
  return *std::min_element(itsBuckets.begin(), itsBuckets.end());
}

UInt32 XVolumeHistogram::GetMaxCount() const {
  XAssert(!itsBuckets.empty());
  return *std::max_element(itsBuckets.begin(), itsBuckets.end());
}

UInt32 XVolumeHistogram::GetTotalCount() const {
  XAssert(!itsBuckets.empty());
  UInt32 total = 0;
  for (UInt32 count : itsBuckets) total += count;
  return total;
}

UInt32 XVolumeHistogram::GetNumUsed() const {
  return UInt32(std::count_if(itsBuckets.begin(), itsBuckets.end(), [](UInt32 c) { return c != 0; }));
}

// Repeated addition, not index * size: the two differ in the last bits.
Float64 XVolumeHistogram::GetMinUsedVal() const {
  Float64 value = itsMinVal;
  for (size_t i = 0; i < itsBuckets.size() && itsBuckets[i] == 0; ++i) value += itsBucketSize;
  return value;
}

Float64 XVolumeHistogram::GetMaxUsedVal() const {
  Float64 value = itsMaxVal;
  for (size_t i = itsBuckets.size(); i > 0 && itsBuckets[i - 1] == 0; --i) value -= itsBucketSize;
  return value;
}

Float64 XVolumeHistogram::GetMode() const {
  XAssert(!itsBuckets.empty());
  const auto fullest = std::max_element(itsBuckets.begin(), itsBuckets.end());
  return GetPosFromBucket(UInt32(fullest - itsBuckets.begin()));
}

Float64 XVolumeHistogram::GetMean() const {
  Float64 sum = 0.0;
  UInt32 total = 0;
  for (size_t i = 0; i < itsBuckets.size(); ++i) {
    sum += (Float64(i) * itsBucketSize + itsMinVal) * itsBuckets[i];
    total += itsBuckets[i];
  }
  return total == 0 ? 0.0 : sum / total;
}

Float64 XVolumeHistogram::GetVariance(Float64 inMean) const {
  const Float64 mean = inMean == 0.0 ? GetMean() : inMean;
  Float64 sum = 0.0;
  UInt32 total = 0;
  for (size_t i = 0; i < itsBuckets.size(); ++i) {
    const Float64 d = Float64(i) * itsBucketSize + itsMinVal - mean;
    sum += d * d * itsBuckets[i];
    total += itsBuckets[i];
  }
  return total == 0 ? 0.0 : sum / total;
}

Float64 XVolumeHistogram::GetValFromPercentage(Float64 inFraction) const {
  const Float64 target = std::trunc(GetTotalCount() * inFraction);
  UInt32 sum = 0;
  UInt32 bucketIndex = 0;
  for (; bucketIndex < GetBucketCount(); ++bucketIndex) {
    sum += itsBuckets[bucketIndex];
    if (Float64(sum) >= target) break;
  }
  return GetPosFromBucket(bucketIndex);
}

Float64 XVolumeHistogram::GetPercentageFromVal(Float64 inValue) const {
  if (itsMinVal >= inValue) return 0.0;
  if (inValue >= itsMaxVal) return 1.0;
  // size * value + min rather than (value - min) / size: it agrees with the
  // bucket index only for a minimum of 0 and a size of 1, and stands so.
  const Float64 t = std::trunc(itsBucketSize * inValue + itsMinVal);
  const SInt64 shift = t >= -2147483648.0 && t < 2147483648.0 ? SInt64(t) : SInt64(-2147483647 - 1);
  // The counts shifted down by `shift`, with 0 where the shift leaves the array.
  const SInt64 n = SInt64(itsBuckets.size());
  const SInt64 first = std::max<SInt64>(shift, 0), end = std::min<SInt64>(n, n + shift);
  UInt32 above = 0;
  for (SInt64 j = first; j < end; ++j) above += itsBuckets[size_t(j)];
  return 1.0 - Float64(above) / Float64(GetTotalCount());
}

Float64 XVolumeHistogram::Distance(const XVolumeHistogram& inOther, UInt32 inOrder) const {
  XAssert(inOther.GetBucketCount() >= GetBucketCount());
  const Float64 p = inOrder;
  Float64 sum = 0.0;
  for (size_t i = 0; i < itsBuckets.size(); ++i) {
    const SInt32 difference = SInt32(itsBuckets[i] - inOther.itsBuckets[i]);
    sum += std::pow(std::fabs(Float64(difference)), p);
  }
  return std::pow(sum, 1.0 / p);
}

void XVolumeHistogram::MultiplyAllBy(Float64 inFactor) {
  itsMinVal *= inFactor;
  itsMaxVal *= inFactor;
  itsBucketSize *= inFactor;
}

void XVolumeHistogram::Offset(Float64 inDelta) {
  itsMinVal += inDelta;
  itsMaxVal += inDelta;
}

XVolumeHistogram* XVolumeHistogram::Subtract(const XVolumeHistogram& histOne, const XVolumeHistogram& histTwo) {
  XAssert(histOne.GetBucketSize() == histTwo.GetBucketSize());
  XAssert(histOne.GetMinVal() == histTwo.GetMinVal());
  XAssert(histOne.GetMaxVal() == histTwo.GetMaxVal());
  auto* difference = new XVolumeHistogram(histOne.GetMinVal(), histOne.GetMaxVal(), histOne.GetBucketCount());
  // A bucket that histTwo lacks counts as empty.
  const size_t common = std::min(histOne.itsBuckets.size(), histTwo.itsBuckets.size());
  for (size_t i = 0; i < difference->itsBuckets.size() && i < histOne.itsBuckets.size(); ++i)
    difference->itsBuckets[i] = histOne.itsBuckets[i] - (i < common ? histTwo.itsBuckets[i] : 0);
  return difference;
}

}  // namespace mirelan
