// Bulk float operations: the portable arithmetic, and the accelerated
// contract against it (exact where the lanes do the same arithmetic, within
// the estimate where a division or square root is estimated).
#include <cfloat>
#include <cmath>
#include <complex>
#include <functional>
#include <string>

#include "NumericTestSupport.h"
#include "core/XSessionLogManager.h"
#include "numeric/XVectorMathTool.h"
#include "numeric/XVectorMathToolImp.h"

using namespace numerictest;
using VM = XVectorMathTool;

namespace {

constexpr float kLn2 = 0.6931471824645996f;

XVectorMathToolImp& Portable() { return *VM::GetPortableImplementation(); }
XVectorMathToolImp& Accelerated() { return *VM::GetAcceleratedImplementation(); }

// One element-wise operation: inputs a, b, c (positive), output.
struct ElementCase {
  const char* itsName;
  bool itsExact;  // the lanes do the portable arithmetic
  std::function<void(XVectorMathToolImp&, const float*, const float*, const float*, float*, UInt32)> itsCall;
  std::function<float(float, float, float)> itsExpected;
};

const std::vector<ElementCase>& ElementCases() {
  using I = XVectorMathToolImp;
  static const std::vector<ElementCase> cases = {
      {"Add", true, [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorAdd(a, b, o, n); },
       [](float a, float b, float) { return a + b; }},
      {"AddScalar", true, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorAddScalar(a, 1.25f, o, n); },
       [](float a, float, float) { return a + 1.25f; }},
      {"Subtract", true, [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorSubtract(a, b, o, n); },
       [](float a, float b, float) { return a - b; }},
      {"Multiply", true, [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorMultiply(a, b, o, n); },
       [](float a, float b, float) { return a * b; }},
      {"MultiplyScalar", true,
       [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorMultiplyScalar(a, 0.3f, o, n); },
       [](float a, float, float) { return a * 0.3f; }},
      {"Divide", false, [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorDivide(a, b, o, n); },
       [](float a, float b, float) { return a / b; }},
      {"Absolute", true, [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorSubtract(a, b, o, n), m.VectorAbsolute(o, o, n); },
       [](float a, float b, float) { return std::fabs(a - b); }},
      {"MultiplyAndDivide", false,
       [](I& m, auto a, auto b, auto c, auto o, UInt32 n) { m.VectorMultiplyAndDivide(a, b, c, o, n); },
       [](float a, float b, float c) { return float(double(a) * b / c); }},
      {"MultiplyScalarAndDivide", false,
       [](I& m, auto a, auto, auto c, auto o, UInt32 n) { m.VectorMultiplyAndDivide(a, 3.1f, c, o, n); },
       [](float a, float, float c) { return float(double(a) * 3.1f / c); }},
      {"MultiplyAndDivideScalar", false,
       [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorMultiplyAndDivide(a, b, 0.7f, o, n); },
       [](float a, float b, float) { return float(double(a) * b / 0.7f); }},
      {"Square", true, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorSquare(a, o, n); },
       [](float a, float, float) { return a * a; }},
      {"AddAndMultiply", false,
       [](I& m, auto a, auto b, auto c, auto o, UInt32 n) { m.VectorAddAndMultiply(a, b, c, o, n); },
       [](float a, float b, float c) { return float((double(a) + b) * c); }},
      {"FillReal", true, [](I& m, auto, auto, auto, auto o, UInt32 n) { m.VectorFillReal(-2.5f, o, n); },
       [](float, float, float) { return -2.5f; }},
      {"Sqrt", false, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorSqrt(a, o, n); },
       [](float a, float, float) { return float(std::sqrt(double(a))); }},
      {"ReciprocalSqrt", false, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorReciprocalSqrt(a, o, n); },
       [](float a, float, float) { return float(1.0 / std::sqrt(double(a))); }},
      {"Reciprocal", false, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorReciprocal(a, o, n); },
       [](float a, float, float) { return float(1.0 / a); }},
      {"ClampBelow", true, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorClampBelow(a, o, 2.0f, n); },
       [](float a, float, float) { return 2.0f > a ? 2.0f : a; }},
      {"ClampAbove", true, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorClampAbove(a, o, 2.0f, n); },
       [](float a, float, float) { return a > 2.0f ? 2.0f : a; }},
      {"ScalarSubtract", false,
       [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorScalarSubtract(a, b, 1.5f, 0.25f, o, n); },
       [](float a, float b, float) { return float(double(a) * 1.5f - double(b) * 0.25f); }},
      {"SubtractAndScalarMultiply", true,
       [](I& m, auto a, auto b, auto, auto o, UInt32 n) { m.VectorSubtractAndScalarMultiply(a, b, 0.1f, o, n); },
       [](float a, float b, float) { return float((double(a) - b) * 0.1f); }},
      {"DivideScalarByVector", true,
       [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorDivideScalarByVector(5.0f, a, o, n); },
       [](float a, float, float) { return 5.0f / a; }},
      {"ThresholdWithZeroFill", true,
       [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorThresholdWithZeroFill(a, 2.0f, o, n); },
       [](float a, float, float) { return a > 2.0f ? a : 0.0f; }},
      {"LogBaseX", true, [](I& m, auto a, auto, auto, auto o, UInt32 n) { m.VectorLogBaseX(a, o, 3.0f, n); },
       [](float a, float, float) { return float(double(lnf(a)) * (1.0 / double(lnf(3.0f)))); }},
  };
  return cases;
}

