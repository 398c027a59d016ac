#include "geometry/X3DRect.h"

#include <algorithm>
#include <cmath>

#include "core/XStream.h"

namespace mirelan {

using namespace XRectMath;

const X3DRect X3DRect::sEmptyRect;

namespace {

// Half the size difference moves a side so that the interval keeps its centre
// or centres on another; both the same signed truncating shift.
void MoveAxis(SInt32& ioLow, SInt32& ioHigh, SInt32 inDelta) {
  ioLow = Add(ioLow, inDelta);
  ioHigh = Add(ioHigh, inDelta);
}

void CentreAxis(SInt32& ioLow, SInt32& ioHigh, SInt32 inOtherLow, SInt32 inOtherHigh) {
  UInt32 size = Extent<UInt32>(ioLow, ioHigh);
  UInt32 otherSize = Extent<UInt32>(inOtherLow, inOtherHigh);
  MoveAxis(ioLow, ioHigh, Sub(inOtherLow, ioLow));
  MoveAxis(ioLow, ioHigh, HalfDifference<SInt32>(otherSize, size));
}

void ConstrainAxis(SInt32& ioLow, SInt32& ioHigh, SInt32 inOtherLow, SInt32 inOtherHigh) {
  UInt32 size = Extent<UInt32>(ioLow, ioHigh);
  UInt32 otherSize = Extent<UInt32>(inOtherLow, inOtherHigh);
  if (size < otherSize) {
    if (ioLow < inOtherLow) MoveAxis(ioLow, ioHigh, Sub(inOtherLow, ioLow));
    if (ioHigh > inOtherHigh) MoveAxis(ioLow, ioHigh, Sub(inOtherHigh, ioHigh));
  } else {
    CentreAxis(ioLow, ioHigh, inOtherLow, inOtherHigh);
  }
}

SInt32 MapValue(SInt32 inValue, SInt32 inFromLow, UInt32 inFromSize, SInt32 inToLow,
                UInt32 inToSize) {
  Float64 v = static_cast<Float64>(Sub(inValue, inFromLow));
  Float64 mapped = std::floor(static_cast<Float64>(inToSize) * v / inFromSize + 0.5);
  return Add(Truncate<SInt32>(mapped), inToLow);
}

void ScaleAxis(SInt32& ioLow, SInt32& ioHigh, Float64 inScale) {
  UInt32 size = Extent<UInt32>(ioLow, ioHigh);
  UInt32 scaled = Truncate<UInt32>(std::floor(static_cast<Float64>(size) * inScale + 0.5));
  ioLow = Add(ioLow, HalfDifference<SInt32>(size, scaled));
  ioHigh = Add(ioLow, static_cast<SInt32>(scaled));
}

}  // namespace

X3DRect::X3DRect(SInt32 inLeft, SInt32 inTop, SInt32 inFront, SInt32 inRight, SInt32 inBottom,
                 SInt32 inBack) {
  SetSize(inLeft, inTop, inFront, inRight, inBottom, inBack);
}

X3DRect::X3DRect(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth)
    : right(static_cast<SInt32>(inWidth)),
      bottom(static_cast<SInt32>(inHeight)),
      back(static_cast<SInt32>(inDepth)) {}

X3DRect::X3DRect(const XRectBase& inRect, SInt32 inFront, SInt32 inBack) {
  SetSize(inRect.left, inRect.top, inFront, inRect.right, inRect.bottom, inBack);
}

X3DRect::X3DRect(const XRectFBase& inRect, SInt32 inFront, SInt32 inBack) {
  SetSize(static_cast<SInt32>(inRect.left), static_cast<SInt32>(inRect.top), inFront,
          static_cast<SInt32>(inRect.right), static_cast<SInt32>(inRect.bottom), inBack);
}

X3DRect::X3DRect(XStream& inStream) { ReadStream2_X3DRect(inStream, kReadAll); }

void X3DRect::SetSize(SInt32 inLeft, SInt32 inTop, SInt32 inFront, SInt32 inRight,
                      SInt32 inBottom, SInt32 inBack) {
  left = inLeft;
  right = inRight;
  top = inTop;
  bottom = inBottom;
  front = inFront;
  back = inBack;
  Order(left, right);
  Order(top, bottom);
  Order(front, back);
}

bool X3DRect::Contains(const X3DRect& r) const {
  return left <= r.left && r.right <= right && top <= r.top && r.bottom <= bottom &&
         front <= r.front && r.back <= back;
}

void X3DRect::SetLeft(SInt32 v) {
  left = v;
  if (right < v) right = v;
}
void X3DRect::SetRight(SInt32 v) {
  right = v;
  if (left > v) left = v;
}
void X3DRect::SetTop(SInt32 v) {
  top = v;
  if (bottom < v) bottom = v;
}
void X3DRect::SetBottom(SInt32 v) {
  bottom = v;
  if (top > v) top = v;
}
void X3DRect::SetFront(SInt32 v) {
  front = v;
  if (back < v) back = v;
}
void X3DRect::SetBack(SInt32 v) {
  back = v;
  if (front > v) front = v;
}

void X3DRect::SetWidth(UInt32 w) {
  right = Add(left, static_cast<SInt32>(w));
  if (left > right) left = right;
}
void X3DRect::SetHeight(UInt32 h) {
  bottom = Add(top, static_cast<SInt32>(h));
  if (top > bottom) top = bottom;
}
void X3DRect::SetDepth(UInt32 d) {
  back = Add(front, static_cast<SInt32>(d));
  if (front > back) front = back;
}
void X3DRect::SetDimensions(UInt32 w, UInt32 h, UInt32 d) {
  SetWidth(w);
  SetHeight(h);
  SetDepth(d);
}

void X3DRect::SetPosition(SInt32 x, SInt32 y, SInt32 z) {
  Offset(Sub(x, left), Sub(y, top), Sub(z, front));
}

X3DRect& X3DRect::Sect(const X3DRect& r) {
  X3DRect o = r;
  Clamp(left, o.left, o.right);
  Clamp(right, o.left, o.right);
  Clamp(top, o.top, o.bottom);
  Clamp(bottom, o.top, o.bottom);
  Clamp(front, o.front, o.back);
  Clamp(back, o.front, o.back);
  Repair(left, right);
  Repair(top, bottom);
  Repair(front, back);
  return *this;
}

X3DRect& X3DRect::Union(const X3DRect& r) {
  left = std::min(left, r.left);
  top = std::min(top, r.top);
  front = std::min(front, r.front);
  right = std::max(right, r.right);
  bottom = std::max(bottom, r.bottom);
  back = std::max(back, r.back);
  return *this;
}

void X3DRect::Grow(SInt32 dx, SInt32 dy, SInt32 dz) {
  left = Sub(left, dx);
  right = Add(right, dx);
  top = Sub(top, dy);
  bottom = Add(bottom, dy);
  front = Sub(front, dz);
  back = Add(back, dz);
  Repair(left, right);
  Repair(top, bottom);
  Repair(front, back);
}

void X3DRect::Offset(SInt32 dx, SInt32 dy, SInt32 dz) {
  MoveAxis(left, right, dx);
  MoveAxis(top, bottom, dy);
  MoveAxis(front, back, dz);
}

void X3DRect::CentreH(const X3DRect& r) { CentreAxis(left, right, r.left, r.right); }
void X3DRect::CentreV(const X3DRect& r) { CentreAxis(top, bottom, r.top, r.bottom); }
void X3DRect::CentreZ(const X3DRect& r) { CentreAxis(front, back, r.front, r.back); }

void X3DRect::CentreOn(const X3DRect& r) {
  X3DRect o = r;
  CentreH(o);
  CentreV(o);
  CentreZ(o);
}

void X3DRect::ConstrainWithin(const X3DRect& r) {
  X3DRect o = r;
  ConstrainAxis(left, right, o.left, o.right);
  ConstrainAxis(top, bottom, o.top, o.bottom);
  ConstrainAxis(front, back, o.front, o.back);
}

void X3DRect::ConstrainPoint(X3DPointT<SInt32>& ioPoint) const {
  Clamp(ioPoint.x, left, Sub(right, 1));
  Clamp(ioPoint.y, top, Sub(bottom, 1));
  Clamp(ioPoint.z, front, Sub(back, 1));
}

void X3DRect::Map(const X3DRect& inFrom, const X3DRect& inTo) {
  X3DRect from = inFrom, to = inTo;
  UInt32 fw = from.GetWidth(), fh = from.GetHeight(), fd = from.GetDepth();
  UInt32 tw = to.GetWidth(), th = to.GetHeight(), td = to.GetDepth();
  left = MapValue(left, from.left, fw, to.left, tw);
  right = MapValue(right, from.left, fw, to.left, tw);
  top = MapValue(top, from.top, fh, to.top, th);
  bottom = MapValue(bottom, from.top, fh, to.top, th);
  front = MapValue(front, from.front, fd, to.front, td);
  back = MapValue(back, from.front, fd, to.front, td);
}

void X3DRect::ScaleBy(Float64 sx, Float64 sy, Float64 sz) {
  ScaleAxis(left, right, sx);
  ScaleAxis(top, bottom, sy);
  ScaleAxis(front, back, sz);
}

void X3DRect::ScaleTo(const X3DRect& r) {
  X3DRect o = r;
  Float64 w = GetWidth(), h = GetHeight(), d = GetDepth();
  Float64 s = std::min({o.GetWidth() / w, o.GetHeight() / h, o.GetDepth() / d});
  right = Add(left, Truncate<SInt32>(w * s));
  bottom = Add(top, Truncate<SInt32>(h * s));
  back = Add(front, Truncate<SInt32>(d * s));
  CentreOn(o);
}

UInt64 X3DRect::GetLinearPos(const X3DPointT<SInt32>& p) const {
  UInt64 w = GetWidth(), h = GetHeight();
  return w * h * static_cast<UInt64>(static_cast<SInt64>(p.z) - front) +
         w * static_cast<UInt64>(static_cast<SInt64>(p.y) - top) +
         static_cast<UInt64>(static_cast<SInt64>(p.x) - left);
}

X3DPoint X3DRect::GetPointFromLinearPos(UInt64 inPos) const {
  UInt64 w = GetWidth(), plane = w * GetHeight();
  UInt64 inPlane = inPos % plane;
  return X3DPoint(Add(left, static_cast<SInt32>(inPlane % w)),
                  Add(top, static_cast<SInt32>(inPlane / w)),
                  Add(front, static_cast<SInt32>(inPos / plane)));
}

bool X3DRect::IsSameShapeAs(const X3DRect& r) const {
  UInt64 w = GetWidth(), rw = r.GetWidth();
  return GetHeight() / w == r.GetHeight() / rw && GetDepth() / w == r.GetDepth() / rw;
}

X3DRect X3DRect::GetXYPlane(SInt32 z) const {
  X3DRect plane = *this;
  plane.front = z;
  plane.back = Add(z, 1);
  return plane;
}

X3DRect X3DRect::GetXZPlane(SInt32 y) const {
  X3DRect plane = *this;
  plane.top = y;
  plane.bottom = Add(y, 1);
  return plane;
}

X3DRect X3DRect::GetYZPlane(SInt32 x) const {
  X3DRect plane = *this;
  plane.left = x;
  plane.right = Add(x, 1);
  return plane;
}

// Stored form: the tag (class 100), then left, right, top, bottom, front, back.

UInt64 X3DRect::GetStreamUsage() const { return 4 + 6 * 4; }

void X3DRect::WriteStream2(XStream& inStream, XOptions inOptions) const {
  inStream.WriteVersion(GetClassVersion());
  WriteStreamSelf(inStream);
}

void X3DRect::WriteStreamSelf(XStream& inStream) const {
  for (SInt32 v : {left, right, top, bottom, front, back}) inStream.Write32(static_cast<UInt32>(v));
}

void X3DRect::ReadStream2(XStream& inStream, XOptions inOptions) {
  ReadStream2_X3DRect(inStream, inOptions);
}

void X3DRect::ReadStream2_X3DRect(XStream& inStream, XOptions inOptions) {
  ReadCheckedClassVersion(inStream, GetClassVersion());
  ReadStreamSelf(inStream);
}

// The values are kept as they come, inverted or not.
void X3DRect::ReadStreamSelf(XStream& inStream) {
  SInt32 v[6];
  for (SInt32& value : v) value = static_cast<SInt32>(inStream.Read32());
  left = v[0];
  right = v[1];
  top = v[2];
  bottom = v[3];
  front = v[4];
  back = v[5];
}

}  // namespace mirelan
