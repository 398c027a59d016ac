#include "data/XEllipseROI.h"

#include <algorithm>
#include <cstring>

#include "core/XStream.h"
#include "data/XIrregularROI.h"
#include "data/internal/XObjectReading.h"
#include "volume/XMaskVolume.h"

namespace mirelan {

XEllipseROI::XEllipseROI(const X3DRect& inBounds, XPlaneMode inPlaneMode)
    : itsBounds(inBounds), itsPlaneMode(inPlaneMode) {
  UpdateRegion();
}

XRect XEllipseROI::EllipseRectOf(const X3DRect& inBounds, XPlaneMode inPlaneMode) {
  switch (inPlaneMode) {
    case kXZPlane:
      return inBounds.GetXZBounds();
    case kYZPlane:
      return inBounds.GetYZBounds();
    default:
      return inBounds.GetXYBounds();
  }
}

XRect XEllipseROI::GetEllipseRect() const { return EllipseRectOf(itsBounds, itsPlaneMode); }

// ------------------------------------------------------------------ the region

namespace {

using Wide = __int128;

// floor(n / 4), also for negative n.
Wide FloorQuarter(Wide inN) { return inN >= 0 ? inN / 4 : -((-inN + 3) / 4); }

}  // namespace

void XEllipseROI::FillEllipseMask(XMaskVolume& ioMask) {
  const X3DRect& b = ioMask.GetBounds();
  const UInt32 w = b.GetWidth(), h = b.GetHeight();
  if (b.IsEmpty()) return;
  if (w == 1 || h == 1) {
    ioMask.Fill(255);
    return;
  }
  ioMask.Clear();
  XLock lock(ioMask, kLockReadWrite);
  UInt8* plane = ioMask.GetPlane(b.front);
  const SInt64 rowVoxels = ioMask.GetRowVoxels();
  // An even size centres on a half pixel: the spans of rows and columns
  // below or right of the centre are one shorter.
  const SInt64 cx = SInt64(b.left) + (w >> 1), cy = SInt64(b.top) + (h >> 1);
  const SInt64 ew = (w - 1) & 1, eh = (h - 1) & 1;
  auto plot = [&](Wide inX, Wide inY) {
    const SInt64 x = static_cast<SInt64>(inX), y = static_cast<SInt64>(inY);
    const SInt64 from = std::max<SInt64>(cx - x, b.left);
    const SInt64 to = std::min<SInt64>(cx - ew + x, SInt64(b.right) - 1);
    if (from > to) return;
    for (SInt64 row : {cy - y, cy - eh + y})
      if (row >= b.top && row < b.bottom)
        std::memset(plane + (row - b.top) * rowVoxels + (from - b.left), 255, size_t(to - from + 1));
  };
  // The midpoint algorithm in exact integers: the quarter and half terms of
  // the decision values are folded into floor divisions by 4.
  const Wide rx = w >> 1, ry = h >> 1;
  const Wide rx2 = rx * rx, ry2 = ry * ry;
  Wide x = 0, y = ry, dx = 0, dy = 2 * rx2 * ry;
  Wide p = ry2 - rx2 * ry + FloorQuarter(rx2 + 2);
  plot(x, y);
  while (dx < dy) {
    x += 1;
    dx += 2 * ry2;
    if (p < 0) {
      p += ry2 + dx;
    } else {
      y -= 1;
      dy -= 2 * rx2;
      p += ry2 - dy + dx;
    }
    plot(x, y);
  }
  p = FloorQuarter(ry2 * (2 * x + 1) * (2 * x + 1) + 4 * rx2 * (y - 1) * (y - 1) - 4 * rx2 * ry2);
  while (y > 0) {
    y -= 1;
    dy -= 2 * rx2;
    if (p > 0) {
      p += rx2 - dy;
    } else {
      x += 1;
      dx += 2 * ry2;
      p += rx2 - dy + dx;
    }
    plot(x, y);
  }
}

X3DRegion XEllipseROI::BuildRegion(const X3DRect& inBounds, XPlaneMode inPlaneMode) {
  const XRect rect = EllipseRectOf(inBounds, inPlaneMode);
  const X3DRect flatBox(rect, 0, 1);
  XMaskVolume mask(flatBox);
  FillEllipseMask(mask);
  X3DRegion flat(mask);
  // An ellipse too small to draw stays a box.
  if (flat.IsEmpty() && rect.GetWidth() != 0 && rect.GetHeight() != 0) flat = flatBox;
  return Create3DRegionFrom2DRegion(flat, inPlaneMode, inBounds);
}

void XEllipseROI::UpdateRegion() { SetRegion(BuildRegion(itsBounds, itsPlaneMode)); }

void XEllipseROI::SetBounds(const X3DRect& inRect) {
  if (inRect == itsBounds) return;
  // Built before anything changes, so that a failure leaves the ROI as it was.
  X3DRegion region = BuildRegion(inRect, itsPlaneMode);
  itsBounds = inRect;
  SetRegion(region);
  InvalidatePathCache();
}

void XEllipseROI::SetPlaneMode(XPlaneMode inPlaneMode) {
  if (inPlaneMode == itsPlaneMode) return;
  X3DRegion region = BuildRegion(itsBounds, inPlaneMode);
  itsPlaneMode = inPlaneMode;
  SetRegion(region);
  InvalidatePathCache();
}

void XEllipseROI::ClipToBounds(const X3DRect& inRect) {
  X3DRect bounds = itsBounds;
  bounds.Sect(inRect);
  SetBounds(bounds);
}

void XEllipseROI::Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  X3DRect bounds = itsBounds;
  bounds.Offset(inDX, inDY, inDZ);
  SetBounds(bounds);
}