// Seven floats: four by the lanes, three by the tail; and a longer run.
const UInt32 kCounts[] = {7, 1031};

}  // namespace

TEST(VectorMathPortable, ElementWiseOperationsEvaluateInDoubleAndRoundOnce) {
  const UInt32 n = 53;
  AlignedFloats a = RandomFloats(n, 0.5f, 4.0f, 1), b = RandomFloats(n, 0.5f, 4.0f, 2), c = RandomFloats(n, 0.5f, 4.0f, 3);
  for (const ElementCase& op : ElementCases()) {
    AlignedFloats out(n, 99.0f);
    op.itsCall(Portable(), a.get(), b.get(), c.get(), out.get(), n);
    for (UInt32 i = 0; i < n; ++i) ASSERT_TRUE(SameBits(out[i], op.itsExpected(a[i], b[i], c[i]))) << op.itsName << " " << i;
    EXPECT_EQ(out[n], 99.0f) << op.itsName << " wrote past the count";
  }
}

TEST(VectorMathPortable, ZeroCountLeavesOutputAndReductionsGiveZero) {
  AlignedFloats a(4, 3.0f), out(4, 7.0f);
  Portable().VectorAdd(a.get(), a.get(), out.get(), 0);
  EXPECT_EQ(out[0], 7.0f);
  EXPECT_EQ(Portable().VectorSum(a.get(), 0), 0.0f);
  EXPECT_EQ(Portable().VectorDotProduct64(a.get(), a.get(), 0), 0.0);
  float weighted = 1, sum = 1;
  Portable().VectorWeightedEntropy(a.get(), weighted, sum, 0);
  EXPECT_EQ(weighted, 0.0f);
  EXPECT_EQ(sum, 0.0f);
  // The searches still read the first element.
  EXPECT_EQ(Portable().VectorFindMaxValue(a.get(), 0), 3.0f);
  EXPECT_EQ(Portable().VectorFindMinValue(a.get(), 0), 3.0f);
}

TEST(VectorMathPortable, FloatReductionsRoundTheAccumulatorAfterEveryElement) {
  AlignedFloats big(17, 1.0f);
  big[0] = 1e8f;
  EXPECT_EQ(Portable().VectorSum(big.get(), 17), 1e8f);  // each 1 is lost against 1e8 in float
  EXPECT_EQ(Portable().VectorSum64(big.get(), 17), 1e8 + 16);
  // VectorDotProduct64 rounds each product to float before the double sum.
  AlignedFloats x(1, 1.0f + 1.0f / 4096);
  EXPECT_EQ(Portable().VectorDotProduct64(x.get(), x.get(), 1), 1.0 + 1.0 / 2048);
  EXPECT_EQ(Portable().VectorSquareMultiplySum64(x.get(), big.get() + 1, 1), double(x[0]) * x[0]);
}

