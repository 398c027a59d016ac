// Darkens the dark parts of an image by a weight image: where a voxel (each
// colour channel, for colours) is below the threshold it becomes
// truncated(w * 2.0 * v * 0.5) with w the weight at the same coordinates,
// kept within the type; voxels at or above the threshold stay. Only the
// voxels inside the weight volume's bounds are visited. Grey8 (and masks),
// Grey16, FP, ARGB32 (alpha kept) and RGB48.
#pragma once

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"
#include "tools/XClampTruncate.h"
#include "volume/XPixelTraits.h"
#include "tools/XScanHelperBase.h"

namespace mirelan {

class MIRELAN_EXPORT XHardLightImageBlendingTool : public X1To1VolumeTool {
 public:
  // The tool keeps a reference to the weights: they must outlive it.
  XHardLightImageBlendingTool(XFPVolume& inWeights, Float64 inThreshold)
      : itsWeights(inWeights), itsThreshold(inThreshold) {}
  ~XHardLightImageBlendingTool() override;

  Float64 GetThreshold() const { return itsThreshold; }
  const XFPVolume& GetWeights() const { return itsWeights; }

 protected:
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;

 private:
  template <class V>
  void Run(const XVolume& inSource, XVolume& ioDest);

  XFPVolume& itsWeights;
  Float64 itsThreshold;
};

// One channel: the blend below the threshold.
template <class T>
inline T XHardLightBlend(T inValue, Float32 inWeight, Float64 inThreshold) {
  return inValue < inThreshold ? XClampTruncate<T>(inWeight * 2.0 * inValue * 0.5) : inValue;
}

// The pair-walk helper: the voxel, then the weight at its coordinates.
template <class T>
class MIRELAN_EXPORT XHardLightHelper : public XScanHelperBase {
 public:
  explicit XHardLightHelper(Float64 inThreshold) : itsThreshold(inThreshold) {}
  template <class V>
  void ScanPixel(T* ioVoxel, const Float32* inWeight, V&, SInt32, SInt32, SInt32) {
    if constexpr (XPixelTraits<T>::kIsColour) {
      ioVoxel->red = XHardLightBlend(ioVoxel->red, *inWeight, itsThreshold);
      ioVoxel->green = XHardLightBlend(ioVoxel->green, *inWeight, itsThreshold);
      ioVoxel->blue = XHardLightBlend(ioVoxel->blue, *inWeight, itsThreshold);
    } else {
      *ioVoxel = XHardLightBlend(*ioVoxel, *inWeight, itsThreshold);
    }
  }

 private:
  Float64 itsThreshold;
};

}  // namespace mirelan
