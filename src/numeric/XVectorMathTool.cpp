#include "numeric/XVectorMathTool.h"

#include <cmath>
#include <cstdio>
#include <functional>

#include "core/XException.h"
#include "core/XIntelCPUInfo.h"
#include "core/XSessionLogManager.h"
#include "core/XTimer.h"
#include "numeric/internal/WSSEVectorMathToolImp.h"
#include "volume/XFPVolume.h"

namespace mirelan {

XVectorMathToolImp* XVectorMathTool::sCurrentImplementation = nullptr;
XVectorMathToolImp* XVectorMathTool::sPortableImplementation = nullptr;
// Made while the library loads, before any tool can run; never freed.
XVectorMathToolImp* XVectorMathTool::sAcceleratedImplementation = XVectorMathTool::Init();

XVectorMathToolImp* XVectorMathTool::Init() {
  const XIntelCPUInfo& info = XIntelCPUInfo::GetInfo();
  XVectorMathToolImp* accelerated = nullptr;
  if (info.HasFeature(XIntelCPUInfo::kFeatureSSE2))
    accelerated = new WSSE2VectorMathToolImp;
  else if (info.HasFeature(XIntelCPUInfo::kFeatureSSE))
    accelerated = new WSSEVectorMathToolImp;
  sPortableImplementation = new XVectorMathToolImp;
  sCurrentImplementation = accelerated ? accelerated : sPortableImplementation;
  return accelerated;
}

void XVectorMathTool::SetImplementation(XImplementation inImplementation) {
  sCurrentImplementation = inImplementation == kPortableImplementation ? sPortableImplementation
                                                                       : sAcceleratedImplementation;
}

// ---------------------------------------------------------------- forwarding

void XVectorMathTool::VectorAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorAdd(inA, inB, outResult, inCount);
}
void XVectorMathTool::VectorAddScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorAddScalar(inVector, inScalar, outResult, inCount);
}
void XVectorMathTool::VectorSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorSubtract(inA, inB, outResult, inCount);
}
void XVectorMathTool::VectorMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorMultiply(inA, inB, outResult, inCount);
}
void XVectorMathTool::VectorMultiplyScalar(const float* inVector, float inScalar, float* outResult,
                                           UInt32 inCount) {
  sCurrentImplementation->VectorMultiplyScalar(inVector, inScalar, outResult, inCount);
}
void XVectorMathTool::VectorComplexDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorComplexDivide(inA, inB, outResult, inCount);
}
void XVectorMathTool::VectorComplexMultiply(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorComplexMultiply(inA, inB, outResult, inCount);
}
void XVectorMathTool::VectorComplexMagnitude(const float* inVector, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorComplexMagnitude(inVector, outResult, inCount);
}
void XVectorMathTool::VectorComplexReciprocal(const float* inVector, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorComplexReciprocal(inVector, outResult, inCount);
}
void XVectorMathTool::VectorDivide(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorDivide(inA, inB, outResult, inCount);
}
void XVectorMathTool::VectorAbsolute(const float* inVector, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorAbsolute(inVector, outResult, inCount);
}
void XVectorMathTool::VectorMultiplyAndDivide(const float* inA, const float* inB, const float* inC,
                                              float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorMultiplyAndDivide(inA, inB, inC, outResult, inCount);
}
void XVectorMathTool::VectorMultiplyAndDivide(const float* inA, float inScalar, const float* inC, float* outResult,
                                              UInt32 inCount) {
  sCurrentImplementation->VectorMultiplyAndDivide(inA, inScalar, inC, outResult, inCount);
}
void XVectorMathTool::VectorMultiplyAndDivide(const float* inA, const float* inB, float inScalar, float* outResult,
                                              UInt32 inCount) {
  XAssert(inScalar != 0.0);
  sCurrentImplementation->VectorMultiplyAndDivide(inA, inB, inScalar, outResult, inCount);
}
void XVectorMathTool::VectorSquare(const float* inVector, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorSquare(inVector, outResult, inCount);
}
float XVectorMathTool::VectorDotProduct(const float* inA, const float* inB, UInt32 inCount) {
  return sCurrentImplementation->VectorDotProduct(inA, inB, inCount);
}
double XVectorMathTool::VectorDotProduct64(const float* inA, const float* inB, UInt32 inCount) {
  return sCurrentImplementation->VectorDotProduct64(inA, inB, inCount);
}
void XVectorMathTool::VectorAddAndMultiply(const float* inA, const float* inB, const float* inC, float* outResult,
                                           UInt32 inCount) {
  sCurrentImplementation->VectorAddAndMultiply(inA, inB, inC, outResult, inCount);
}
void XVectorMathTool::VectorFillReal(float inValue, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorFillReal(inValue, outResult, inCount);
}
void XVectorMathTool::VectorLogBaseX(const float* inVector, float* outResult, float inBase, UInt32 inCount) {
  XAssert(inBase > 0.0f);
  sCurrentImplementation->VectorLogBaseX(inVector, outResult, inBase, inCount);
}
void XVectorMathTool::VectorSqrt(const float* inVector, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorSqrt(inVector, outResult, inCount);
}
void XVectorMathTool::VectorReciprocalSqrt(const float* inVector, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorReciprocalSqrt(inVector, outResult, inCount);
}
float XVectorMathTool::VectorSum(const float* inVector, UInt32 inCount) {
  return sCurrentImplementation->VectorSum(inVector, inCount);
}
double XVectorMathTool::VectorSum64(const float* inVector, UInt32 inCount) {
  return sCurrentImplementation->VectorSum64(inVector, inCount);
}
float XVectorMathTool::VectorFindMaxValue(const float* inVector, UInt32 inCount) {
  return sCurrentImplementation->VectorFindMaxValue(inVector, inCount);
}
float XVectorMathTool::VectorFindMinValue(const float* inVector, UInt32 inCount) {
  return sCurrentImplementation->VectorFindMinValue(inVector, inCount);
}
void XVectorMathTool::VectorFindMinMaxValue(const float* inVector, float& outMin, float& outMax, UInt32 inCount) {
  sCurrentImplementation->VectorFindMinMaxValue(inVector, outMin, outMax, inCount);
}
void XVectorMathTool::VectorReciprocal(const float* inVector, float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorReciprocal(inVector, outResult, inCount);
}
float XVectorMathTool::VectorDotProductDivide(const float* inA, const float* inB, const float* inC, UInt32 inCount) {
  return sCurrentImplementation->VectorDotProductDivide(inA, inB, inC, inCount);
}
double XVectorMathTool::VectorDotProductDivide64(const float* inA, const float* inB, const float* inC,
                                                 UInt32 inCount) {
  return sCurrentImplementation->VectorDotProductDivide64(inA, inB, inC, inCount);
}
void XVectorMathTool::VectorClampBelow(const float* inVector, float* outResult, float inLimit, UInt32 inCount) {
  sCurrentImplementation->VectorClampBelow(inVector, outResult, inLimit, inCount);
}
void XVectorMathTool::VectorClampAbove(const float* inVector, float* outResult, float inLimit, UInt32 inCount) {
  sCurrentImplementation->VectorClampAbove(inVector, outResult, inLimit, inCount);
}
void XVectorMathTool::VectorWeightedEntropy(const float* inVector, float& outWeighted, float& outSum,
                                            UInt32 inCount) {
  sCurrentImplementation->VectorWeightedEntropy(inVector, outWeighted, outSum, inCount);
}
void XVectorMathTool::VectorWeightedEntropy64(const float* inVector, double& outWeighted, double& outSum,
                                              UInt32 inCount) {
  sCurrentImplementation->VectorWeightedEntropy64(inVector, outWeighted, outSum, inCount);
}
float XVectorMathTool::VectorChiSquared(const float* inA, const float* inB, const float* inC, UInt32 inCount) {
  return sCurrentImplementation->VectorChiSquared(inA, inB, inC, inCount);
}
double XVectorMathTool::VectorChiSquared64(const float* inA, const float* inB, const float* inC, UInt32 inCount) {
  return sCurrentImplementation->VectorChiSquared64(inA, inB, inC, inCount);
}
void XVectorMathTool::VectorScalarSubtract(const float* inA, const float* inB, float inS, float inT,
                                           float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorScalarSubtract(inA, inB, inS, inT, outResult, inCount);
}
float XVectorMathTool::VectorSquareMultiplySum(const float* inA, const float* inB, UInt32 inCount) {
  return sCurrentImplementation->VectorSquareMultiplySum(inA, inB, inCount);
}
double XVectorMathTool::VectorSquareMultiplySum64(const float* inA, const float* inB, UInt32 inCount) {
  return sCurrentImplementation->VectorSquareMultiplySum64(inA, inB, inCount);
}
void XVectorMathTool::VectorSearchDerivatives(const float* inA, const float* inB, const float* inC, float inS,
                                              float& outFirst, float& outSecond, UInt32 inCount) {
  sCurrentImplementation->VectorSearchDerivatives(inA, inB, inC, inS, outFirst, outSecond, inCount);
}
void XVectorMathTool::VectorSearchDerivatives64(const float* inA, const float* inB, const float* inC, double inS,
                                                double& outFirst, double& outSecond, UInt32 inCount) {
  sCurrentImplementation->VectorSearchDerivatives64(inA, inB, inC, inS, outFirst, outSecond, inCount);
}
void XVectorMathTool::VectorCalcSearchVec1(const float* inVector, float* outResult, float inS, float& outSum,
                                           UInt32 inCount) {
  sCurrentImplementation->VectorCalcSearchVec1(inVector, outResult, inS, outSum, inCount);
}
void XVectorMathTool::VectorCalcSearchVec1_64(const float* inVector, float* outResult, double inS, double& outSum,
                                              UInt32 inCount) {
  sCurrentImplementation->VectorCalcSearchVec1_64(inVector, outResult, inS, outSum, inCount);
}
void XVectorMathTool::VectorCalcSearchVec2(const float* inA, const float* inB, float* outResult, float& outSum,
                                           UInt32 inCount) {
  sCurrentImplementation->VectorCalcSearchVec2(inA, inB, outResult, outSum, inCount);
}
void XVectorMathTool::VectorCalcSearchVec2_64(const float* inA, const float* inB, float* outResult, double& outSum,
                                              UInt32 inCount) {
  sCurrentImplementation->VectorCalcSearchVec2_64(inA, inB, outResult, outSum, inCount);
}
void XVectorMathTool::VectorCalcSearchVecs1And2(const float* inA, const float* inB, float* outFirst,
                                                float* outSecond, float inS, float& outSum1, float& outSum2,
                                                UInt32 inCount) {
  sCurrentImplementation->VectorCalcSearchVecs1And2(inA, inB, outFirst, outSecond, inS, outSum1, outSum2, inCount);
}
void XVectorMathTool::VectorCalcSearchVecs1And2_64(const float* inA, const float* inB, float* outFirst,
                                                   float* outSecond, double inS, double& outSum1, double& outSum2,
                                                   UInt32 inCount) {
  sCurrentImplementation->VectorCalcSearchVecs1And2_64(inA, inB, outFirst, outSecond, inS, outSum1, outSum2,
                                                       inCount);
}
void XVectorMathTool::VectorTransform(float* inVectors[], UInt32 inDimension, XMiniSquareMatrix inMatrix,
                                      UInt32 inCount) {
  sCurrentImplementation->VectorTransform(inVectors, inDimension, inMatrix, inCount);
}
void XVectorMathTool::VectorSubtractAndScalarMultiply(const float* inA, const float* inB, float inScalar,
                                                      float* outResult, UInt32 inCount) {
  sCurrentImplementation->VectorSubtractAndScalarMultiply(inA, inB, inScalar, outResult, inCount);
}
void XVectorMathTool::VectorDivideScalarByVector(float inScalar, const float* inVector, float* outResult,
                                                 UInt32 inCount) {
  sCurrentImplementation->VectorDivideScalarByVector(inScalar, inVector, outResult, inCount);
}
void XVectorMathTool::VectorThresholdWithZeroFill(const float* inVector, float inLimit, float* outResult,
                                                  UInt32 inCount) {
  sCurrentImplementation->VectorThresholdWithZeroFill(inVector, inLimit, outResult, inCount);
}

