// XVolumeHistogram: the axis, the bucket rule, and the arithmetic over counts.
#include <cmath>
#include <limits>
#include <memory>

#include "MeasureTestSupport.h"
#include "core/XException.h"
#include "measurement/XVolumeHistogram.h"

using namespace mirelan;
using measuretest::Counts;
using measuretest::ErrorOf;

namespace {

constexpr Float64 kNaN = std::numeric_limits<Float64>::quiet_NaN();

XVolumeHistogram WithCounts(Float64 inMin, Float64 inMax, const std::vector<UInt32>& inCounts) {
  XVolumeHistogram h(inMin, inMax, UInt32(inCounts.size()));
  for (UInt32 i = 0; i < inCounts.size(); ++i) h.AddCount(h.GetPosFromBucket(i), SInt32(inCounts[i]));
  return h;
}

TEST(HistogramAxis, BucketCountAndSize) {
  const XVolumeHistogram empty;
  EXPECT_EQ(empty.GetBucketCount(), 0u);
  EXPECT_EQ(empty.GetMinVal(), 0.0);
  EXPECT_EQ(empty.GetMaxVal(), 1.0);
  EXPECT_EQ(empty.GetBucketSize(), 1.0);

  struct Case {
    Float64 min, max;
    UInt32 argument;
    UInt32 buckets;
    Float64 size;
  };
  const Case cases[] = {
      {5.0, 5.0, 0, 1, 1.0},             // one bucket of size 1
      {5.0, 5.0, 10, 10, 1.0},           // ten buckets, the earlier size
      {0.0, 255.0, 0, 256, 1.0},         // argument 0: size 1
      {0.0, 255.0, 1000, 1000, 255.0 / 999.0},
      {0.0, 100.0, 1, 1, 100.0},         // d = count - 1, but at least 1
      {0.0, 2.5, 0, 3, 1.0},             // trunc(max - min + 1)
      {10.0, 0.0, 0, 1, 1.0},            // reversed: at least one bucket
  };
  for (const Case& c : cases) {
    const XVolumeHistogram h(c.min, c.max, c.argument);
    EXPECT_EQ(h.GetBucketCount(), c.buckets) << c.min << " " << c.max << " " << c.argument;
    EXPECT_EQ(h.GetBucketSize(), c.size) << c.min << " " << c.max << " " << c.argument;
    EXPECT_EQ(h.GetMinVal(), c.min);
    EXPECT_EQ(h.GetMaxVal(), c.max);
  }
}

TEST(HistogramAxis, ResettingClearsAndKeepsTheSizeWhenMinEqualsMax) {
  XVolumeHistogram h(0.0, 8.0, 5);  // size 2
  h.AddCount(4.0, 7);
  h.SetMinMaxBucketVals(3.0, 3.0, 4);
  EXPECT_EQ(h.GetBucketSize(), 2.0);
  EXPECT_EQ(Counts(h), std::vector<UInt32>(4, 0));
}

TEST(HistogramAxis, ImpossibleCountIsRefusedAndChangesNothing) {
  XVolumeHistogram h(0.0, 10.0, 0);
  h.AddCount(3.0, 1);
  EXPECT_EQ(ErrorOf([&] { h.SetMinMaxBucketVals(0.0, 1e12, 0); }), kErrOutOfMemory);
  EXPECT_EQ(ErrorOf([&] { h.SetMinMaxBucketVals(kNaN, 1.0, 0); }), kErrOutOfMemory);
  EXPECT_EQ(h.GetBucketCount(), 11u);
  EXPECT_EQ(h.GetMaxVal(), 10.0);
  EXPECT_EQ(h.GetCount(3.0), 1u);
}

TEST(HistogramBuckets, NearestCentreWithTiesToTheLower) {
  const XVolumeHistogram h(0.0, 10.0, 0);  // centres 0 .. 10
  struct Case {
    Float64 value;
    UInt32 bucket;
  };
  const Case cases[] = {{2.5, 2},  {2.5000001, 3}, {2.4999, 2}, {3.5, 3},          {-0.5, 0},
                        {-7.0, 0}, {10.4, 10},     {1e9, 10},   {kNaN, 0},         {1e300, 0},
                        {-1e300, 0}, {std::numeric_limits<Float64>::infinity(), 0}};
  for (const Case& c : cases) EXPECT_EQ(h.GetBucketFromPos(c.value), c.bucket) << c.value;

  // Centred buckets of size 0.5 from 1.0: 1.25 is a tie and stays in bucket 0.
  const XVolumeHistogram half(1.0, 3.0, 5);
  EXPECT_EQ(half.GetBucketFromPos(1.25), 0u);
  EXPECT_EQ(half.GetBucketFromPos(1.26), 1u);
}

TEST(HistogramCounts, AddAndWrap) {
  XVolumeHistogram h(0.0, 3.0, 0);
  h.AddCount(1.0, 5);
  h.AddCount(1.2, -2);
  EXPECT_EQ(h.GetCount(1.0), 3u);
  h.AddCount(2.0, -1);  // wraps
  EXPECT_EQ(h.GetBucketValue(2), 0xFFFFFFFFu);
  h.AddCount(0.0, 2);
  EXPECT_EQ(h.GetTotalCount(), 3u + 0xFFFFFFFFu + 2u);  // the sum wraps too
  EXPECT_THROW(h.GetBucketValue(4), XInternalError);
  EXPECT_THROW(h.GetPosFromBucket(4), XInternalError);
  XVolumeHistogram none;
  EXPECT_THROW(none.AddCount(0.0, 1), XInternalError);
  EXPECT_THROW(none.GetTotalCount(), XInternalError);
  EXPECT_THROW(none.GetMode(), XInternalError);
}

TEST(HistogramCounts, AddCountSafePastTheEndStartsOver) {
  XVolumeHistogram h(0.0, 4.0, 0);
  h.AddCount(1.0, 9);
  h.AddCountSafe(2.9, 1);  // plain truncation: bucket 2, no rounding
  EXPECT_EQ(h.GetBucketValue(2), 1u);
  h.AddCountSafe(7.5, 3);  // index 7: every count is lost
  EXPECT_EQ(h.GetBucketCount(), 8u);
  EXPECT_EQ(h.GetTotalCount(), 3u);
  EXPECT_EQ(h.GetBucketValue(7), 3u);
  EXPECT_EQ(h.GetMaxVal(), 4.0);  // not moved
  EXPECT_THROW(h.AddCountSafe(-1.0, 1), XInternalError);
}

TEST(HistogramSummary, CountsModeMeanAndVariance) {
  const XVolumeHistogram h = WithCounts(10.0, 14.0, {0, 3, 1, 3, 0});  // centres 10 .. 14
  EXPECT_EQ(h.GetMinCount(), 0u);
  EXPECT_EQ(h.GetMaxCount(), 3u);
  EXPECT_EQ(h.GetTotalCount(), 7u);
  EXPECT_EQ(h.GetNumUsed(), 3u);
  EXPECT_EQ(h.GetMode(), 11.0);  // the lower of two equal buckets
  const Float64 mean = (11.0 * 3 + 12.0 + 13.0 * 3) / 7;
  EXPECT_DOUBLE_EQ(h.GetMean(), mean);
  const Float64 variance = (3 * (11 - mean) * (11 - mean) + (12 - mean) * (12 - mean) + 3 * (13 - mean) * (13 - mean)) / 7;
  EXPECT_DOUBLE_EQ(h.GetVariance(0.0), variance);  // 0.0 asks for the mean
  EXPECT_DOUBLE_EQ(h.GetVariance(12.0), 6.0 / 7);

  const XVolumeHistogram zero(0.0, 4.0, 0);
  EXPECT_EQ(zero.GetMode(), 0.0);
  EXPECT_EQ(zero.GetMean(), 0.0);
  EXPECT_EQ(zero.GetVariance(0.0), 0.0);
}

TEST(HistogramSummary, UsedValuesStepByRepeatedAddition) {
  XVolumeHistogram h(0.0, 2.0, 21);  // size 0.1
  h.AddCount(1.0, 1);                // bucket 10
  h.AddCount(1.5, 1);                // bucket 15
  Float64 up = 0.0;
  for (int i = 0; i < 10; ++i) up += 0.1;
  EXPECT_EQ(h.GetMinUsedVal(), up);
  EXPECT_NE(up, h.GetPosFromBucket(10));  // 0.1 ten times is not 1.0
  Float64 down = 2.0;
  for (int i = 0; i < 5; ++i) down -= 0.1;
  EXPECT_EQ(h.GetMaxUsedVal(), down);

  const XVolumeHistogram empty(0.0, 3.0, 0);
  EXPECT_EQ(empty.GetMinUsedVal(), 4.0);  // min + N * size
  EXPECT_EQ(empty.GetMaxUsedVal(), -1.0);
  EXPECT_EQ(XVolumeHistogram().GetMinUsedVal(), 0.0);
}

TEST(HistogramPercentiles, ValueFromFraction) {
  const XVolumeHistogram h = WithCounts(0.0, 4.0, {2, 0, 5, 2, 1});  // total 10
  EXPECT_EQ(h.GetValFromPercentage(0.0), 0.0);
  EXPECT_EQ(h.GetValFromPercentage(0.2), 0.0);  // target 2, reached at bucket 0
  EXPECT_EQ(h.GetValFromPercentage(0.25), 0.0);  // target trunc(2.5) = 2
  EXPECT_EQ(h.GetValFromPercentage(0.3), 2.0);
  EXPECT_EQ(h.GetValFromPercentage(0.79), 2.0);  // target 7
  EXPECT_EQ(h.GetValFromPercentage(0.8), 3.0);
  EXPECT_EQ(h.GetValFromPercentage(1.0), 4.0);
  EXPECT_THROW(h.GetValFromPercentage(1.5), XInternalError);  // no bucket reaches 15
}

TEST(HistogramPercentiles, FractionFromValueUsesTheProductForm) {
  const XVolumeHistogram unit = WithCounts(0.0, 4.0, {2, 0, 5, 2, 1});
  EXPECT_EQ(unit.GetPercentageFromVal(0.0), 0.0);
  EXPECT_EQ(unit.GetPercentageFromVal(-3.0), 0.0);
  EXPECT_EQ(unit.GetPercentageFromVal(4.0), 1.0);
  EXPECT_DOUBLE_EQ(unit.GetPercentageFromVal(2.7), 0.2);  // below bucket 2
  EXPECT_DOUBLE_EQ(unit.GetPercentageFromVal(3.0), 0.7);

  // Minimum 10, size 2: the shift is trunc(2 * 13 + 10) = 36, past every bucket.
  const XVolumeHistogram shifted = WithCounts(10.0, 18.0, {1, 1, 1, 1, 1});
  EXPECT_EQ(shifted.GetPercentageFromVal(13.0), 1.0);
  // Minimum -10, size 1: value -8 shifts by -18, so buckets 0 .. 2 of 21 count.
  std::vector<UInt32> counts(21, 1);
  const XVolumeHistogram negative = WithCounts(-10.0, 10.0, counts);
  EXPECT_DOUBLE_EQ(negative.GetPercentageFromVal(-8.0), 1.0 - 3.0 / 21.0);
}

TEST(HistogramArithmetic, DistanceScaleOffsetSubtract) {
  const XVolumeHistogram a = WithCounts(0.0, 3.0, {1, 5, 2, 0});
  const XVolumeHistogram b = WithCounts(0.0, 3.0, {4, 1, 2, 2});
  EXPECT_DOUBLE_EQ(a.Distance(b, 1), 3.0 + 4.0 + 0.0 + 2.0);
  EXPECT_DOUBLE_EQ(a.Distance(b, 2), std::sqrt(9.0 + 16.0 + 4.0));
  EXPECT_THROW(a.Distance(XVolumeHistogram(0.0, 1.0, 0), 1), XInternalError);

  std::unique_ptr<XVolumeHistogram> difference(XVolumeHistogram::Subtract(a, b));
  EXPECT_EQ(Counts(*difference), (std::vector<UInt32>{UInt32(-3), 4, 0, UInt32(-2)}));
  EXPECT_THROW(XVolumeHistogram::Subtract(a, XVolumeHistogram(0.0, 4.0, 4)), XInternalError);

  XVolumeHistogram c(a);
  c.MultiplyAllBy(2.0);
  EXPECT_EQ(c.GetMinVal(), 0.0);
  EXPECT_EQ(c.GetMaxVal(), 6.0);
  EXPECT_EQ(c.GetBucketSize(), 2.0);
  c.Offset(-1.0);
  EXPECT_EQ(c.GetMinVal(), -1.0);
  EXPECT_EQ(c.GetMaxVal(), 5.0);
  EXPECT_EQ(c.GetBucketSize(), 2.0);
  EXPECT_EQ(Counts(c), Counts(a));

  std::unique_ptr<XVolumeHistogram> clone(a.Clone());
  clone->AddCount(0.0, 1);
  EXPECT_EQ(a.GetBucketValue(0), 1u);
  EXPECT_EQ(clone->GetBucketValue(0), 2u);
}

}  // namespace
