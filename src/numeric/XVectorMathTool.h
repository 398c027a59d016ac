// The library's one entry to bulk arithmetic on arrays of 32-bit floats.
//
// Every operation is a static member that forwards to one process-wide
// implementation, chosen once when the library loads: SSE2 or SSE code when
// the processor has it, else the portable bodies (XVectorMathToolImp.h tells
// their arithmetic). The caller owns every array; output may be the same
// array as an input; counts are elements, or pairs in the Complex operations.
//
// The accelerated paths keep a contract of their own:
// - every array must start on a 16-byte boundary, or the whole call runs the
//   portable body (no head is peeled);
// - four floats (or two or four pairs) per round, then the remaining
//   elements one by one in the portable arithmetic;
// - a division in the main loop is a reciprocal estimate (rcpps) refined by
//   one Newton step, a reciprocal square root likewise (rsqrtps), so such
//   results differ from the portable ones in the last bits;
// - float reductions keep four lanes, combined as lane 1 + lane 0, + lane 2,
//   + lane 3; the SSE2 double reductions keep two double accumulators (lanes
//   0 and 2, lanes 1 and 3), added second + first;
// - the maximum searches seed their lanes with the smallest positive normal
//   float, so an all-negative vector gives 1.17549435e-38 as its maximum; the
//   minimum searches seed with the largest float;
// - an unaligned VectorComplexReciprocal runs the portable
//   VectorComplexMagnitude instead, and writes squared magnitudes;
// - VectorAddScalar always runs the portable body.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "numeric/XMiniSquareMatrix.h"

namespace mirelan {

class XVectorMathToolImp;
class XFPVolume;

class MIRELAN_EXPORT XVectorMathTool {
 public:
  enum XImplementation : SInt32 { kPortableImplementation = 0, kAcceleratedImplementation = 1 };

  XVectorMathTool() = delete;

  // 0 selects the portable implementation, any other value the accelerated
  // one; on a processor without SSE there is none, so do not ask for it.
  // Not while other threads are inside an operation.
  static void SetImplementation(XImplementation inImplementation);
  static XVectorMathToolImp* GetCurrentImplementation() { return sCurrentImplementation; }
  static XVectorMathToolImp* GetPortableImplementation() { return sPortableImplementation; }
  // Null on a processor without SSE.
  static XVectorMathToolImp* GetAcceleratedImplementation() { return sAcceleratedImplementation; }

