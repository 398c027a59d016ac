#include "tools/XBooleanVolumeTool.h"

#include <typeinfo>

#include "tools/internal/XScanLoop.h"
#include "volume/X3DRegion.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XMaskVolume.h"
#include "tools/XScanHelperBase.h"

namespace mirelan {

namespace {

// Clears the voxel (every byte, alpha too) where the mask byte is 0.
template <class T>
struct XAndHelper : public XScanHelperBase {
  template <class V>
  void ScanPixel(T* ioVoxel, const UInt8* inMask, V&, SInt32, SInt32, SInt32) {
    if (*inMask == 0) *ioVoxel = T();
  }
};

struct XXorHelper : public XScanHelperBase {
  template <class V>
  void ScanPixel(UInt8* ioVoxel, const UInt8* inMask, V&, SInt32, SInt32, SInt32) {
    *ioVoxel = UInt8(*ioVoxel ^ *inMask);
  }
};

template <class V>
void AndWith(const XMaskVolume& inMask, V& ioDest, const X3DRegion& inRegion) {
  XAndHelper<typename V::Voxel> helper;
  XScanLoop<XAndHelper<typename V::Voxel>>::ScanPair(ioDest, inMask, &inRegion, helper);
}

void XorWith(const XMaskVolume& inMask, XGrey8Volume& ioDest, const X3DRegion& inRegion) {
  XXorHelper helper;
  XScanLoop<XXorHelper>::ScanPair(ioDest, inMask, &inRegion, helper);
}

X3DRegion WorkingRegion(const XMaskVolume& inMask, const XVolume& inDest) {
  X3DRect box = inMask.GetBounds();
  box.Sect(inDest.GetBounds());
  return X3DRegion(box);
}

void CopyIfOther(const XVolume& inSource, XVolume& ioDest) {
  if (&inSource != &ioDest) ioDest.CopyIn(inSource, inSource.GetBounds(), ioDest.GetBounds(), nullptr);
}

}  // namespace

void XBooleanVolumeTool::AndVolumes(const XVolume& inSource, const XMaskVolume& inMask, XVolume& ioDest) {
  CopyIfOther(inSource, ioDest);
  AndVolumesSelf(inMask, ioDest);
}

void XBooleanVolumeTool::XorVolumes(const XVolume& inSource, const XMaskVolume& inMask, XVolume& ioDest) {
  CopyIfOther(inSource, ioDest);
  XorVolumesSelf(inMask, ioDest);
}

void XBooleanVolumeTool::AndVolumesSelf(const XMaskVolume& inMask, XVolume& ioDest) {
  const X3DRegion region = WorkingRegion(inMask, ioDest);
  if (ioDest.IsA(XMaskVolume::GetClassVersion()))
    AndMaskVolume(inMask, static_cast<XMaskVolume&>(ioDest), region);
  else if (ioDest.IsA(XGrey8Volume::GetClassVersion()))
    AndGrey8Volume(inMask, static_cast<XGrey8Volume&>(ioDest), region);
  else if (ioDest.IsA(XGrey16Volume::GetClassVersion()))
    AndGrey16Volume(inMask, static_cast<XGrey16Volume&>(ioDest), region);
  else if (ioDest.IsA(XARGB32Volume::GetClassVersion()))
    AndARGB32Volume(inMask, static_cast<XARGB32Volume&>(ioDest), region);
  else if (ioDest.IsA(XRGB48Volume::GetClassVersion()))
    AndRGB48Volume(inMask, static_cast<XRGB48Volume&>(ioDest), region);
  else if (ioDest.IsA(XFPVolume::GetClassVersion()))
    AndFPVolume(inMask, static_cast<XFPVolume&>(ioDest), region);
  else
    throw XException(kErrNotForPixelType);
}

void XBooleanVolumeTool::XorVolumesSelf(const XMaskVolume& inMask, XVolume& ioDest) {
  const X3DRegion region = WorkingRegion(inMask, ioDest);
  if (typeid(ioDest) == typeid(XMaskVolume))
    XorMaskVolume(inMask, static_cast<XMaskVolume&>(ioDest), region);
  else if (typeid(ioDest) == typeid(XGrey8Volume))
    XorGrey8Volume(inMask, static_cast<XGrey8Volume&>(ioDest), region);
  else
    throw XException(kErrNotForPixelType);
}

void XBooleanVolumeTool::AndMaskVolume(const XMaskVolume& inMask, XMaskVolume& ioDest, const X3DRegion& inRegion) {
  AndGrey8Volume(inMask, ioDest, inRegion);
}
void XBooleanVolumeTool::AndGrey8Volume(const XMaskVolume& inMask, XGrey8Volume& ioDest, const X3DRegion& inRegion) {
  AndWith(inMask, ioDest, inRegion);
}
void XBooleanVolumeTool::AndGrey16Volume(const XMaskVolume& inMask, XGrey16Volume& ioDest,
                                         const X3DRegion& inRegion) {
  AndWith(inMask, ioDest, inRegion);
}
void XBooleanVolumeTool::AndFPVolume(const XMaskVolume& inMask, XFPVolume& ioDest, const X3DRegion& inRegion) {
  AndWith(inMask, ioDest, inRegion);
}
void XBooleanVolumeTool::AndARGB32Volume(const XMaskVolume& inMask, XARGB32Volume& ioDest,
                                         const X3DRegion& inRegion) {
  AndWith(inMask, ioDest, inRegion);
}
void XBooleanVolumeTool::AndRGB48Volume(const XMaskVolume& inMask, XRGB48Volume& ioDest,
                                        const X3DRegion& inRegion) {
  AndWith(inMask, ioDest, inRegion);
}
void XBooleanVolumeTool::XorMaskVolume(const XMaskVolume& inMask, XMaskVolume& ioDest, const X3DRegion& inRegion) {
  XorGrey8Volume(inMask, ioDest, inRegion);
}
void XBooleanVolumeTool::XorGrey8Volume(const XMaskVolume& inMask, XGrey8Volume& ioDest,
                                        const X3DRegion& inRegion) {
  XorWith(inMask, ioDest, inRegion);
}

}  // namespace mirelan