TEST(VectorMathPortable, ReductionsAndSearches) {
  const UInt32 n = 29;
  AlignedFloats a = RandomFloats(n, 0.5f, 4.0f, 4), b = RandomFloats(n, 0.5f, 4.0f, 5), c = RandomFloats(n, 0.5f, 4.0f, 6);
  float dot = 0, dotDivide = 0, chi = 0, squareSum = 0, sum = 0, high = a[0], low = a[0];
  double dot64 = 0, dotDivide64 = 0, chi64 = 0;
  for (UInt32 i = 0; i < n; ++i) {
    dot = float(dot + double(a[i]) * b[i]);
    dot64 += double(a[i] * b[i]);
    dotDivide = float(dotDivide + double(a[i]) * b[i] / c[i]);
    dotDivide64 += double(float(double(a[i]) * b[i] / c[i]));
    const double d = double(a[i]) - b[i];
    chi = float(chi + d * d / c[i]);
    chi64 += double(float(d * d / c[i]));
    squareSum = float(squareSum + double(a[i]) * a[i] * b[i]);
    sum = sum + a[i];
    high = std::max(high, a[i]);
    low = std::min(low, a[i]);
  }
  EXPECT_EQ(Portable().VectorDotProduct(a.get(), b.get(), n), dot);
  EXPECT_EQ(Portable().VectorDotProduct64(a.get(), b.get(), n), dot64);
  EXPECT_EQ(Portable().VectorDotProductDivide(a.get(), b.get(), c.get(), n), dotDivide);
  EXPECT_EQ(Portable().VectorDotProductDivide64(a.get(), b.get(), c.get(), n), dotDivide64);
  EXPECT_EQ(Portable().VectorChiSquared(a.get(), b.get(), c.get(), n), chi);
  EXPECT_EQ(Portable().VectorChiSquared64(a.get(), b.get(), c.get(), n), chi64);
  EXPECT_EQ(Portable().VectorSquareMultiplySum(a.get(), b.get(), n), squareSum);
  EXPECT_EQ(Portable().VectorSum(a.get(), n), sum);
  EXPECT_EQ(Portable().VectorFindMaxValue(a.get(), n), high);
  EXPECT_EQ(Portable().VectorFindMinValue(a.get(), n), low);
  float outLow = 0, outHigh = 0;
  Portable().VectorFindMinMaxValue(a.get(), outLow, outHigh, n);
  EXPECT_EQ(outLow, low);
  EXPECT_EQ(outHigh, high);
}

TEST(VectorMathPortable, ComplexOperationsWorkOnInterleavedPairs) {
  const UInt32 pairs = 9;
  AlignedFloats a = RandomFloats(2 * pairs, -3.0f, 3.0f, 7), b = RandomFloats(2 * pairs, 0.5f, 3.0f, 8);
  AlignedFloats product(2 * pairs), quotient(2 * pairs), magnitude(2 * pairs), reciprocal(2 * pairs);
  Portable().VectorComplexMultiply(a.get(), b.get(), product.get(), pairs);
  Portable().VectorComplexDivide(a.get(), b.get(), quotient.get(), pairs);
  Portable().VectorComplexMagnitude(a.get(), magnitude.get(), pairs);
  Portable().VectorComplexReciprocal(a.get(), reciprocal.get(), pairs);
  for (UInt32 p = 0; p < pairs; ++p) {
    const std::complex<float> x(a[2 * p], a[2 * p + 1]), y(b[2 * p], b[2 * p + 1]);
    EXPECT_EQ(product[2 * p], (x * y).real());
    EXPECT_EQ(product[2 * p + 1], (x * y).imag());
    EXPECT_EQ(quotient[2 * p], (x / y).real());
    EXPECT_EQ(quotient[2 * p + 1], (x / y).imag());
    // The squared magnitude, as pairs: no square root, imaginary slot 0.
    EXPECT_EQ(magnitude[2 * p], x.real() * x.real() + x.imag() * x.imag());
    EXPECT_EQ(magnitude[2 * p + 1], 0.0f);
    const double d = double(x.real()) * x.real() + double(x.imag()) * x.imag();
    EXPECT_EQ(reciprocal[2 * p], float(x.real() / d));
    EXPECT_EQ(reciprocal[2 * p + 1], float(-x.imag() / d));
  }
}

TEST(VectorMathPortable, FastLogarithmIsExactAtPowersOfTwoAndStraightBetween) {
  EXPECT_EQ(lnf(1.0f), 0.0f);
  EXPECT_EQ(lnf(2.0f), kLn2);
  EXPECT_EQ(lnf(4.0f), 2 * kLn2);
  EXPECT_EQ(lnf(0.5f), -kLn2);
  EXPECT_EQ(lnf(3.0f), 1.5f * kLn2);
  EXPECT_EQ(lnf(0.0f), float(-127 * double(kLn2)));
  // The natural and decimal logarithms divide by the same approximation.
  AlignedFloats x(2);
  x[0] = 2.0f;
  x[1] = 8.0f;
  AlignedFloats out(2);
  VM::VectorLogNatural(x.get(), out.get(), 2);
  EXPECT_EQ(out[0], float(double(kLn2) * (1.0 / double(lnf(float(std::exp(1.0)))))));
  VM::VectorLogBaseTen(x.get(), out.get(), 2);
  EXPECT_EQ(out[1], float(double(3 * kLn2) * (1.0 / double(lnf(10.0f)))));
}

