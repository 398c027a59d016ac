#include "numeric/internal/WSSEVectorMathToolImp.h"

#include <emmintrin.h>
#include <xmmintrin.h>

#include <cfloat>
#include <cstdint>

#include "core/XException.h"
#include "numeric/internal/XVectorMathSteps.h"

namespace mirelan {

namespace vs = vmsteps;

namespace {

using Portable = XVectorMathToolImp;

inline bool Aligned(const void* inPointer) { return (reinterpret_cast<std::uintptr_t>(inPointer) & 15u) == 0; }

// Alignment is all or nothing: one unaligned array sends the whole call to
// the portable body.
template <class... P>
inline bool AllAligned(const P*... inPointers) {
  return (Aligned(inPointers) && ...);
}

// Elements handled four (or two or four pairs) at a time; the rest is the tail.
inline UInt32 MainCount(UInt32 inCount, UInt32 inStep) { return inCount - inCount % inStep; }

// rcpps refined by one Newton step: r * (2 - r * d).
inline __m128 Reciprocal(__m128 inD) {
  const __m128 r = _mm_rcp_ps(inD);
  return _mm_mul_ps(r, _mm_sub_ps(_mm_set1_ps(2.0f), _mm_mul_ps(r, inD)));
}

// 3 - y * x * y with y from rsqrtps; the callers finish the Newton step.
inline __m128 NewtonFactor(__m128 inX, __m128 inY) {
  return _mm_sub_ps(_mm_set1_ps(3.0f), _mm_mul_ps(_mm_mul_ps(inY, inX), inY));
}

inline float CombineLanes(__m128 inLanes) {
  alignas(16) float lanes[4];
  _mm_store_ps(lanes, inLanes);
  return vs::CombineLanes(lanes);
}

// The lanes after a search: the first lane strictly beyond the running
// result wins, in lane order.
inline float FirstMaxLane(__m128 inLanes) {
  alignas(16) float lanes[4];
  _mm_store_ps(lanes, inLanes);
  float result = lanes[0];
  for (int k = 1; k < 4; ++k)
    if (lanes[k] > result) result = lanes[k];
  return result;
}

inline float FirstMinLane(__m128 inLanes) {
  alignas(16) float lanes[4];
  _mm_store_ps(lanes, inLanes);
  float result = lanes[0];
  for (int k = 1; k < 4; ++k)
    if (lanes[k] < result) result = lanes[k];
  return result;
}

// Pairs (re, im): the real parts in both slots, the imaginary parts in both
// slots, and the pairs swapped.
inline __m128 RealsDuplicated(__m128 inPairs) { return _mm_shuffle_ps(inPairs, inPairs, _MM_SHUFFLE(2, 2, 0, 0)); }
inline __m128 ImaginariesDuplicated(__m128 inPairs) {
  return _mm_shuffle_ps(inPairs, inPairs, _MM_SHUFFLE(3, 3, 1, 1));
}
inline __m128 Swapped(__m128 inPairs) { return _mm_shuffle_ps(inPairs, inPairs, _MM_SHUFFLE(2, 3, 0, 1)); }

// Sign masks on the imaginary and on the real slots.
inline __m128 ImaginarySign() { return _mm_castsi128_ps(_mm_set_epi32(INT32_MIN, 0, INT32_MIN, 0)); }
inline __m128 RealSign() { return _mm_castsi128_ps(_mm_set_epi32(0, INT32_MIN, 0, INT32_MIN)); }

// re * re + im * im in both slots of each pair.
inline __m128 SquaredMagnitudes(__m128 inPairs) {
  const __m128 squares = _mm_mul_ps(inPairs, inPairs);
  return _mm_add_ps(squares, Swapped(squares));
}

// (ar + i ai) * (br + i bi) for two pairs.
inline __m128 ComplexProduct(__m128 inA, __m128 inB) {
  const __m128 first = _mm_mul_ps(inA, RealsDuplicated(inB));                 // ar br, ai br
  const __m128 second = _mm_mul_ps(Swapped(inA), ImaginariesDuplicated(inB));  // ai bi, ar bi
  return _mm_add_ps(first, _mm_xor_ps(second, RealSign()));
}

// The two double accumulators of the SSE2 reductions: slot 0 takes lanes 0
// and 2 of each four, slot 1 lanes 1 and 3.
inline __m128d AddLanes(__m128d inAccumulator, __m128 inLanes) {
  inAccumulator = _mm_add_pd(inAccumulator, _mm_cvtps_pd(inLanes));
  return _mm_add_pd(inAccumulator, _mm_cvtps_pd(_mm_movehl_ps(inLanes, inLanes)));
}

inline double CombineAccumulators(__m128d inAccumulator) {
  const double first = _mm_cvtsd_f64(inAccumulator);
  const double second = _mm_cvtsd_f64(_mm_unpackhi_pd(inAccumulator, inAccumulator));
  return second + first;
}

}  // namespace

// ================================================================ WSSEVectorMathToolImp

void WSSEVectorMathToolImp::VectorAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult)) return Portable::VectorAdd(inA, inB, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4)
    _mm_store_ps(outResult + i, _mm_add_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i)));
  Portable::VectorAdd(inA + main, inB + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorAddScalar(float* inVector, float inScalar, float* outResult, UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorAddScalar(inVector, inScalar, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 scalar = _mm_set1_ps(inScalar);
  for (UInt32 i = 0; i < main; i += 4) _mm_store_ps(outResult + i, _mm_add_ps(_mm_load_ps(inVector + i), scalar));
  Portable::VectorAddScalar(inVector + main, inScalar, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult)) return Portable::VectorSubtract(inA, inB, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4)
    _mm_store_ps(outResult + i, _mm_sub_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i)));
  Portable::VectorSubtract(inA + main, inB + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult)) return Portable::VectorMultiply(inA, inB, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4)
    _mm_store_ps(outResult + i, _mm_mul_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i)));
  Portable::VectorMultiply(inA + main, inB + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorMultiplyScalar(const float* inVector, float inScalar, float* outResult,
                                                 UInt32 inCount) {
  if (!AllAligned(inVector, outResult))
    return Portable::VectorMultiplyScalar(inVector, inScalar, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 scalar = _mm_set1_ps(inScalar);
  for (UInt32 i = 0; i < main; i += 4) _mm_store_ps(outResult + i, _mm_mul_ps(_mm_load_ps(inVector + i), scalar));
  Portable::VectorMultiplyScalar(inVector + main, inScalar, outResult + main, inCount - main);
}

// a / b = a * conj(b) / |b|^2, two pairs a round.
void WSSEVectorMathToolImp::VectorComplexDivide(const float* inA, const float* inB, float* outResult,
                                                UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult)) return Portable::VectorComplexDivide(inA, inB, outResult, inCount);
  const UInt32 main = MainCount(inCount, 2);
  for (UInt32 p = 0; p < main; p += 2) {
    const __m128 a = _mm_load_ps(inA + 2 * p), b = _mm_load_ps(inB + 2 * p);
    const __m128 first = _mm_mul_ps(a, RealsDuplicated(b));                 // ar br, ai br
    const __m128 second = _mm_mul_ps(Swapped(a), ImaginariesDuplicated(b));  // ai bi, ar bi
    const __m128 numerator = _mm_add_ps(first, _mm_xor_ps(second, ImaginarySign()));
    _mm_store_ps(outResult + 2 * p, _mm_mul_ps(numerator, Reciprocal(SquaredMagnitudes(b))));
  }
  Portable::VectorComplexDivide(inA + 2 * main, inB + 2 * main, outResult + 2 * main, inCount - main);
}

