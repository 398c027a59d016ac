#include "volume/XVolumeRendering.h"

#include <typeinfo>

#include "core/XException.h"
#include "rendering/XARGB32ImageRenderer.h"
#include "rendering/XFPImageRenderer.h"
#include "rendering/XFloatToColourLUT.h"
#include "rendering/XGrey16ImageRenderer.h"
#include "rendering/XGrey8ImageRenderer.h"
#include "rendering/XIntToColourLUT.h"
#include "rendering/XMaskImageRenderer.h"
#include "rendering/XRGB48ImageRenderer.h"

namespace mirelan {

XImageRenderer* XMakePlaneRenderer(XRendererKind inKind) {
  switch (inKind) {
    case XRendererKind::kNone:
      return nullptr;
    case XRendererKind::kGrey8:
      return new XGrey8ImageRenderer;
    case XRendererKind::kMask:
      return new XMaskImageRenderer;
    case XRendererKind::kGrey16:
      return new XGrey16ImageRenderer;
    case XRendererKind::kFP:
      return new XFPImageRenderer;
    case XRendererKind::kARGB32:
      return new XARGB32ImageRenderer;
    case XRendererKind::kBGRA32:
      return new XBGRA32ImageRenderer;
    case XRendererKind::kRGB48:
      return new XRGB48ImageRenderer;
  }
  return nullptr;
}

XImageRenderer* XClonePlaneRenderer(const XImageRenderer& inRenderer) { return inRenderer.Clone(); }

void XDeletePlaneRenderer(XImageRenderer* inRenderer) { delete inRenderer; }

bool XIsPlaneRendererOfKind(const XImageRenderer& inRenderer, XRendererKind inKind) {
  const std::type_info& type = typeid(inRenderer);
  switch (inKind) {
    case XRendererKind::kNone:
      return false;
    case XRendererKind::kGrey8:
      return type == typeid(XGrey8ImageRenderer);
    case XRendererKind::kMask:
      return type == typeid(XMaskImageRenderer);
    case XRendererKind::kGrey16:
      return type == typeid(XGrey16ImageRenderer);
    case XRendererKind::kFP:
      return type == typeid(XFPImageRenderer);
    case XRendererKind::kARGB32:
      return type == typeid(XARGB32ImageRenderer);
    case XRendererKind::kBGRA32:
      return type == typeid(XBGRA32ImageRenderer);
    case XRendererKind::kRGB48:
      return type == typeid(XRGB48ImageRenderer);
  }
  return false;
}

void XGetPlaneRendererRange(const XImageRenderer& inRenderer, Float64& outLow, Float64& outHigh) {
  outLow = inRenderer.GetMinInputValue();
  outHigh = inRenderer.GetMaxInputValue();
}

XImageRenderer* XMakePlaneRendererFromLUT(XRendererKind inKind, const XStorable& inLUT) {
  switch (inKind) {
    case XRendererKind::kGrey8:
      if (const auto* lut = dynamic_cast<const XIntToColourLUT*>(&inLUT)) return new XGrey8ImageRenderer(*lut);
      return nullptr;
    case XRendererKind::kGrey16:
      if (const auto* lut = dynamic_cast<const XIntToColourLUT*>(&inLUT)) return new XGrey16ImageRenderer(*lut);
      return nullptr;
    case XRendererKind::kFP:
      if (const auto* lut = dynamic_cast<const XFloatToColourLUT*>(&inLUT)) return new XFPImageRenderer(*lut);
      return nullptr;
    default:
      return nullptr;
  }
}

void XRenderVolume(const XImageRenderer& inRenderer, const XVolume& inSource, XARGB32Volume& outDest,
                   const X3DRect& inSourceRect, const X3DRect& inDestRect, const X3DRegion* inRegion) {
  inRenderer.RenderToARGB32Volume(inSource, outDest, inSourceRect, inDestRect, inRegion);
}

void XRenderVolume(const XImageRenderer& inRenderer, const XVolume& inSource, XBGRA32Volume& outDest,
                   const X3DRect& inSourceRect, const X3DRect& inDestRect, const X3DRegion* inRegion) {
  inRenderer.RenderToBGRA32Volume(inSource, outDest, inSourceRect, inDestRect, inRegion);
}

}  // namespace mirelan