// ---------------------------------------------------------------- built from the others

void XVectorMathTool::VectorSubtractScalar(const float* inVector, float inScalar, float* outResult,
                                           UInt32 inCount) {
  VectorAddScalar(inVector, -inScalar, outResult, inCount);
}
void XVectorMathTool::VectorComplexAdd(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  VectorAdd(inA, inB, outResult, 2 * inCount);
}
void XVectorMathTool::VectorComplexSubtract(const float* inA, const float* inB, float* outResult, UInt32 inCount) {
  VectorSubtract(inA, inB, outResult, 2 * inCount);
}
void XVectorMathTool::VectorComplexMultiplyScalar(const float* inVector, float inScalar, float* outResult,
                                                  UInt32 inCount) {
  VectorMultiplyScalar(inVector, inScalar, outResult, 2 * inCount);
}
void XVectorMathTool::VectorDivideScalar(const float* inVector, float inScalar, float* outResult, UInt32 inCount) {
  XAssert(inScalar != 0.0);
  VectorMultiplyScalar(inVector, float(1.0 / double(inScalar)), outResult, inCount);
}
void XVectorMathTool::VectorLogNatural(const float* inVector, float* outResult, UInt32 inCount) {
  VectorLogBaseX(inVector, outResult, float(std::exp(1.0)), inCount);
}
void XVectorMathTool::VectorLogBaseTen(const float* inVector, float* outResult, UInt32 inCount) {
  VectorLogBaseX(inVector, outResult, 10.0f, inCount);
}

