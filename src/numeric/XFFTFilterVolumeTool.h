// Filtering by multiplication in Fourier space: the image gets mirrored
// margins, is transformed, multiplied by a kernel spectrum, transformed back
// and trimmed; then a chain of plug-ins may change the result.
#pragma once

#include "core/XContainers.h"
#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

class XFourierVolume;
class XFPVolume;

// A step after the filter, on the trimmed floating-point result.
class MIRELAN_EXPORT XFFTFilterVolumeToolPlugin {
 public:
  virtual ~XFFTFilterVolumeToolPlugin();
  void ManipulateImage(XFPVolume& ioResult, const XVolume& inSource) { ManipulateImageSelf(ioResult, inSource); }

 protected:
  virtual void ManipulateImageSelf(XFPVolume& ioResult, const XVolume& inSource) = 0;
};

// Replaces each voxel by its absolute value.
class MIRELAN_EXPORT XAbsoluteValuePlugin : public XFFTFilterVolumeToolPlugin {
 protected:
  void ManipulateImageSelf(XFPVolume& ioResult, const XVolume& inSource) override;
};

// Replaces the filtered image by its squared difference from the source
// image, stretched to the source renderer's full input range.
class MIRELAN_EXPORT XLaplacianDetailEnhancerPlugin : public XFFTFilterVolumeToolPlugin {
 protected:
  void ManipulateImageSelf(XFPVolume& ioResult, const XVolume& inSource) override;
};

// The kernel must be the spectrum made for the source's bounds and this
// margin (XFFTFilterKernelCache::GetKernel); kernel and plug-in list are not
// owned and must outlive the tool. Every pixel type is served: the result
// converts into the destination's type, with both renderers set to the
// result's range.
class MIRELAN_EXPORT XFFTFilterVolumeTool : public X1To1VolumeTool {
 public:
  XFFTFilterVolumeTool(const XFourierVolume* inKernel, const XPtrVector<XFFTFilterVolumeToolPlugin>* inPlugins,
                       UInt32 inMargin);

  // The margins of the padded image: the source mirrored about its edges,
  // along X, then Y, then Z (only with a z margin), each pass over what the
  // previous ones filled.
  static void PreparePaddedImage(const XVolume& inSource, XFourierVolume& ioPadded);
  // Moves each X-Y quadrant (all planes) to the diagonally opposite one, which
  // brings the kernel's centre back to the corner. Z is not rotated.
  // Preconditions: even width and height.
  static void UnwrapFourierToFPImage(const XFourierVolume& inWrappedI, XFPVolume& outImage);

 protected:
  void ApplyToolSelf(const XVolume& inSource, XVolume& ioDest) override;

 private:
  const XFourierVolume* itsKernel;
  const XPtrVector<XFFTFilterVolumeToolPlugin>* itsPlugins;
  UInt32 itsMargin;
};

}  // namespace mirelan
