// The voxel-by-voxel ratio of two volumes of one class, as a new float
// volume, with background subtraction and a threshold on each side:
//   n = a - numerator subtract, d = b - denominator subtract,
//   result = n / d when n > numerator threshold and d > denominator threshold,
//   0 otherwise (a voxel exactly at a threshold gives 0).
// Grey8 (and masks), Grey16 and FP; grey voxels are taken as floats first.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class XVolume;
class XFPVolume;

enum : SInt32 {
  kErrRatioClassMismatch = 2509,  // XRatioTool: the two volumes are of different classes
};

class MIRELAN_EXPORT XRatioTool {
 public:
  XRatioTool() = default;
  virtual ~XRatioTool();

  void SetBackgroundSubtractionValues(Float32 inNumerator, Float32 inDenominator) {
    itsNumeratorSubtract = inNumerator;
    itsDenominatorSubtract = inDenominator;
  }
  void SetThresholds(Float32 inNumerator, Float32 inDenominator) {
    itsNumeratorThreshold = inNumerator;
    itsDenominatorThreshold = inDenominator;
  }
  Float32 GetNumeratorSubtract() const { return itsNumeratorSubtract; }
  Float32 GetDenominatorSubtract() const { return itsDenominatorSubtract; }
  Float32 GetNumeratorThreshold() const { return itsNumeratorThreshold; }
  Float32 GetDenominatorThreshold() const { return itsDenominatorThreshold; }

  // A new volume with the numerator's bounds and calibration; the caller owns
  // it. Volumes of different classes throw 2509, of an unserved class 2500;
  // the sizes must be equal.
  virtual XFPVolume* RatioVolumes(const XVolume& inNumerator, const XVolume& inDenominator);

 protected:
  // Grey8 and Grey16: the voxels as floats, then the float ratio.
  virtual XFPVolume* RatioNonFPVolumes(const XVolume& inNumerator, const XVolume& inDenominator);
  virtual XFPVolume* RatioFPVolumes(const XFPVolume& inNumerator, const XFPVolume& inDenominator);

 private:
  template <class T, class V>
  XFPVolume* Ratio(const XVolume& inNumerator, const XVolume& inDenominator) const;

  Float32 itsNumeratorSubtract = 0.0f;
  Float32 itsDenominatorSubtract = 0.0f;
  Float32 itsNumeratorThreshold = 0.0f;
  Float32 itsDenominatorThreshold = 0.0f;
};

}  // namespace mirelan