TEST(VectorMathPortable, EntropyKernelsUseTheGradient) {
  auto gradient = [](float x, float s) { return float((double(lnf(x * s)) + 1.0) * -double(s)); };
  const UInt32 n = 11;
  AlignedFloats a = RandomFloats(n, 0.5f, 2.0f, 9), b = RandomFloats(n, 0.5f, 2.0f, 10), c = RandomFloats(n, 0.5f, 2.0f, 11);
  float first = 0, second = 0;
  Portable().VectorSearchDerivatives(a.get(), b.get(), c.get(), 0.75f, first, second, n);
  float expectFirst = 0, expectSecond = 0, weighted = 0, plain = 0;
  for (UInt32 i = 0; i < n; ++i) {
    expectFirst = float(expectFirst + double(b[i]) * a[i]);
    expectSecond = float(expectSecond + double(gradient(c[i], 0.75f)) * a[i]);
    weighted = float(weighted + double(a[i]) * lnf(a[i]));
    plain = plain + a[i];
  }
  EXPECT_EQ(first, expectFirst);
  EXPECT_EQ(second, expectSecond);
  float outWeighted = 0, outSum = 0;
  Portable().VectorWeightedEntropy(a.get(), outWeighted, outSum, n);
  EXPECT_EQ(outWeighted, weighted);
  EXPECT_EQ(outSum, plain);
  // The 64-bit form takes the true logarithm.
  double weighted64 = 0, sum64 = 0;
  Portable().VectorWeightedEntropy64(a.get(), weighted64, sum64, n);
  double trueWeighted = 0;
  for (UInt32 i = 0; i < n; ++i) trueWeighted += double(a[i]) * std::log(double(a[i]));
  EXPECT_DOUBLE_EQ(weighted64, trueWeighted);

  // Search vector 1 in place: out = x * g(x, s), sum of out * g.
  AlignedFloats x = RandomFloats(n, 0.5f, 2.0f, 12), copy = x;
  float sum1 = 0;
  Portable().VectorCalcSearchVec1(x.get(), x.get(), 0.5f, sum1, n);
  float expectSum1 = 0;
  for (UInt32 i = 0; i < n; ++i) {
    const float g = gradient(copy[i], 0.5f), out = float(double(copy[i]) * g);
    EXPECT_EQ(x[i], out);
    expectSum1 = float(expectSum1 + double(out) * g);
  }
  EXPECT_EQ(sum1, expectSum1);
  // Both search vectors in one pass equal the two separate passes.
  AlignedFloats one(n), two(n), oneAlone(n), twoAlone(n);
  float s1 = 0, s2 = 0, s1Alone = 0, s2Alone = 0;
  Portable().VectorCalcSearchVecs1And2(a.get(), b.get(), one.get(), two.get(), 0.5f, s1, s2, n);
  Portable().VectorCalcSearchVec1(b.get(), oneAlone.get(), 0.5f, s1Alone, n);
  Portable().VectorCalcSearchVec2(a.get(), b.get(), twoAlone.get(), s2Alone, n);
  EXPECT_EQ(s1, s1Alone);
  EXPECT_EQ(s2, s2Alone);
  for (UInt32 i = 0; i < n; ++i) EXPECT_TRUE(SameBits(one[i], oneAlone[i]) && SameBits(two[i], twoAlone[i]));
}

TEST(VectorMathPortable, PreconditionsOnScalarsAndBases) {
  AlignedFloats a(4, 1.0f), out(4);
  EXPECT_THROW(VM::VectorMultiplyAndDivide(a.get(), a.get(), 0.0f, out.get(), 4), XInternalError);
  EXPECT_THROW(Portable().VectorMultiplyAndDivide(a.get(), a.get(), 0.0f, out.get(), 4), XInternalError);
  EXPECT_THROW(VM::VectorLogBaseX(a.get(), out.get(), 0.0f, 4), XInternalError);
  EXPECT_THROW(Portable().VectorLogBaseX(a.get(), out.get(), -1.0f, 4), XInternalError);
  EXPECT_THROW(VM::VectorDivideScalar(a.get(), 0.0f, out.get(), 4), XInternalError);
}

