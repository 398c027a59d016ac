// What volumes need of their plane renderers, gathered in one place so that
// the volume classes depend on the renderer classes through these calls only.
#pragma once

#include "core/XExport.h"
#include "core/XTypes.h"

namespace mirelan {

class X3DRect;
class X3DRegion;
class XARGB32Volume;
class XBGRA32Volume;
class XImageRenderer;
class XStorable;
class XVolume;

// The renderer class that suits each volume class.
enum class XRendererKind { kNone, kGrey8, kMask, kGrey16, kFP, kARGB32, kBGRA32, kRGB48 };

// A new renderer of the kind with its default settings; null for kNone.
MIRELAN_EXPORT XImageRenderer* XMakePlaneRenderer(XRendererKind inKind);
MIRELAN_EXPORT XImageRenderer* XClonePlaneRenderer(const XImageRenderer& inRenderer);
MIRELAN_EXPORT void XDeletePlaneRenderer(XImageRenderer* inRenderer);
// Exact class test: a derived renderer class does not count.
MIRELAN_EXPORT bool XIsPlaneRendererOfKind(const XImageRenderer& inRenderer, XRendererKind inKind);
// The input values the renderer maps onto its display range.
MIRELAN_EXPORT void XGetPlaneRendererRange(const XImageRenderer& inRenderer, Float64& outLow, Float64& outHigh);
// A renderer that shows what a stored look-up table showed; null when the
// kind takes no table or the object is no table it knows.
MIRELAN_EXPORT XImageRenderer* XMakePlaneRendererFromLUT(XRendererKind inKind, const XStorable& inLUT);
// Draws through the renderer into a 32-bit colour volume.
MIRELAN_EXPORT void XRenderVolume(const XImageRenderer& inRenderer, const XVolume& inSource, XARGB32Volume& outDest,
                   const X3DRect& inSourceRect, const X3DRect& inDestRect, const X3DRegion* inRegion);
MIRELAN_EXPORT void XRenderVolume(const XImageRenderer& inRenderer, const XVolume& inSource, XBGRA32Volume& outDest,
                   const X3DRect& inSourceRect, const X3DRect& inDestRect, const X3DRegion* inRegion);

}  // namespace mirelan
