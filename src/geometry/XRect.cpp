#include "geometry/XRect.h"

#include <cmath>
#include <limits>

#include "core/XStream.h"
#include "geometry/X3DRect.h"

namespace mirelan {

const XRect XRect::sEmptyRect;
const XRectF XRectF::kEmptyRect;
const XRectF XRectF::kInfiniteRect(-std::numeric_limits<Float32>::infinity(),
                                   -std::numeric_limits<Float32>::infinity(),
                                   std::numeric_limits<Float32>::infinity(),
                                   std::numeric_limits<Float32>::infinity());

XRect::XRect(const X3DRect& inBox) : XRectBase(inBox.GetXYBounds()) {}

XRect::XRect(XStream& inStream) { ReadStream2_XRect(inStream, kReadAll); }

// Stored form: the tag (class 34), then left, top, bottom, right as 32-bit words.

UInt64 XRect::GetStreamUsage() const { return 4 + 4 * 4; }

void XRect::WriteStream2(XStream& inStream, XOptions inOptions) const {
  inStream.WriteVersion(GetClassVersion());
  WriteStreamSelf(inStream);
}

void XRect::WriteStreamSelf(XStream& inStream) const {
  inStream.Write32(static_cast<UInt32>(left));
  inStream.Write32(static_cast<UInt32>(top));
  inStream.Write32(static_cast<UInt32>(bottom));
  inStream.Write32(static_cast<UInt32>(right));
}

void XRect::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XRect(inStream, inOptions);
}

void XRect::ReadStream2_XRect(XStream& inStream, XOptions inOptions) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  ReadStreamSelf(inStream);
}

// Through the setters, each against the sides already there, so an inverted
// rectangle on the stream comes back ordered. All four are read first so that
// a short stream leaves the rectangle as it was.
void XRect::ReadStreamSelf(XStream& inStream) {
  SInt32 l = static_cast<SInt32>(inStream.Read32());
  SInt32 t = static_cast<SInt32>(inStream.Read32());
  SInt32 b = static_cast<SInt32>(inStream.Read32());
  SInt32 r = static_cast<SInt32>(inStream.Read32());
  SetLeft(l);
  SetTop(t);
  SetBottom(b);
  SetRight(r);
}

XRectF::XRectF(XStream& inStream) { ReadStream2_XRectF(inStream, kReadAll); }

XRectF& XRectF::Round() {
  left = std::floor(left + 0.5f);
  top = std::floor(top + 0.5f);
  bottom = std::floor(bottom + 0.5f);
  right = std::floor(right + 0.5f);
  return *this;
}

XRectF& XRectF::RoundIn() {
  left = std::ceil(left);
  top = std::ceil(top);
  right = std::floor(right);
  bottom = std::floor(bottom);
  return *this;
}

XRectF& XRectF::RoundOut() {
  left = std::floor(left);
  top = std::floor(top);
  right = std::ceil(right);
  bottom = std::ceil(bottom);
  return *this;
}

// Stored form: the tag (class 50), then left, top, bottom, right as 32-bit floats.

UInt64 XRectF::GetStreamUsage() const { return 4 + 4 * 4; }

void XRectF::WriteStream2(XStream& inStream, XOptions inOptions) const {
  inStream.WriteVersion(GetClassVersion());
  WriteStreamSelf(inStream);
}

void XRectF::WriteStreamSelf(XStream& inStream) const {
  inStream.WriteFloat32S(left);
  inStream.WriteFloat32S(top);
  inStream.WriteFloat32S(bottom);
  inStream.WriteFloat32S(right);
}

void XRectF::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_XRectF(inStream, inOptions);
}

void XRectF::ReadStream2_XRectF(XStream& inStream, XOptions inOptions) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  ReadStreamSelf(inStream);
}

void XRectF::ReadStreamSelf(XStream& inStream) {
  Float32 l = inStream.ReadFloat32S();
  Float32 t = inStream.ReadFloat32S();
  Float32 b = inStream.ReadFloat32S();
  Float32 r = inStream.ReadFloat32S();
  SetLeft(l);
  SetTop(t);
  SetBottom(b);
  SetRight(r);
}

}  // namespace mirelan