// ---------------------------------------------------------------- the speed report

namespace {

// One harness call: the two inputs, the output and the element count. A
// reduction leaves its results in the first elements of the output, so that
// the comparison sees them.
using XHarnessCall = std::function<void(const float* inA, const float* inB, float* outResult, UInt32 inCount)>;

struct XHarnessEntry {
  const char* itsName;
  bool itsShowDifference;
  XHarnessCall itsCall;
};

using VM = XVectorMathTool;

const XHarnessEntry kHarness[] = {
    {"VectorAdd", true, [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorAdd(a, b, o, n); }},
    {"VectorSubtract", true,
     [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorSubtract(a, b, o, n); }},
    {"VectorMultiply", true,
     [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorMultiply(a, b, o, n); }},
    {"VectorComplexMultiply", true,
     [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorComplexMultiply(a, b, o, n / 2); }},
    {"VectorDivide", true, [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorDivide(a, b, o, n); }},
    {"VectorSquare", true, [](const float* a, const float*, float* o, UInt32 n) { VM::VectorSquare(a, o, n); }},
    {"VectorDotProduct", true,
     [](const float* a, const float* b, float* o, UInt32 n) { o[0] = VM::VectorDotProduct(a, b, n); }},
    {"VectorDotProduct64", true,
     [](const float* a, const float* b, float* o, UInt32 n) { o[0] = float(VM::VectorDotProduct64(a, b, n)); }},
    {"VectorAddAndMultiply", true,
     [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorAddAndMultiply(a, b, a, o, n); }},
    {"VectorFillReal", true, [](const float*, const float*, float* o, UInt32 n) { VM::VectorFillReal(2.5f, o, n); }},
    {"VectorLogNatural", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorLogNatural(a, o, n); }},
    {"VectorLogBaseTen", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorLogBaseTen(a, o, n); }},
    {"VectorMultiplyAndDivide", true,
     [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorMultiplyAndDivide(a, b, b, o, n); }},
    {"VectorSqrt", true, [](const float* a, const float*, float* o, UInt32 n) { VM::VectorSqrt(a, o, n); }},
    {"VectorReciprocalSqrt", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorReciprocalSqrt(a, o, n); }},
    {"VectorSum", true, [](const float* a, const float*, float* o, UInt32 n) { o[0] = VM::VectorSum(a, n); }},
    {"VectorSum64", true,
     [](const float* a, const float*, float* o, UInt32 n) { o[0] = float(VM::VectorSum64(a, n)); }},
    {"VectorFindMaxValue", true,
     [](const float* a, const float*, float* o, UInt32 n) { o[0] = VM::VectorFindMaxValue(a, n); }},
    {"VectorFindMinValue", true,
     [](const float* a, const float*, float* o, UInt32 n) { o[0] = VM::VectorFindMinValue(a, n); }},
    {"VectorFindMinMaxValue", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorFindMinMaxValue(a, o[0], o[1], n); }},
    {"VectorReciprocal", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorReciprocal(a, o, n); }},
    {"VectorDotProductDivide", true,
     [](const float* a, const float* b, float* o, UInt32 n) { o[0] = VM::VectorDotProductDivide(a, b, b, n); }},
    {"VectorDotProductDivide64", true,
     [](const float* a, const float* b, float* o, UInt32 n) {
       o[0] = float(VM::VectorDotProductDivide64(a, b, b, n));
     }},
    {"VectorClampBelow", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorClampBelow(a, o, float(n / 2), n); }},
    {"VectorClampAbove", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorClampAbove(a, o, float(n / 2), n); }},
    {"VectorWeightedEntropy", true,
     [](const float* a, const float*, float* o, UInt32 n) { VM::VectorWeightedEntropy(a, o[0], o[1], n); }},
    {"VectorChiSquared", true,
     [](const float* a, const float* b, float* o, UInt32 n) { o[0] = VM::VectorChiSquared(a, b, b, n); }},
    {"VectorChiSquared64", true,
     [](const float* a, const float* b, float* o, UInt32 n) { o[0] = float(VM::VectorChiSquared64(a, b, b, n)); }},
    {"VectorScalarSubtract", true,
     [](const float* a, const float* b, float* o, UInt32 n) { VM::VectorScalarSubtract(a, b, 3.0f, 2.0f, o, n); }},
    {"VectorSquareMultiplySum", true,
     [](const float* a, const float* b, float* o, UInt32 n) { o[0] = VM::VectorSquareMultiplySum(a, b, n); }},
    {"VectorSquareMultiplySum64", true,
     [](const float* a, const float* b, float* o, UInt32 n) { o[0] = float(VM::VectorSquareMultiplySum64(a, b, n)); }},
    {"VectorSearchDerivatives", true,
     [](const float* a, const float* b, float* o, UInt32 n) {
       VM::VectorSearchDerivatives(a, b, a, 0.5f, o[0], o[1], n);
     }},
    {"VectorSearchDerivatives64", true,
     [](const float* a, const float* b, float* o, UInt32 n) {
       double first = 0.0, second = 0.0;
       VM::VectorSearchDerivatives64(a, b, a, 0.5, first, second, n);
       o[0] = float(first);
       o[1] = float(second);
     }},
    {"VectorCalcSearchVec1", false,
     [](const float* a, const float*, float* o, UInt32 n) {
       float sum = 0.0f;
       VM::VectorCalcSearchVec1(a, o, 0.5f, sum, n);
     }},
    {"VectorCalcSearchVec1_64", false,
     [](const float* a, const float*, float* o, UInt32 n) {
       double sum = 0.0;
       VM::VectorCalcSearchVec1_64(a, o, 0.5, sum, n);
     }},
    {"VectorCalcSearchVec2", false,
     [](const float* a, const float* b, float* o, UInt32 n) {
       float sum = 0.0f;
       VM::VectorCalcSearchVec2(a, b, o, sum, n);
     }},
    {"VectorCalcSearchVec2_64", false,
     [](const float* a, const float* b, float* o, UInt32 n) {
       double sum = 0.0;
       VM::VectorCalcSearchVec2_64(a, b, o, sum, n);
     }},
    {"VectorCalcSearchVecs1And2", false,
     [](const float* a, const float* b, float* o, UInt32 n) {
       float first = 0.0f, second = 0.0f;
       VM::VectorCalcSearchVecs1And2(a, b, o, o, 0.5f, first, second, n);
     }},
    {"VectorCalcSearchVecs1And2_64", false,
     [](const float* a, const float* b, float* o, UInt32 n) {
       double first = 0.0, second = 0.0;
       VM::VectorCalcSearchVecs1And2_64(a, b, o, o, 0.5, first, second, n);
     }},
};

