// The counting walks of the histogram tools.
//
// Integer data goes through keys: each voxel gives a small integer (the grey
// value, the greatest channel, a hue, a ratio byte) and a table, made once
// per apply by the histogram's own bucket rule, turns a key into a bucket.
// So the inner loop is a load, a table look-up and an increment, and every
// voxel lands exactly where XVolumeHistogram::ValueToBucketIndex puts it.
// Where the table is the identity (grey data over its whole range, the
// common case) the look-up is left out. A single histogram is counted into
// four interleaved tables, so that runs of equal voxels (background) do not
// wait on each other's stores; the tables are added up at the end, wrapping
// in 32 bits as the counts do.
//
// Float data computes each value and its bucket inline.
#pragma once

#include <algorithm>
#include <array>
#include <type_traits>
#include <vector>

#include "core/XTypes.h"
#include "measurement/XVolumeHistogram.h"
#include "tools/XScanHelperBase.h"
#include "tools/internal/XScanLoop.h"

namespace mirelan {
namespace XHistogramScan {

// The greatest of red, green and blue.
template <class C>
inline UInt32 MaxRGB(const C& inColour) {
  const UInt32 r = inColour.red, g = inColour.green, b = inColour.blue;
  return std::max(r, std::max(g, b));
}

// Keys of the simple kinds.
struct XGreyKey {
  template <class T>
  UInt32 operator()(T inVoxel) const {
    return UInt32(inVoxel);
  }
};
struct XMaxRGBKey {
  template <class C>
  UInt32 operator()(const C& inColour) const {
    return MaxRGB(inColour);
  }
};

// The value of a key is the key itself.
struct XKeyValue {
  Float64 operator()(UInt32 inKey) const { return Float64(inKey); }
};

// The bucket of each key from 0 to inKeyRange - 1, by the histogram's rule
// applied to inValueOfKey(key).
template <class ValueOfKey>
std::vector<UInt32> BucketTable(const XVolumeHistogram& inHistogram, UInt32 inKeyRange, ValueOfKey inValueOfKey) {
  std::vector<UInt32> table(inKeyRange);
  for (UInt32 k = 0; k < inKeyRange; ++k) table[k] = inHistogram.ValueToBucketIndex(inValueOfKey(k));
  return table;
}

inline bool IsIdentity(const std::vector<UInt32>& inTable) {
  for (size_t k = 0; k < inTable.size(); ++k)
    if (inTable[k] != k) return false;
  return true;
}

// One histogram, four interleaved count tables of itsStride buckets each.
template <class Voxel, class Key, bool kDirect>
class XSplitCountHelper : public XScanHelperBase {
 public:
  XSplitCountHelper(Key inKey, const UInt32* inTable, UInt32* ioCounts, size_t inStride)
      : itsKey(inKey), itsTable(inTable), itsCounts(ioCounts), itsStride(inStride) {}

  template <class V>
  void ScanPixel(const Voxel* inVoxel, V&, SInt32, SInt32, SInt32) {
    ++itsCounts[Bucket(*inVoxel)];
  }
  template <class V>
  void ScanRun(const Voxel* inRun, SInt32 inCount, V&, SInt32, SInt32, SInt32) {
    UInt32* c0 = itsCounts;
    UInt32* c1 = c0 + itsStride;
    UInt32* c2 = c1 + itsStride;
    UInt32* c3 = c2 + itsStride;
    SInt32 i = 0;
    for (; i + 4 <= inCount; i += 4) {
      ++c0[Bucket(inRun[i])];
      ++c1[Bucket(inRun[i + 1])];
      ++c2[Bucket(inRun[i + 2])];
      ++c3[Bucket(inRun[i + 3])];
    }
    for (; i < inCount; ++i) ++c0[Bucket(inRun[i])];
  }

 private:
  UInt32 Bucket(const Voxel& inVoxel) const {
    if constexpr (kDirect)
      return itsKey(inVoxel);
    else
      return itsTable[itsKey(inVoxel)];
  }

