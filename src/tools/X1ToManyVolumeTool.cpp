#include "tools/X1ToManyVolumeTool.h"

#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

X1ToManyVolumeTool::~X1ToManyVolumeTool() = default;

XPtrVector<XVolume> X1ToManyVolumeTool::ApplyTool(const XVolume& inSource) {
  XPtrVector<XVolume> volumes;
  if (inSource.IsA(XMaskVolume::GetClassVersion()))
    ApplyToolMask(static_cast<const XMaskVolume&>(inSource), volumes);
  else if (inSource.IsA(XGrey8Volume::GetClassVersion()))
    ApplyToolGrey8(static_cast<const XGrey8Volume&>(inSource), volumes);
  else if (inSource.IsA(XGrey16Volume::GetClassVersion()))
    ApplyToolGrey16(static_cast<const XGrey16Volume&>(inSource), volumes);
  else if (inSource.IsA(XARGB32Volume::GetClassVersion()))
    ApplyToolARGB32(static_cast<const XARGB32Volume&>(inSource), volumes);
  else if (inSource.IsA(XRGB48Volume::GetClassVersion()))
    ApplyToolRGB48(static_cast<const XRGB48Volume&>(inSource), volumes);
  else if (inSource.IsA(XFPVolume::GetClassVersion()))
    ApplyToolFP(static_cast<const XFPVolume&>(inSource), volumes);
  else
    throw XException(kErrNotForPixelType);
  return volumes;
}

void X1ToManyVolumeTool::ApplyToolMask(const XMaskVolume& inSource, XPtrVector<XVolume>& outVolumes) {
  ApplyToolGrey8(inSource, outVolumes);
}
void X1ToManyVolumeTool::ApplyToolGrey8(const XGrey8Volume&, XPtrVector<XVolume>&) {
  throw XException(kErrNotForPixelType);
}
void X1ToManyVolumeTool::ApplyToolGrey16(const XGrey16Volume&, XPtrVector<XVolume>&) {
  throw XException(kErrNotForPixelType);
}
void X1ToManyVolumeTool::ApplyToolARGB32(const XARGB32Volume&, XPtrVector<XVolume>&) {
  throw XException(kErrNotForPixelType);
}
void X1ToManyVolumeTool::ApplyToolRGB48(const XRGB48Volume&, XPtrVector<XVolume>&) {
  throw XException(kErrNotForPixelType);
}
void X1ToManyVolumeTool::ApplyToolFP(const XFPVolume&, XPtrVector<XVolume>&) {
  throw XException(kErrNotForPixelType);
}

}  // namespace mirelan
