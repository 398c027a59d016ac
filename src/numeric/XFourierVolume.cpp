#include "numeric/XFourierVolume.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <typeinfo>

#include "core/XException.h"
#include "numeric/XFourierStrategy.h"
#include "numeric/XFourierStrategyManager.h"
#include "numeric/XVectorMathTool.h"

namespace mirelan {

using VM = XVectorMathTool;

// ================================================================ construction

XFourierVolume::XFourierVolume(const X3DRect& inBounds)
    : XFourierVolume(inBounds, XFourierStrategyManager::GetFFTStrategyMT(inBounds)) {}

XFourierVolume::XFourierVolume(const X3DRect& inBounds, XFourierStrategy& inStrategy)
    : fourierStrategy(&inStrategy) {
  SetBounds(CheckedBounds(inBounds));
  InitLayouts();
  FourierAllocate();
}

XFourierVolume::XFourierVolume(const XFPVolume& inVolume)
    : XFourierVolume(inVolume, XFourierStrategyManager::GetFFTStrategyMT(inVolume.GetBounds())) {}

XFourierVolume::XFourierVolume(const XFPVolume& inVolume, XFourierStrategy& inStrategy)
    : XFourierVolume(inVolume.GetBounds(), inStrategy) {
  CopyIn(inVolume, inVolume.GetBounds(), GetBounds(), nullptr);
  if (inVolume.HasPlaneRenderer()) SetPlaneRenderer(inVolume.GetPlaneRenderer());
}

XFourierVolume::XFourierVolume(const XFourierVolume& inOther)
    : XFPVolume(inOther),
      fourierStrategy(inOther.fourierStrategy),
      realLayout(inOther.realLayout),
      complexLayout(inOther.complexLayout),
      isInFourierSpace(inOther.isInFourierSpace) {}

void XFourierVolume::InitLayouts() {
  const UInt64 width = GetWidth(), height = GetHeight(), depth = GetDepth();
  // Every count of the layouts and of the vector operations is 32 bits wide:
  // the whole padded block, end padding included, must fit.
  const UInt64 rowSize = width + 2 - (width & 1);
  const UInt64 limit = std::numeric_limits<UInt32>::max();
  if (width == 0 || height == 0 || depth == 0 || rowSize * height > limit || rowSize * height * depth + 4 > limit)
    throw XException(kErrImpossibleSize, "no Fourier volume can be " + std::to_string(width) + " x " +
                                             std::to_string(height) + " x " + std::to_string(depth));
  fourierStrategy->SetRealLayout(realLayout, GetWidth(), GetHeight(), GetDepth());
  fourierStrategy->SetComplexLayout(complexLayout, GetWidth(), GetHeight(), GetDepth());
  XAssert(realLayout.GetStorageSize() == complexLayout.GetStorageSize());
}

void XFourierVolume::FourierAllocate() {
  const UInt64 bytes = realLayout.GetStorageSize();
  itsRowVoxels = realLayout.GetRowSize();
  itsStorage.Resize(bytes + 4 * (16 - bytes % 16));
  // Only the voxels are left as they come; what lies behind them is zeroed so
  // that a stored block never carries stale memory.
  const UInt64 used = UInt64(realLayout.GetLayerSize()) * realLayout.GetDepth() * sizeof(float);
  XLock lock(itsStorage, kLockReadWrite);
  std::memset(itsStorage.GetData() + used, 0, itsStorage.GetDataSize() - used);
}

XFourierVolume* XFourierVolume::CloneWithoutCopy(const X3DRect& inRect) const {
  return FinishCloneWithoutCopy(new XFourierVolume(inRect, XFourierStrategyManager::GetFFTStrategyMT(inRect)));
}

// ================================================================ copies

void XFourierVolume::CopyRowsIn(const XFPVolume& inSource, const X3DRect& inSourceRect, const X3DRect& inDestRect) {
  XAssert(inSourceRect.IsSameSizeAs( inDestRect ));
  XAssert(inSource.GetBounds().Contains(inSourceRect) && GetBounds().Contains(inDestRect));
  if (inDestRect.IsEmpty()) return;
  XLock sourceLock(inSource, kLockRead);
  XLock lock(*this, kLockReadWrite);
  const size_t rowBytes = size_t(inDestRect.GetWidth()) * sizeof(float);
  for (UInt32 k = 0; k < inDestRect.GetDepth(); ++k)
    for (UInt32 j = 0; j < inDestRect.GetHeight(); ++j)
      std::memmove(GetVoxelPtr(inDestRect.left, inDestRect.top + SInt32(j), inDestRect.front + SInt32(k)),
                   inSource.GetVoxelPtr(inSourceRect.left, inSourceRect.top + SInt32(j),
                                        inSourceRect.front + SInt32(k)),
                   rowBytes);
}

void XFourierVolume::CopyRowsOut(XFPVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect) const {
  XAssert(inSourceRect.IsSameSizeAs( inDestRect ));
  XAssert(GetBounds().Contains(inSourceRect) && outDest.GetBounds().Contains(inDestRect));
  if (inDestRect.IsEmpty()) return;
  XLock lock(*this, kLockRead);
  XLock destLock(outDest, kLockReadWrite);
  const size_t rowBytes = size_t(inDestRect.GetWidth()) * sizeof(float);
  for (UInt32 k = 0; k < inDestRect.GetDepth(); ++k)
    for (UInt32 j = 0; j < inDestRect.GetHeight(); ++j)
      std::memmove(outDest.GetVoxelPtr(inDestRect.left, inDestRect.top + SInt32(j), inDestRect.front + SInt32(k)),
                   GetVoxelPtr(inSourceRect.left, inSourceRect.top + SInt32(j), inSourceRect.front + SInt32(k)),
                   rowBytes);
}

// Plain floating-point and Fourier volumes copy row by row, each side with its
// own row length; any other class converts through a floating-point volume.
// A region limits the copy through the converting cells of the base class.
void XFourierVolume::CopyIn(const XVolume& inSource, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                            const X3DRegion* inRegion) {
  if (inRegion) return XFPVolume::CopyIn(inSource, inSourceRect, inDestRect, inRegion);
  if (typeid(inSource) == typeid(XFourierVolume)) return inSource.CopyOut(*this, inSourceRect, inDestRect, nullptr);
  if (typeid(inSource) == typeid(XFPVolume)) {
    XAssert(inSourceRect.IsSameSizeAs( inDestRect ));
    return CopyRowsIn(static_cast<const XFPVolume&>(inSource), inSourceRect, inDestRect);
  }
  XFPVolume converted(inDestRect);
  inSource.CopyOut(converted, inSourceRect, inDestRect, nullptr);
  CopyRowsIn(converted, inDestRect, inDestRect);
}

void XFourierVolume::CopyOut(XVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
                             const X3DRegion* inRegion) const {
  if (inRegion) return XFPVolume::CopyOut(outDest, inSourceRect, inDestRect, inRegion);
  if (typeid(outDest) == typeid(XFourierVolume)) {
    auto& destFourierVolume = static_cast<XFourierVolume&>(outDest);
    XAssert(destFourierVolume.IsInImageSpace());
    XAssert(IsInImageSpace());
    return destFourierVolume.CopyRowsIn(*this, inSourceRect, inDestRect);
  }
  if (typeid(outDest) == typeid(XFPVolume)) {
    XAssert(inSourceRect.IsSameSizeAs( inDestRect ));
    return CopyRowsOut(static_cast<XFPVolume&>(outDest), inSourceRect, inDestRect);
  }
  XFPVolume plain(inSourceRect);
  CopyRowsOut(plain, inSourceRect, inSourceRect);
  plain.CopyOut(outDest, inSourceRect, inDestRect, nullptr);
}

void XFourierVolume::CopyFrom(const XVolume& inSource) {
  XAssert(inSource.GetBounds().IsSameSizeAs( GetBounds() ));
  XAssert(inSource.GetVersion().IsA( GetVersion() ));
  if (const auto* fourier = dynamic_cast<const XFourierVolume*>(&inSource)) {
    XAssert(fourier->realLayout.GetRowSize() == realLayout.GetRowSize());
    XFPVolume::CopyFrom(inSource);
    isInFourierSpace = fourier->isInFourierSpace;
    return;
  }
  // A plain volume has rows of another length: its voxels are copied in.
  CopyIn(inSource, inSource.GetBounds(), GetBounds(), nullptr);
  isInFourierSpace = false;
}

// ================================================================ planes

XVolume* XFourierVolume::XYPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const {
  XAssert(IsInImageSpace());
  XAssert(inPlane < SInt32(realLayout.GetDepth()));
  return XFPVolume::XYPlaneToVolume(inPlane, inApplyAspect);
}

void XFourierVolume::VolumeToXYPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 destXYPlane) {
  XAssert(destXYPlane < SInt32(realLayout.GetDepth()));
  XFPVolume::VolumeToXYPlane(inSource, inSourcePlane, destXYPlane);
}

