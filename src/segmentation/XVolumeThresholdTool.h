// Sets the voxels outside a band to a black intensity, in place, within a
// region. With inclusive limits (the default) a voxel v is replaced when
// v < min or v > max; otherwise also when it equals a limit. Grey8 (and
// masks), Grey16 and FP volumes; colour volumes throw XException 2500.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"
#include "tools/XVolumeScanningTool.h"

namespace mirelan {

class MIRELAN_EXPORT XVolumeThresholdTool : public XVolumeScanningTool {
 public:
  // Integer data rounds the thresholds (floor(x + 0.5), at most the type's
  // greatest value) and truncates the black intensity; float data caps the
  // thresholds at the greatest float. All three must then lie within the
  // type's range: a precondition.
  void SetMinThreshold(Float64 inValue) { itsMinThreshold = inValue; }
  void SetMaxThreshold(Float64 inValue) { itsMaxThreshold = inValue; }
  void SetBlackIntensity(Float64 inValue) { itsBlackIntensity = inValue; }
  void SetInclusive(bool inInclusive) { itsInclusive = inInclusive; }

 protected:
  void ApplyToolGrey8(XGrey8Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolGrey16(XGrey16Volume& ioVolume, const X3DRegion* inRegion) override;
  void ApplyToolFP(XFPVolume& ioVolume, const X3DRegion* inRegion) override;

 private:
  template <class V>
  void ApplyToIntegers(V& ioVolume, const X3DRegion* inRegion);

  Float64 itsMinThreshold = 0.0;
  Float64 itsMaxThreshold = 0.0;
  Float64 itsBlackIntensity = 0.0;
  bool itsInclusive = true;
};

}  // namespace mirelan
