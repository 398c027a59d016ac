// The pass the region threshold tools share, and the records it tests.
//
// A record says whether one voxel is selected: (value in band) differs from
// invert, with both ends of the band included. The pass walks the volume's
// bounds plane by plane with a mask of the same box, writes 255 where the
// record selects and 0 elsewhere, and makes the region of the mask, cropped
// to what is set. The record is a template argument, so the test is inlined
// into the walk: a comparison, an exclusive or and a store per voxel for
// the grey records.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "core/XTypes.h"
#include "tools/internal/XScanLoop.h"
#include "volume/X3DRegion.h"
#include "volume/XColour.h"
#include "volume/XMaskVolume.h"

namespace mirelan {
namespace XThresholdPass {

// Grey limits in the voxel's own type (8-bit, 16-bit or f32). A NaN is out
// of every band.
template <class T>
struct XGreyLimits {
  T lower;
  T upper;
  bool invert;

  bool Selects(T inValue) const { return ((inValue >= lower) & (inValue <= upper)) != invert; }
};

// The greatest of red, green and blue.
template <class C>
inline UInt32 Intensity(const C& inColour) {
  const UInt32 r = inColour.red, g = inColour.green, b = inColour.blue;
  return std::max(r, std::max(g, b));
}

// Intensity (the greatest channel) against the greatest channel of the
// lower and upper colours, which is the limit itself.
template <class C>
struct XColourLimits {
  C lower;
  C upper;
  bool invert;

  bool Selects(const C& inColour) const {
    const UInt32 v = Intensity(inColour), low = Intensity(lower), high = Intensity(upper);
    return ((v >= low) & (v <= high)) != invert;
  }
};

// BGRA32 has a test of its own: in band when any of blue, green, red is at
// least the lower limit and any is at most the upper one.
struct XBGRA32Limits {
  XBGRA32Colour lower;
  XBGRA32Colour upper;
  bool invert;

  bool Selects(const XBGRA32Colour& inColour) const {
    const bool aboveLower = inColour.blue >= lower.blue || inColour.green >= lower.green || inColour.red >= lower.red;
    const bool belowUpper = inColour.blue <= upper.blue || inColour.green <= upper.green || inColour.red <= upper.red;
    return (aboveLower && belowUpper) != invert;
  }
};

// Each channel against its own band and its own invert flag; all three must pass.
template <class C>
struct XRGBLimits {
  C lower;
  C upper;
  bool invertRed;
  bool invertGreen;
  bool invertBlue;

  bool Selects(const C& inColour) const {
    const bool red = (inColour.red >= lower.red && inColour.red <= upper.red) != invertRed;
    const bool green = (inColour.green >= lower.green && inColour.green <= upper.green) != invertGreen;
    const bool blue = (inColour.blue >= lower.blue && inColour.blue <= upper.blue) != invertBlue;
    return red && green && blue;
  }
};

// Hue, saturation (on the colour's own scale) and intensity, each against
// its band and flag; all three must pass.
template <class C>
struct XHSILimits {
  UInt16 minimum[3];  // hue, saturation, intensity
  UInt16 maximum[3];
  bool invert[3];

  bool Selects(const C& inColour) const {
    UInt32 hsi[3];
    HSIOf(inColour, hsi);
    for (int k = 0; k < 3; ++k)
      if (((hsi[k] >= minimum[k]) & (hsi[k] <= maximum[k])) == invert[k]) return false;
    return true;
  }

 private:
  static void HSIOf(const XARGB32Colour& inColour, UInt32 (&outHSI)[3]) {
    UInt8 h, s, i;
    XARGB32Colour::RGBToHSI(inColour, h, s, i);
    outHSI[0] = h;
    outHSI[1] = s;
    outHSI[2] = i;
  }
  static void HSIOf(const XRGB48Colour& inColour, UInt32 (&outHSI)[3]) {
    UInt16 h, s, i;
    XRGB48Colour::RGBToHSI(inColour, h, s, i);
    outHSI[0] = h;
    outHSI[1] = s;
    outHSI[2] = i;
  }
};

// Writes the record's verdict into the mask voxel beside each voxel.
template <class Record>
class XThresholdHelper {
 public:
  explicit XThresholdHelper(const Record& inRecord) : itsRecord(inRecord) {}

  template <class V>
  void SetupForScan(V&) {}
  template <class V>
  void FinishedScanning(V&) {}
  template <class Voxel, class V>
  void ScanPixel(const Voxel* inVoxel, UInt8* outMask, V&, SInt32, SInt32, SInt32) {
    *outMask = itsRecord.Selects(*inVoxel) ? 255 : 0;
  }

 private:
  Record itsRecord;
};

// The region of the voxels of inVolume that inRecord selects, assigned to
// outRegion (empty when none is).
template <class V, class Record>
void Apply(const Record& inRecord, X3DRegion& outRegion, const V& inVolume) {
  const X3DRect& box = inVolume.GetBounds();
  XMaskVolume mask(box);
  XThresholdHelper<Record> helper(inRecord);
  XScanLoop<XThresholdHelper<Record>>::ScanPair(inVolume, mask, nullptr, helper);
  // The region of the mask over its own box, as X3DRegion(mask, box) would
  // make it, but assigned straight from the mask: a temporary region would
  // be copied once more, mask and all.
  outRegion = mask;
}

// Limits given as floats become voxel values: Round is floor(x + 0.5),
// Floor is floor(x), each kept as f32; Clamp keeps the result within 0 and
// the type's greatest value. A NaN passes the clamp and truncates to 0.
inline Float32 Round(Float32 inLimit) { return Float32(std::floor(Float64(inLimit) + 0.5)); }
inline Float32 Floor(Float32 inLimit) { return Float32(std::floor(Float64(inLimit))); }

template <class T>
inline T Clamp(Float32 inLimit) {
  constexpr Float32 kTop = Float32(std::numeric_limits<T>::max());
  const Float32 clamped = inLimit < 0.0f ? 0.0f : (inLimit > kTop ? kTop : inLimit);
  return clamped == clamped ? T(clamped) : T(0);
}

}  // namespace XThresholdPass
}  // namespace mirelan