TEST(VectorMathPortable, StaticMembersBuiltFromOthers) {
  AlignedFloats a = RandomFloats(8, 1.0f, 2.0f, 13), b = RandomFloats(8, 1.0f, 2.0f, 14), out(8);
  VM::VectorSubtractScalar(a.get(), 0.5f, out.get(), 8);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], a[i] + -0.5f);
  VM::VectorComplexAdd(a.get(), b.get(), out.get(), 4);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], a[i] + b[i]);
  VM::VectorComplexSubtract(a.get(), b.get(), out.get(), 4);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], a[i] - b[i]);
  VM::VectorComplexMultiplyScalar(a.get(), 3.0f, out.get(), 4);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], a[i] * 3.0f);
  VM::VectorDivideScalar(a.get(), 3.0f, out.get(), 8);
  for (int i = 0; i < 8; ++i) EXPECT_EQ(out[i], a[i] * float(1.0 / 3.0));
}

TEST(VectorMathPortable, TransformReplacesColumnsAndAdvancesThePointers) {
  const UInt32 n = 6;
  AlignedFloats x = RandomFloats(n, -1.0f, 1.0f, 15), y = RandomFloats(n, -1.0f, 1.0f, 16);
  const AlignedFloats x0 = x, y0 = y;
  XMiniSquareMatrix matrix(2);
  matrix.Set(0, 0, 0.5f);
  matrix.Set(0, 1, 2.0f);
  matrix.Set(1, 0, -1.0f);
  matrix.Set(1, 1, 0.25f);
  float* vectors[2] = {x.get(), y.get()};
  Portable().VectorTransform(vectors, 2, matrix, n);
  EXPECT_EQ(vectors[0], x.get() + n);
  EXPECT_EQ(vectors[1], y.get() + n);
  for (UInt32 i = 0; i < n; ++i) {
    EXPECT_EQ(x[i], float(float(0.5 * x0[i]) + 2.0 * y0[i]));
    EXPECT_EQ(y[i], float(float(-1.0 * x0[i]) + 0.25 * y0[i]));
  }
  float* wrong[2] = {x.get(), y.get()};
  EXPECT_THROW(Portable().VectorTransform(wrong, 3, matrix, n), XInternalError);
  EXPECT_THROW(XMiniSquareMatrix(9), XInternalError);
}

// ---------------------------------------------------------------- the accelerated contract

TEST(VectorMathAccelerated, TheProcessorHasSSE2AndItIsCurrent) {
  ASSERT_NE(VM::GetAcceleratedImplementation(), nullptr);
  EXPECT_EQ(VM::GetCurrentImplementation(), VM::GetAcceleratedImplementation());
  VM::SetImplementation(VM::kPortableImplementation);
  EXPECT_EQ(VM::GetCurrentImplementation(), VM::GetPortableImplementation());
  VM::SetImplementation(VM::kAcceleratedImplementation);
  EXPECT_EQ(VM::GetCurrentImplementation(), VM::GetAcceleratedImplementation());
}

TEST(VectorMathAccelerated, ElementWiseResultsEqualPortableOrStayWithinTheEstimate) {
  for (UInt32 n : kCounts) {
    AlignedFloats a = RandomFloats(n, 0.5f, 4.0f, 21), b = RandomFloats(n, 0.5f, 4.0f, 22), c = RandomFloats(n, 0.5f, 4.0f, 23);
    for (const ElementCase& op : ElementCases()) {
      AlignedFloats portable(n), accelerated(n);
      op.itsCall(Portable(), a.get(), b.get(), c.get(), portable.get(), n);
      op.itsCall(Accelerated(), a.get(), b.get(), c.get(), accelerated.get(), n);
      const UInt32 tail = n - n % 4;
      for (UInt32 i = 0; i < n; ++i) {
        if (op.itsExact || i >= tail)  // the tail is portable arithmetic
          ASSERT_TRUE(SameBits(portable[i], accelerated[i])) << op.itsName << " " << n << " " << i;
        else
          ASSERT_NEAR(accelerated[i], portable[i], 2e-6f * std::fabs(portable[i])) << op.itsName << " " << i;
      }
    }
  }
}

