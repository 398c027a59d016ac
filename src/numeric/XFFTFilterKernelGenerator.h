// Filter kernels made as Fourier volumes from formulae, for filtering by one
// multiplication in Fourier space (XFFTFilterVolumeTool).
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class XFourierVolume;
class XFPVolume;

class MIRELAN_EXPORT XFFTFilterKernelGenerator {
 public:
  using XKernelFunction = float (*)(float inX, float inY, float inZ, float inSigma);

  // Each makes a kernel on the padded rectangle of inRect and inMargin,
  // centred at (W / 2, H / 2, D / 2) of the padded size, scaled so that its
  // absolute values sum to 1, and returns its spectrum; the caller owns it.
  static XFourierVolume* CreateGaussianFilter(const X3DRect& inRect, float inSigma, UInt32 inMargin);
  static XFourierVolume* CreateLaplacianFilter(const X3DRect& inRect, float inSigma, UInt32 inMargin);
  static XFourierVolume* CreateSobelHorizontalFilter(const X3DRect& inRect, float inSigma, UInt32 inMargin);
  static XFourierVolume* CreateSobelVerticalFilter(const X3DRect& inRect, float inSigma, UInt32 inMargin);

  // The rectangle that filtering with inMargin works on: grown by the margin
  // in X and Y and by min(depth / 2, margin) in Z (none for one plane), then
  // widened by one column or row where width or height came out odd.
  static X3DRect GetPaddedRect(const X3DRect& inRect, UInt32 inMargin);

  // The value functions, evaluated in double. Gaussian: exp(-r^2 / 2 sigma^2),
  // unnormalised; Laplacian: the Laplacian of that Gaussian; Sobel: a fixed
  // 5 x 5 table over integer x and y, ignoring z and sigma.
  static float CalculateGaussianValue(float inX, float inY, float inZ, float inSigma);
  static float CalculateLaplacianValue(float inX, float inY, float inZ, float inSigma);
  static float CalculateSobelHorizontalValue(float inX, float inY, float inZ, float inSigma);
  static float CalculateSobelVerticalValue(float inX, float inY, float inZ, float inSigma);

 private:
  static XFourierVolume* CreateFilterWithKernelFunction(const X3DRect& inRect, float inSigma, UInt32 inMargin,
                                                        XKernelFunction inFunction);
};

}  // namespace mirelan
