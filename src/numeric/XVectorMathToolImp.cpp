#include "numeric/XVectorMathToolImp.h"

#include <cmath>
#include <complex>

#include "core/XException.h"
#include "numeric/internal/XVectorMathSteps.h"

namespace mirelan {

namespace vs = vmsteps;

using Complex = std::complex<float>;

namespace {

const Complex* AsComplex(const float* inPairs) { return reinterpret_cast<const Complex*>(inPairs); }
Complex* AsComplex(float* inPairs) { return reinterpret_cast<Complex*>(inPairs); }

}  // namespace

float lnf(float inX) { return vs::FastLog(inX); }

XVectorMathToolImp::~XVectorMathToolImp() = default;

float XVectorMathToolImp::VectorCalcGradS(float inX, float inS) const { return vs::Gradient(inX, inS); }

// ---------------------------------------------------------------- element-wise

void XVectorMathToolImp::VectorAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inA[i] + inB[i];
}

void XVectorMathToolImp::VectorAddScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inVector[i] + inScalar;
}

void XVectorMathToolImp::VectorSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inA[i] - inB[i];
}

void XVectorMathToolImp::VectorMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inA[i] * inB[i];
}

void XVectorMathToolImp::VectorMultiplyScalar(const float* inVector, float inScalar, float* outResult,
                                              UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inVector[i] * inScalar;
}

void XVectorMathToolImp::VectorComplexDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  const Complex* a = AsComplex(inA);
  const Complex* b = AsComplex(inB);
  Complex* out = AsComplex(outResult);
  for (UInt32 i = 0; i < inCount; ++i) out[i] = a[i] / b[i];
}

void XVectorMathToolImp::VectorComplexMultiply(const float* inA, const float* inB, float* outResult,
                                               UInt32 inCount) {
  const Complex* a = AsComplex(inA);
  const Complex* b = AsComplex(inB);
  Complex* out = AsComplex(outResult);
  for (UInt32 i = 0; i < inCount; ++i) out[i] = a[i] * b[i];
}

void XVectorMathToolImp::VectorComplexMagnitude(const float* inVector, float* outResult, UInt32 inCount) {
  const Complex* in = AsComplex(inVector);
  Complex* out = AsComplex(outResult);
  for (UInt32 i = 0; i < inCount; ++i) {
    const Complex product = in[i] * std::conj(in[i]);
    out[i] = Complex(product.real(), 0.0f);
  }
}

void XVectorMathToolImp::VectorComplexReciprocal(const float* inVector, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) {
    const double re = inVector[2 * i], im = inVector[2 * i + 1];
    const double d = re * re + im * im;
    outResult[2 * i] = float(re / d);
    outResult[2 * i + 1] = float(-im / d);
  }
}

void XVectorMathToolImp::VectorDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inA[i] / inB[i];
}

void XVectorMathToolImp::VectorAbsolute(const float* inVector, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = std::fabs(inVector[i]);
}

void XVectorMathToolImp::VectorMultiplyAndDivide(const float* inA, const float* inB, const float* inC,
                                                 float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(double(inA[i]) * double(inB[i]) / double(inC[i]));
}

void XVectorMathToolImp::VectorMultiplyAndDivide(const float* inA, float inScalar, const float* inC,
                                                 float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(double(inA[i]) * double(inScalar) / double(inC[i]));
}

void XVectorMathToolImp::VectorMultiplyAndDivide(const float* inA, const float* inB, float inScalar,
                                                 float* outResult, UInt32 inCount) {
  XAssert(inScalar != 0.0f);
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(double(inA[i]) * double(inB[i]) / double(inScalar));
}

void XVectorMathToolImp::VectorSquare(const float* inVector, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(double(inVector[i]) * double(inVector[i]));
}

void XVectorMathToolImp::VectorAddAndMultiply(const float* inA, const float* inB, const float* inC,
                                              float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i)
    outResult[i] = float((double(inA[i]) + double(inB[i])) * double(inC[i]));
}

void XVectorMathToolImp::VectorFillReal(float inValue, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inValue;
}

void XVectorMathToolImp::VectorLogBaseX(const float* inVector, float* outResult, float inBase, UInt32 inCount) {
  XAssert(inBase > 0.0f);
  const double reciprocal = 1.0 / double(vs::FastLog(inBase));
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(double(vs::FastLog(inVector[i])) * reciprocal);
}

void XVectorMathToolImp::VectorSqrt(const float* inVector, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(std::sqrt(double(inVector[i])));
}

void XVectorMathToolImp::VectorReciprocalSqrt(const float* inVector, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(1.0 / std::sqrt(double(inVector[i])));
}

void XVectorMathToolImp::VectorReciprocal(const float* inVector, float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = float(1.0 / double(inVector[i]));
}

void XVectorMathToolImp::VectorClampBelow(const float* inVector, float* outResult, float inLimit, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inLimit > inVector[i] ? inLimit : inVector[i];
}