XVolume* XFourierVolume::YZPlaneToVolume(SInt32, bool) const {
  XAssert(false);
  return nullptr;
}

void XFourierVolume::VolumeToYZPlane(const XVolume&, SInt32, SInt32) { XAssert(false); }

XVolume* XFourierVolume::XZPlaneToVolume(SInt32, bool) const {
  XAssert(false);
  return nullptr;
}

void XFourierVolume::VolumeToXZPlane(const XVolume&, SInt32, SInt32) { XAssert(false); }

// ================================================================ padding

UInt64 XFourierVolume::GetTotalPadding() const {
  XAssert(!IsInFourierSpace());
  return (UInt64(realLayout.GetLayerSize()) - UInt64(GetWidth()) * GetHeight()) * GetDepth();
}

UInt64 XFourierVolume::GetTotalSize() const {
  XAssert(!IsInFourierSpace());
  return GetTotalPadding() + UInt64(GetWidth()) * GetHeight() * GetDepth();
}

UInt32 XFourierVolume::TotalCount() const { return UInt32(GetTotalSize()); }

void XFourierVolume::SetPadding(float inValue) {
  XAssert(!IsInFourierSpace());
  XLock lock(*this, kLockReadWrite);
  const UInt32 width = realLayout.GetWidth(), height = realLayout.GetHeight();
  const UInt32 rowSize = realLayout.GetRowSize(), layerSize = realLayout.GetLayerSize();
  for (UInt32 z = 0; z < realLayout.GetDepth(); ++z) {
    float* layer = GetRealLayer(z);
    for (UInt32 y = 0; y < height; ++y) std::fill(layer + UInt64(y) * rowSize + width, layer + UInt64(y + 1) * rowSize, inValue);
    std::fill(layer + UInt64(rowSize) * height, layer + layerSize, inValue);
  }
}

