// The interpolation filters of resampling: each gives a weight for a
// distance from the sampling point, and the half width beyond which its
// weight is 0. A caller may supply its own by deriving from XResampleFilter.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class MIRELAN_EXPORT XResampleFilter {
 public:
  virtual ~XResampleFilter();
  // Half the width of the filter's support.
  virtual Float64 GetFilterSize() const = 0;
  // The weight at distance inT; symmetric in inT.
  virtual Float64 CalcFilterValue(Float64 inT) const = 0;
};

// The cubic (2a - 3)a^2 + 1 on [0, 1): smooth, support 1.
class MIRELAN_EXPORT XSimpleFilter : public XResampleFilter {
 public:
  Float64 GetFilterSize() const override { return 1.0; }
  Float64 CalcFilterValue(Float64 inT) const override;
};

// Linear interpolation: 1 - a on [0, 1).
class MIRELAN_EXPORT XTriangleFilter : public XResampleFilter {
 public:
  Float64 GetFilterSize() const override { return 1.0; }
  Float64 CalcFilterValue(Float64 inT) const override;
};

// The quadratic B-spline: 0.75 - a^2 below 0.5, 0.5 (a - 1.5)^2 below 1.5.
class MIRELAN_EXPORT XBellFilter : public XResampleFilter {
 public:
  Float64 GetFilterSize() const override { return 1.5; }
  Float64 CalcFilterValue(Float64 inT) const override;
};

// The cubic B-spline, support 2.
class MIRELAN_EXPORT XBSplineFilter : public XResampleFilter {
 public:
  Float64 GetFilterSize() const override { return 2.0; }
  Float64 CalcFilterValue(Float64 inT) const override;
};

// sinc(a) sinc(a / 3) below 3: sharp, with negative lobes that overshoot
// at edges.
class MIRELAN_EXPORT XLanczos3Filter : public XResampleFilter {
 public:
  Float64 GetFilterSize() const override { return 3.0; }
  Float64 CalcFilterValue(Float64 inT) const override;
};

}  // namespace mirelan
