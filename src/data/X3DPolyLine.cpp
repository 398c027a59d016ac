#include "data/X3DPolyLine.h"

#include "core/XStream.h"
#include "data/internal/XSaturatingCoord.h"

namespace mirelan {


// ------------------------------------------------------------------ X3DPolyLine

X3DPolyLine::X3DPolyLine(const X3DPolyLineF& inOther) { AssignConverted(inOther); }

UInt64 X3DPolyLine::GetStreamUsage() const { return 4 + GetPolyLineBodyBytes(true); }

void X3DPolyLine::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void X3DPolyLine::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  WritePolyLineBody(inStream, true, true);
}

void X3DPolyLine::ReadStream2(XStream& inStream, XOptions inOptions) { ReadStream2_X3DPolyLine(inStream, inOptions); }

void X3DPolyLine::ReadStream2_X3DPolyLine(XStream& inStream, XOptions) {
  const XVersion tag = ReadCheckedClassVersion(inStream, GetClassVersion());
  ReadStreamSelf(inStream, tag);
}

void X3DPolyLine::ReadStreamSelf(XStream& inStream, const XVersion& inTag) {
  // Version 0 had no line list: its nodes form one chain. Version 2 added
  // the population ID.
  const UInt16 version = inTag.GetClassVersion();
  ReadPolyLineBody(inStream, version >= 1, version >= 2);
}

X3DPolyLine X3DPolyLine::RemapToRect(const X3DRect& inFromRect, const X3DRect& inToRect) const {
  const Float64 xRatio = Float64(inToRect.GetWidth()) / Float64(inFromRect.GetWidth());
  const Float64 yRatio = Float64(inToRect.GetHeight()) / Float64(inFromRect.GetHeight());
  const Float64 zRatio = Float64(inToRect.GetDepth()) / Float64(inFromRect.GetDepth());
  X3DPolyLine result(*this);
  for (XPolyNode* node : result.GetNodes()) {
    const X3DPoint& p = node->GetPosition();
    node->SetPosition(X3DPoint(XSaturatingCoord(p.x * xRatio), XSaturatingCoord(p.y * yRatio),
                               XSaturatingCoord(p.z * zRatio)));
  }
  return result;
}

// ------------------------------------------------------------------ X3DPolyLineF

X3DPolyLineF::X3DPolyLineF(const X3DPolyLine& inOther) { AssignConverted(inOther); }

UInt64 X3DPolyLineF::GetStreamUsage() const { return 4 + GetPolyLineBodyBytes(true); }

void X3DPolyLineF::WriteStream2(XStream& inStream, XOptions) const { WriteStreamSelf(inStream); }

void X3DPolyLineF::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteVersion(GetClassVersion());
  WritePolyLineBody(inStream, true, true);
}

void X3DPolyLineF::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_X3DPolyLineF(inStream, inOptions);
}

void X3DPolyLineF::ReadStream2_X3DPolyLineF(XStream& inStream, XOptions) { ReadStreamSelf(inStream); }

void X3DPolyLineF::ReadStreamSelf(XStream& inStream) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  ReadPolyLineBody(inStream, true, true);
}

}  // namespace mirelan
