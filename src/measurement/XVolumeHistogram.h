// Counts in buckets over a value range, with percentiles. A plain value: no
// base, no virtual operations, never stored.
//
// Buckets are centred: bucket i stands for i * size + min, and a value goes
// to the nearest centre, a tie (exactly half way) to the lower one. So N
// buckets over [min, max] have the size (max - min) / (N - 1). Counts are
// unsigned 32-bit and wrap.
#pragma once

#include <cmath>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class MIRELAN_EXPORT XVolumeHistogram {
 public:
  // No buckets, minimum 0, maximum 1, bucket size 1.
  XVolumeHistogram();
  // See SetMinMaxBucketVals.
  XVolumeHistogram(Float64 inMinVal, Float64 inMaxVal, UInt32 inBucketCount);
  XVolumeHistogram(const XVolumeHistogram& inOther) = default;
  XVolumeHistogram& operator=(const XVolumeHistogram& inOther) = default;
  // A new copy that the caller owns.
  XVolumeHistogram* Clone() const { return new XVolumeHistogram(*this); }

  // Sets the axis and clears every count. A bucket count of 0 means bucket
  // size 1 and trunc(max - min + 1) buckets; otherwise the size is
  // (max - min) / (count - 1), left as it was when max equals min. There is
  // always at least one bucket. More than kMaxBuckets throws XException 1012.
  void SetMinMaxBucketVals(Float64 inMinVal, Float64 inMaxVal, UInt32 inBucketCount);
  static constexpr UInt64 kMaxBuckets = UInt64(1) << 28;

  UInt32 GetBucketCount() const { return UInt32(itsBuckets.size()); }
  Float64 GetBucketSize() const { return itsBucketSize; }
  Float64 GetMinVal() const { return itsMinVal; }
  Float64 GetMaxVal() const { return itsMaxVal; }
  // The counts themselves, GetBucketCount() of them.
  const UInt32* GetBuckets() const { return itsBuckets.data(); }
  UInt32* GetBuckets() { return itsBuckets.data(); }

  // Adds to the bucket of the value (the count may be negative; it wraps).
  // Needs at least one bucket.
  void AddCount(Float64 inValue, SInt32 inCount);
  // Adds at the plain truncation of (value - min) / size. An index past the
  // last bucket throws every count away and makes index + 1 empty buckets
  // first; the maximum is not moved. A negative index is a precondition failure.
  void AddCountSafe(Float64 inValue, SInt32 inCount);
  UInt32 GetCount(Float64 inValue) const;
  UInt32 GetBucketFromPos(Float64 inValue) const { return ValueToBucketIndex(inValue); }
  // index * size + min; needs "bucketIndex < GetBucketCount()".
  Float64 GetPosFromBucket(UInt32 inIndex) const;
  UInt32 GetBucketValue(UInt32 inIndex) const;

  // These read bucket 0 without a test: they need at least one bucket.
  UInt32 GetMinCount() const;
  UInt32 GetMaxCount() const;
  UInt32 GetTotalCount() const;
  // Buckets with a count that is not 0.
  UInt32 GetNumUsed() const;
  // The centre of the first and of the last non-empty bucket, found by
  // stepping the bucket size from the ends one empty bucket at a time.
  Float64 GetMinUsedVal() const;
  Float64 GetMaxUsedVal() const;
  // The centre of the fullest bucket (the lowest of equals). Needs one bucket.
  Float64 GetMode() const;
  // Mean of the bucket centres weighted by their counts; 0.0 when empty.
  Float64 GetMean() const;
  // Population variance about inMean, or about GetMean() when inMean is 0.0.
  Float64 GetVariance(Float64 inMean) const;
  // Both take and give fractions from 0.0 to 1.0, whatever the names say.
  Float64 GetValFromPercentage(Float64 inFraction) const;
  Float64 GetPercentageFromVal(Float64 inValue) const;
  // Minkowski distance of the counts of order inOrder; inOther needs at
  // least as many buckets.
  Float64 Distance(const XVolumeHistogram& inOther, UInt32 inOrder) const;

  // Scales the axis (min, max and bucket size); counts stay.
  void MultiplyAllBy(Float64 inFactor);
  // Moves the axis by inDelta; size and counts stay.
  void Offset(Float64 inDelta);
  // One minus two, bucket by bucket, wrapping; the axes must agree. The
  // caller owns the result.
  static XVolumeHistogram* Subtract(const XVolumeHistogram& inOne, const XVolumeHistogram& inTwo);

  // The bucket of a value: the nearest centre, a tie to the lower; below the
  // first centre bucket 0, past the last the last bucket. NaN, and a position
  // that does not fit a signed 32-bit integer, give bucket 0. Inline, since
  // every scan calls it per voxel.
  static UInt32 ValueToBucketIndex(Float64 inValue, Float64 inMinVal, Float64 inBucketSize,
                                   UInt32 inBucketCount) {
    const Float64 t = (inValue - inMinVal) / inBucketSize;
    const Float64 f = std::floor(t);
    const Float64 r = t - f > 0.5 ? std::floor(t + 0.5) : f;
    // What the processor's truncation gives for what does not fit: the
    // least integer, so bucket 0.
    const SInt32 index = r >= -2147483648.0 && r < 2147483648.0 ? SInt32(r) : SInt32(-2147483647 - 1);
    if (index < 0) return 0;
    const UInt32 last = inBucketCount - 1;
    return UInt32(index) > last ? last : UInt32(index);
  }
  UInt32 ValueToBucketIndex(Float64 inValue) const {
    return ValueToBucketIndex(inValue, itsMinVal, itsBucketSize, GetBucketCount());
  }

 private:
  XVector<UInt32> itsBuckets;
  Float64 itsMinVal;
  Float64 itsMaxVal;
  Float64 itsBucketSize;
};

}  // namespace mirelan
