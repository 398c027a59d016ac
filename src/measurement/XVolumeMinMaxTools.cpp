#include "measurement/XVolumeMinMaxTools.h"

#include <algorithm>
#include <limits>
#include <type_traits>
#include <typeinfo>

#include "measurement/internal/XHistogramScan.h"
#include "measurement/internal/XMeasureSupport.h"
#include "tools/XScanHelperBase.h"
#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XPixelTraits.h"

namespace mirelan {

using XHistogramScan::MaxRGB;

namespace {

constexpr Float32 kGreatestFloat = std::numeric_limits<Float32>::max();
constexpr Float32 kLeastPositiveFloat = std::numeric_limits<Float32>::min();

}  // namespace

// ---------------------------------------------------------------------------
// XVolumeLuminanceMinMaxTool

// Minimum and maximum of the luminance, in the type of the voxel's channels.
template <class Voxel>
class XLuminanceMinMaxHelper {
 public:
  using Channel = typename XPixelTraits<Voxel>::Channel;

  template <class V>
  void SetupForScan(V&) {
    itsMin = std::numeric_limits<Channel>::max();
    itsMax = std::is_floating_point_v<Channel> ? -std::numeric_limits<Channel>::max() : Channel(0);
  }
  template <class V>
  void FinishedScanning(V&) {}

  template <class V>
  void ScanPixel(const Voxel* inVoxel, V&, SInt32, SInt32, SInt32) {
    const Channel value = Luminance(*inVoxel);
    if (value < itsMin) itsMin = value;
    if (value > itsMax) itsMax = value;
  }
  template <class V>
  void ScanRun(const Voxel* inRun, SInt32 inCount, V&, SInt32, SInt32, SInt32) {
    Channel low = itsMin, high = itsMax;
    for (SInt32 i = 0; i < inCount; ++i) {
      const Channel value = Luminance(inRun[i]);
      low = value < low ? value : low;
      high = value > high ? value : high;
    }
    itsMin = low;
    itsMax = high;
  }

  Channel GetMin() const { return itsMin; }
  Channel GetMax() const { return itsMax; }

 private:
  // Negative floats count as 0.0; a colour gives the greatest of 0, red,
  // green and blue.
  static Channel Luminance(const Voxel& inVoxel) {
    if constexpr (XPixelTraits<Voxel>::kIsColour)
      return Channel(MaxRGB(inVoxel));
    else if constexpr (std::is_floating_point_v<Voxel>)
      return inVoxel < Voxel(0) ? Voxel(0) : inVoxel;
    else
      return inVoxel;
  }

  Channel itsMin = 0;
  Channel itsMax = 0;
};

template <class V>
void XVolumeLuminanceMinMaxTool::Gather(const V& inVolume, const X3DRegion* inRegion) {
  XLuminanceMinMaxHelper<typename V::Voxel> helper;
  XScanVolume(inVolume, inRegion, helper);
  itsMin = Float32(helper.GetMin());
  itsMax = Float32(helper.GetMax());
}

void XVolumeLuminanceMinMaxTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeLuminanceMinMaxTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeLuminanceMinMaxTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeLuminanceMinMaxTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeLuminanceMinMaxTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeLuminanceMinMaxTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}

// ---------------------------------------------------------------------------
// XVolumeHSIStatsTool

namespace {

template <class Voxel>
class XHSIMinMaxHelper : public XScanHelperBase {
 public:
  XHSIMinMaxHelper() {
    for (int k = 0; k < 3; ++k) {
      itsMin[k] = kGreatestFloat;
      itsMax[k] = kLeastPositiveFloat;
    }
  }

  template <class V>
  void ScanPixel(const Voxel* inVoxel, V&, SInt32, SInt32, SInt32) {
    Float32 hsi[3];
    HSIOf(*inVoxel, hsi);
    for (int k = 0; k < 3; ++k) {
      if (hsi[k] < itsMin[k]) itsMin[k] = hsi[k];
      if (hsi[k] > itsMax[k]) itsMax[k] = hsi[k];
    }
  }

  Float32 itsMin[3];
  Float32 itsMax[3];

 private:
  static void HSIOf(const XARGB32Colour& inColour, Float32 (&outHSI)[3]) {
    UInt8 h, s, i;
    XARGB32Colour::RGBToHSI(inColour, h, s, i);
    outHSI[0] = h;
    outHSI[1] = s;
    outHSI[2] = i;
  }
  static void HSIOf(const XRGB48Colour& inColour, Float32 (&outHSI)[3]) {
    UInt16 h, s, i;
    XRGB48Colour::RGBToHSI(inColour, h, s, i);
    outHSI[0] = h;
    outHSI[1] = s;
    outHSI[2] = i;
  }
  template <class T>
  static void HSIOf(T inGrey, Float32 (&outHSI)[3]) {
    outHSI[0] = outHSI[1] = 0.0f;
    outHSI[2] = Float32(inGrey);
  }
};

}  // namespace

