#include "tools/XRatioTool.h"

#include <cstddef>
#include <memory>

#include "core/XException.h"
#include "core/XProgress.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

XRatioTool::~XRatioTool() = default;

XFPVolume* XRatioTool::RatioVolumes(const XVolume& inNumerator, const XVolume& inDenominator) {
  if (inNumerator.GetVersion().GetClassID() != inDenominator.GetVersion().GetClassID())
    throw XException(kErrRatioClassMismatch);
  if (inNumerator.IsA(XFPVolume::GetClassVersion()))
    return RatioFPVolumes(dynamic_cast<const XFPVolume&>(inNumerator), dynamic_cast<const XFPVolume&>(inDenominator));
  return RatioNonFPVolumes(inNumerator, inDenominator);
}

XFPVolume* XRatioTool::RatioNonFPVolumes(const XVolume& inNumerator, const XVolume& inDenominator) {
  if (inNumerator.IsA(XGrey8Volume::GetClassVersion()))
    return Ratio<UInt8, XGrey8Volume>(inNumerator, inDenominator);
  if (inNumerator.IsA(XGrey16Volume::GetClassVersion()))
    return Ratio<UInt16, XGrey16Volume>(inNumerator, inDenominator);
  throw XException(kErrNotForPixelType);
}

XFPVolume* XRatioTool::RatioFPVolumes(const XFPVolume& inNumerator, const XFPVolume& inDenominator) {
  return Ratio<Float32, XFPVolume>(inNumerator, inDenominator);
}

template <class T, class V>
XFPVolume* XRatioTool::Ratio(const XVolume& inNumerator, const XVolume& inDenominator) const {
  const V& numerator = dynamic_cast<const V&>(inNumerator);
  const V& denominator = dynamic_cast<const V&>(inDenominator);
  XAssert(numerator.GetBounds().IsSameSizeAs(denominator.GetBounds()));

  auto result = std::make_unique<XFPVolume>(numerator.GetBounds());
  result->CopyScalingFrom(numerator);
  XLock numeratorLock(numerator, kLockRead);
  XLock denominatorLock(denominator, kLockRead);
  XLock resultLock(*result, kLockWrite);

  const Float32 ns = itsNumeratorSubtract, ds = itsDenominatorSubtract;
  const Float32 nt = itsNumeratorThreshold, dt = itsDenominatorThreshold;
  const UInt32 width = numerator.GetWidth(), height = numerator.GetHeight(), depth = numerator.GetDepth();
  const ptrdiff_t rowA = numerator.GetRowVoxels(), rowB = denominator.GetRowVoxels(), rowOut = result->GetRowVoxels();
  XProgress progress(depth, kProgressStandard, 2000, false);
  for (UInt32 z = 0; z < depth; ++z) {
    const T* a = numerator.GetLayer(z);
    const T* b = denominator.GetLayer(z);
    Float32* out = result->GetLayer(z);
    for (UInt32 y = 0; y < height; ++y) {
      for (UInt32 x = 0; x < width; ++x) {
        const Float32 n = Float32(a[x]) - ns;
        const Float32 d = Float32(b[x]) - ds;
        out[x] = (n > nt && d > dt) ? n / d : 0.0f;
      }
      a += rowA;
      b += rowB;
      out += rowOut;
    }
    progress.Increment();
  }
  return result.release();
}

}  // namespace mirelan