void WSSEVectorMathToolImp::VectorComplexMultiply(const float* inA, const float* inB, float* outResult,
                                                  UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult)) return Portable::VectorComplexMultiply(inA, inB, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 p = 0; p < main; p += 4) {
    const float* a = inA + 2 * p;
    const float* b = inB + 2 * p;
    const __m128 low = ComplexProduct(_mm_load_ps(a), _mm_load_ps(b));
    const __m128 high = ComplexProduct(_mm_load_ps(a + 4), _mm_load_ps(b + 4));
    _mm_store_ps(outResult + 2 * p, low);
    _mm_store_ps(outResult + 2 * p + 4, high);
  }
  Portable::VectorComplexMultiply(inA + 2 * main, inB + 2 * main, outResult + 2 * main, inCount - main);
}

void WSSEVectorMathToolImp::VectorComplexMagnitude(const float* inVector, float* outResult, UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorComplexMagnitude(inVector, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 realSlots = _mm_castsi128_ps(_mm_set_epi32(0, -1, 0, -1));
  for (UInt32 p = 0; p < main; p += 4) {
    const float* in = inVector + 2 * p;
    const __m128 low = _mm_and_ps(SquaredMagnitudes(_mm_load_ps(in)), realSlots);
    const __m128 high = _mm_and_ps(SquaredMagnitudes(_mm_load_ps(in + 4)), realSlots);
    _mm_store_ps(outResult + 2 * p, low);
    _mm_store_ps(outResult + 2 * p + 4, high);
  }
  Portable::VectorComplexMagnitude(inVector + 2 * main, outResult + 2 * main, inCount - main);
}

// Unaligned, this call falls back to the portable magnitude, not the
// reciprocal: that asymmetry is the operation's settled behaviour.
void WSSEVectorMathToolImp::VectorComplexReciprocal(const float* inVector, float* outResult, UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorComplexMagnitude(inVector, outResult, inCount);
  const UInt32 main = MainCount(inCount, 2);
  for (UInt32 p = 0; p < main; p += 2) {
    const __m128 in = _mm_load_ps(inVector + 2 * p);
    const __m128 conjugate = _mm_xor_ps(in, ImaginarySign());
    _mm_store_ps(outResult + 2 * p, _mm_mul_ps(conjugate, Reciprocal(SquaredMagnitudes(in))));
  }
  Portable::VectorComplexReciprocal(inVector + 2 * main, outResult + 2 * main, inCount - main);
}

void WSSEVectorMathToolImp::VectorDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult)) return Portable::VectorDivide(inA, inB, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4)
    _mm_store_ps(outResult + i, _mm_mul_ps(_mm_load_ps(inA + i), Reciprocal(_mm_load_ps(inB + i))));
  Portable::VectorDivide(inA + main, inB + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorMultiplyAndDivide(const float* inA, const float* inB, const float* inC,
                                                    float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inB, inC, outResult))
    return Portable::VectorMultiplyAndDivide(inA, inB, inC, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 product = _mm_mul_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i));
    _mm_store_ps(outResult + i, _mm_mul_ps(product, Reciprocal(_mm_load_ps(inC + i))));
  }
  Portable::VectorMultiplyAndDivide(inA + main, inB + main, inC + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorMultiplyAndDivide(const float* inA, float inScalar, const float* inC,
                                                    float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inC, outResult))
    return Portable::VectorMultiplyAndDivide(inA, inScalar, inC, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 scalar = _mm_set1_ps(inScalar);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 product = _mm_mul_ps(_mm_load_ps(inA + i), scalar);
    _mm_store_ps(outResult + i, _mm_mul_ps(product, Reciprocal(_mm_load_ps(inC + i))));
  }
  Portable::VectorMultiplyAndDivide(inA + main, inScalar, inC + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorMultiplyAndDivide(const float* inA, const float* inB, float inScalar,
                                                    float* outResult, UInt32 inCount) {
  XAssert(inScalar != 0.0f);
  if (!AllAligned(inA, inB, outResult))
    return Portable::VectorMultiplyAndDivide(inA, inB, inScalar, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 reciprocal = Reciprocal(_mm_set1_ps(inScalar));
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 product = _mm_mul_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i));
    _mm_store_ps(outResult + i, _mm_mul_ps(product, reciprocal));
  }
  Portable::VectorMultiplyAndDivide(inA + main, inB + main, inScalar, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorSquare(const float* inVector, float* outResult, UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorSquare(inVector, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 x = _mm_load_ps(inVector + i);
    _mm_store_ps(outResult + i, _mm_mul_ps(x, x));
  }
  Portable::VectorSquare(inVector + main, outResult + main, inCount - main);
}

float WSSEVectorMathToolImp::VectorDotProduct(const float* inA, const float* inB, UInt32 inCount) {
  if (!AllAligned(inA, inB)) return Portable::VectorDotProduct(inA, inB, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_setzero_ps();
  for (UInt32 i = 0; i < main; i += 4)
    lanes = _mm_add_ps(lanes, _mm_mul_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i)));
  float sum = CombineLanes(lanes);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::Dot(sum, inA[i], inB[i]);
  return sum;
}

