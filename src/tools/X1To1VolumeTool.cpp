#include "tools/X1To1VolumeTool.h"

#include <memory>
#include <typeinfo>

#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

X1To1VolumeTool::~X1To1VolumeTool() = default;

XVolume* X1To1VolumeTool::ApplyTool(const XVolume& inSource) {
  std::unique_ptr<XVolume> dest(MakeDestVolume(inSource));
  XVolume* destVolume = dest.get();
  XAssert(destVolume);
  ApplyToolSelf(inSource, *destVolume);
  return dest.release();
}

void X1To1VolumeTool::ApplyToolInPlace(XVolume& ioVolume) {
  if (CanApplyInPlace()) {
    ApplyToolSelf(ioVolume, ioVolume);
    return;
  }
  // The volume changes only at the end, so a failure leaves it as it was.
  std::unique_ptr<XVolume> clone(ioVolume.Clone());
  ApplyToolSelf(ioVolume, *clone);
  ioVolume.CopyFrom(*clone);
}

XVolume* X1To1VolumeTool::MakeDestVolume(const XVolume& inSource) { return inSource.CloneWithoutCopy(); }

void X1To1VolumeTool::ApplyToolSelf(const XVolume& inSource, XVolume& ioDest) {
  XAssert(typeid(inSource) == typeid(ioDest));
  if (inSource.IsA(XMaskVolume::GetClassVersion()))
    ApplyToolMask(static_cast<const XMaskVolume&>(inSource), ioDest);
  else if (inSource.IsA(XGrey8Volume::GetClassVersion()))
    ApplyToolGrey8(static_cast<const XGrey8Volume&>(inSource), ioDest);
  else if (inSource.IsA(XGrey16Volume::GetClassVersion()))
    ApplyToolGrey16(static_cast<const XGrey16Volume&>(inSource), ioDest);
  else if (inSource.IsA(XARGB32Volume::GetClassVersion()))
    ApplyToolARGB32(static_cast<const XARGB32Volume&>(inSource), ioDest);
  else if (inSource.IsA(XBGRA32Volume::GetClassVersion()))
    ApplyToolBGRA32(static_cast<const XBGRA32Volume&>(inSource), ioDest);
  else if (inSource.IsA(XRGB48Volume::GetClassVersion()))
    ApplyToolRGB48(static_cast<const XRGB48Volume&>(inSource), ioDest);
  else if (inSource.IsA(XFPVolume::GetClassVersion()))
    ApplyToolFP(static_cast<const XFPVolume&>(inSource), ioDest);
  else
    throw XException(kErrNotForPixelType);
}

void X1To1VolumeTool::ApplyToolMask(const XMaskVolume& inSource, XVolume& ioDest) {
  ApplyToolGrey8(inSource, ioDest);
}
void X1To1VolumeTool::ApplyToolGrey8(const XGrey8Volume&, XVolume&) { throw XException(kErrNotForPixelType); }
void X1To1VolumeTool::ApplyToolGrey16(const XGrey16Volume&, XVolume&) { throw XException(kErrNotForPixelType); }
void X1To1VolumeTool::ApplyToolARGB32(const XARGB32Volume&, XVolume&) { throw XException(kErrNotForPixelType); }
void X1To1VolumeTool::ApplyToolBGRA32(const XBGRA32Volume&, XVolume&) { throw XException(kErrNotForPixelType); }
void X1To1VolumeTool::ApplyToolRGB48(const XRGB48Volume&, XVolume&) { throw XException(kErrNotForPixelType); }
void X1To1VolumeTool::ApplyToolFP(const XFPVolume&, XVolume&) { throw XException(kErrNotForPixelType); }

void X1To1VolumeTool::CopySourceIntoDest(const XVolume& inSource, XVolume& ioDest) {
  if (&inSource != &ioDest) ioDest.CopyIn(inSource, inSource.GetBounds(), ioDest.GetBounds(), nullptr);
}

}  // namespace mirelan