template <class V>
void XVolumeHSIStatsTool::Gather(const V& inVolume, const X3DRegion* inRegion) {
  XHSIMinMaxHelper<typename V::Voxel> helper;
  XScanVolume(inVolume, inRegion, helper);
  itsMinHue = helper.itsMin[0];
  itsMinSaturation = helper.itsMin[1];
  itsMinIntensity = helper.itsMin[2];
  itsMaxHue = helper.itsMax[0];
  itsMaxSaturation = helper.itsMax[1];
  itsMaxIntensity = helper.itsMax[2];
}

void XVolumeHSIStatsTool::GetMinHSI(Float32& outHue, Float32& outSaturation, Float32& outIntensity) const {
  outHue = itsMinHue;
  outSaturation = itsMinSaturation;
  outIntensity = itsMinIntensity;
}

void XVolumeHSIStatsTool::GetMaxHSI(Float32& outHue, Float32& outSaturation, Float32& outIntensity) const {
  outHue = itsMaxHue;
  outSaturation = itsMaxSaturation;
  outIntensity = itsMaxIntensity;
}

void XVolumeHSIStatsTool::ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeHSIStatsTool::ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeHSIStatsTool::ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeHSIStatsTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToolARGB32(*XCopyAsARGB32(ioVolume), inRegion);
}
void XVolumeHSIStatsTool::ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}
void XVolumeHSIStatsTool::ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) {
  Gather(XAsConst(ioVolume), inRegion);
}

// ---------------------------------------------------------------------------
// XVolumeRGBValuesMinMaxTool

namespace {

template <class Voxel>
class XRGBValuesMinMaxHelper : public XScanHelperBase {
 public:
  XRGBValuesMinMaxHelper() {
    for (int k = 0; k < 4; ++k) {
      itsMin[k] = 65535;
      itsMax[k] = 0;
    }
  }

  template <class V>
  void ScanPixel(const Voxel* inVoxel, V&, SInt32, SInt32, SInt32) {
    const UInt32 values[4] = {inVoxel->red, inVoxel->green, inVoxel->blue, MaxRGB(*inVoxel)};
    for (int k = 0; k < 4; ++k) {
      itsMin[k] = std::min(itsMin[k], values[k]);
      itsMax[k] = std::max(itsMax[k], values[k]);
    }
  }

  // Red, green, blue, intensity.
  UInt32 itsMin[4];
  UInt32 itsMax[4];
};

}  // namespace

template <class V>
void XVolumeRGBValuesMinMaxTool::Gather(const V& inVolume, const X3DRegion* inRegion) {
  XRGBValuesMinMaxHelper<typename V::Voxel> helper;
  XScanVolume(inVolume, inRegion, helper);
  itsMinRed = helper.itsMin[0];
  itsMaxRed = helper.itsMax[0];
  itsMinGre = helper.itsMin[1];
  itsMaxGre = helper.itsMax[1];
  itsMinBlu = helper.itsMin[2];
  itsMaxBlu = helper.itsMax[2];
  itsMinInt = helper.itsMin[3];
  itsMaxInt = helper.itsMax[3];
}

void XVolumeRGBValuesMinMaxTool::ApplyToolARGB32(XARGB32Volume& volume, const X3DRegion* inRegion) {
  XAssert(typeid(volume) == typeid(XARGB32Volume) || typeid(volume) == typeid(XRGB48Volume));
  Gather(XAsConst(volume), inRegion);
}
void XVolumeRGBValuesMinMaxTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  ApplyToolARGB32(*XCopyAsARGB32(ioVolume), inRegion);
}
void XVolumeRGBValuesMinMaxTool::ApplyToolRGB48(XRGB48Volume& volume, const X3DRegion* inRegion) {
  XAssert(typeid(volume) == typeid(XARGB32Volume) || typeid(volume) == typeid(XRGB48Volume));
  Gather(XAsConst(volume), inRegion);
}
// Colour channels only.
void XVolumeRGBValuesMinMaxTool::ApplyToolGrey8(XGrey8Volume&, const X3DRegion*) { XAssert(false); }
void XVolumeRGBValuesMinMaxTool::ApplyToolGrey16(XGrey16Volume&, const X3DRegion*) { XAssert(false); }
void XVolumeRGBValuesMinMaxTool::ApplyToolFP(XFPVolume&, const X3DRegion*) { XAssert(false); }

}  // namespace mirelan
