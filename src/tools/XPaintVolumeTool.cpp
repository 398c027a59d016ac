#include "tools/XPaintVolumeTool.h"

#include <typeinfo>

#include "tools/internal/XFillHelper.h"
#include "tools/internal/XScanLoop.h"
#include "volume/X3DRegion.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

namespace {

template <class V>
void Paint(XVolume& ioVolume, const X3DRegion& inRegion, const XARGB32Colour& inColour) {
  using T = typename V::Voxel;
  using Setter = XVoxelSetter<typename XConverterFor<XARGB32Colour, T>::Type, T>;
  V& volume = static_cast<V&>(ioVolume);
  XFillHelper<Setter, T> helper(Setter(inColour, volume));
  XScanVolume(volume, &inRegion, helper);
}

}  // namespace

void XPaintVolumeTool::FillRegion(XVolume& ioVolume, const X3DRegion& inRegion, const XARGB32Colour& inColour) {
  const std::type_info& type = typeid(ioVolume);
  if (type == typeid(XMaskVolume))
    Paint<XMaskVolume>(ioVolume, inRegion, inColour);
  else if (type == typeid(XGrey8Volume))
    Paint<XGrey8Volume>(ioVolume, inRegion, inColour);
  else if (type == typeid(XGrey16Volume))
    Paint<XGrey16Volume>(ioVolume, inRegion, inColour);
  else if (type == typeid(XGrey32Volume))
    Paint<XGrey32Volume>(ioVolume, inRegion, inColour);
  else if (type == typeid(XARGB32Volume))
    Paint<XARGB32Volume>(ioVolume, inRegion, inColour);
  else if (type == typeid(XBGRA32Volume))
    Paint<XBGRA32Volume>(ioVolume, inRegion, inColour);
  else if (type == typeid(XRGB48Volume))
    Paint<XRGB48Volume>(ioVolume, inRegion, inColour);
  else if (type == typeid(XFPVolume))
    Paint<XFPVolume>(ioVolume, inRegion, inColour);
  else
    throw XException(kErrNotForPixelType);
}

void XPaintVolumeTool::FillRect(XVolume& ioVolume, const X3DRect& inRect, const XARGB32Colour& inColour) {
  X3DRegion region(inRect);
  FillRegion(ioVolume, region, inColour);
}

}  // namespace mirelan
