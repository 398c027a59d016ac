// Inverts grey levels and colours: max - v for integer types (alpha kept),
// and for floats the reversed map of [min, max] onto [0, 1].
#pragma once

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"
#include "volume/XColour.h"
#include "tools/XScanHelperBase.h"

namespace mirelan {

// The scan helpers, one per pixel type. The maximum arrives truncated to an
// integer and reduced to the voxel's width: (max - v) in 8 or 16 bits is the
// same whichever way round the reduction is done.
template <class T>
class MIRELAN_EXPORT XInvertHelperGrey : public XScanHelperBase {
 public:
  explicit XInvertHelperGrey(T inMaximum) : itsMaximum(inMaximum) {}
  template <class V>
  void ScanPixel(T* ioVoxel, V&, SInt32, SInt32, SInt32) {
    *ioVoxel = T(itsMaximum - *ioVoxel);
  }

 private:
  T itsMaximum;
};
using XInvertHelperGrey8 = XInvertHelperGrey<UInt8>;
using XInvertHelperGrey16 = XInvertHelperGrey<UInt16>;

// Red, green and blue; alpha, where the colour has it, stays.
template <class C>
class MIRELAN_EXPORT XInvertHelperColour : public XScanHelperBase {
 public:
  using Channel = decltype(C().red);
  explicit XInvertHelperColour(Channel inMaximum) : itsMaximum(inMaximum) {}
  template <class V>
  void ScanPixel(C* ioVoxel, V&, SInt32, SInt32, SInt32) {
    ioVoxel->red = Channel(itsMaximum - ioVoxel->red);
    ioVoxel->green = Channel(itsMaximum - ioVoxel->green);
    ioVoxel->blue = Channel(itsMaximum - ioVoxel->blue);
  }

 private:
  Channel itsMaximum;
};
using XInvertHelperARGB32 = XInvertHelperColour<XARGB32Colour>;
using XInvertHelperRGB48 = XInvertHelperColour<XRGB48Colour>;

// v = 1 - (v / a - b), with a the maximum and b = min / a: min goes to 1 and
// max to 0. Not max - v, on purpose: float data has no natural ceiling.
class MIRELAN_EXPORT XInvertHelperFP : public XScanHelperBase {
 public:
  XInvertHelperFP(Float64 inMaximum, Float64 inMinimum)
      : itsMaximum(inMaximum), itsOffset(inMinimum / inMaximum) {}
  template <class V>
  void ScanPixel(Float32* ioVoxel, V&, SInt32, SInt32, SInt32) {
    *ioVoxel = Float32(1.0 - (*ioVoxel / itsMaximum - itsOffset));
  }

 private:
  Float64 itsMaximum;
  Float64 itsOffset;
};

class MIRELAN_EXPORT XInvertVolumeTool : public X1To1VolumeTool {
 public:
  // The maximum starts as NaN and the first apply fills it in: 255 for Grey8
  // and ARGB32, 65535 for Grey16 and RGB48, the source's FindMax for FP. It
  // then stays for every later apply of this object, whatever the pixel type.
  XInvertVolumeTool();
  Float64 GetMaximum() const { return itsMaximum; }

 protected:
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  // Fills in the maximum on first use.
  void DefaultMaximum(Float64 inValue);
  // The integer forms: copy in, fill in the maximum, and walk dest with a
  // helper made from the maximum truncated to the voxel's channel type.
  template <class Helper, class Channel, class V>
  void InvertIntegers(const V& inSource, XVolume& ioDest, Float64 inDefaultMaximum);

  Float64 itsMaximum;
};

}  // namespace mirelan
