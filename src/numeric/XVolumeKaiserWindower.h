// Tapers a floating-point volume with a separable Kaiser-Bessel window
// before a Fourier transform, so that its edges do not ring.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XFPVolume;

class MIRELAN_EXPORT XVolumeKaiserWindower {
 public:
  enum XOriginLocation : SInt32 { kOriginAtCorner = 0, kOriginAtCentre = 1 };

  // Multiplies the volume by wx(x) * wy(y) * wz(z), each window peaking (1.0)
  // at the origin: at the first and last sample for kOriginAtCorner, in the
  // middle for kOriginAtCentre.
  void ApplyKaiserWindow(XFPVolume& ioVolume, XOriginLocation inOrigin) const;

  // The 1-D window in place on a one-row filter (alpha 8.639379787500001).
  // Walking from the origin outwards, sample i of L / 2 is multiplied by
  // I0(alpha * sqrt(1 - (i / (L / 2))^2)) / I0(alpha). For an odd length the
  // sample no cursor reaches stays 1.0: the middle one from the corner, the
  // first one from the centre, where the window is one sample off centre.
  static void CalcKaiserBesselWindow(XFPVolume& ioFilter, XOriginLocation inOrigin);
  // out(x, y, z) = xFilter[x] * yFilter[y] * zFilter[z]; the filters' widths
  // are the volume's width, height and depth.
  static void CalcFilterVolume(XFPVolume& outVolume, const XFPVolume& inXFilter, const XFPVolume& inYFilter,
                               const XFPVolume& inZFilter);
  // I0(x) by its series up to the term in x^24.
  static double ModifiedBessel(double inX);
};

}  // namespace mirelan