XString FormatNumber(float inValue) {
  char text[32];
  std::snprintf(text, sizeof text, "%g", double(inValue));
  return text;
}

void ReplaceAll(XString& ioText, const XString& inToken, const XString& inValue) {
  for (size_t at = ioText.find(inToken); at != XString::npos; at = ioText.find(inToken, at + inValue.size()))
    ioText.replace(at, inToken.size(), inValue);
}

}  // namespace

void XVectorMathTool::FillVolume(XFPVolume& ioVolume, float inBase) {
  XLock lock(ioVolume, kLockWrite);
  float* voxel = ioVolume.GetBaseVoxelPtr();
  const UInt64 count = ioVolume.GetVolumeVoxels();
  for (UInt64 i = 0; i < count; ++i) voxel[i] = float(double(inBase) + double(i));
}

float XVectorMathTool::Compare(const XFPVolume& inA, const XFPVolume& inB) {
  XAssert(inA.GetVolumeVoxels() == inB.GetVolumeVoxels());
  XLock lockA(inA, kLockRead);
  XLock lockB(inB, kLockRead);
  const float* a = inA.GetBaseVoxelPtr();
  const float* b = inB.GetBaseVoxelPtr();
  float largest = 0.0f;
  for (UInt64 i = 0, count = inA.GetVolumeVoxels(); i < count; ++i) {
    const float difference = std::fabs(100.0f * (a[i] - b[i]) / a[i]);
    if (difference > largest) largest = difference;  // a NaN quotient never raises it
  }
  return largest;
}

