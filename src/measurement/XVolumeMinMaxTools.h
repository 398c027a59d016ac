// Least and greatest values of a volume or region: luminance
// (XVolumeLuminanceMinMaxTool), hue, saturation and intensity
// (XVolumeHSIStatsTool), and each colour channel (XVolumeRGBValuesMinMaxTool).
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "tools/XVolumeScanningTool.h"

namespace mirelan {

// The least and greatest luminance: the grey value, the greatest of red,
// green and blue for colour; negative floats count as 0.0, so a float volume
// never reports a negative minimum. An empty scan leaves the type's greatest
// value as the minimum and its least as the maximum (plus and minus the
// greatest float for float data).
class MIRELAN_EXPORT XVolumeLuminanceMinMaxTool : public XVolumeScanningTool {
 public:
  Float32 GetMin() const { return itsMin; }
  Float32 GetMax() const { return itsMax; }

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  // The greatest channel does not depend on the byte order: read in place.
  void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;

 private:
  template <class V>
  void Gather(const V& inVolume, const X3DRegion* inRegion);

  Float32 itsMin = 0.0f;
  Float32 itsMax = 0.0f;
};

// The least and greatest hue, saturation and intensity. Colour voxels give
// hue and saturation on their own scale (0 to 255 or 0 to 65535) and the
// greatest channel as intensity; grey and float voxels hue 0, saturation 0
// and their value. Each scan starts the minima at the greatest float and the
// maxima at the least positive normal float, so a maximum never falls below
// that: hue and saturation of grey data report it, and so does the
// intensity of all-negative float data.
class MIRELAN_EXPORT XVolumeHSIStatsTool : public XVolumeScanningTool {
 public:
  void GetMinHSI(Float32& outHue, Float32& outSaturation, Float32& outIntensity) const;
  void GetMaxHSI(Float32& outHue, Float32& outSaturation, Float32& outIntensity) const;

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;

 private:
  template <class V>
  void Gather(const V& inVolume, const X3DRegion* inRegion);

  Float32 itsMinHue = 0.0f;
  Float32 itsMinSaturation = 0.0f;
  Float32 itsMinIntensity = 0.0f;
  Float32 itsMaxHue = 0.0f;
  Float32 itsMaxSaturation = 0.0f;
  Float32 itsMaxIntensity = 0.0f;
};

// The least and greatest red, green, blue and intensity (the greatest
// channel) of ARGB32 and RGB48 volumes (BGRA32 is read as ARGB32). Every
// minimum starts at 65535 and every maximum at 0, also for 8-bit colour; all
// results are 0 before a scan. Grey and float volumes are a precondition
// failure.
class MIRELAN_EXPORT XVolumeRGBValuesMinMaxTool : public XVolumeScanningTool {
 public:
  UInt32 GetMinRed() const { return itsMinRed; }
  UInt32 GetMaxRed() const { return itsMaxRed; }
  UInt32 GetMinGre() const { return itsMinGre; }
  UInt32 GetMaxGre() const { return itsMaxGre; }
  UInt32 GetMinBlu() const { return itsMinBlu; }
  UInt32 GetMaxBlu() const { return itsMaxBlu; }
  UInt32 GetMinInt() const { return itsMinInt; }
  UInt32 GetMaxInt() const { return itsMaxInt; }

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolARGB32(XARGB32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolRGB48(XRGB48Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;

 private:
  template <class V>
  void Gather(const V& inVolume, const X3DRegion* inRegion);

  UInt32 itsMinRed = 0;
  UInt32 itsMaxRed = 0;
  UInt32 itsMinGre = 0;
  UInt32 itsMaxGre = 0;
  UInt32 itsMinBlu = 0;
  UInt32 itsMaxBlu = 0;
  UInt32 itsMinInt = 0;
  UInt32 itsMaxInt = 0;
};

}  // namespace mirelan
