#include "measurement/XVolumeColourTools.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "measurement/internal/XMeasureSupport.h"
#include "tools/XScanHelperBase.h"
#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"

namespace mirelan {

namespace {

// The corner of each class in the cell cube, and which classes a grey cell
// (r = g = b) and a coloured cell are tested against.
constexpr SInt32 kCorners[XVolumeColourTool::kClassCount][3] = {
    {0, 0, 0}, {0, 0, 7}, {0, 7, 0}, {0, 7, 7}, {7, 0, 0}, {7, 0, 7}, {7, 7, 0}, {7, 7, 7}, {7, 4, 4}};
constexpr UInt32 kGreyClasses[] = {0, 7};
constexpr UInt32 kColourClasses[] = {1, 2, 3, 4, 5, 6, 8};
constexpr Float64 kClassRadius = 6.0;

}  // namespace

// ---------------------------------------------------------------------------
// XVolumeColourTool

void XVolumeColourTool::XARGB32Helper::Clear() {
  std::memset(itsCells, 0, sizeof(itsCells));
  itsSum = 0;
  itsPixelCount = 0;
}

void XVolumeColourTool::XARGB32Helper::Add(const XARGB32Colour& inColour) {
  const UInt32 r = inColour.red, g = inColour.green, b = inColour.blue;
  itsSum += r + g + b;
  ++itsPixelCount;
  ++itsCells[(r >> 5) * 64 + (g >> 5) * 8 + (b >> 5)];
}

XVolumeColourTool::XVolumeColourTool() { std::fill(std::begin(itsColourPercent), std::end(itsColourPercent), 0u); }

UInt32 XVolumeColourTool::GetColourPercent(UInt32 inIndex) const {
  XAssert(inIndex < kClassCount);
  return itsColourPercent[inIndex];
}

Float64 XVolumeColourTool::CalcDistance(SInt32 inR1, SInt32 inG1, SInt32 inB1, SInt32 inR2, SInt32 inG2,
                                        SInt32 inB2) {
  const Float64 dr = inR1 - inR2, dg = inG1 - inG2, db = inB1 - inB2;
  return std::sqrt(dr * dr + dg * dg + db * db);
}

void XVolumeColourTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  XARGB32Helper helper;
  XScanVolume(XAsConst(ioVolume), inRegion, helper);
  GetValuesFromHelper(helper);
}

void XVolumeColourTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToolARGB32(*XCopyAsARGB32(ioVolume), inRegion);
}

void XVolumeColourTool::GetValuesFromHelper(const XARGB32Helper& inHelper) {
  UInt32 classes[kClassCount] = {};
  for (SInt32 r = 0; r < 8; ++r)
    for (SInt32 g = 0; g < 8; ++g)
      for (SInt32 b = 0; b < 8; ++b) {
        const UInt32 count = inHelper.GetCellCount(r, g, b);
        auto addTo = [&](UInt32 inClass) {
          const SInt32* c = kCorners[inClass];
          if (CalcDistance(r, g, b, c[0], c[1], c[2]) < kClassRadius) classes[inClass] += count;
        };
        if (r == g && g == b)
          for (UInt32 k : kGreyClasses) addTo(k);
        else
          for (UInt32 k : kColourClasses) addTo(k);
      }
  // A scan that met no pixel has no percentages: no division by zero.
  const UInt32 pixels = inHelper.GetPixelCount();
  XAssert(pixels != 0);
  for (UInt32 k = 0; k < kClassCount; ++k) itsColourPercent[k] = classes[k] * 100 / pixels;
  itsBrightnessPercent = UInt32(inHelper.GetSum() * 100 / (UInt64(pixels) * 765));
}

// ---------------------------------------------------------------------------
// XVolumeWavelengthTool

namespace {

class XWavelengthHelper : public XScanHelperBase {
 public:
  XWavelengthHelper(UInt32 inBlack, UInt32 inWhite, UInt32 inLowHue, UInt32 inHighHue)
      : itsBlack(inBlack), itsWhite(inWhite), itsLowHue(inLowHue), itsHighHue(inHighHue) {}

  template <class V>
  void ScanPixel(const XARGB32Colour* inVoxel, V&, SInt32, SInt32, SInt32) {
    const UInt32 sum = UInt32(inVoxel->red) + inVoxel->green + inVoxel->blue;
    if (sum < itsBlack || sum > itsWhite) return;
    ++itsNonBlack;
    const UInt32 hue = XARGB32Colour(255, inVoxel->red, inVoxel->green, inVoxel->blue).GetHue();
    if (hue >= itsLowHue && hue <= itsHighHue) ++itsMatches;
  }

  UInt32 itsNonBlack = 0;
  UInt32 itsMatches = 0;

 private:
  UInt32 itsBlack, itsWhite, itsLowHue, itsHighHue;
};

UInt32 HueOfWavelength(Float64 inNanometres) {
  XARGB32Colour colour(255, 0, 0, 0);
  colour.SetWavelength(inNanometres);
  return colour.GetHue();
}

}  // namespace

void XVolumeWavelengthTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  XWavelengthHelper helper(itsBlackLevel, itsWhiteLevel, HueOfWavelength(itsWaveB), HueOfWavelength(itsWaveA));
  XScanVolume(XAsConst(ioVolume), inRegion, helper);
  itsNonBlackCount = helper.itsNonBlack;
  itsMatchCount = helper.itsMatches;
}

void XVolumeWavelengthTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToolARGB32(*XCopyAsARGB32(ioVolume), inRegion);
}

}  // namespace mirelan