  static void VectorAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorAddScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount);
  static void VectorSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorMultiplyScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount);
  static void VectorComplexDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorComplexMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorComplexMagnitude(const float* inVector, float* outResult, UInt32 inCount);
  static void VectorComplexReciprocal(const float* inVector, float* outResult, UInt32 inCount);
  static void VectorDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorAbsolute(const float* inVector, float* outResult, UInt32 inCount);
  static void VectorMultiplyAndDivide(const float* inA, const float* inB, const float* inC, float* outResult,
                                      UInt32 inCount);
  static void VectorMultiplyAndDivide(const float* inA, float inScalar, const float* inC, float* outResult,
                                      UInt32 inCount);
  // Precondition inScalar != 0.
  static void VectorMultiplyAndDivide(const float* inA, const float* inB, float inScalar, float* outResult,
                                      UInt32 inCount);
  static void VectorSquare(const float* inVector, float* outResult, UInt32 inCount);
  static float VectorDotProduct(const float* inA, const float* inB, UInt32 inCount);
  static double VectorDotProduct64(const float* inA, const float* inB, UInt32 inCount);
  static void VectorAddAndMultiply(const float* inA, const float* inB, const float* inC, float* outResult,
                                   UInt32 inCount);
  static void VectorFillReal(float inValue, float* outResult, UInt32 inCount);
  // Precondition inBase > 0.
  static void VectorLogBaseX(const float* inVector, float* outResult, float inBase, UInt32 inCount);
  static void VectorSqrt(const float* inVector, float* outResult, UInt32 inCount);
  static void VectorReciprocalSqrt(const float* inVector, float* outResult, UInt32 inCount);
  static float VectorSum(const float* inVector, UInt32 inCount);
  static double VectorSum64(const float* inVector, UInt32 inCount);
  static float VectorFindMaxValue(const float* inVector, UInt32 inCount);
  static float VectorFindMinValue(const float* inVector, UInt32 inCount);
  static void VectorFindMinMaxValue(const float* inVector, float& outMin, float& outMax, UInt32 inCount);
  static void VectorReciprocal(const float* inVector, float* outResult, UInt32 inCount);
  static float VectorDotProductDivide(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  static double VectorDotProductDivide64(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  static void VectorClampBelow(const float* inVector, float* outResult, float inLimit, UInt32 inCount);
  static void VectorClampAbove(const float* inVector, float* outResult, float inLimit, UInt32 inCount);
  static void VectorWeightedEntropy(const float* inVector, float& outWeighted, float& outSum, UInt32 inCount);
  static void VectorWeightedEntropy64(const float* inVector, double& outWeighted, double& outSum, UInt32 inCount);
  static float VectorChiSquared(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  static double VectorChiSquared64(const float* inA, const float* inB, const float* inC, UInt32 inCount);
  static void VectorScalarSubtract(const float* inA, const float* inB, float inS, float inT, float* outResult,
                                   UInt32 inCount);
  static float VectorSquareMultiplySum(const float* inA, const float* inB, UInt32 inCount);
  static double VectorSquareMultiplySum64(const float* inA, const float* inB, UInt32 inCount);
  static void VectorSearchDerivatives(const float* inA, const float* inB, const float* inC, float inS,
                                      float& outFirst, float& outSecond, UInt32 inCount);
  static void VectorSearchDerivatives64(const float* inA, const float* inB, const float* inC, double inS,
                                        double& outFirst, double& outSecond, UInt32 inCount);
  static void VectorCalcSearchVec1(const float* inVector, float* outResult, float inS, float& outSum,
                                   UInt32 inCount);
  static void VectorCalcSearchVec1_64(const float* inVector, float* outResult, double inS, double& outSum,
                                      UInt32 inCount);
  static void VectorCalcSearchVec2(const float* inA, const float* inB, float* outResult, float& outSum,
                                   UInt32 inCount);
  static void VectorCalcSearchVec2_64(const float* inA, const float* inB, float* outResult, double& outSum,
                                      UInt32 inCount);
  static void VectorCalcSearchVecs1And2(const float* inA, const float* inB, float* outFirst, float* outSecond,
                                        float inS, float& outSum1, float& outSum2, UInt32 inCount);
  static void VectorCalcSearchVecs1And2_64(const float* inA, const float* inB, float* outFirst, float* outSecond,
                                           double inS, double& outSum1, double& outSum2, UInt32 inCount);
  static void VectorTransform(float* inVectors[], UInt32 inDimension, XMiniSquareMatrix inMatrix, UInt32 inCount);
  static void VectorSubtractAndScalarMultiply(const float* inA, const float* inB, float inScalar, float* outResult,
                                              UInt32 inCount);
  static void VectorDivideScalarByVector(float inScalar, const float* inVector, float* outResult, UInt32 inCount);
  static void VectorThresholdWithZeroFill(const float* inVector, float inLimit, float* outResult, UInt32 inCount);

  // Built from the operations above.
  static void VectorSubtractScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount);
  static void VectorComplexAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorComplexSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount);
  static void VectorComplexMultiplyScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount);
  // Precondition inScalar != 0.
  static void VectorDivideScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount);
  static void VectorLogNatural(const float* inVector, float* outResult, UInt32 inCount);
  static void VectorLogBaseTen(const float* inVector, float* outResult, UInt32 inCount);

  // Diagnostic: times every operation on volumes of the size with the
  // portable and the accelerated implementation, and writes the speed-up
  // and the largest difference in percent to the session log (nothing
  // without a log manager). Leaves the accelerated implementation current.
  static void TestFunctions(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);

 private:
  // Chooses the implementation by the processor's features; returns the
  // accelerated object, or null when the processor has no SSE.
  static XVectorMathToolImp* Init();
  static void WriteOut(const char* inName, float inMaxDifference, UInt64 inPortableTime, UInt64 inAcceleratedTime,
                       bool inShowDifference);
  // Element i of the storage becomes inBase + i.
  static void FillVolume(XFPVolume& ioVolume, float inBase);
  // The largest abs(100 * (a - b) / a) over all elements.
  static float Compare(const XFPVolume& inA, const XFPVolume& inB);

  static XVectorMathToolImp* sCurrentImplementation;
  static XVectorMathToolImp* sPortableImplementation;
  static XVectorMathToolImp* sAcceleratedImplementation;
};

}  // namespace mirelan
