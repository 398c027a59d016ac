// The portable bodies of the bulk float operations. XVectorMathTool forwards
// every call to one object of this class or of an accelerated subclass.
//
// Arrays are plain float pointers; a count is a number of elements, and in
// the Complex operations a number of (real, imaginary) pairs. Output may be
// the same array as an input. Unless an operation says otherwise, each float
// operation promotes its inputs to double, evaluates there and rounds once
// to float when storing; float accumulators are rounded after every element.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "numeric/XMiniSquareMatrix.h"

namespace mirelan {

class MIRELAN_EXPORT XVectorMathToolImp {
 public:
  XVectorMathToolImp() = default;
  virtual ~XVectorMathToolImp();
  XVectorMathToolImp(const XVectorMathToolImp&) = delete;
  XVectorMathToolImp& operator=(const XVectorMathToolImp&) = delete;

  // The virtual operations, in slot order.
  virtual void VectorAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  virtual void VectorAddScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount);
  virtual void VectorSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  virtual void VectorMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  virtual void VectorMultiplyScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount);
  virtual void VectorComplexDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  virtual void VectorComplexMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  // The squared magnitude into the real slot and 0 into the imaginary one.
  virtual void VectorComplexMagnitude(const float* inVector, float* outResult, UInt32 inCount);
  virtual void VectorComplexReciprocal(const float* inVector, float* outResult, UInt32 inCount);
  virtual void VectorDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  virtual void VectorAbsolute(const float* inVector, float* outResult, UInt32 inCount);
  // a * b / c
  virtual void VectorMultiplyAndDivide(const float* inA, const float* inB, const float* inC, float* outResult,
                                       UInt32 inCount);
  // a * scalar / c
  virtual void VectorMultiplyAndDivide(const float* inA, float inScalar, const float* inC, float* outResult,
                                       UInt32 inCount);
  // a * b / scalar; precondition inScalar != 0
  virtual void VectorMultiplyAndDivide(const float* inA, const float* inB, float inScalar, float* outResult,
                                       UInt32 inCount);
  virtual void VectorSquare(const float* inVector, float* outResult, UInt32 inCount);
  virtual float VectorDotProduct(const float* inA, const float* inB, UInt32 inCount);
  virtual double VectorDotProduct64(const float* inA, const float* inB, UInt32 inCount);
  // (a + b) * c
  virtual void VectorAddAndMultiply(const float* inA, const float* inB, const float* inC, float* outResult,
                                    UInt32 inCount);
  virtual void VectorFillReal(float inValue, float* outResult, UInt32 inCount);
  // lnf(x) / lnf(base); precondition inBase > 0
  virtual void VectorLogBaseX(const float* inVector, float* outResult, float inBase, UInt32 inCount);
  virtual void VectorSqrt(const float* inVector, float* outResult, UInt32 inCount);
  virtual void VectorReciprocalSqrt(const float* inVector, float* outResult, UInt32 inCount);
  virtual float VectorSum(const float* inVector, UInt32 inCount);
  virtual double VectorSum64(const float* inVector, UInt32 inCount);
  // The three searches read inVector[0] even for a count of 0.
  virtual float VectorFindMaxValue(const float* inVector, UInt32 inCount);
  virtual float VectorFindMinValue(const float* inVector, UInt32 inCount);
  virtual void VectorFindMinMaxValue(const float* inVector, float& outMin, float& outMax, UInt32 inCount);
  virtual void VectorReciprocal(const float* inVector, float* outResult, UInt32 inCount);
  // sum a * b / c
  virtual float VectorDotProductDivide(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  virtual double VectorDotProductDivide64(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  // limit where limit > x; limit where x > limit
  virtual void VectorClampBelow(const float* inVector, float* outResult, float inLimit, UInt32 inCount);
  virtual void VectorClampAbove(const float* inVector, float* outResult, float inLimit, UInt32 inCount);
  // sum x * lnf(x) and sum x
  virtual void VectorWeightedEntropy(const float* inVector, float& outWeighted, float& outSum, UInt32 inCount);
  // sum x * ln(x) with the true logarithm, and sum x
  virtual void VectorWeightedEntropy64(const float* inVector, double& outWeighted, double& outSum, UInt32 inCount);
  // sum (a - b)^2 / c
  virtual float VectorChiSquared(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  virtual double VectorChiSquared64(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  // a * s - b * t
  virtual void VectorScalarSubtract(const float* inA, const float* inB, float inS, float inT, float* outResult,
                                    UInt32 inCount);
  // sum a^2 * b
  virtual float VectorSquareMultiplySum(const float* inA, const float* inB, UInt32 inCount);
  virtual double VectorSquareMultiplySum64(const float* inA, const float* inB, UInt32 inCount);
  // out1 = sum b * a, out2 = sum g(c, s) * a
  virtual void VectorSearchDerivatives(const float* inA, const float* inB, const float* inC, float inS,
                                       float& outFirst, float& outSecond, UInt32 inCount);
  virtual void VectorSearchDerivatives64(const float* inA, const float* inB, const float* inC, double inS,
                                         double& outFirst, double& outSecond, UInt32 inCount);
  // out = x * g(x, s), sum out * g(x, s)
  virtual void VectorCalcSearchVec1(const float* inVector, float* outResult, float inS, float& outSum,
                                    UInt32 inCount);
  virtual void VectorCalcSearchVec1_64(const float* inVector, float* outResult, double inS, double& outSum,
                                       UInt32 inCount);
  // out = a * b, sum a * out
  virtual void VectorCalcSearchVec2(const float* inA, const float* inB, float* outResult, float& outSum,
                                    UInt32 inCount);
  virtual void VectorCalcSearchVec2_64(const float* inA, const float* inB, float* outResult, double& outSum,
                                       UInt32 inCount);
  // Search vector 1 of b into out1, search vector 2 of a and b into out2, in one pass.
  virtual void VectorCalcSearchVecs1And2(const float* inA, const float* inB, float* outFirst, float* outSecond,
                                         float inS, float& outSum1, float& outSum2, UInt32 inCount);
  virtual void VectorCalcSearchVecs1And2_64(const float* inA, const float* inB, float* outFirst, float* outSecond,
                                            double inS, double& outSum1, double& outSum2, UInt32 inCount);
  // Replaces, at each position, the column of the inDimension vectors by
  // matrix * column; every pointer of inVectors is advanced past its data.
  virtual void VectorTransform(float* inVectors[], UInt32 inDimension, XMiniSquareMatrix inMatrix, UInt32 inCount);
  // (a - b) * scalar
  virtual void VectorSubtractAndScalarMultiply(const float* inA, const float* inB, float inScalar, float* outResult,
                                               UInt32 inCount);
  // scalar / x
  virtual void VectorDivideScalarByVector(float inScalar, const float* inVector, float* outResult, UInt32 inCount);
  // x where x > limit, else 0
  virtual void VectorThresholdWithZeroFill(const float* inVector, float inLimit, float* outResult, UInt32 inCount);

 protected:
  // The entropy gradient g(x, s) = (lnf(float(x * s)) + 1) * -s.
  float VectorCalcGradS(float inX, float inS) const;
};

// The fast logarithm: exact at powers of two and a straight line between
// them; lnf(0) is -127 * ln 2, not minus infinity.
MIRELAN_EXPORT float lnf(float inX);

}  // namespace mirelan