  Key itsKey;
  const UInt32* itsTable;
  UInt32* itsCounts;
  size_t itsStride;
};

// Counts ioHistogram (fresh, all zero) from the keys of the voxels of
// inVolume inside inRegion: a voxel of key k counts at the bucket of
// inValueOfKey(k). Keys lie below inKeyRange.
template <class V, class Key, class ValueOfKey>
void CountKeys(const V& inVolume, const X3DRegion* inRegion, Key inKey, UInt32 inKeyRange, ValueOfKey inValueOfKey,
               XVolumeHistogram& ioHistogram) {
  using Voxel = typename V::Voxel;
  // Keys that are their own values on an axis from 0 in steps of 1 are
  // their own buckets: the rule gives k for every whole k up to the last.
  constexpr bool kKeyIsValue = std::is_same_v<ValueOfKey, XKeyValue>;
  const bool unitAxis = ioHistogram.GetMinVal() == 0.0 && ioHistogram.GetBucketSize() == 1.0 &&
                        ioHistogram.GetBucketCount() >= inKeyRange;
  std::vector<UInt32> table;
  if (!(kKeyIsValue && unitAxis)) table = BucketTable(ioHistogram, inKeyRange, inValueOfKey);
  const bool direct = table.empty() || IsIdentity(table);
  const size_t stride = direct ? inKeyRange : ioHistogram.GetBucketCount();
  std::vector<UInt32> counts(4 * stride, 0);
  if (direct) {
    XSplitCountHelper<Voxel, Key, true> helper(inKey, table.data(), counts.data(), stride);
    XScanVolume(inVolume, inRegion, helper);
  } else {
    XSplitCountHelper<Voxel, Key, false> helper(inKey, table.data(), counts.data(), stride);
    XScanVolume(inVolume, inRegion, helper);
  }
  UInt32* buckets = ioHistogram.GetBuckets();
  for (size_t b = 0; b < stride; ++b)
    buckets[b] += counts[b] + counts[stride + b] + counts[2 * stride + b] + counts[3 * stride + b];
}

// Three histograms at once; inKeys fills three keys per voxel.
template <class Voxel, class Keys>
class XTripleCountHelper : public XScanHelperBase {
 public:
  XTripleCountHelper(Keys inKeys, const std::array<const UInt32*, 3>& inTables, const std::array<UInt32*, 3>& ioCounts)
      : itsKeys(inKeys), itsTables(inTables), itsCounts(ioCounts) {}

  template <class V>
  void ScanPixel(const Voxel* inVoxel, V&, SInt32, SInt32, SInt32) {
    UInt32 keys[3];
    itsKeys(*inVoxel, keys);
    ++itsCounts[0][itsTables[0][keys[0]]];
    ++itsCounts[1][itsTables[1][keys[1]]];
    ++itsCounts[2][itsTables[2][keys[2]]];
  }

 private:
  Keys itsKeys;
  std::array<const UInt32*, 3> itsTables;
  std::array<UInt32*, 3> itsCounts;
};

// A key range and the value of each key, for one of three histograms.
template <class ValueOfKey>
struct XKeyAxis {
  UInt32 range;
  ValueOfKey valueOfKey;
};
template <class ValueOfKey>
XKeyAxis<ValueOfKey> KeyAxis(UInt32 inRange, ValueOfKey inValueOfKey) {
  return {inRange, inValueOfKey};
}

template <class V, class Keys, class A0, class A1, class A2>
void CountKeys3(const V& inVolume, const X3DRegion* inRegion, Keys inKeys, const XKeyAxis<A0>& inAxis0,
                const XKeyAxis<A1>& inAxis1, const XKeyAxis<A2>& inAxis2,
                const std::array<XVolumeHistogram*, 3>& ioHistograms) {
  const std::vector<UInt32> tables[3] = {BucketTable(*ioHistograms[0], inAxis0.range, inAxis0.valueOfKey),
                                         BucketTable(*ioHistograms[1], inAxis1.range, inAxis1.valueOfKey),
                                         BucketTable(*ioHistograms[2], inAxis2.range, inAxis2.valueOfKey)};
  XTripleCountHelper<typename V::Voxel, Keys> helper(
      inKeys, {tables[0].data(), tables[1].data(), tables[2].data()},
      {ioHistograms[0]->GetBuckets(), ioHistograms[1]->GetBuckets(), ioHistograms[2]->GetBuckets()});
  XScanVolume(inVolume, inRegion, helper);
}

// Float voxels: inValues gives K values per voxel, each counted at its bucket.
template <UInt32 K, class Values>
class XFloatCountHelper : public XScanHelperBase {
 public:
  XFloatCountHelper(Values inValues, const std::array<XVolumeHistogram*, K>& ioHistograms) : itsValues(inValues) {
    for (UInt32 k = 0; k < K; ++k) {
      itsMin[k] = ioHistograms[k]->GetMinVal();
      itsSize[k] = ioHistograms[k]->GetBucketSize();
      itsBucketCount[k] = ioHistograms[k]->GetBucketCount();
      itsCounts[k] = ioHistograms[k]->GetBuckets();
    }
  }

  template <class V>
  void ScanPixel(const Float32* inVoxel, V&, SInt32, SInt32, SInt32) {
    Float64 values[K];
    itsValues(*inVoxel, values);
    for (UInt32 k = 0; k < K; ++k)
      ++itsCounts[k][XVolumeHistogram::ValueToBucketIndex(values[k], itsMin[k], itsSize[k], itsBucketCount[k])];
  }

 private:
  Values itsValues;
  Float64 itsMin[K];
  Float64 itsSize[K];
  UInt32 itsBucketCount[K];
  UInt32* itsCounts[K];
};

template <UInt32 K, class V, class Values>
void CountFloats(const V& inVolume, const X3DRegion* inRegion, Values inValues,
                 const std::array<XVolumeHistogram*, K>& ioHistograms) {
  XFloatCountHelper<K, Values> helper(inValues, ioHistograms);
  XScanVolume(inVolume, inRegion, helper);
}

}  // namespace XHistogramScan
}  // namespace mirelan
