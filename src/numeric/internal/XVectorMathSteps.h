// One element of each reduction of the vector operations, in the arithmetic
// of the portable bodies. The portable loops and the scalar tails of the
// accelerated ones both use these, so a tail is exactly the portable result.
#pragma once

#include <cstring>

#include "core/XTypes.h"

namespace mirelan {
namespace vmsteps {

// ln 2 rounded to float: 0.6931471824645996.
constexpr float kLn2 = 0.6931471824645996f;

inline float FastLog(float inX) {
  UInt32 bits;
  std::memcpy(&bits, &inX, sizeof bits);
  const SInt32 exponent = SInt32((bits >> 23) & 255) - 128;
  const UInt32 mantissaBits = (bits & 0x807fffffu) + 0x3f800000u;
  float mantissa;
  std::memcpy(&mantissa, &mantissaBits, sizeof mantissa);
  return float((double(exponent) + double(mantissa)) * double(kLn2));
}

// g(x, s): the logarithm is a float before 1 is added.
inline float Gradient(float inX, float inS) {
  const float y = inX * inS;
  const float logarithm = FastLog(y);
  return float((double(logarithm) + 1.0) * -double(inS));
}

inline float Sum(float inAccumulator, float inX) { return float(double(inAccumulator) + double(inX)); }

inline float Dot(float inAccumulator, float inA, float inB) {
  return float(double(inAccumulator) + double(inA) * double(inB));
}
// The product is rounded to float before it joins the double sum.
inline double Dot64(double inAccumulator, float inA, float inB) { return inAccumulator + double(inA * inB); }

inline float DotDivide(float inAccumulator, float inA, float inB, float inC) {
  return float(double(inAccumulator) + double(inA) * double(inB) / double(inC));
}
inline double DotDivide64(double inAccumulator, float inA, float inB, float inC) {
  return inAccumulator + double(float(double(inA) * double(inB) / double(inC)));
}

inline float ChiSquared(float inAccumulator, float inA, float inB, float inC) {
  const double d = double(inA) - double(inB);
  return float(double(inAccumulator) + d * d / double(inC));
}
inline double ChiSquared64(double inAccumulator, float inA, float inB, float inC) {
  const double d = double(inA) - double(inB);
  return inAccumulator + double(float(d * d / double(inC)));
}

inline float SquareMultiplySum(float inAccumulator, float inA, float inB) {
  return float(double(inAccumulator) + double(inA) * double(inA) * double(inB));
}
inline double SquareMultiplySum64(double inAccumulator, float inA, float inB) {
  return inAccumulator + double(inA) * double(inA) * double(inB);
}

inline float MaxOf(float inMax, float inX) { return inX > inMax ? inX : inMax; }
inline float MinOf(float inMin, float inX) { return inX < inMin ? inX : inMin; }

// Search vector 2: out = a * b, then the sum takes a * out.
inline float SearchVec2(float& ioSum, float inA, float inB) {
  const float out = float(double(inA) * double(inB));
  ioSum = float(double(ioSum) + double(inA) * double(out));
  return out;
}
inline float SearchVec2_64(double& ioSum, float inA, float inB) {
  const float out = float(double(inA) * double(inB));
  ioSum += double(inA) * double(out);
  return out;
}

// Four float lanes to one float: lane 1 + lane 0, then + lane 2, then + lane 3.
inline float CombineLanes(const float inLanes[4]) {
  float sum = float(double(inLanes[1]) + double(inLanes[0]));
  sum = float(double(sum) + double(inLanes[2]));
  return float(double(sum) + double(inLanes[3]));
}

}  // namespace vmsteps
}  // namespace mirelan