void XVectorMathTool::WriteOut(const char* inName, float inMaxDifference, UInt64 inPortableTime,
                               UInt64 inAcceleratedTime, bool inShowDifference) {
  const float speedUp =
      inPortableTime ? float((double(inPortableTime) - double(inAcceleratedTime)) * 100.0 / double(inPortableTime))
                     : 0.0f;
  XString text = inShowDifference ? "Operation = %1 : Percentage speed up = %2 : Max percent diff = %3 "
                                  : "Operation = %1 : Percentage speed up = %2 ";
  ReplaceAll(text, "%1", inName);
  ReplaceAll(text, "%2", FormatNumber(speedUp));
  if (inShowDifference) ReplaceAll(text, "%3", FormatNumber(inMaxDifference));
  XSessionLogManager* manager = XSessionLogManager::GetManager();
  if (manager) manager->AddEntry(XSessionLogEntry{XTime::Now(), text});
}

void XVectorMathTool::TestFunctions(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth) {
  XFPVolume first(X3DRect(inWidth, inHeight, inDepth));
  XFPVolume second(X3DRect(inWidth, inHeight, inDepth));
  XFPVolume portable(X3DRect(inWidth, inHeight, inDepth));
  XFPVolume accelerated(X3DRect(inWidth, inHeight, inDepth));
  XTimer timer;
  FillVolume(first, 1.0f);
  FillVolume(second, 2.0f);
  FillVolume(portable, 3.0f);
  FillVolume(accelerated, 4.0f);
  const UInt32 count = UInt32(first.GetVolumeVoxels());
  XAssert(count >= 2);  // the two-result searches store into elements 0 and 1
  XLock firstLock(first, kLockRead);
  XLock secondLock(second, kLockRead);
  const float* a = first.GetBaseVoxelPtr();
  const float* b = second.GetBaseVoxelPtr();
  for (const XHarnessEntry& entry : kHarness) {
    UInt64 portableTime = 0, acceleratedTime = 0;
    {
      XLock lock(portable, kLockReadWrite);
      SetImplementation(kPortableImplementation);
      timer.Start();
      entry.itsCall(a, b, portable.GetBaseVoxelPtr(), count);
      portableTime = timer.GetElapsedMicroseconds();
    }
    {
      XLock lock(accelerated, kLockReadWrite);
      SetImplementation(kAcceleratedImplementation);
      timer.Start();
      entry.itsCall(a, b, accelerated.GetBaseVoxelPtr(), count);
      acceleratedTime = timer.GetElapsedMicroseconds();
    }
    WriteOut(entry.itsName, Compare(portable, accelerated), portableTime, acceleratedTime, entry.itsShowDifference);
  }
}

}  // namespace mirelan
