#include "data/XCuboidROI.h"

#include <cmath>

#include "core/XStream.h"
#include "data/internal/XObjectReading.h"
#include "data/internal/XSaturatingCoord.h"

namespace mirelan {

XCuboidROI::XCuboidROI(const X3DRect& inBounds) : itsBounds(inBounds) { UpdateRegion(); }

void XCuboidROI::UpdateRegion() { SetRegion(X3DRegion(itsBounds)); }

void XCuboidROI::SetBounds(const X3DRect& inRect) {
  if (inRect == itsBounds) return;
  itsBounds = inRect;
  UpdateRegion();
  InvalidatePathCache();
}

void XCuboidROI::ClipToBounds(const X3DRect& inRect) {
  X3DRect bounds = itsBounds;
  bounds.Sect(inRect);
  SetBounds(bounds);
}

void XCuboidROI::Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  X3DRect bounds = itsBounds;
  bounds.Offset(inDX, inDY, inDZ);
  SetBounds(bounds);
}

void XCuboidROI::CentreOn(const X3DRect& inRect) {
  X3DRect bounds = itsBounds;
  bounds.CentreOn(inRect);
  SetBounds(bounds);
}

void XCuboidROI::Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  X3DRect bounds = itsBounds;
  bounds.Grow(inDX, inDY, inDZ);
  SetBounds(bounds);
}

void XCuboidROI::Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  X3DRect bounds = itsBounds;
  bounds.Shrink(inDX, inDY, inDZ);
  SetBounds(bounds);
}

void XCuboidROI::Map(const X3DRect& inFromRect, const X3DRect& inToRect) {
  X3DRect bounds = itsBounds;
  bounds.Map(inFromRect, inToRect);
  SetBounds(bounds);
}

XROIPaths XCuboidROI::GetXYPaths(SInt32 inPlane, const XRectF& inSourceRect, const XRectF& inTargetRect,
                                 const XRectF& inClipRect) const {
  if (inPlane < itsBounds.front || inPlane >= itsBounds.back) return XROIPaths();
  if (inSourceRect.IsEmptyOrInsideOut()) return XROIPaths();
  const Float32 xScale = inTargetRect.GetWidth() / inSourceRect.GetWidth();
  const Float32 yScale = inTargetRect.GetHeight() / inSourceRect.GetHeight();
  auto mapX = [&](SInt32 x) { return (Float32(x) - inSourceRect.left) * xScale + inTargetRect.left; };
  auto mapY = [&](SInt32 y) { return (Float32(y) - inSourceRect.top) * yScale + inTargetRect.top; };
  // The constructor orders the corners.
  XRectF box(mapX(itsBounds.left), mapY(itsBounds.top), mapX(itsBounds.right), mapY(itsBounds.bottom));
  if (!inClipRect.IsEmpty()) box.Sect(inClipRect);
  if (box.IsEmptyOrInsideOut() || std::isnan(box.left) || std::isnan(box.top)) return XROIPaths();
  box.Round();
  const SInt32 l = XSaturatingCoord(box.left), t = XSaturatingCoord(box.top);
  const SInt32 r = XSaturatingCoord(box.right), b = XSaturatingCoord(box.bottom);
  return XROIPaths{{XPoint(l, t), XPoint(r, t), XPoint(r, b), XPoint(l, b), XPoint(l, t)}};
}

XROI* XCuboidROI::XYMergeToROICopy() const {
  return new XCuboidROI(X3DRect(itsBounds.GetXYBounds(), 0, 1));
}

XROI* XCuboidROI::XYPlaneToROICopy(SInt32 inPlane) const {
  if (inPlane < itsBounds.front || inPlane >= itsBounds.back) return new XCuboidROI();
  return new XCuboidROI(itsBounds.GetXYPlane(inPlane));
}

XROI* XCuboidROI::XZPlaneToROICopy(SInt32 inPlane) const {
  if (inPlane < itsBounds.top || inPlane >= itsBounds.bottom) return new XCuboidROI();
  return new XCuboidROI(itsBounds.GetXZPlane(inPlane));
}

XROI* XCuboidROI::YZPlaneToROICopy(SInt32 inPlane) const {
  if (inPlane < itsBounds.left || inPlane >= itsBounds.right) return new XCuboidROI();
  return new XCuboidROI(itsBounds.GetYZPlane(inPlane));
}

// ------------------------------------------------------------------ streams

void XCuboidROI::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XROI::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XCuboidROI::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteObject(itsBounds, kReadAll);
}

void XCuboidROI::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_XCuboidROI(inStream, inOptions); }

void XCuboidROI::ReadStream2_XCuboidROI(XStream& inStream, XOptions inOptions) {
  ReadStream2_XROI(inStream, inOptions);
  ReadStreamSelf(inStream);
}

void XCuboidROI::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  itsBounds = *XObjectReading::ReadRequired<X3DRect>(inStream, X3DRect::GetClassVersion(), "cuboid ROI without bounds");
}

}  // namespace mirelan
