// A floating-point volume whose one block holds an image (real numbers, rows
// padded for an in-place real-to-complex transform) or that image's
// three-dimensional half spectrum. A transform flips the data space in place.
//
// Layout (set by the strategy): in image space voxel (x, y, z) is float
// (z * H + y) * rowSize + x, rowSize = W + 2 for even W and W + 1 for odd W;
// in Fourier space pair (kx, ky, kz) is pair (kz * H + ky) * (W / 2 + 1) + kx,
// ky and kz in the wrapped order of the transform. Four floats of end padding
// follow the last plane, and the block is 4 to 64 bytes larger still.
//
// Whole-volume arithmetic runs over the padded block in one vector call, so
// padding floats hold no defined value after an operation; operations whose
// result padding could spoil (sums, searches, divisions) first set it to a
// neutral value, even on a volume passed as const.
//
// Every XFourierVolume needs the process's XFourierStrategyManager, which the
// host makes before the first one.
#pragma once

#include <complex>

#include "core/XExport.h"
#include "numeric/XVolumeLayout.h"
#include "volume/XFPVolume.h"

namespace mirelan {

class XFourierStrategy;

enum XVolumeDataSpace : SInt32 { kFourierSpace = 0, kImageSpace = 1 };

class MIRELAN_EXPORT XFourierVolume : public XFPVolume {
 public:
  using XRealLayout = XVolumeLayout<float>;
  using XComplexLayout = XVolumeLayout<std::complex<float>>;

  // Without a strategy the volume takes the manager's multi-threaded one.
  explicit XFourierVolume(const X3DRect& inBounds);
  XFourierVolume(const X3DRect& inBounds, XFourierStrategy& inStrategy);
  // A copy of the pixels of the volume, which also hands over its renderer.
  explicit XFourierVolume(const XFPVolume& inVolume);
  XFourierVolume(const XFPVolume& inVolume, XFourierStrategy& inStrategy);
  XFourierVolume(const XFourierVolume& inOther);

