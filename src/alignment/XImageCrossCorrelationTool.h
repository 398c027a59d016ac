// The real-space similarity of two images of one size: the Pearson
// correlation of their voxels, -1 to 1.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "geometry/X3DRect.h"

namespace mirelan {

class XVolume;
class X3DRegion;
template <class T>
class XPackedVolume;

class MIRELAN_EXPORT XImageCrossCorrelationTool {
 public:
  XImageCrossCorrelationTool() = default;

  // Both images of one class and size; voxels are paired by their place from
  // each image's first corner. With a region (in the anchor's coordinates)
  // only its voxels count, for the means and deviations too. A constant image
  // has no deviation, and the result is then not a number. Grey8 (and masks),
  // Grey16 and FP are measured directly, ARGB32 and RGB48 as float copies;
  // any other class throws 2500.
  float CalculateCrossCorrelation(const XVolume& inAnchorI, const XVolume& inShiftI, const X3DRegion* inRegion);
  // The same measure of the box inAnchorRect of the anchor against the box
  // inShiftRect, of one size, of the shifted image, read in place: the same
  // voxels in the same order as copies of the two boxes would give.
  float CalculateCrossCorrelation(const XVolume& inAnchorI, const X3DRect& inAnchorRect, const XVolume& inShiftI,
                                  const X3DRect& inShiftRect);

  // The working state of the last call.
  float GetAnchorMean() const { return itsMeanA; }
  float GetAnchorSigma() const { return itsSigmaA; }
  float GetShiftedMean() const { return itsMeanB; }
  float GetShiftedSigma() const { return itsSigmaB; }
  float GetResult() const { return itsResult; }

 private:
  // Boxes of one size; the region, if any, in the anchor's coordinates.
  float Dispatch(const XVolume& inAnchorI, const X3DRect& inAnchorRect, const XVolume& inShiftI,
                 const X3DRect& inShiftRect, const X3DRegion* inRegion);
  template <class T>
  float Correlate(const XPackedVolume<T>& inAnchor, const X3DRect& inAnchorRect, const XPackedVolume<T>& inShifted,
                  const X3DRect& inShiftRect, const X3DRegion* inRegion);
  void MeasureSpread(const XVolume& inVolume, const X3DRegion* inRegion, float& outMean, float& outSigma) const;

  float itsMeanA = 0.0f;
  float itsSigmaA = 0.0f;
  float itsMeanB = 0.0f;
  float itsSigmaB = 0.0f;
  float itsResult = 0.0f;
};

}  // namespace mirelan