TEST(VectorMathAccelerated, ComplexOperations) {
  for (UInt32 pairs : {7u, 257u}) {
    AlignedFloats a = RandomFloats(2 * pairs, -3.0f, 3.0f, 31), b = RandomFloats(2 * pairs, 0.5f, 3.0f, 32);
    AlignedFloats p1(2 * pairs), p2(2 * pairs);
    Portable().VectorComplexMultiply(a.get(), b.get(), p1.get(), pairs);
    Accelerated().VectorComplexMultiply(a.get(), b.get(), p2.get(), pairs);
    for (UInt32 i = 0; i < 2 * pairs; ++i) ASSERT_TRUE(SameBits(p1[i], p2[i])) << "multiply " << i;
    Portable().VectorComplexMagnitude(a.get(), p1.get(), pairs);
    Accelerated().VectorComplexMagnitude(a.get(), p2.get(), pairs);
    for (UInt32 i = 0; i < 2 * pairs; ++i) ASSERT_TRUE(SameBits(p1[i], p2[i])) << "magnitude " << i;
    Portable().VectorComplexDivide(a.get(), b.get(), p1.get(), pairs);
    Accelerated().VectorComplexDivide(a.get(), b.get(), p2.get(), pairs);
    // A quotient's parts carry the error of the whole quotient's size.
    for (UInt32 i = 0; i < 2 * pairs; ++i)
      ASSERT_NEAR(p2[i], p1[i], 4e-6f * std::hypot(p1[i & ~1u], p1[i | 1u])) << "divide " << i;
    Portable().VectorComplexReciprocal(b.get(), p1.get(), pairs);
    Accelerated().VectorComplexReciprocal(b.get(), p2.get(), pairs);
    for (UInt32 i = 0; i < 2 * pairs; ++i) ASSERT_NEAR(p2[i], p1[i], 2e-6f * std::fabs(p1[i])) << "reciprocal " << i;
  }
}

TEST(VectorMathAccelerated, ReductionsKeepFourLanesCombinedInTheStatedOrder) {
  // Lanes after two rounds: 1e8, -1e8, 1, 1 (each 1 lost against 1e8 in its lane).
  AlignedFloats x(8, 0.0f);
  const float values[8] = {1e8f, 1.0f, 1.0f, 1.0f, 1.0f, -1e8f, 0.0f, 0.0f};
  for (int i = 0; i < 8; ++i) x[i] = values[i];
  EXPECT_EQ(Portable().VectorSum(x.get(), 8), 0.0f);
  EXPECT_EQ(Accelerated().VectorSum(x.get(), 8), 2.0f);
  // The tail continues on the combined float in portable arithmetic.
  AlignedFloats y(7, 1.0f);
  y[0] = 1e8f;
  EXPECT_EQ(Accelerated().VectorSum(y.get(), 7), Portable().VectorSum(y.get(), 7));

  for (UInt32 n : kCounts) {
    AlignedFloats a = RandomFloats(n, 0.5f, 4.0f, 41), b = RandomFloats(n, 0.5f, 4.0f, 42), c = RandomFloats(n, 0.5f, 4.0f, 43);
    auto near = [](double inAccelerated, double inPortable, double inTolerance) {
      return std::fabs(inAccelerated - inPortable) <= inTolerance * std::fabs(inPortable);
    };
    EXPECT_TRUE(near(Accelerated().VectorSum(a.get(), n), Portable().VectorSum(a.get(), n), 1e-5));
    EXPECT_TRUE(near(Accelerated().VectorDotProduct(a.get(), b.get(), n), Portable().VectorDotProduct(a.get(), b.get(), n), 1e-5));
    EXPECT_TRUE(near(Accelerated().VectorDotProductDivide(a.get(), b.get(), c.get(), n),
                     Portable().VectorDotProductDivide(a.get(), b.get(), c.get(), n), 1e-5));
    EXPECT_TRUE(near(Accelerated().VectorChiSquared(a.get(), b.get(), c.get(), n),
                     Portable().VectorChiSquared(a.get(), b.get(), c.get(), n), 1e-5));
    EXPECT_TRUE(near(Accelerated().VectorSquareMultiplySum(a.get(), b.get(), n),
                     Portable().VectorSquareMultiplySum(a.get(), b.get(), n), 1e-5));
    // The double reductions differ from portable only in summation order, or
    // by the estimated reciprocal.
    EXPECT_TRUE(near(Accelerated().VectorSum64(a.get(), n), Portable().VectorSum64(a.get(), n), 1e-14));
    EXPECT_TRUE(near(Accelerated().VectorDotProduct64(a.get(), b.get(), n), Portable().VectorDotProduct64(a.get(), b.get(), n), 1e-14));
    EXPECT_TRUE(near(Accelerated().VectorSquareMultiplySum64(a.get(), b.get(), n),
                     Portable().VectorSquareMultiplySum64(a.get(), b.get(), n), 1e-14));
    EXPECT_TRUE(near(Accelerated().VectorDotProductDivide64(a.get(), b.get(), c.get(), n),
                     Portable().VectorDotProductDivide64(a.get(), b.get(), c.get(), n), 2e-6));
    EXPECT_TRUE(near(Accelerated().VectorChiSquared64(a.get(), b.get(), c.get(), n),
                     Portable().VectorChiSquared64(a.get(), b.get(), c.get(), n), 2e-6));
    AlignedFloats out1(n), out2(n);
    float sum1 = 0, sum2 = 0;
    Portable().VectorCalcSearchVec2(a.get(), b.get(), out1.get(), sum1, n);
    Accelerated().VectorCalcSearchVec2(a.get(), b.get(), out2.get(), sum2, n);
    EXPECT_TRUE(near(sum2, sum1, 1e-5));
    for (UInt32 i = 0; i < n; ++i) ASSERT_TRUE(SameBits(out1[i], out2[i]));
    double sum64a = 0, sum64b = 0;
    Portable().VectorCalcSearchVec2_64(a.get(), b.get(), out1.get(), sum64a, n);
    Accelerated().VectorCalcSearchVec2_64(a.get(), b.get(), out2.get(), sum64b, n);
    EXPECT_TRUE(near(sum64b, sum64a, 1e-14));
  }
}

