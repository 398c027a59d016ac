#include "numeric/XFFTFilterKernelCache.h"

#include <cstring>
#include <tuple>

#include "numeric/XFFTFilterKernelGenerator.h"
#include "numeric/XFourierVolume.h"

namespace mirelan {

namespace {

// Sigma orders by its bits, so that every value (NaN too) is a key.
UInt32 BitsOf(float inValue) {
  UInt32 bits;
  std::memcpy(&bits, &inValue, sizeof bits);
  return bits;
}

}  // namespace

bool XFFTFilterKernelCache::XKey::operator<(const XKey& inOther) const {
  return std::make_tuple(itsWidth, itsHeight, itsDepth, BitsOf(itsSigma), itsMargin) <
         std::make_tuple(inOther.itsWidth, inOther.itsHeight, inOther.itsDepth, BitsOf(inOther.itsSigma),
                         inOther.itsMargin);
}

XFFTFilterKernelCache::~XFFTFilterKernelCache() = default;

const XFourierVolume* XFFTFilterKernelCache::GetKernel(XKernelType inType, const X3DRect& inRect, float inSigma,
                                                       UInt32 inMargin) const {
  XKernelMap& kernels = itsKernels[SInt32(inType)];
  const XKey key{inRect.GetWidth(), inRect.GetHeight(), inRect.GetDepth(), inSigma, inMargin};
  auto found = kernels.find(key);
  if (found != kernels.end()) return found->second.get();
  std::unique_ptr<XFourierVolume> kernel;
  switch (inType) {
    case kGaussianKernel:
      kernel.reset(XFFTFilterKernelGenerator::CreateGaussianFilter(inRect, inSigma, inMargin));
      break;
    case kLaplacianKernel:
      kernel.reset(XFFTFilterKernelGenerator::CreateLaplacianFilter(inRect, inSigma, inMargin));
      break;
    case kSobelHorizontalKernel:
      kernel.reset(XFFTFilterKernelGenerator::CreateSobelHorizontalFilter(inRect, inSigma, inMargin));
      break;
    case kSobelVerticalKernel:
      kernel.reset(XFFTFilterKernelGenerator::CreateSobelVerticalFilter(inRect, inSigma, inMargin));
      break;
    default:
      break;  // no such kind: a null entry
  }
  return kernels.emplace(key, std::move(kernel)).first->second.get();
}

}  // namespace mirelan
