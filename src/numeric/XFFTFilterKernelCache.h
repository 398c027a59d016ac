// Fourier-space filter kernels kept for reuse, by kind and by the image
// rectangle's size, sigma and margin they were made for.
#pragma once

#include <memory>

#include "core/XContainers.h"
#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class XFourierVolume;

enum XKernelType : SInt32 {
  kGaussianKernel = 0,
  kLaplacianKernel = 1,
  kSobelHorizontalKernel = 2,
  kSobelVerticalKernel = 3,
};

// Owned by the tool that filters with it (XImageShadingCorrectionTool,
// XImageRegistrationTool). GetKernel is const but fills the cache without a
// lock: one cache serves one thread at a time.
class MIRELAN_EXPORT XFFTFilterKernelCache {
 public:
  XFFTFilterKernelCache() = default;
  ~XFFTFilterKernelCache();
  XFFTFilterKernelCache(const XFFTFilterKernelCache&) = delete;
  XFFTFilterKernelCache& operator=(const XFFTFilterKernelCache&) = delete;

  // The kernel for filtering an image of inRect with inMargin, made on the
  // first request; the cache keeps ownership. A type beyond the four kinds
  // gives null.
  const XFourierVolume* GetKernel(XKernelType inType, const X3DRect& inRect, float inSigma, UInt32 inMargin) const;

 private:
  struct XKey {
    UInt32 itsWidth;
    UInt32 itsHeight;
    UInt32 itsDepth;
    float itsSigma;
    UInt32 itsMargin;
    bool operator<(const XKey& inOther) const;
  };
  using XKernelMap = XMap<XKey, std::unique_ptr<XFourierVolume>>;

  mutable XMap<SInt32, XKernelMap> itsKernels;
};

}  // namespace mirelan
