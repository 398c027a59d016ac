// How a Fourier volume is transformed, and the arithmetic on half spectra.
// The one family of concrete strategies drives FFTW (X3DFFTW3Strategy.h);
// a host gets them from the XFourierStrategyManager it made at start.
#pragma once

#include <complex>

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"
#include "numeric/XVolumeLayout.h"

namespace mirelan {

class XFourierVolume;

class MIRELAN_EXPORT XFourierStrategy {
 public:
  XFourierStrategy() = default;
  virtual ~XFourierStrategy();
  XFourierStrategy(const XFourierStrategy&) = delete;
  XFourierStrategy& operator=(const XFourierStrategy&) = delete;

  // The two views of the storage that this strategy transforms in place.
  virtual void SetRealLayout(XVolumeLayout<float>& outLayout, UInt32 inWidth, UInt32 inHeight,
                             UInt32 inDepth) const = 0;
  virtual void SetComplexLayout(XVolumeLayout<std::complex<float>>& outLayout, UInt32 inWidth, UInt32 inHeight,
                                UInt32 inDepth) const = 0;
  // Image space to the unscaled half spectrum, and back with the 1 / N
  // scaling, so that the pair returns the image up to rounding.
  virtual void FourierTransform(XFourierVolume& ioVolume) = 0;
  virtual void InverseFourierTransform(XFourierVolume& ioVolume) = 0;

  // Spectrum arithmetic over all complex width * height * depth pairs of
  // volumes of one size; the result goes to the first volume.
  virtual void ComplexAdd(XFourierVolume& ioVolume, const XFourierVolume& inOther);
  virtual void ComplexSubtract(XFourierVolume& ioVolume, const XFourierVolume& inOther);
  virtual void ComplexMultiply(XFourierVolume& ioVolume, float inValue);
  virtual void ComplexMultiply(XFourierVolume& ioVolume, const XFourierVolume& inOther);
  virtual void ComplexDivide(XFourierVolume& ioVolume, const XFourierVolume& inOther);
  // The squared magnitude into each real slot, 0 into each imaginary one.
  virtual void ComplexMagnitude(XFourierVolume& ioVolume);
  virtual void ComplexReciprocal(XFourierVolume& ioVolume);
  // The circular convolution of the two volumes into the first: each volume
  // not yet in Fourier space goes there (the second too, in place), the
  // spectra are multiplied, and each volume that started in image space is
  // transformed back. The second volume thus carries the rounding of a
  // forward and inverse transform afterwards.
  virtual void Convolve(XFourierVolume& ioVolume, const XFourierVolume& inOther);
  // The same as Convolve: no conjugate is taken.
  virtual void TransposeConvolve(XFourierVolume& ioVolume, const XFourierVolume& inOther);
  // A box near inRect at which transforms are fast; this base keeps inRect.
  virtual X3DRect CalculateBestSize(const X3DRect& inRect, UInt32 inRange);

  // Precondition: both volumes have the same size.
  void CheckVolumes(const XFourierVolume& inVolume1, const XFourierVolume& inVolume2) const;
};

}  // namespace mirelan