TEST(VectorMathAccelerated, SearchesSeedTheirLanesNotFromTheData) {
  AlignedFloats negative = RandomFloats(9, -5.0f, -1.0f, 51);
  EXPECT_LT(Portable().VectorFindMaxValue(negative.get(), 9), 0.0f);
  EXPECT_EQ(Accelerated().VectorFindMaxValue(negative.get(), 9), FLT_MIN);
  EXPECT_EQ(Accelerated().VectorFindMaxValue(negative.get(), 1), FLT_MIN);  // one element: the tail alone
  float low = 0, high = 0;
  Accelerated().VectorFindMinMaxValue(negative.get(), low, high, 9);
  EXPECT_EQ(high, FLT_MIN);
  EXPECT_EQ(low, Portable().VectorFindMinValue(negative.get(), 9));
  // Positive data: the same answers as portable.
  AlignedFloats positive = RandomFloats(1031, 1.0f, 5.0f, 52);
  EXPECT_EQ(Accelerated().VectorFindMaxValue(positive.get(), 1031), Portable().VectorFindMaxValue(positive.get(), 1031));
  EXPECT_EQ(Accelerated().VectorFindMinValue(positive.get(), 1031), Portable().VectorFindMinValue(positive.get(), 1031));
  // Lanes of FLT_MAX: a vector above it cannot exist, but an all-infinite one reports FLT_MAX.
  AlignedFloats infinite(4, INFINITY);
  EXPECT_EQ(Accelerated().VectorFindMinValue(infinite.get(), 4), FLT_MAX);
}

TEST(VectorMathAccelerated, SquareRootOfZeroIsNaNInTheLanesAndZeroInTheTail) {
  AlignedFloats x(7, 4.0f);
  x[0] = 0.0f;
  x[5] = 0.0f;
  AlignedFloats out(7);
  Accelerated().VectorSqrt(x.get(), out.get(), 7);
  EXPECT_TRUE(std::isnan(out[0]));
  EXPECT_EQ(out[5], 0.0f);
  EXPECT_NEAR(out[1], 2.0f, 1e-6f);
  Portable().VectorSqrt(x.get(), out.get(), 7);
  EXPECT_EQ(out[0], 0.0f);
}

TEST(VectorMathAccelerated, OneUnalignedPointerRunsThePortableBody) {
  const UInt32 n = 63;
  AlignedFloats a = RandomFloats(n, 0.5f, 4.0f, 61), b = RandomFloats(n, 0.5f, 4.0f, 62), c = RandomFloats(n, 0.5f, 4.0f, 63);
  for (const ElementCase& op : ElementCases()) {
    AlignedFloats portable(n), accelerated(n);
    op.itsCall(Portable(), a.Unaligned(), b.get(), c.get(), portable.Unaligned(), n - 1);
    op.itsCall(Accelerated(), a.Unaligned(), b.get(), c.get(), accelerated.Unaligned(), n - 1);
    for (UInt32 i = 1; i < n; ++i) ASSERT_TRUE(SameBits(portable[i], accelerated[i])) << op.itsName << " " << i;
  }
  EXPECT_EQ(Accelerated().VectorFindMaxValue(a.Unaligned(), n - 1), Portable().VectorFindMaxValue(a.Unaligned(), n - 1));
  EXPECT_EQ(Accelerated().VectorSum(a.Unaligned(), n - 1), Portable().VectorSum(a.Unaligned(), n - 1));
  EXPECT_EQ(Accelerated().VectorDotProduct64(a.Unaligned(), b.get(), n - 1),
            Portable().VectorDotProduct64(a.Unaligned(), b.get(), n - 1));
}

