#include "alignment/XImageCrossCorrelationTool.h"

#include <cmath>
#include <memory>
#include <typeinfo>

#include "core/XException.h"
#include "core/XLockable.h"
#include "measurement/XVolumeStatsTool.h"
#include "volume/X3DRegion.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

bool SameSize(const X3DRect& inA, const X3DRect& inB) {
  return inA.GetWidth() == inB.GetWidth() && inA.GetHeight() == inB.GetHeight() && inA.GetDepth() == inB.GetDepth();
}

}  // namespace

float XImageCrossCorrelationTool::CalculateCrossCorrelation(const XVolume& inAnchorI, const XVolume& inShiftI,
                                                            const X3DRegion* inRegion) {
  return Dispatch(inAnchorI, inAnchorI.GetBounds(), inShiftI, inShiftI.GetBounds(), inRegion);
}

float XImageCrossCorrelationTool::CalculateCrossCorrelation(const XVolume& inAnchorI, const X3DRect& inAnchorRect,
                                                            const XVolume& inShiftI, const X3DRect& inShiftRect) {
  XAssert(inAnchorI.GetBounds().Contains(inAnchorRect) && inShiftI.GetBounds().Contains(inShiftRect));
  return Dispatch(inAnchorI, inAnchorRect, inShiftI, inShiftRect, nullptr);
}

float XImageCrossCorrelationTool::Dispatch(const XVolume& inAnchorI, const X3DRect& inAnchorRect,
                                           const XVolume& inShiftI, const X3DRect& inShiftRect,
                                           const X3DRegion* inRegion) {
  XAssert(typeid(inAnchorI) == typeid(inShiftI));
  XAssert(SameSize(inAnchorRect, inShiftRect));
  if (inAnchorI.IsA(XMaskVolume::GetClassVersion()) || inAnchorI.IsA(XGrey8Volume::GetClassVersion()))
    return Correlate(static_cast<const XPackedVolume<UInt8>&>(inAnchorI), inAnchorRect,
                     static_cast<const XPackedVolume<UInt8>&>(inShiftI), inShiftRect, inRegion);
  if (inAnchorI.IsA(XGrey16Volume::GetClassVersion()))
    return Correlate(static_cast<const XPackedVolume<UInt16>&>(inAnchorI), inAnchorRect,
                     static_cast<const XPackedVolume<UInt16>&>(inShiftI), inShiftRect, inRegion);
  if (inAnchorI.IsA(XFPVolume::GetClassVersion()))
    return Correlate(static_cast<const XPackedVolume<Float32>&>(inAnchorI), inAnchorRect,
                     static_cast<const XPackedVolume<Float32>&>(inShiftI), inShiftRect, inRegion);
  if (inAnchorI.IsA(XARGB32Volume::GetClassVersion()) || inAnchorI.IsA(XRGB48Volume::GetClassVersion())) {
    XFPVolume anchor(inAnchorRect);
    anchor.CopyIn(inAnchorI, inAnchorRect, inAnchorRect, nullptr);
    XFPVolume shifted(inShiftRect);
    shifted.CopyIn(inShiftI, inShiftRect, inShiftRect, nullptr);
    return Dispatch(anchor, inAnchorRect, shifted, inShiftRect, inRegion);
  }
  throw XException(kErrNotForPixelType);
}

void XImageCrossCorrelationTool::MeasureSpread(const XVolume& inVolume, const X3DRegion* inRegion, float& outMean,
                                               float& outSigma) const {
  XVolumeVarianceTool variance;
  variance.ApplyTool(inVolume, inRegion);
  outMean = variance.IsMinMaxMeanValid(1) ? float(variance.GetMean(1)) : 0.0f;
  outSigma = variance.IsMinMaxMeanValid(1) ? float(std::sqrt(variance.GetVariance(1))) : 0.0f;
}

template <class T>
float XImageCrossCorrelationTool::Correlate(const XPackedVolume<T>& inAnchor, const X3DRect& inAnchorRect,
                                            const XPackedVolume<T>& inShifted, const X3DRect& inShiftRect,
                                            const X3DRegion* inRegion) {
  const X3DRect& a = inAnchorRect;
  const X3DRect& b = inShiftRect;
  const SInt32 dx = b.left - a.left, dy = b.top - a.top, dz = b.front - a.front;
  // The means and deviations over the voxels compared: the region (moved
  // into the shifted image's coordinates for it), or the boxes when they are
  // less than the volumes.
  std::unique_ptr<X3DRegion> anchorRegion, shiftedRegion;
  if (inRegion != nullptr) {
    shiftedRegion = std::make_unique<X3DRegion>(*inRegion);
    shiftedRegion->Offset(dx, dy, dz);
  } else {
    if (a != inAnchor.GetBounds()) anchorRegion = std::make_unique<X3DRegion>(a);
    if (b != inShifted.GetBounds()) shiftedRegion = std::make_unique<X3DRegion>(b);
  }
  MeasureSpread(inAnchor, inRegion != nullptr ? inRegion : anchorRegion.get(), itsMeanA, itsSigmaA);
  MeasureSpread(inShifted, shiftedRegion.get(), itsMeanB, itsSigmaB);

  X3DRect walk = a;
  if (inRegion != nullptr) walk.Sect(inRegion->GetBounds());
  XLock lockA(inAnchor, kLockRead);
  XLock lockB(inShifted, kLockRead);
  std::unique_ptr<XLock> lockRegion;
  const UInt8* mask = nullptr;
  if (inRegion != nullptr && inRegion->IsComplex()) {
    lockRegion = std::make_unique<XLock>(*inRegion, kLockRead);
    mask = inRegion->GetMaskBasePtr();
  }
  const double meanA = itsMeanA;
  const double meanB = itsMeanB;
  double sum = 0.0;
  UInt64 count = 0;
  const UInt32 width = walk.GetWidth();
  for (SInt32 z = walk.front; z < walk.back; ++z) {
    for (SInt32 y = walk.top; y < walk.bottom; ++y) {
      const T* rowA = inAnchor.GetVoxelPtr(walk.left, y, z);
      const T* rowB = inShifted.GetVoxelPtr(walk.left + dx, y + dy, z + dz);
      if (mask == nullptr) {
        // Four partial sums let the products run side by side.
        double partial[4] = {0.0, 0.0, 0.0, 0.0};
        UInt32 x = 0;
        for (; x + 4 <= width; x += 4)
          for (UInt32 k = 0; k < 4; ++k)
            partial[k] += (double(rowA[x + k]) - meanA) * (double(rowB[x + k]) - meanB);
        for (; x < width; ++x) partial[0] += (double(rowA[x]) - meanA) * (double(rowB[x]) - meanB);
        sum += (partial[0] + partial[1]) + (partial[2] + partial[3]);
        count += width;
      } else {
        const X3DRect& r = inRegion->GetBounds();
        const UInt8* rowMask = mask + UInt64(z - r.front) * inRegion->GetMaskPlaneBytes() +
                               UInt64(y - r.top) * inRegion->GetMaskRowBytes() + UInt64(walk.left - r.left);
        for (UInt32 x = 0; x < width; ++x) {
          if (rowMask[x] <= 127) continue;
          sum += (double(rowA[x]) - meanA) * (double(rowB[x]) - meanB);
          ++count;
        }
      }
    }
  }
  // Constant images give 0 / 0 here: not a number, which loses every comparison.
  itsResult = float(sum / (double(itsSigmaA) * double(itsSigmaB)) / double(count));
  return itsResult;
}

}  // namespace mirelan
