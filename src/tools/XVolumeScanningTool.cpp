#include "tools/XVolumeScanningTool.h"

#include "volume/X3DRegion.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

XVolumeScanningTool::~XVolumeScanningTool() = default;

void XVolumeScanningTool::ApplyTool(XVolume& ioVolume, const X3DRegion* inRegion) {
  if (ioVolume.IsA(XMaskVolume::GetClassVersion()))
    ApplyToolMask(static_cast<XMaskVolume&>(ioVolume), inRegion);
  else if (ioVolume.IsA(XGrey8Volume::GetClassVersion()))
    ApplyToolGrey8(static_cast<XGrey8Volume&>(ioVolume), inRegion);
  else if (ioVolume.IsA(XGrey16Volume::GetClassVersion()))
    ApplyToolGrey16(static_cast<XGrey16Volume&>(ioVolume), inRegion);
  else if (ioVolume.IsA(XARGB32Volume::GetClassVersion()))
    ApplyToolARGB32(static_cast<XARGB32Volume&>(ioVolume), inRegion);
  else if (ioVolume.IsA(XBGRA32Volume::GetClassVersion()))
    ApplyToolBGRA32(static_cast<XBGRA32Volume&>(ioVolume), inRegion);
  else if (ioVolume.IsA(XRGB48Volume::GetClassVersion()))
    ApplyToolRGB48(static_cast<XRGB48Volume&>(ioVolume), inRegion);
  else if (ioVolume.IsA(XFPVolume::GetClassVersion()))
    ApplyToolFP(static_cast<XFPVolume&>(ioVolume), inRegion);
  else
    throw XException(kErrNotForPixelType);
}

void XVolumeScanningTool::ApplyToolMask(XMaskVolume& ioVolume, const X3DRegion* inRegion) {
  ApplyToolGrey8(ioVolume, inRegion);
}
void XVolumeScanningTool::ApplyToolGrey8(XGrey8Volume&, const X3DRegion*) { throw XException(kErrNotForPixelType); }
void XVolumeScanningTool::ApplyToolGrey16(XGrey16Volume&, const X3DRegion*) { throw XException(kErrNotForPixelType); }
void XVolumeScanningTool::ApplyToolARGB32(XARGB32Volume&, const X3DRegion*) { throw XException(kErrNotForPixelType); }
void XVolumeScanningTool::ApplyToolRGB48(XRGB48Volume&, const X3DRegion*) { throw XException(kErrNotForPixelType); }
void XVolumeScanningTool::ApplyToolFP(XFPVolume&, const X3DRegion*) { throw XException(kErrNotForPixelType); }

void XVolumeScanningTool::ApplyToolBGRA32(XBGRA32Volume& ioVolume, const X3DRegion* inRegion) {
  const X3DRect& bounds = ioVolume.GetBounds();
  XARGB32Volume temporary(bounds);
  temporary.CopyIn(ioVolume, bounds, bounds, nullptr);
  ApplyToolARGB32(temporary, inRegion);
  ioVolume.CopyIn(temporary, bounds, bounds, nullptr);
}

}  // namespace mirelan