void XFourierVolume::CheckSameLayout(const XFourierVolume& inVolume) const {
  XAssert(IsInImageSpace() && inVolume.IsInImageSpace());
  XAssert(GetRealLayout().IsSameSizeAs( inVolume.GetRealLayout() ));
  XAssert(realLayout.GetYPadding() == inVolume.realLayout.GetYPadding());
  XAssert(realLayout.GetZPadding() == inVolume.realLayout.GetZPadding());
}

// ================================================================ image-space arithmetic

namespace {

// Padding that an operation sets on a volume it otherwise only reads.
void SetPaddingOf(const XFourierVolume& inVolume, float inValue) {
  const_cast<XFourierVolume&>(inVolume).SetPadding(inValue);
}

float FirstVoxelOf(const XFourierVolume& inVolume) {
  XLock lock(inVolume, kLockRead);
  return *inVolume.GetFirstVoxelPtr();
}

}  // namespace

void XFourierVolume::FillReal(float inValue) {
  XAssert(IsInImageSpace());
  XLock lock(*this, kLockWrite);
  VM::VectorFillReal(inValue, GetFirstVoxelPtr(), TotalCount());
}

Float64 XFourierVolume::FindSum() const {
  XAssert(IsInImageSpace());
  SetPaddingOf(*this, 0.0f);
  XLock lock(*this, kLockRead);
  return Float64(VM::VectorSum(GetFirstVoxelPtr(), TotalCount()));
}

Float32 XFourierVolume::FindMin() const {
  XAssert(IsInImageSpace());
  SetPaddingOf(*this, FirstVoxelOf(*this));
  XLock lock(*this, kLockRead);
  return VM::VectorFindMinValue(GetFirstVoxelPtr(), TotalCount());
}