void XVectorMathToolImp::VectorClampAbove(const float* inVector, float* outResult, float inLimit, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inVector[i] > inLimit ? inLimit : inVector[i];
}

void XVectorMathToolImp::VectorScalarSubtract(const float* inA, const float* inB, float inS, float inT,
                                              float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i)
    outResult[i] = float(double(inA[i]) * double(inS) - double(inB[i]) * double(inT));
}

void XVectorMathToolImp::VectorSubtractAndScalarMultiply(const float* inA, const float* inB, float inScalar,
                                                         float* outResult, UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i)
    outResult[i] = float((double(inA[i]) - double(inB[i])) * double(inScalar));
}

void XVectorMathToolImp::VectorDivideScalarByVector(float inScalar, const float* inVector, float* outResult,
                                                    UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inScalar / inVector[i];
}

void XVectorMathToolImp::VectorThresholdWithZeroFill(const float* inVector, float inLimit, float* outResult,
                                                     UInt32 inCount) {
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = inVector[i] > inLimit ? inVector[i] : 0.0f;
}

// ---------------------------------------------------------------- reductions

float XVectorMathToolImp::VectorDotProduct(const float* inA, const float* inB, UInt32 inCount) {
  float sum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::Dot(sum, inA[i], inB[i]);
  return sum;
}

double XVectorMathToolImp::VectorDotProduct64(const float* inA, const float* inB, UInt32 inCount) {
  double sum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::Dot64(sum, inA[i], inB[i]);
  return sum;
}

float XVectorMathToolImp::VectorSum(const float* inVector, UInt32 inCount) {
  float sum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::Sum(sum, inVector[i]);
  return sum;
}

double XVectorMathToolImp::VectorSum64(const float* inVector, UInt32 inCount) {
  double sum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) sum += double(inVector[i]);
  return sum;
}

float XVectorMathToolImp::VectorFindMaxValue(const float* inVector, UInt32 inCount) {
  float maximum = inVector[0];
  for (UInt32 i = 0; i < inCount; ++i) maximum = vs::MaxOf(maximum, inVector[i]);
  return maximum;
}

float XVectorMathToolImp::VectorFindMinValue(const float* inVector, UInt32 inCount) {
  float minimum = inVector[0];
  for (UInt32 i = 0; i < inCount; ++i) minimum = vs::MinOf(minimum, inVector[i]);
  return minimum;
}

void XVectorMathToolImp::VectorFindMinMaxValue(const float* inVector, float& outMin, float& outMax,
                                               UInt32 inCount) {
  float minimum = inVector[0], maximum = inVector[0];
  for (UInt32 i = 0; i < inCount; ++i) {
    minimum = vs::MinOf(minimum, inVector[i]);
    maximum = vs::MaxOf(maximum, inVector[i]);
  }
  outMin = minimum;
  outMax = maximum;
}

float XVectorMathToolImp::VectorDotProductDivide(const float* inA, const float* inB, const float* inC,
                                                 UInt32 inCount) {
  float sum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::DotDivide(sum, inA[i], inB[i], inC[i]);
  return sum;
}

double XVectorMathToolImp::VectorDotProductDivide64(const float* inA, const float* inB, const float* inC,
                                                    UInt32 inCount) {
  double sum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::DotDivide64(sum, inA[i], inB[i], inC[i]);
  return sum;
}

void XVectorMathToolImp::VectorWeightedEntropy(const float* inVector, float& outWeighted, float& outSum,
                                               UInt32 inCount) {
  outWeighted = 0.0f;
  outSum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) {
    const float x = inVector[i];
    outWeighted = float(double(outWeighted) + double(x) * double(vs::FastLog(x)));
    outSum = vs::Sum(outSum, x);
  }
}

void XVectorMathToolImp::VectorWeightedEntropy64(const float* inVector, double& outWeighted, double& outSum,
                                                 UInt32 inCount) {
  outWeighted = 0.0;
  outSum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) {
    const double x = inVector[i];
    outWeighted += x * std::log(x);
    outSum += x;
  }
}

float XVectorMathToolImp::VectorChiSquared(const float* inA, const float* inB, const float* inC, UInt32 inCount) {
  float sum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::ChiSquared(sum, inA[i], inB[i], inC[i]);
  return sum;
}

double XVectorMathToolImp::VectorChiSquared64(const float* inA, const float* inB, const float* inC,
                                              UInt32 inCount) {
  double sum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::ChiSquared64(sum, inA[i], inB[i], inC[i]);
  return sum;
}

float XVectorMathToolImp::VectorSquareMultiplySum(const float* inA, const float* inB, UInt32 inCount) {
  float sum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::SquareMultiplySum(sum, inA[i], inB[i]);
  return sum;
}

double XVectorMathToolImp::VectorSquareMultiplySum64(const float* inA, const float* inB, UInt32 inCount) {
  double sum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) sum = vs::SquareMultiplySum64(sum, inA[i], inB[i]);
  return sum;
}