void WSSEVectorMathToolImp::VectorAddAndMultiply(const float* inA, const float* inB, const float* inC,
                                                 float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inB, inC, outResult))
    return Portable::VectorAddAndMultiply(inA, inB, inC, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 sum = _mm_add_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i));
    _mm_store_ps(outResult + i, _mm_mul_ps(sum, _mm_load_ps(inC + i)));
  }
  Portable::VectorAddAndMultiply(inA + main, inB + main, inC + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorFillReal(float inValue, float* outResult, UInt32 inCount) {
  if (!AllAligned(outResult)) return Portable::VectorFillReal(inValue, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 value = _mm_set1_ps(inValue);
  for (UInt32 i = 0; i < main; i += 4) _mm_store_ps(outResult + i, value);
  Portable::VectorFillReal(inValue, outResult + main, inCount - main);
}

// x * y * (3 - y * x * y) * 0.5: a zero element gives 0 * infinity, NaN.
void WSSEVectorMathToolImp::VectorSqrt(const float* inVector, float* outResult, UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorSqrt(inVector, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 half = _mm_set1_ps(0.5f);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 x = _mm_load_ps(inVector + i);
    const __m128 y = _mm_rsqrt_ps(x);
    _mm_store_ps(outResult + i, _mm_mul_ps(_mm_mul_ps(_mm_mul_ps(x, y), NewtonFactor(x, y)), half));
  }
  Portable::VectorSqrt(inVector + main, outResult + main, inCount - main);
}

void WSSEVectorMathToolImp::VectorReciprocalSqrt(const float* inVector, float* outResult, UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorReciprocalSqrt(inVector, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 half = _mm_set1_ps(0.5f);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 x = _mm_load_ps(inVector + i);
    const __m128 y = _mm_rsqrt_ps(x);
    _mm_store_ps(outResult + i, _mm_mul_ps(_mm_mul_ps(y, NewtonFactor(x, y)), half));
  }
  Portable::VectorReciprocalSqrt(inVector + main, outResult + main, inCount - main);
}

float WSSEVectorMathToolImp::VectorSum(const float* inVector, UInt32 inCount) {
  if (!AllAligned(inVector)) return Portable::VectorSum(inVector, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_setzero_ps();
  for (UInt32 i = 0; i < main; i += 4) lanes = _mm_add_ps(lanes, _mm_load_ps(inVector + i));
  float sum = CombineLanes(lanes);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::Sum(sum, inVector[i]);
  return sum;
}

// The lanes start from the smallest positive normal float, not from the
// data: a vector of negative numbers only reports that value as its maximum.
float WSSEVectorMathToolImp::VectorFindMaxValue(const float* inVector, UInt32 inCount) {
  if (!AllAligned(inVector)) return Portable::VectorFindMaxValue(inVector, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_set1_ps(FLT_MIN);
  for (UInt32 i = 0; i < main; i += 4) lanes = _mm_max_ps(_mm_load_ps(inVector + i), lanes);
  float maximum = FirstMaxLane(lanes);
  for (UInt32 i = main; i < inCount; ++i) maximum = vs::MaxOf(maximum, inVector[i]);
  return maximum;
}

float WSSEVectorMathToolImp::VectorFindMinValue(const float* inVector, UInt32 inCount) {
  if (!AllAligned(inVector)) return Portable::VectorFindMinValue(inVector, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_set1_ps(FLT_MAX);
  for (UInt32 i = 0; i < main; i += 4) lanes = _mm_min_ps(_mm_load_ps(inVector + i), lanes);
  float minimum = FirstMinLane(lanes);
  for (UInt32 i = main; i < inCount; ++i) minimum = vs::MinOf(minimum, inVector[i]);
  return minimum;
}

void WSSEVectorMathToolImp::VectorFindMinMaxValue(const float* inVector, float& outMin, float& outMax,
                                                  UInt32 inCount) {
  if (!AllAligned(inVector)) return Portable::VectorFindMinMaxValue(inVector, outMin, outMax, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 low = _mm_set1_ps(FLT_MAX), high = _mm_set1_ps(FLT_MIN);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 x = _mm_load_ps(inVector + i);
    low = _mm_min_ps(x, low);
    high = _mm_max_ps(x, high);
  }
  float minimum = FirstMinLane(low), maximum = FirstMaxLane(high);
  for (UInt32 i = main; i < inCount; ++i) {
    minimum = vs::MinOf(minimum, inVector[i]);
    maximum = vs::MaxOf(maximum, inVector[i]);
  }
  outMin = minimum;
  outMax = maximum;
}

void WSSEVectorMathToolImp::VectorReciprocal(const float* inVector, float* outResult, UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorReciprocal(inVector, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  for (UInt32 i = 0; i < main; i += 4) _mm_store_ps(outResult + i, Reciprocal(_mm_load_ps(inVector + i)));
  Portable::VectorReciprocal(inVector + main, outResult + main, inCount - main);
}

float WSSEVectorMathToolImp::VectorDotProductDivide(const float* inA, const float* inB, const float* inC,
                                                    UInt32 inCount) {
  if (!AllAligned(inA, inB, inC)) return Portable::VectorDotProductDivide(inA, inB, inC, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_setzero_ps();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 product = _mm_mul_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i));
    lanes = _mm_add_ps(lanes, _mm_mul_ps(product, Reciprocal(_mm_load_ps(inC + i))));
  }
  float sum = CombineLanes(lanes);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::DotDivide(sum, inA[i], inB[i], inC[i]);
  return sum;
}

// maxps(limit, x) is limit > x ? limit : x, the portable comparison exactly.
void WSSEVectorMathToolImp::VectorClampBelow(const float* inVector, float* outResult, float inLimit,
                                             UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorClampBelow(inVector, outResult, inLimit, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 limit = _mm_set1_ps(inLimit);
  for (UInt32 i = 0; i < main; i += 4) _mm_store_ps(outResult + i, _mm_max_ps(limit, _mm_load_ps(inVector + i)));
  Portable::VectorClampBelow(inVector + main, outResult + main, inLimit, inCount - main);
}

// minps(limit, x) is limit < x ? limit : x.
void WSSEVectorMathToolImp::VectorClampAbove(const float* inVector, float* outResult, float inLimit,
                                             UInt32 inCount) {
  if (!AllAligned(inVector, outResult)) return Portable::VectorClampAbove(inVector, outResult, inLimit, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 limit = _mm_set1_ps(inLimit);
  for (UInt32 i = 0; i < main; i += 4) _mm_store_ps(outResult + i, _mm_min_ps(limit, _mm_load_ps(inVector + i)));
  Portable::VectorClampAbove(inVector + main, outResult + main, inLimit, inCount - main);
}

float WSSEVectorMathToolImp::VectorChiSquared(const float* inA, const float* inB, const float* inC,
                                              UInt32 inCount) {
  if (!AllAligned(inA, inB, inC)) return Portable::VectorChiSquared(inA, inB, inC, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_setzero_ps();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 d = _mm_sub_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i));
    lanes = _mm_add_ps(lanes, _mm_mul_ps(_mm_mul_ps(d, d), Reciprocal(_mm_load_ps(inC + i))));
  }
  float sum = CombineLanes(lanes);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::ChiSquared(sum, inA[i], inB[i], inC[i]);
  return sum;
}

void WSSEVectorMathToolImp::VectorScalarSubtract(const float* inA, const float* inB, float inS, float inT,
                                                 float* outResult, UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult))
    return Portable::VectorScalarSubtract(inA, inB, inS, inT, outResult, inCount);
  const UInt32 main = MainCount(inCount, 4);
  const __m128 s = _mm_set1_ps(inS), t = _mm_set1_ps(inT);
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 first = _mm_mul_ps(_mm_load_ps(inA + i), s);
    const __m128 second = _mm_mul_ps(_mm_load_ps(inB + i), t);
    _mm_store_ps(outResult + i, _mm_sub_ps(first, second));
  }
  Portable::VectorScalarSubtract(inA + main, inB + main, inS, inT, outResult + main, inCount - main);
}

float WSSEVectorMathToolImp::VectorSquareMultiplySum(const float* inA, const float* inB, UInt32 inCount) {
  if (!AllAligned(inA, inB)) return Portable::VectorSquareMultiplySum(inA, inB, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_setzero_ps();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 a = _mm_load_ps(inA + i);
    lanes = _mm_add_ps(lanes, _mm_mul_ps(_mm_mul_ps(a, a), _mm_load_ps(inB + i)));
  }
  float sum = CombineLanes(lanes);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::SquareMultiplySum(sum, inA[i], inB[i]);
  return sum;
}

void WSSEVectorMathToolImp::VectorCalcSearchVec2(const float* inA, const float* inB, float* outResult,
                                                 float& outSum, UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult)) return Portable::VectorCalcSearchVec2(inA, inB, outResult, outSum, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128 lanes = _mm_setzero_ps();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 a = _mm_load_ps(inA + i);
    const __m128 out = _mm_mul_ps(a, _mm_load_ps(inB + i));
    _mm_store_ps(outResult + i, out);
    lanes = _mm_add_ps(lanes, _mm_mul_ps(a, out));
  }
  float sum = CombineLanes(lanes);
  for (UInt32 i = main; i < inCount; ++i) outResult[i] = vs::SearchVec2(sum, inA[i], inB[i]);
  outSum = sum;
}