Float32 XFourierVolume::FindMax() const {
  XAssert(IsInImageSpace());
  SetPaddingOf(*this, FirstVoxelOf(*this));
  XLock lock(*this, kLockRead);
  return VM::VectorFindMaxValue(GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::FindMinMax(Float32& outMin, Float32& outMax) const {
  XAssert(IsInImageSpace());
  SetPaddingOf(*this, FirstVoxelOf(*this));
  XLock lock(*this, kLockRead);
  VM::VectorFindMinMaxValue(GetFirstVoxelPtr(), outMin, outMax, TotalCount());
}

Float32 XFourierVolume::FindDotProduct(const XFourierVolume& inOther) const {
  CheckSameLayout(inOther);
  SetPaddingOf(*this, 0.0f);
  SetPaddingOf(inOther, 0.0f);
  XLock lock(*this, kLockRead);
  XLock otherLock(inOther, kLockRead);
  return VM::VectorDotProduct(GetFirstVoxelPtr(), inOther.GetFirstVoxelPtr(), TotalCount());
}

Float32 XFourierVolume::FindDotProductDivide(const XFourierVolume& inDotProductVolume,
                                             const XFourierVolume& inDenominator) const {
  CheckSameLayout(inDotProductVolume);
  CheckSameLayout(inDenominator);
  SetPaddingOf(*this, 0.0f);
  SetPaddingOf(inDotProductVolume, 0.0f);
  SetPaddingOf(inDenominator, 1.0f);
  XLock lock(*this, kLockRead);
  XLock dotLock(inDotProductVolume, kLockRead);
  XLock denominatorLock(inDenominator, kLockRead);
  return VM::VectorDotProductDivide(GetFirstVoxelPtr(), inDotProductVolume.GetFirstVoxelPtr(),
                                    inDenominator.GetFirstVoxelPtr(), TotalCount());
}

// Padding of 1.0 adds nothing to the weighted sum (lnf(1) is 0) and exactly
// the padding count to the plain sum, which the denominator takes off again.
Float32 XFourierVolume::FindWeightedEntropy() const {
  XAssert(IsInImageSpace());
  SetPaddingOf(*this, 1.0f);
  float weighted = 0.0f, sum = 0.0f;
  {
    XLock lock(*this, kLockRead);
    VM::VectorWeightedEntropy(GetFirstVoxelPtr(), weighted, sum, TotalCount());
  }
  const float denominator = float(double(sum) - double(GetTotalPadding()));
  return weighted / denominator;
}

void XFourierVolume::Multiply(float inValue) {
  XAssert(IsInImageSpace());
  XLock lock(*this, kLockReadWrite);
  VM::VectorMultiplyScalar(GetFirstVoxelPtr(), inValue, GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::Multiply(const XFourierVolume& inVolume) {
  CheckSameLayout(inVolume);
  XLock otherLock(inVolume, kLockRead);
  XLock lock(*this, kLockReadWrite);
  VM::VectorMultiply(GetFirstVoxelPtr(), inVolume.GetFirstVoxelPtr(), GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::MultiplyAndDivide(float inValue, const XFourierVolume& inDivisor) {
  CheckSameLayout(inDivisor);
  SetPaddingOf(inDivisor, 1.0f);
  XLock otherLock(inDivisor, kLockRead);
  XLock lock(*this, kLockReadWrite);
  VM::VectorMultiplyAndDivide(GetFirstVoxelPtr(), inValue, inDivisor.GetFirstVoxelPtr(), GetFirstVoxelPtr(),
                              TotalCount());
}

void XFourierVolume::MultiplyAndDivide(const XFourierVolume& inVolume, float divScalar) {
  XAssert(divScalar != 0.f);
  CheckSameLayout(inVolume);
  XLock otherLock(inVolume, kLockRead);
  XLock lock(*this, kLockReadWrite);
  VM::VectorMultiplyAndDivide(GetFirstVoxelPtr(), inVolume.GetFirstVoxelPtr(), divScalar, GetFirstVoxelPtr(),
                              TotalCount());
}

// The divisor's padding becomes 1.0 first, so that no infinity arises there.
void XFourierVolume::Divide(const XFourierVolume& inVolume) {
  CheckSameLayout(inVolume);
  SetPaddingOf(inVolume, 1.0f);
  XLock otherLock(inVolume, kLockRead);
  XLock lock(*this, kLockReadWrite);
  VM::VectorDivide(GetFirstVoxelPtr(), inVolume.GetFirstVoxelPtr(), GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::Divide(float inValue) { Multiply(float(1.0 / double(inValue))); }

void XFourierVolume::Add(float inValue) {
  XAssert(IsInImageSpace());
  XLock lock(*this, kLockReadWrite);
  VM::VectorAddScalar(GetFirstVoxelPtr(), inValue, GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::Add(const XFourierVolume& inVolume) {
  CheckSameLayout(inVolume);
  XLock otherLock(inVolume, kLockRead);
  XLock lock(*this, kLockReadWrite);
  VM::VectorAdd(GetFirstVoxelPtr(), inVolume.GetFirstVoxelPtr(), GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::Subtract(const XFourierVolume& inVolume) {
  CheckSameLayout(inVolume);
  XLock otherLock(inVolume, kLockRead);
  XLock lock(*this, kLockReadWrite);
  VM::VectorSubtract(GetFirstVoxelPtr(), inVolume.GetFirstVoxelPtr(), GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::Subtract(float inValue) {
  XAssert(IsInImageSpace());
  XLock lock(*this, kLockReadWrite);
  VM::VectorSubtractScalar(GetFirstVoxelPtr(), inValue, GetFirstVoxelPtr(), TotalCount());
}

void XFourierVolume::ClampValuesBelow(float inValue) {
  XAssert(IsInImageSpace());
  XLock lock(*this, kLockReadWrite);
  VM::VectorClampBelow(GetFirstVoxelPtr(), GetFirstVoxelPtr(), inValue, TotalCount());
}

void XFourierVolume::ClampValuesAbove(float inValue) {
  XAssert(IsInImageSpace());
  XLock lock(*this, kLockReadWrite);
  VM::VectorClampAbove(GetFirstVoxelPtr(), GetFirstVoxelPtr(), inValue, TotalCount());
}

Float32 XFourierVolume::CalcChiSquared(const XFourierVolume& inOriginal, const XFourierVolume& inVariance) {
  CheckSameLayout(inOriginal);
  CheckSameLayout(inVariance);
  SetPadding(1.0f);
  SetPaddingOf(inOriginal, 1.0f);
  SetPaddingOf(inVariance, 1.0f);
  XLock lock(*this, kLockRead);
  XLock originalLock(inOriginal, kLockRead);
  XLock varianceLock(inVariance, kLockRead);
  return VM::VectorChiSquared(GetFirstVoxelPtr(), inOriginal.GetFirstVoxelPtr(), inVariance.GetFirstVoxelPtr(),
                              TotalCount());
}

Float32 XFourierVolume::CalcChiSquared(const XFourierVolume& inOriginal) {
  CheckSameLayout(inOriginal);
  SetPadding(1.0f);
  SetPaddingOf(inOriginal, 1.0f);
  XLock lock(*this, kLockRead);
  XLock originalLock(inOriginal, kLockRead);
  return VM::VectorChiSquared(GetFirstVoxelPtr(), inOriginal.GetFirstVoxelPtr(), GetFirstVoxelPtr(), TotalCount());
}

// ================================================================ transforms and spectra

void XFourierVolume::FourierTransform() {
  XAssert(!isInFourierSpace);
  fourierStrategy->FourierTransform(*this);
}

void XFourierVolume::InverseFourierTransform() {
  XAssert(isInFourierSpace);
  fourierStrategy->InverseFourierTransform(*this);
}

void XFourierVolume::Convolve(const XFourierVolume& inOther) { fourierStrategy->Convolve(*this, inOther); }

void XFourierVolume::TransposeConvolve(const XFourierVolume& inOther) {
  fourierStrategy->TransposeConvolve(*this, inOther);
}

void XFourierVolume::ComplexAdd(const XFourierVolume& inOther) {
  XAssert(isInFourierSpace);
  fourierStrategy->ComplexAdd(*this, inOther);
}

void XFourierVolume::ComplexSubtract(const XFourierVolume& inOther) {
  XAssert(isInFourierSpace);
  fourierStrategy->ComplexSubtract(*this, inOther);
}

void XFourierVolume::ComplexMultiply(const XFourierVolume& inOther) {
  XAssert(isInFourierSpace);
  fourierStrategy->ComplexMultiply(*this, inOther);
}

void XFourierVolume::ComplexMultiply(float inValue) {
  XAssert(isInFourierSpace);
  fourierStrategy->ComplexMultiply(*this, inValue);
}

void XFourierVolume::ComplexDivide(const XFourierVolume& inOther) {
  XAssert(isInFourierSpace);
  fourierStrategy->ComplexDivide(*this, inOther);
}

void XFourierVolume::ComplexMagnitude() {
  XAssert(isInFourierSpace);
  fourierStrategy->ComplexMagnitude(*this);
}

void XFourierVolume::ComplexReciprocal() {
  XAssert(isInFourierSpace);
  fourierStrategy->ComplexReciprocal(*this);
}

}  // namespace mirelan
