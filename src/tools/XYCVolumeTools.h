// Colour-difference transforms of ARGB32 and RGB48 volumes, in fixed point:
// XYBarCVolumeTool maps (r, g, b) to M - (luminance-like mix) per channel,
// XYCBarVolumeTool to the opposite mix without the M term. Each channel is
// clamped to [0, M] in fixed point; ARGB32 results are opaque.
//
// ARGB32 works with 256 = 1, RGB48 with 32768 = 1 and finer weights. The RGB48
// sums are taken in signed 32-bit arithmetic, which wraps when a sum of
// products passes 2^31 (a saturated red alone does): such a channel then comes
// out clamped at 0. That is the transform's behaviour and is kept.
#pragma once

#include <type_traits>

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"
#include "volume/XColour.h"
#include "tools/XScanHelperBase.h"

namespace mirelan {

// The weights of one output channel, and the scan helper that applies three.
struct MIRELAN_EXPORT XColourMatrix {
  SInt32 itsWeights[3][3];  // [output channel][input red, green, blue]
  UInt32 itsScale;          // fixed-point one: 256 or 32768
  UInt32 itsShift;          // log2 of the scale
  bool itsAddMaximum;       // add scale * M to each sum
};

template <class C>
class MIRELAN_EXPORT XColourMatrixHelper : public XScanHelperBase {
 public:
  using Channel = decltype(C().red);
  XColourMatrixHelper(const XColourMatrix& inMatrix, SInt32 inMaximum) : itsMatrix(inMatrix) {
    const UInt32 top = itsMatrix.itsScale * UInt32(inMaximum);
    itsHigh = SInt32(top);
    itsBias = itsMatrix.itsAddMaximum ? top : 0;
  }
  template <class V>
  void ScanPixel(C* ioVoxel, V&, SInt32, SInt32, SInt32) {
    const UInt32 r = ioVoxel->red, g = ioVoxel->green, b = ioVoxel->blue;
    const Channel red = Mix(0, r, g, b), green = Mix(1, r, g, b), blue = Mix(2, r, g, b);
    ioVoxel->red = red;
    ioVoxel->green = green;
    ioVoxel->blue = blue;
    if constexpr (std::is_same_v<C, XARGB32Colour>) ioVoxel->alpha = 255;
  }

 private:
  // The sum in 32 bits with wrap-around (unsigned, then read as signed).
  Channel Mix(int inChannel, UInt32 r, UInt32 g, UInt32 b) const {
    const SInt32* w = itsMatrix.itsWeights[inChannel];
    const SInt32 sum = SInt32(UInt32(w[0]) * r + UInt32(w[1]) * g + UInt32(w[2]) * b + itsBias);
    const SInt32 clamped = sum < 0 ? 0 : (sum > itsHigh ? itsHigh : sum);
    return Channel(UInt32(clamped) >> itsMatrix.itsShift);
  }

  XColourMatrix itsMatrix;
  SInt32 itsHigh;
  UInt32 itsBias;
};

// The shared frame of the two tools: the maximum M and the two slots.
class MIRELAN_EXPORT XColourMatrixVolumeTool : public X1To1VolumeTool {
 public:
  ~XColourMatrixVolumeTool() override;

  // NaN until the first apply fills it in: 255 for ARGB32, 65535 for RGB48.
  // It then stays for later applies of this object, whatever the pixel type.
  Float64 GetMaximum() const { return itsMaximum; }

 protected:
  XColourMatrixVolumeTool(const XColourMatrix& inARGB32, const XColourMatrix& inRGB48);

  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;

 private:
  void DefaultMaximum(Float64 inValue);

  XColourMatrix itsARGB32;
  XColourMatrix itsRGB48;
  Float64 itsMaximum;
};

// r' = 102r - 300g - 58b + 256M, g' = -153r - 44g - 58b + 256M,
// b' = -153r - 300g + 197b + 256M, each clamped to [0, 256M] and / 256.
// RGB48: 13172, -38469, -7471; -19595, -5701, -7471; -19595, -38469, 25296,
// plus 32768M, clamped to [0, 32768M] and >> 15.
class MIRELAN_EXPORT XYBarCVolumeTool : public XColourMatrixVolumeTool {
 public:
  XYBarCVolumeTool();
  ~XYBarCVolumeTool() override;
};

// The negated weights without the M term: r' = -102r + 300g + 58b, and so on.
class MIRELAN_EXPORT XYCBarVolumeTool : public XColourMatrixVolumeTool {
 public:
  XYCBarVolumeTool();
  ~XYCBarVolumeTool() override;
};

}  // namespace mirelan