// ---------------------------------------------------------------- maximum-entropy search kernels

void XVectorMathToolImp::VectorSearchDerivatives(const float* inA, const float* inB, const float* inC, float inS,
                                                 float& outFirst, float& outSecond, UInt32 inCount) {
  outFirst = 0.0f;
  outSecond = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) {
    outFirst = vs::Dot(outFirst, inB[i], inA[i]);
    outSecond = vs::Dot(outSecond, VectorCalcGradS(inC[i], inS), inA[i]);
  }
}

void XVectorMathToolImp::VectorSearchDerivatives64(const float* inA, const float* inB, const float* inC,
                                                   double inS, double& outFirst, double& outSecond,
                                                   UInt32 inCount) {
  const float s = float(inS);
  outFirst = 0.0;
  outSecond = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) {
    outFirst += double(inB[i]) * double(inA[i]);
    outSecond += double(VectorCalcGradS(inC[i], s)) * double(inA[i]);
  }
}

void XVectorMathToolImp::VectorCalcSearchVec1(const float* inVector, float* outResult, float inS, float& outSum,
                                              UInt32 inCount) {
  outSum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) {
    const float x = inVector[i];
    const float gradient = VectorCalcGradS(x, inS);
    const float out = float(double(x) * double(gradient));
    outResult[i] = out;
    outSum = vs::Dot(outSum, out, gradient);
  }
}

void XVectorMathToolImp::VectorCalcSearchVec1_64(const float* inVector, float* outResult, double inS,
                                                 double& outSum, UInt32 inCount) {
  const float s = float(inS);
  outSum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) {
    const float x = inVector[i];
    const float gradient = VectorCalcGradS(x, s);
    const float out = float(double(x) * double(gradient));
    outResult[i] = out;
    outSum += double(out) * double(gradient);
  }
}

void XVectorMathToolImp::VectorCalcSearchVec2(const float* inA, const float* inB, float* outResult, float& outSum,
                                              UInt32 inCount) {
  outSum = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = vs::SearchVec2(outSum, inA[i], inB[i]);
}

void XVectorMathToolImp::VectorCalcSearchVec2_64(const float* inA, const float* inB, float* outResult,
                                                 double& outSum, UInt32 inCount) {
  outSum = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) outResult[i] = vs::SearchVec2_64(outSum, inA[i], inB[i]);
}

void XVectorMathToolImp::VectorCalcSearchVecs1And2(const float* inA, const float* inB, float* outFirst,
                                                   float* outSecond, float inS, float& outSum1, float& outSum2,
                                                   UInt32 inCount) {
  outSum1 = 0.0f;
  outSum2 = 0.0f;
  for (UInt32 i = 0; i < inCount; ++i) {
    const float a = inA[i], b = inB[i];  // read before either output may overwrite them
    const float gradient = VectorCalcGradS(b, inS);
    const float first = float(double(b) * double(gradient));
    outSum1 = vs::Dot(outSum1, first, gradient);
    outFirst[i] = first;
    outSecond[i] = vs::SearchVec2(outSum2, a, b);
  }
}

void XVectorMathToolImp::VectorCalcSearchVecs1And2_64(const float* inA, const float* inB, float* outFirst,
                                                      float* outSecond, double inS, double& outSum1,
                                                      double& outSum2, UInt32 inCount) {
  const float s = float(inS);
  outSum1 = 0.0;
  outSum2 = 0.0;
  for (UInt32 i = 0; i < inCount; ++i) {
    const float a = inA[i], b = inB[i];
    const float gradient = VectorCalcGradS(b, s);
    const float first = float(double(b) * double(gradient));
    outSum1 += double(first) * double(gradient);
    outFirst[i] = first;
    outSecond[i] = vs::SearchVec2_64(outSum2, a, b);
  }
}

// ---------------------------------------------------------------- transform

void XVectorMathToolImp::VectorTransform(float* inVectors[], UInt32 inDimension, XMiniSquareMatrix inMatrix,
                                         UInt32 inCount) {
  XAssert(inDimension == inMatrix.GetSize());
  float matrix[XMiniSquareMatrix::kMaxSize][XMiniSquareMatrix::kMaxSize];
  for (UInt32 r = 0; r < inDimension; ++r)
    for (UInt32 c = 0; c < inDimension; ++c) matrix[r][c] = inMatrix.Get(SInt32(r), SInt32(c));
  float column[XMiniSquareMatrix::kMaxSize];
  for (UInt32 i = 0; i < inCount; ++i) {
    for (UInt32 k = 0; k < inDimension; ++k) column[k] = *inVectors[k];
    for (UInt32 r = 0; r < inDimension; ++r) {
      float sum = 0.0f;
      for (UInt32 c = 0; c < inDimension; ++c) sum = vs::Dot(sum, matrix[r][c], column[c]);
      *inVectors[r]++ = sum;
    }
  }
}

}  // namespace mirelan