void XEllipseROI::CentreOn(const X3DRect& inRect) {
  X3DRect bounds = itsBounds;
  bounds.CentreOn(inRect);
  SetBounds(bounds);
}

void XEllipseROI::Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  X3DRect bounds = itsBounds;
  bounds.Grow(inDX, inDY, inDZ);
  SetBounds(bounds);
}

void XEllipseROI::Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  X3DRect bounds = itsBounds;
  bounds.Shrink(inDX, inDY, inDZ);
  SetBounds(bounds);
}

void XEllipseROI::Map(const X3DRect& inFromRect, const X3DRect& inToRect) {
  X3DRect bounds = itsBounds;
  bounds.Map(inFromRect, inToRect);
  SetBounds(bounds);
}

// ------------------------------------------------------------------ slices

XROI* XEllipseROI::XYMergeToROICopy() const {
  if (itsPlaneMode == kXYPlane) return new XEllipseROI(X3DRect(itsBounds.GetXYBounds(), 0, 1), itsPlaneMode);
  return new XIrregularROI(GetRegion().XYMergeToRegion());
}

XROI* XEllipseROI::XYPlaneToROICopy(SInt32 inPlane) const {
  if (itsPlaneMode != kXYPlane) return new XIrregularROI(GetRegion().XYPlaneToRegion(inPlane));
  if (inPlane < itsBounds.front || inPlane >= itsBounds.back) return new XEllipseROI();
  return new XEllipseROI(itsBounds.GetXYPlane(inPlane), itsPlaneMode);
}

XROI* XEllipseROI::XZPlaneToROICopy(SInt32 inPlane) const {
  if (itsPlaneMode != kXZPlane) return new XIrregularROI(GetRegion().XZPlaneToRegion(inPlane));
  if (inPlane < itsBounds.top || inPlane >= itsBounds.bottom) return new XEllipseROI();
  return new XEllipseROI(itsBounds.GetXZPlane(inPlane), itsPlaneMode);
}

XROI* XEllipseROI::YZPlaneToROICopy(SInt32 inPlane) const {
  if (itsPlaneMode != kYZPlane) return new XIrregularROI(GetRegion().YZPlaneToRegion(inPlane));
  if (inPlane < itsBounds.left || inPlane >= itsBounds.right) return new XEllipseROI();
  return new XEllipseROI(itsBounds.GetYZPlane(inPlane), itsPlaneMode);
}

// ------------------------------------------------------------------ streams

void XEllipseROI::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XROI::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XEllipseROI::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteObject(itsBounds, kReadAll);
  inStream.Write8(static_cast<UInt8>(itsPlaneMode));
}

void XEllipseROI::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_XEllipseROI(inStream, inOptions); }

void XEllipseROI::ReadStream2_XEllipseROI(XStream& inStream, XOptions inOptions) {
  ReadStream2_XROI(inStream, inOptions);
  ReadStreamSelf(inStream);
}

void XEllipseROI::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  // The region came with the ROI block; it is not rebuilt from these.
  itsBounds = *XObjectReading::ReadRequired<X3DRect>(inStream, X3DRect::GetClassVersion(), "ellipse ROI without bounds");
  itsPlaneMode = static_cast<XPlaneMode>(inStream.Read8());
}

}  // namespace mirelan