// Four positions a round; every vector must be aligned.
void WSSEVectorMathToolImp::VectorTransform(float* inVectors[], UInt32 inDimension, XMiniSquareMatrix inMatrix,
                                            UInt32 inCount) {
  XAssert(inDimension == inMatrix.GetSize());
  for (UInt32 k = 0; k < inDimension; ++k)
    if (!Aligned(inVectors[k])) return Portable::VectorTransform(inVectors, inDimension, inMatrix, inCount);
  constexpr UInt32 kMax = XMiniSquareMatrix::kMaxSize;
  __m128 matrix[kMax][kMax];
  for (UInt32 r = 0; r < inDimension; ++r)
    for (UInt32 c = 0; c < inDimension; ++c) matrix[r][c] = _mm_set1_ps(inMatrix.Get(SInt32(r), SInt32(c)));
  const UInt32 main = MainCount(inCount, 4);
  __m128 column[kMax], result[kMax];
  for (UInt32 i = 0; i < main; i += 4) {
    for (UInt32 k = 0; k < inDimension; ++k) column[k] = _mm_load_ps(inVectors[k] + i);
    for (UInt32 r = 0; r < inDimension; ++r) {
      __m128 sum = _mm_setzero_ps();
      for (UInt32 c = 0; c < inDimension; ++c) sum = _mm_add_ps(sum, _mm_mul_ps(matrix[r][c], column[c]));
      result[r] = sum;
    }
    for (UInt32 r = 0; r < inDimension; ++r) _mm_store_ps(inVectors[r] + i, result[r]);
  }
  for (UInt32 k = 0; k < inDimension; ++k) inVectors[k] += main;
  Portable::VectorTransform(inVectors, inDimension, inMatrix, inCount - main);
}

