// Half-open boxes: a voxel is inside when left <= x < right, top <= y <
// bottom and front <= z < back. The bounds of every volume and region.
#pragma once

#include "core/XExport.h"
#include "core/XStorable.h"
#include "geometry/XPoint.h"
#include "geometry/XRect.h"

namespace mirelan {

class XStream;

class MIRELAN_EXPORT X3DRect : public XStorable {
 public:
  static constexpr UInt16 kClassID = 100;
  static const X3DRect sEmptyRect;

  // In this order; the stored form writes them so. Inner loops read them directly.
  SInt32 left = 0;
  SInt32 right = 0;
  SInt32 top = 0;
  SInt32 bottom = 0;
  SInt32 front = 0;
  SInt32 back = 0;

  X3DRect() = default;
  // Each axis is ordered, so the result is never inverted.
  X3DRect(SInt32 inLeft, SInt32 inTop, SInt32 inFront, SInt32 inRight, SInt32 inBottom,
          SInt32 inBack);
  // A box of this size at the origin.
  X3DRect(UInt32 inWidth, UInt32 inHeight, UInt32 inDepth);
  // A rectangle extended along z; the float form truncates its sides.
  X3DRect(const XRectBase& inRect, SInt32 inFront, SInt32 inBack);
  X3DRect(const XRectFBase& inRect, SInt32 inFront, SInt32 inBack);
  explicit X3DRect(XStream& inStream);
  X3DRect(const X3DRect&) = default;
  X3DRect& operator=(const X3DRect&) = default;

  void SetSize(SInt32 inLeft, SInt32 inTop, SInt32 inFront, SInt32 inRight, SInt32 inBottom,
               SInt32 inBack);

  SInt32 GetLeft() const { return left; }
  SInt32 GetRight() const { return right; }
  SInt32 GetTop() const { return top; }
  SInt32 GetBottom() const { return bottom; }
  SInt32 GetFront() const { return front; }
  SInt32 GetBack() const { return back; }
  UInt32 GetWidth() const { return XRectMath::Extent<UInt32>(left, right); }
  UInt32 GetHeight() const { return XRectMath::Extent<UInt32>(top, bottom); }
  UInt32 GetDepth() const { return XRectMath::Extent<UInt32>(front, back); }
  X3DPoint GetTopLeftFront() const { return X3DPoint(left, top, front); }

  bool IsEmpty() const { return left == right || top == bottom || front == back; }
  bool IsEmptyOrInsideOut() const { return left >= right || top >= bottom || front >= back; }

  bool Contains(SInt32 x, SInt32 y, SInt32 z) const {
    return left <= x && x < right && top <= y && y < bottom && front <= z && z < back;
  }
  template <class U>
  bool Contains(const X3DPointT<U>& p) const {
    return Contains(static_cast<SInt32>(p.x), static_cast<SInt32>(p.y), static_cast<SInt32>(p.z));
  }
  // Closed on all sides: a box contains itself.
  bool Contains(const X3DRect& r) const;

  // Each setter keeps its axis ordered against the value already there.
  void SetLeft(SInt32 v);
  void SetRight(SInt32 v);
  void SetTop(SInt32 v);
  void SetBottom(SInt32 v);
  void SetFront(SInt32 v);
  void SetBack(SInt32 v);
  void SetWidth(UInt32 w);
  void SetHeight(UInt32 h);
  void SetDepth(UInt32 d);
  void SetDimensions(UInt32 w, UInt32 h, UInt32 d);
  void SetPosition(SInt32 x, SInt32 y, SInt32 z);
  void SetPosition(const X3DPointT<SInt32>& p) { SetPosition(p.x, p.y, p.z); }

  // Clamps every side into the other's interval; an axis left inverted
  // (only an inverted operand can do that) collapses to its middle.
  X3DRect& Sect(const X3DRect& r);
  X3DRect& operator&=(const X3DRect& r) { return Sect(r); }
  // Min of lows, max of highs; an empty operand still counts.
  X3DRect& Union(const X3DRect& r);
  X3DRect& operator|=(const X3DRect& r) { return Union(r); }
  X3DRect& operator+=(const X3DRect& r) { return Union(r); }

  // Grows both ends of each axis, then repairs inverted axes as Sect does.
  void Grow(SInt32 dx, SInt32 dy, SInt32 dz);
  void Shrink(SInt32 dx, SInt32 dy, SInt32 dz) { Grow(-dx, -dy, -dz); }
  void Offset(SInt32 dx, SInt32 dy, SInt32 dz);
  void Offset(const X3DPointT<SInt32>& d) { Offset(d.x, d.y, d.z); }

  // (low + high) / 2 per axis, signed and truncating.
  SInt32 GetHCentre() const { return XRectMath::Middle(left, right); }
  SInt32 GetVCentre() const { return XRectMath::Middle(top, bottom); }
  SInt32 GetZCentre() const { return XRectMath::Middle(front, back); }
  X3DPoint GetCentre() const { return X3DPoint(GetHCentre(), GetVCentre(), GetZCentre()); }

  // Moves to the other's origin, then by half the difference of the sizes.
  void CentreH(const X3DRect& r);
  void CentreV(const X3DRect& r);
  void CentreZ(const X3DRect& r);
  void CentreOn(const X3DRect& r);

  // Pushes the box inside the other; on an axis where it is not shorter
  // than the other it is centred on it instead.
  void ConstrainWithin(const X3DRect& r);
  // Clamps to [low, high - 1] on each axis.
  void ConstrainPoint(X3DPointT<SInt32>& ioPoint) const;

  // Carries the box from inFrom's frame into inTo's, rounding each side.
  void Map(const X3DRect& inFrom, const X3DRect& inTo);
  // New sizes are rounded products; the centre stays where it was.
  void ScaleBy(Float64 sx, Float64 sy, Float64 sz);
  // Scales uniformly to fit the other on its tightest axis, and centres on it.
  void ScaleTo(const X3DRect& r);

  // Index of a voxel with x fastest, then y, then z; and back.
  UInt64 GetLinearPos(const X3DPointT<SInt32>& p) const;
  X3DPoint GetPointFromLinearPos(UInt64 inPos) const;

  bool IsSameSizeAs(const X3DRect& r) const {
    return GetWidth() == r.GetWidth() && GetHeight() == r.GetHeight() && GetDepth() == r.GetDepth();
  }
  // Compares height / width and depth / width as truncated 64-bit quotients;
  // a zero width divides by zero.
  bool IsSameShapeAs(const X3DRect& r) const;
  UInt64 GetVolume() const {
    return static_cast<UInt64>(GetWidth()) * GetHeight() * static_cast<UInt64>(GetDepth());
  }

  // One-voxel-thick slices through the box.
  X3DRect GetXYPlane(SInt32 z) const;
  X3DRect GetXZPlane(SInt32 y) const;
  X3DRect GetYZPlane(SInt32 x) const;
  // Projections; in the YZ bounds z runs along the rectangle's x.
  XRect GetXYBounds() const { return XRect(left, top, right, bottom); }
  XRect GetXZBounds() const { return XRect(left, front, right, back); }
  XRect GetYZBounds() const { return XRect(front, top, back, bottom); }

  bool operator==(const X3DRect& r) const {
    return left == r.left && right == r.right && top == r.top && bottom == r.bottom &&
           front == r.front && back == r.back;
  }
  bool operator!=(const X3DRect& r) const { return !(*this == r); }
  bool IsEqual(const X3DRect& r) const { return *this == r; }

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  X3DRect* Clone() const override { return new X3DRect(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_X3DRect(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;
};

}  // namespace mirelan
