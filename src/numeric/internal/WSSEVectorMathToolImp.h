// The accelerated vector operations: four-wide single-precision SSE code, and
// SSE2 double-precision accumulation for the 64-bit reductions. Chosen at
// load by XVectorMathTool when the processor has the instruction set.
#pragma once

#include "numeric/XVectorMathToolImp.h"

namespace mirelan {

class WSSEVectorMathToolImp : public XVectorMathToolImp {
 public:
  // The base slot of VectorAddScalar stays the portable one (see below).
  using XVectorMathToolImp::VectorAddScalar;

  void VectorAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount) override;
  void VectorSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount) override;
  void VectorMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount) override;
  void VectorMultiplyScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount) override;
  void VectorComplexDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount) override;
  void VectorComplexMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount) override;
  void VectorComplexMagnitude(const float* inVector, float* outResult, UInt32 inCount) override;
  void VectorComplexReciprocal(const float* inVector, float* outResult, UInt32 inCount) override;
  void VectorDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount) override;
  void VectorMultiplyAndDivide(const float* inA, const float* inB, const float* inC, float* outResult,
                               UInt32 inCount) override;
  void VectorMultiplyAndDivide(const float* inA, float inScalar, const float* inC, float* outResult,
                               UInt32 inCount) override;
  void VectorMultiplyAndDivide(const float* inA, const float* inB, float inScalar, float* outResult,
                               UInt32 inCount) override;
  void VectorSquare(const float* inVector, float* outResult, UInt32 inCount) override;
  float VectorDotProduct(const float* inA, const float* inB, UInt32 inCount) override;
  void VectorAddAndMultiply(const float* inA, const float* inB, const float* inC, float* outResult,
                            UInt32 inCount) override;
  void VectorFillReal(float inValue, float* outResult, UInt32 inCount) override;
  void VectorSqrt(const float* inVector, float* outResult, UInt32 inCount) override;
  void VectorReciprocalSqrt(const float* inVector, float* outResult, UInt32 inCount) override;
  float VectorSum(const float* inVector, UInt32 inCount) override;
  float VectorFindMaxValue(const float* inVector, UInt32 inCount) override;
  float VectorFindMinValue(const float* inVector, UInt32 inCount) override;
  void VectorFindMinMaxValue(const float* inVector, float& outMin, float& outMax, UInt32 inCount) override;
  void VectorReciprocal(const float* inVector, float* outResult, UInt32 inCount) override;
  float VectorDotProductDivide(const float* inA, const float* inB, const float* inC, UInt32 inCount) override;
  void VectorClampBelow(const float* inVector, float* outResult, float inLimit, UInt32 inCount) override;
  void VectorClampAbove(const float* inVector, float* outResult, float inLimit, UInt32 inCount) override;
  float VectorChiSquared(const float* inA, const float* inB, const float* inC, UInt32 inCount) override;
  void VectorScalarSubtract(const float* inA, const float* inB, float inS, float inT, float* outResult,
                            UInt32 inCount) override;
  float VectorSquareMultiplySum(const float* inA, const float* inB, UInt32 inCount) override;
  void VectorCalcSearchVec2(const float* inA, const float* inB, float* outResult, float& outSum,
                            UInt32 inCount) override;
  void VectorTransform(float* inVectors[], UInt32 inDimension, XMiniSquareMatrix inMatrix, UInt32 inCount) override;

  // Its first argument is not const, so it overrides nothing: it stands as an
  // extra slot behind all the others, and calls through the base slot reach
  // the portable body. XVectorMathTool::VectorAddScalar relies on that.
  virtual void VectorAddScalar(float* inVector, float inScalar, float* outResult, UInt32 inCount);
};

class WSSE2VectorMathToolImp : public WSSEVectorMathToolImp {
 public:
  double VectorDotProduct64(const float* inA, const float* inB, UInt32 inCount) override;
  double VectorSum64(const float* inVector, UInt32 inCount) override;
  double VectorDotProductDivide64(const float* inA, const float* inB, const float* inC, UInt32 inCount) override;
  double VectorChiSquared64(const float* inA, const float* inB, const float* inC, UInt32 inCount) override;
  double VectorSquareMultiplySum64(const float* inA, const float* inB, UInt32 inCount) override;
  void VectorCalcSearchVec2_64(const float* inA, const float* inB, float* outResult, double& outSum,
                               UInt32 inCount) override;
};

}  // namespace mirelan