TEST(VectorMathAccelerated, UnalignedComplexReciprocalWritesSquaredMagnitudes) {
  const UInt32 pairs = 6;
  AlignedFloats in = RandomFloats(2 * pairs + 1, 0.5f, 3.0f, 71), out(2 * pairs + 1), magnitude(2 * pairs + 1);
  Accelerated().VectorComplexReciprocal(in.Unaligned(), out.Unaligned(), pairs);
  Portable().VectorComplexMagnitude(in.Unaligned(), magnitude.Unaligned(), pairs);
  for (UInt32 i = 1; i <= 2 * pairs; ++i) EXPECT_TRUE(SameBits(out[i], magnitude[i])) << i;
}

TEST(VectorMathAccelerated, TransformNeedsEveryVectorAligned) {
  const UInt32 n = 11;
  XMiniSquareMatrix matrix(3);
  for (int r = 0; r < 3; ++r)
    for (int col = 0; col < 3; ++col) matrix.Set(r, col, float(r * 3 + col) * 0.25f - 1.0f);
  AlignedFloats x = RandomFloats(n + 1, -1, 1, 81), y = RandomFloats(n + 1, -1, 1, 82), z = RandomFloats(n + 1, -1, 1, 83);
  AlignedFloats x2 = x, y2 = y, z2 = z;
  float* portable[3] = {x.get(), y.get(), z.get()};
  float* accelerated[3] = {x2.get(), y2.get(), z2.get()};
  Portable().VectorTransform(portable, 3, matrix, n);
  Accelerated().VectorTransform(accelerated, 3, matrix, n);
  EXPECT_EQ(accelerated[2], z2.get() + n);
  for (UInt32 i = 0; i < n; ++i) {
    EXPECT_NEAR(x2[i], x[i], 1e-6f);
    EXPECT_NEAR(z2[i], z[i], 1e-6f);
  }
  for (UInt32 i = 8; i < n; ++i) EXPECT_TRUE(SameBits(y2[i], y[i]));  // the tail
  // One vector off by a float: the whole call is portable, exactly.
  AlignedFloats u = RandomFloats(n + 1, -1, 1, 84), u2 = u;
  float* p2[3] = {x.get(), y.get(), u.Unaligned()};
  float* a2[3] = {x2.get(), y2.get(), u2.Unaligned()};
  AlignedFloats xBefore = x, yBefore = y;
  for (UInt32 i = 0; i <= n; ++i) x2[i] = xBefore[i], y2[i] = yBefore[i];
  Portable().VectorTransform(p2, 3, matrix, n - 1);
  Accelerated().VectorTransform(a2, 3, matrix, n - 1);
  for (UInt32 i = 0; i < n - 1; ++i) EXPECT_TRUE(SameBits(x2[i], x[i]) && SameBits(u2[i + 1], u[i + 1]));
}

// ---------------------------------------------------------------- the speed report

TEST(VectorMathHarness, WritesOneLinePerOperationToTheSessionLog) {
  VM::TestFunctions(8, 4, 2);  // without a log manager: nothing, and no failure
  XSessionLogManager log;
  VM::TestFunctions(16, 8, 2);
  const auto entries = log.GetEntries();
  ASSERT_EQ(entries.size(), 39u);
  EXPECT_EQ(entries[0].itsText.rfind("Operation = VectorAdd : Percentage speed up = ", 0), 0u);
  EXPECT_NE(entries[0].itsText.find(" : Max percent diff = 0 "), std::string::npos) << entries[0].itsText;
  EXPECT_EQ(entries[32].itsText.rfind("Operation = VectorSearchDerivatives64 : ", 0), 0u);
  EXPECT_EQ(entries[33].itsText.rfind("Operation = VectorCalcSearchVec1 : Percentage speed up = ", 0), 0u);
  EXPECT_EQ(entries[33].itsText.find("Max percent diff"), std::string::npos);
  EXPECT_GT(entries[38].itsTime.GetMicroseconds(), 0);
  EXPECT_EQ(VM::GetCurrentImplementation(), VM::GetAcceleratedImplementation());
  // The report of the estimated division stays within the estimate.
  const std::string divide = entries[4].itsText;
  ASSERT_EQ(divide.rfind("Operation = VectorDivide :", 0), 0u);
  EXPECT_LT(std::stof(divide.substr(divide.find("diff = ") + 7)), 1e-3f);
}

TEST(VectorMathHarness, OnlyOneLogManagerAtATime) {
  XSessionLogManager first;
  EXPECT_EQ(XSessionLogManager::GetManager(), &first);
  EXPECT_THROW({ XSessionLogManager second; }, XInternalError);
  EXPECT_EQ(XSessionLogManager::GetManager(), &first);
}