  // XVolume
  using XVolume::Clone;
  XFourierVolume* Clone() const override { return new XFourierVolume(*this); }
  // Multi-threaded strategy and a clone of this volume's renderer.
  XFourierVolume* CloneWithoutCopy(const X3DRect& inRect) const override;
  using XVolume::CloneWithoutCopy;
  void CopyIn(const XVolume& inSource, const X3DRect& inSourceRect, const X3DRect& inDestRect,
              const X3DRegion* inRegion) override;
  void CopyOut(XVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect,
               const X3DRegion* inRegion) const override;
  void CopyFrom(const XVolume& inSource) override;
  // The plane without its row padding, as a new floating-point volume; with
  // the flag the plane keeps this volume's calibration.
  XVolume* XYPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const override;
  void VolumeToXYPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 destXYPlane) override;
  // Not supported: each reports the internal error "false".
  XVolume* YZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const override;
  void VolumeToYZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) override;
  XVolume* XZPlaneToVolume(SInt32 inPlane, bool inApplyAspect) const override;
  void VolumeToXZPlane(const XVolume& inSource, SInt32 inSourcePlane, SInt32 inDestPlane) override;

  // XBasePackedVolume: rows are the real layout's rows.
  UInt32 GetRowVoxels() const override { return realLayout.GetRowSize(); }
  UInt32 GetPadVoxels() const override { return 0; }
  UInt64 GetRowBytes() const override { return UInt64(realLayout.GetRowSize()) * sizeof(float); }
  UInt64 GetLayerSize() const override { return realLayout.GetLayerSize(); }
  UInt64 GetPlaneBytes() const override { return UInt64(realLayout.GetLayerSize()) * sizeof(float); }
  UInt64 GetVolumeBytes() const override {
    return (UInt64(realLayout.GetLayerSize()) * realLayout.GetDepth() + 4) * sizeof(float);
  }

  // ---- fields
  XFourierStrategy& GetFourierStrategy() const { return *fourierStrategy; }
  const XRealLayout& GetRealLayout() const { return realLayout; }
  const XComplexLayout& GetComplexLayout() const { return complexLayout; }
  bool IsInFourierSpace() const { return isInFourierSpace; }
  bool IsInImageSpace() const { return !isInFourierSpace; }
  // Sets the flag only; the data stays as it is.
  void SetDataSpace(XVolumeDataSpace inSpace) { isInFourierSpace = inSpace == kFourierSpace; }

  // Valid while the volume is locked. Plane inZ counts from 0.
  float* GetFirstVoxelPtr() { return GetBaseVoxelPtr(); }
  const float* GetFirstVoxelPtr() const { return GetBaseVoxelPtr(); }
  float* GetRealLayer(UInt32 inZ) { return GetBaseVoxelPtr() + UInt64(realLayout.GetLayerSize()) * inZ; }
  const float* GetRealLayer(UInt32 inZ) const {
    return GetBaseVoxelPtr() + UInt64(realLayout.GetLayerSize()) * inZ;
  }

  // Padding floats of all rows and planes (not the end padding) against the
  // voxels: (layer size - W * H) * D, and the two together, layer size * D.
  // Image space only.
  UInt64 GetTotalPadding() const;
  UInt64 GetTotalSize() const;
  // Writes inValue to every row padding and plane padding. Image space only.
  void SetPadding(float inValue);

  // ---- image-space arithmetic over the whole padded block
  void FillReal(float inValue);
  Float64 FindSum() const override;
  Float32 FindMin() const override;
  Float32 FindMax() const override;
  void FindMinMax(Float32& outMin, Float32& outMax) const override;
  Float32 FindDotProduct(const XFourierVolume& inOther) const;
  Float32 FindDotProductDivide(const XFourierVolume& inDotProductVolume, const XFourierVolume& inDenominator) const;
  // sum x * lnf(x) / sum x over the voxels.
  Float32 FindWeightedEntropy() const;
  void Multiply(float inValue);
  void Multiply(const XFourierVolume& inVolume);
  // this * inValue / divisor
  void MultiplyAndDivide(float inValue, const XFourierVolume& inDivisor);
  // this * volume / inDivisor; precondition divScalar != 0
  void MultiplyAndDivide(const XFourierVolume& inVolume, float divScalar);
  void Divide(const XFourierVolume& inVolume);
  // Multiply(1 / inValue); no space is asserted.
  void Divide(float inValue);
  void Add(float inValue);
  void Add(const XFourierVolume& inVolume);
  void Subtract(const XFourierVolume& inVolume);
  void Subtract(float inValue);
  void ClampValuesBelow(float inValue);
  void ClampValuesAbove(float inValue);
  // sum (this - original)^2 / variance; the second form takes this volume as
  // its own variance.
  Float32 CalcChiSquared(const XFourierVolume& inOriginal, const XFourierVolume& inVariance);
  Float32 CalcChiSquared(const XFourierVolume& inOriginal);

  // ---- transforms and spectra, through the strategy
  void FourierTransform();
  void InverseFourierTransform();
  void Convolve(const XFourierVolume& inOther);
  void TransposeConvolve(const XFourierVolume& inOther);
  void ComplexAdd(const XFourierVolume& inOther);
  void ComplexSubtract(const XFourierVolume& inOther);
  void ComplexMultiply(const XFourierVolume& inOther);
  void ComplexMultiply(float inValue);
  void ComplexDivide(const XFourierVolume& inOther);
  void ComplexMagnitude();
  void ComplexReciprocal();

 protected:
  // Lays out the storage for the current bounds: the layouts' bytes plus
  // 4 * (16 - bytes % 16), so that the block is 4 to 64 bytes larger.
  void FourierAllocate();

 private:
  void InitLayouts();
  // The two-volume image operations need the same size and padding.
  void CheckSameLayout(const XFourierVolume& inVolume) const;
  // Whole-block float counts for the vector operations.
  UInt32 TotalCount() const;
  // Rows from a plain floating-point volume in, and out.
  void CopyRowsIn(const XFPVolume& inSource, const X3DRect& inSourceRect, const X3DRect& inDestRect);
  void CopyRowsOut(XFPVolume& outDest, const X3DRect& inSourceRect, const X3DRect& inDestRect) const;

  XFourierStrategy* fourierStrategy;
  XRealLayout realLayout;
  XComplexLayout complexLayout;
  bool isInFourierSpace = false;
};

}  // namespace mirelan