// ================================================================ WSSE2VectorMathToolImp

double WSSE2VectorMathToolImp::VectorDotProduct64(const float* inA, const float* inB, UInt32 inCount) {
  if (!AllAligned(inA, inB)) return Portable::VectorDotProduct64(inA, inB, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128d accumulators = _mm_setzero_pd();
  for (UInt32 i = 0; i < main; i += 4)
    accumulators = AddLanes(accumulators, _mm_mul_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i)));
  double sum = CombineAccumulators(accumulators);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::Dot64(sum, inA[i], inB[i]);
  return sum;
}

double WSSE2VectorMathToolImp::VectorSum64(const float* inVector, UInt32 inCount) {
  if (!AllAligned(inVector)) return Portable::VectorSum64(inVector, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128d accumulators = _mm_setzero_pd();
  for (UInt32 i = 0; i < main; i += 4) accumulators = AddLanes(accumulators, _mm_load_ps(inVector + i));
  double sum = CombineAccumulators(accumulators);
  for (UInt32 i = main; i < inCount; ++i) sum += double(inVector[i]);
  return sum;
}

double WSSE2VectorMathToolImp::VectorDotProductDivide64(const float* inA, const float* inB, const float* inC,
                                                        UInt32 inCount) {
  if (!AllAligned(inA, inB, inC)) return Portable::VectorDotProductDivide64(inA, inB, inC, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128d accumulators = _mm_setzero_pd();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 product = _mm_mul_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i));
    accumulators = AddLanes(accumulators, _mm_mul_ps(product, Reciprocal(_mm_load_ps(inC + i))));
  }
  double sum = CombineAccumulators(accumulators);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::DotDivide64(sum, inA[i], inB[i], inC[i]);
  return sum;
}

