#include "numeric/XFourierStrategy.h"

#include "core/XException.h"
#include "numeric/XFourierVolume.h"
#include "numeric/XVectorMathTool.h"

namespace mirelan {

namespace {

// The pairs of a half spectrum, as a count for the vector operations.
UInt32 PairCount(const XFourierVolume& inVolume) {
  const auto& layout = inVolume.GetComplexLayout();
  return layout.GetLayerSize() * layout.GetDepth();
}

}  // namespace

XFourierStrategy::~XFourierStrategy() = default;

void XFourierStrategy::CheckVolumes(const XFourierVolume& vol1, const XFourierVolume& vol2) const {
  XAssert(vol1.GetBounds().IsSameSizeAs( vol2.GetBounds() ) && "Volumes are not same size!");
}

void XFourierStrategy::ComplexAdd(XFourierVolume& ioVolume, const XFourierVolume& inOther) {
  CheckVolumes(ioVolume, inOther);
  XLock otherLock(inOther, kLockRead);
  XLock lock(ioVolume, kLockReadWrite);
  XVectorMathTool::VectorComplexAdd(ioVolume.GetFirstVoxelPtr(), inOther.GetFirstVoxelPtr(),
                                    ioVolume.GetFirstVoxelPtr(), PairCount(ioVolume));
}

void XFourierStrategy::ComplexSubtract(XFourierVolume& ioVolume, const XFourierVolume& inOther) {
  CheckVolumes(ioVolume, inOther);
  XLock otherLock(inOther, kLockRead);
  XLock lock(ioVolume, kLockReadWrite);
  XVectorMathTool::VectorComplexSubtract(ioVolume.GetFirstVoxelPtr(), inOther.GetFirstVoxelPtr(),
                                         ioVolume.GetFirstVoxelPtr(), PairCount(ioVolume));
}

void XFourierStrategy::ComplexMultiply(XFourierVolume& ioVolume, float inValue) {
  XLock lock(ioVolume, kLockReadWrite);
  XVectorMathTool::VectorComplexMultiplyScalar(ioVolume.GetFirstVoxelPtr(), inValue, ioVolume.GetFirstVoxelPtr(),
                                               PairCount(ioVolume));
}

void XFourierStrategy::ComplexMultiply(XFourierVolume& ioVolume, const XFourierVolume& inOther) {
  CheckVolumes(ioVolume, inOther);
  XLock otherLock(inOther, kLockRead);
  XLock lock(ioVolume, kLockReadWrite);
  XVectorMathTool::VectorComplexMultiply(ioVolume.GetFirstVoxelPtr(), inOther.GetFirstVoxelPtr(),
                                         ioVolume.GetFirstVoxelPtr(), PairCount(ioVolume));
}

void XFourierStrategy::ComplexDivide(XFourierVolume& ioVolume, const XFourierVolume& inOther) {
  CheckVolumes(ioVolume, inOther);
  XLock otherLock(inOther, kLockRead);
  XLock lock(ioVolume, kLockReadWrite);
  XVectorMathTool::VectorComplexDivide(ioVolume.GetFirstVoxelPtr(), inOther.GetFirstVoxelPtr(),
                                       ioVolume.GetFirstVoxelPtr(), PairCount(ioVolume));
}

void XFourierStrategy::ComplexMagnitude(XFourierVolume& ioVolume) {
  XLock lock(ioVolume, kLockReadWrite);
  XVectorMathTool::VectorComplexMagnitude(ioVolume.GetFirstVoxelPtr(), ioVolume.GetFirstVoxelPtr(),
                                          PairCount(ioVolume));
}

void XFourierStrategy::ComplexReciprocal(XFourierVolume& ioVolume) {
  XLock lock(ioVolume, kLockReadWrite);
  XVectorMathTool::VectorComplexReciprocal(ioVolume.GetFirstVoxelPtr(), ioVolume.GetFirstVoxelPtr(),
                                           PairCount(ioVolume));
}

void XFourierStrategy::Convolve(XFourierVolume& ioVolume, const XFourierVolume& inOther) {
  CheckVolumes(ioVolume, inOther);
  // The second operand is const to the caller, but it is transformed in place
  // and back: its values come back with the rounding of the round trip.
  XFourierVolume& other = const_cast<XFourierVolume&>(inOther);
  const bool volumeInImageSpace = ioVolume.IsInImageSpace();
  const bool otherInImageSpace = other.IsInImageSpace();
  if (volumeInImageSpace) ioVolume.FourierTransform();
  if (otherInImageSpace && &other != &ioVolume) other.FourierTransform();
  ComplexMultiply(ioVolume, other);
  if (volumeInImageSpace) ioVolume.InverseFourierTransform();
  if (otherInImageSpace && &other != &ioVolume) other.InverseFourierTransform();
}

void XFourierStrategy::TransposeConvolve(XFourierVolume& ioVolume, const XFourierVolume& inOther) {
  CheckVolumes(ioVolume, inOther);
  Convolve(ioVolume, inOther);
}

X3DRect XFourierStrategy::CalculateBestSize(const X3DRect& inRect, UInt32) { return inRect; }

}  // namespace mirelan
