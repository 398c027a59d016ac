#include "tools/XFillVolumeTool.h"

#include "tools/internal/XFillHelper.h"
#include "tools/internal/XScanLoop.h"
#include "volume/X3DRegion.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

namespace mirelan {

namespace {

template <class V>
void FillWith(V& ioVolume, const X3DRegion* inRegion, const typename V::Voxel& inValue) {
  using T = typename V::Voxel;
  XFillHelper<XVoxelSetter<XAssignmentConverter<T>, T>, T> helper{XVoxelSetter<XAssignmentConverter<T>, T>(inValue)};
  XScanVolume(ioVolume, inRegion, helper);
}

}  // namespace

XFillVolumeTool::~XFillVolumeTool() = default;

void XFillVolumeTool::FillRegionColour(XVolume& ioVolume, const X3DRegion* inRegion,
                                       const XARGB32Colour& inColour) {
  if (!ioVolume.IsA(XARGB32Volume::GetClassVersion())) throw XException(kErrNotForPixelType);
  ApplyToolARGB32Colour(static_cast<XARGB32Volume&>(ioVolume), inRegion, inColour);
}

void XFillVolumeTool::FillRegionValue(XVolume& ioVolume, const X3DRegion* inRegion, Float64 inValue) {
  if (ioVolume.IsA(XGrey8Volume::GetClassVersion()))
    ApplyToolGrey8Value(static_cast<XGrey8Volume&>(ioVolume), inRegion, inValue);
  else if (ioVolume.IsA(XGrey16Volume::GetClassVersion()))
    ApplyToolGrey16Value(static_cast<XGrey16Volume&>(ioVolume), inRegion, inValue);
  else if (ioVolume.IsA(XARGB32Volume::GetClassVersion()))
    ApplyToolARGB32Value(static_cast<XARGB32Volume&>(ioVolume), inRegion, inValue);
  else if (ioVolume.IsA(XFPVolume::GetClassVersion()))
    ApplyToolFPValue(static_cast<XFPVolume&>(ioVolume), inRegion, inValue);
  else
    throw XException(kErrNotForPixelType);
}

void XFillVolumeTool::ApplyToolGrey8Value(XGrey8Volume& ioVolume, const X3DRegion* inRegion, Float64 inValue) {
  FillWith(ioVolume, inRegion, XTruncateTo<UInt8>(inValue));
}

void XFillVolumeTool::ApplyToolGrey16Value(XGrey16Volume& ioVolume, const X3DRegion* inRegion, Float64 inValue) {
  FillWith(ioVolume, inRegion, XTruncateTo<UInt16>(inValue));
}

void XFillVolumeTool::ApplyToolARGB32Value(XARGB32Volume& ioVolume, const X3DRegion* inRegion, Float64 inValue) {
  const UInt8 level = XTruncateTo<UInt8>(inValue);
  FillWith(ioVolume, inRegion, XARGB32Colour(255, level, level, level));
}

void XFillVolumeTool::ApplyToolFPValue(XFPVolume& ioVolume, const X3DRegion* inRegion, Float64 inValue) {
  FillWith(ioVolume, inRegion, Float32(inValue));
}

void XFillVolumeTool::ApplyToolARGB32Colour(XARGB32Volume& ioVolume, const X3DRegion* inRegion,
                                            const XARGB32Colour& inColour) {
  FillWith(ioVolume, inRegion, inColour);
}

}  // namespace mirelan