double WSSE2VectorMathToolImp::VectorChiSquared64(const float* inA, const float* inB, const float* inC,
                                                  UInt32 inCount) {
  if (!AllAligned(inA, inB, inC)) return Portable::VectorChiSquared64(inA, inB, inC, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128d accumulators = _mm_setzero_pd();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 d = _mm_sub_ps(_mm_load_ps(inA + i), _mm_load_ps(inB + i));
    accumulators = AddLanes(accumulators, _mm_mul_ps(_mm_mul_ps(d, d), Reciprocal(_mm_load_ps(inC + i))));
  }
  double sum = CombineAccumulators(accumulators);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::ChiSquared64(sum, inA[i], inB[i], inC[i]);
  return sum;
}

// Products in double, as in the portable body.
double WSSE2VectorMathToolImp::VectorSquareMultiplySum64(const float* inA, const float* inB, UInt32 inCount) {
  if (!AllAligned(inA, inB)) return Portable::VectorSquareMultiplySum64(inA, inB, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128d accumulators = _mm_setzero_pd();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 a = _mm_load_ps(inA + i), b = _mm_load_ps(inB + i);
    const __m128d aLow = _mm_cvtps_pd(a), aHigh = _mm_cvtps_pd(_mm_movehl_ps(a, a));
    const __m128d bLow = _mm_cvtps_pd(b), bHigh = _mm_cvtps_pd(_mm_movehl_ps(b, b));
    accumulators = _mm_add_pd(accumulators, _mm_mul_pd(_mm_mul_pd(aLow, aLow), bLow));
    accumulators = _mm_add_pd(accumulators, _mm_mul_pd(_mm_mul_pd(aHigh, aHigh), bHigh));
  }
  double sum = CombineAccumulators(accumulators);
  for (UInt32 i = main; i < inCount; ++i) sum = vs::SquareMultiplySum64(sum, inA[i], inB[i]);
  return sum;
}

