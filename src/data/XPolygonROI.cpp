#include "data/XPolygonROI.h"

#include "core/XStream.h"
#include "data/internal/XObjectReading.h"

namespace mirelan {

XPolygonROI::XPolygonROI(const X3DPolyLine& inPolyLine, const X3DRegion& inRegion)
    : XROI(inRegion), itsPolyLine(inPolyLine) {}

void XPolygonROI::SetRegion(const X3DRegion& inRegion) {
  XROI::SetRegion(inRegion);
  InvalidatePathCache();
}

void XPolygonROI::SetBounds(const X3DRect& inRect) { ClipToBounds(inRect); }

// The new box is worked out and left unused: a polygon is edited by
// replacing it, not by moving its region.
void XPolygonROI::ClipToBounds(const X3DRect& inRect) {
  X3DRect bounds = GetBounds();
  bounds.Sect(inRect);
}

void XPolygonROI::Offset(SInt32 inDX, SInt32 inDY, SInt32 inDZ) {
  X3DRect bounds = GetBounds();
  bounds.Offset(inDX, inDY, inDZ);
}

void XPolygonROI::CentreOn(const X3DRect&) {}
void XPolygonROI::Grow(SInt32, SInt32, SInt32) {}
void XPolygonROI::Shrink(SInt32, SInt32, SInt32) {}
void XPolygonROI::Map(const X3DRect&, const X3DRect&) {}

// ------------------------------------------------------------------ streams

void XPolygonROI::WriteStream2(XStream& inStream, XOptions inOptions) const {
  XROI::WriteStream2(inStream, inOptions);
  WriteStreamSelf(inStream);
}

void XPolygonROI::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  inStream.WriteObject(itsPolyLine, kReadAll);
}

void XPolygonROI::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_XPolygonROI(inStream, inOptions); }

void XPolygonROI::ReadStream2_XPolygonROI(XStream& inStream, XOptions inOptions) {
  ReadStream2_XROI(inStream, inOptions);
  ReadStreamSelf(inStream);
}

void XPolygonROI::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  itsPolyLine = *XObjectReading::ReadRequired<X3DPolyLine>(inStream, X3DPolyLine::GetClassVersion(),
                                                            "polygon ROI without its polyline");
}

}  // namespace mirelan
