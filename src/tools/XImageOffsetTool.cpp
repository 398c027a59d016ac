#include "tools/XImageOffsetTool.h"

#include "tools/internal/XScanLoop.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

XImageOffsetTool::~XImageOffsetTool() = default;

template <class V, class Helper>
void XImageOffsetTool::Run(const XVolume& inSource, XVolume& ioDest) {
  CopySourceIntoDest(inSource, ioDest);
  Helper helper(itsOffset);
  XScanVolume(DestAs<V>(ioDest), nullptr, helper, kScanProgressPerRowTimed);
}

void XImageOffsetTool::ApplyToolGrey8(const XGrey8Volume& inSource, XVolume& ioDest) {
  Run<XGrey8Volume, XImageOffsetHelper<UInt8>>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolGrey16(const XGrey16Volume& inSource, XVolume& ioDest) {
  Run<XGrey16Volume, XImageOffsetHelper<UInt16>>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolFP(const XFPVolume& inSource, XVolume& ioDest) {
  Run<XFPVolume, XImageOffsetHelper<Float32>>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolARGB32(const XARGB32Volume& inSource, XVolume& ioDest) {
  Run<XARGB32Volume, XImageOffsetColourHelper<XARGB32Colour>>(inSource, ioDest);
}
void XImageOffsetTool::ApplyToolRGB48(const XRGB48Volume& inSource, XVolume& ioDest) {
  Run<XRGB48Volume, XImageOffsetColourHelper<XRGB48Colour>>(inSource, ioDest);
}

}  // namespace mirelan
