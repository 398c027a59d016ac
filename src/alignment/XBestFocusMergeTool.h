// One plane from a stack, each pixel taken from the slice where the image is
// sharpest there: the focus measure is the sum of absolute differences to
// the four neighbours in the plane, and the chosen slice numbers are
// smoothed so that neighbouring pixels come from nearby slices.
#pragma once

#include "core/XExport.h"
#include "tools/X1To1VolumeTool.h"

namespace mirelan {

class XGrey16Volume;
template <class T>
class XPackedVolume;

class MIRELAN_EXPORT XBestFocusMergeTool : public X1To1VolumeTool {
 public:
  XBestFocusMergeTool() = default;
  ~XBestFocusMergeTool() override;

 protected:
  bool CanApplyInPlace() const override { return false; }
  // The source's X-Y bounds at its first plane, depth 1.
  XVolume* MakeDestVolume(const XVolume& inSource) override;
  void ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) override;
  void ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) override;
  void ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) override;
  void ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) override;
  void ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) override;

 private:
  template <class T>
  void Merge(const XPackedVolume<T>& inSource, XVolume& ioDest);
  // Plane indices from 0 of the sharpest slice, the higher one on a tie.
  template <class T>
  static void FindBestFocusSlices(const XPackedVolume<T>& inSource, XGrey16Volume& outSlices);
  static void SmoothSlices(XGrey16Volume& ioSlices);
  template <class T>
  static void CopyBestFocus(const XPackedVolume<T>& inSource, const XGrey16Volume& inBestFocusSlices,
                            XPackedVolume<T>& inDestVolume);
};

}  // namespace mirelan
