// Turns every plane of a volume about its centre by an angle in degrees,
// with bilinear sampling. Each destination pixel starts at 0 and takes its
// four source corners in turn, the sum truncated to the pixel type after
// each one; corners outside the source add nothing, so the rim fades to 0.
#pragma once

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

template <class T>
class XPackedVolume;

class MIRELAN_EXPORT XImageRotationTool : public X1To1VolumeTool {
 public:
  XImageRotationTool() = default;
  explicit XImageRotationTool(Float32 inDegrees) : itsRotationDegrees(inDegrees) {}
  ~XImageRotationTool() override;

  void SetRotationDegrees(Float32 inDegrees) { itsRotationDegrees = inDegrees; }
  Float32 GetRotationDegrees() const { return itsRotationDegrees; }

 protected:
  bool CanApplyInPlace() const override { return false; }
  // A cleared volume of the source's class and bounds.
  XVolume* MakeDestVolume(const XVolume& inSource) override;

  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolBGRA32(const XBGRA32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  template <class T>
  void Rotate(const XPackedVolume<T>& inSource, XPackedVolume<T>& ioDest) const;

  Float32 itsRotationDegrees = 0.0f;
};

}  // namespace mirelan
