#include "tools/XResampleFilter.h"

#include <cmath>

namespace mirelan {

namespace {

constexpr Float64 kPi = 3.141592653589793;

Float64 Sinc(Float64 inU) {
  if (inU == 0.0) return 1.0;
  const Float64 x = kPi * inU;
  return std::sin(x) / x;
}

}  // namespace

XResampleFilter::~XResampleFilter() = default;

Float64 XSimpleFilter::CalcFilterValue(Float64 inT) const {
  const Float64 a = std::fabs(inT);
  return a < 1.0 ? (2.0 * a - 3.0) * a * a + 1.0 : 0.0;
}

Float64 XTriangleFilter::CalcFilterValue(Float64 inT) const {
  const Float64 a = std::fabs(inT);
  return a < 1.0 ? 1.0 - a : 0.0;
}

Float64 XBellFilter::CalcFilterValue(Float64 inT) const {
  const Float64 a = std::fabs(inT);
  if (a < 0.5) return 0.75 - a * a;
  if (a < 1.5) return 0.5 * (a - 1.5) * (a - 1.5);
  return 0.0;
}

Float64 XBSplineFilter::CalcFilterValue(Float64 inT) const {
  const Float64 a = std::fabs(inT);
  if (a < 1.0) return 0.5 * a * a * a - a * a + 0.6666666666666666;
  if (a < 2.0) {
    const Float64 b = 2.0 - a;
    return b * b * b * 0.16666666666666666;
  }
  return 0.0;
}

Float64 XLanczos3Filter::CalcFilterValue(Float64 inT) const {
  const Float64 a = std::fabs(inT);
  return a < 3.0 ? Sinc(a) * Sinc(a / 3.0) : 0.0;
}

}  // namespace mirelan
