#include "tools/XHardLightImageBlendingTool.h"

#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

XHardLightImageBlendingTool::~XHardLightImageBlendingTool() = default;

template <class V>
void XHardLightImageBlendingTool::Run(const XVolume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  const X3DRegion region(itsWeights.GetBounds());
  XHardLightHelper<typename V::Voxel> helper(itsThreshold);
  const XFPVolume& weights = itsWeights;
  XScanLoop<decltype(helper)>::ScanPair(DestAs<V>(ioDest), weights, &region, helper);
}

void XHardLightImageBlendingTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Run<XGrey8Volume>(inSource, ioDest);
}
void XHardLightImageBlendingTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Run<XGrey16Volume>(inSource, ioDest);
}
void XHardLightImageBlendingTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Run<XFPVolume>(inSource, ioDest);
}
void XHardLightImageBlendingTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Run<XARGB32Volume>(inSource, ioDest);
}
void XHardLightImageBlendingTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  Run<XRGB48Volume>(inSource, ioDest);
}

}  // namespace mirelan