void WSSE2VectorMathToolImp::VectorCalcSearchVec2_64(const float* inA, const float* inB, float* outResult,
                                                     double& outSum, UInt32 inCount) {
  if (!AllAligned(inA, inB, outResult))
    return Portable::VectorCalcSearchVec2_64(inA, inB, outResult, outSum, inCount);
  const UInt32 main = MainCount(inCount, 4);
  __m128d accumulators = _mm_setzero_pd();
  for (UInt32 i = 0; i < main; i += 4) {
    const __m128 a = _mm_load_ps(inA + i);
    const __m128 out = _mm_mul_ps(a, _mm_load_ps(inB + i));
    _mm_store_ps(outResult + i, out);
    const __m128d low = _mm_mul_pd(_mm_cvtps_pd(a), _mm_cvtps_pd(out));
    const __m128d high = _mm_mul_pd(_mm_cvtps_pd(_mm_movehl_ps(a, a)), _mm_cvtps_pd(_mm_movehl_ps(out, out)));
    accumulators = _mm_add_pd(_mm_add_pd(accumulators, low), high);
  }
  double sum = CombineAccumulators(accumulators);
  for (UInt32 i = main; i < inCount; ++i) outResult[i] = vs::SearchVec2_64(sum, inA[i], inB[i]);
  outSum = sum;
}

}  // namespace mirelan
