#include "data/XIrregularROI.h"

#include "core/XStream.h"

namespace mirelan {

XIrregularROI::XIrregularROI(const XVector<XPoint>& inPoints, XPlaneMode inPlaneMode, const X3DRect& inRect)
    : XROI(Create3DRegionFrom2DRegion(Create2DRegionFromPoints(inPoints), inPlaneMode, inRect)) {}

void XIrregularROI::SetBounds(const X3DRect&) {}

void XIrregularROI::ClipToBounds(const X3DRect& inRect) {
  GetMutableRegion().Sect(X3DRegion(inRect));
  InvalidatePathCache();
}

void XIrregularROI::CentreOn(const X3DRect& inRect) {
  GetMutableRegion().CentreOn(inRect);
  InvalidatePathCache();
}

void XIrregularROI::Grow(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  GetMutableRegion().Grow(inDX, inDY, inDZ);
  InvalidatePathCache();
}

void XIrregularROI::Shrink(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  GetMutableRegion().Shrink(inDX, inDY, inDZ);
  InvalidatePathCache();
}

void XIrregularROI::Map(const X3DRect& inFromRect, const X3DRect& inToRect) {
  GetMutableRegion().Map(inFromRect, inToRect, true);
  InvalidatePathCache();
}

namespace {

// Moves a cache's outlines with the region where that is exact, else
// replaces it with a new empty one. A shared cache is copied first.
void OffsetCache(XRefPtr<XROIPathCache>& ioCache, bool inInPlane, SInt32 inDU, SInt32 inDV) {
  if (!inInPlane || !ioCache->CanOffset()) {
    ioCache = MakeRefPtr<XROIPathCache>();
    return;
  }
  if (ioCache->GetRefCount() > 1) ioCache = MakeRefPtr<XROIPathCache>(*ioCache);
  ioCache->Offset(inDU, inDV);
}

}  // namespace

void XIrregularROI::Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  GetMutableRegion().Offset(inDX, inDY, inDZ);
  // In each plane's own axes: XY (x, y), XZ (x, z), YZ (z, y).
  OffsetCache(GetPathCache(kXYPlane, false), inDZ == 0, inDX, inDY);
  OffsetCache(GetPathCache(kXYPlane, true), inDZ == 0, inDX, inDY);
  OffsetCache(GetPathCache(kXZPlane, false), inDY == 0, inDX, inDZ);
  OffsetCache(GetPathCache(kYZPlane, false), inDX == 0, inDZ, inDY);
}

// ------------------------------------------------------------------ streams

void XIrregularROI::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XROI::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XIrregularROI::WriteStreamSelf(XStream& inStream) const { inStream.WriteVersion(GetClassVersion()); }

void XIrregularROI::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XIrregularROI(inStream, inOptions);
}

void XIrregularROI::ReadStream2_XIrregularROI(XStream& inStream, XOptions inOptions) {
  ReadStream2_XROI(inStream, inOptions);
  ReadStreamSelf(inStream);
}

void XIrregularROI::ReadStreamSelf(XStream& inStream) { ReadCheckedClassVersion(inStream, GetClassVersion()); }

}  // namespace mirelan
