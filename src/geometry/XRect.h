// Half-open rectangles: a point is inside when left <= x < right and
// top <= y < bottom. XRectT is the plain value; XRect and XRectF add the
// stored forms.
#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <type_traits>

#include "core/XExport.h"
#include "core/XStorable.h"
#include "geometry/XPoint.h"

namespace mirelan {

class X3DRect;
class XStream;

// Arithmetic shared by the rectangles and boxes. Integer coordinates wrap
// like the 32-bit arithmetic they mirror instead of overflowing, so inverted
// or extreme rectangles give defined (if odd) results.
namespace XRectMath {

template <class C>
constexpr C Add(C a, C b) {
  if constexpr (std::is_integral_v<C>) {
    using U = std::make_unsigned_t<C>;
    return static_cast<C>(static_cast<U>(a) + static_cast<U>(b));
  } else {
    return a + b;
  }
}

template <class C>
constexpr C Sub(C a, C b) {
  if constexpr (std::is_integral_v<C>) {
    using U = std::make_unsigned_t<C>;
    return static_cast<C>(static_cast<U>(a) - static_cast<U>(b));
  } else {
    return a - b;
  }
}

// high - low as a size: an inverted interval gives a huge unsigned size.
template <class S, class C>
constexpr S Extent(C inLow, C inHigh) {
  if constexpr (std::is_integral_v<C>) {
    using U = std::make_unsigned_t<C>;
    return static_cast<S>(static_cast<U>(inHigh) - static_cast<U>(inLow));
  } else {
    return static_cast<S>(inHigh - inLow);
  }
}

// (low + high) / 2, signed and truncating towards zero.
template <class C>
constexpr C Middle(C inLow, C inHigh) {
  if constexpr (std::is_integral_v<C>)
    return static_cast<C>((static_cast<SInt64>(inLow) + static_cast<SInt64>(inHigh)) / 2);
  else
    return (inLow + inHigh) / 2;
}

// (a - b) / 2 for two sizes, as a signed coordinate shift truncated towards zero.
template <class C, class S>
constexpr C HalfDifference(S a, S b) {
  if constexpr (std::is_integral_v<C>)
    return static_cast<C>(static_cast<C>(a - b) / 2);
  else
    return static_cast<C>((a - b) / 2);
}

// A computed double as a coordinate or size: integers truncate towards zero.
template <class C>
C Truncate(Float64 inValue) {
  if constexpr (std::is_integral_v<C>)
    return static_cast<C>(static_cast<SInt64>(inValue));
  else
    return static_cast<C>(inValue);
}

// Lower bound first, so a reversed interval yields its upper end.
template <class C>
constexpr void Clamp(C& ioValue, C inLow, C inHigh) {
  if (ioValue < inLow) ioValue = inLow;
  if (ioValue > inHigh) ioValue = inHigh;
}

template <class C>
constexpr void Order(C& ioLow, C& ioHigh) {
  if (ioLow > ioHigh) std::swap(ioLow, ioHigh);
}

template <class C>
constexpr void Repair(C& ioLow, C& ioHigh) {
  if (ioLow > ioHigh) ioLow = ioHigh = Middle(ioLow, ioHigh);
}

}  // namespace XRectMath

// Flags of XRectT::Align. Vertical: top, else bottom, else centre; then
// horizontal: left, else right, else centre.
enum XRectAlignment : UInt32 {
  kAlignTop = 1,
  kAlignVCentre = 2,
  kAlignBottom = 4,
  kAlignLeft = 8,
  kAlignHCentre = 16,
  kAlignRight = 32,
};

template <class C, class S, class A>
class MIRELAN_EXPORT XRectT {
 public:
  using Coord = C;
  using Size = S;
  using Area = A;
  using Point = XPointT<C>;

  // Declared in this order on purpose: the stored forms write the fields so.
  C left;
  C top;
  C bottom;
  C right;

  constexpr XRectT() : left(0), top(0), bottom(0), right(0) {}
  // Each axis is ordered, so the result is never inverted.
  constexpr XRectT(C inLeft, C inTop, C inRight, C inBottom)
      : left(inLeft), top(inTop), bottom(inBottom), right(inRight) {
    XRectMath::Order(left, right);
    XRectMath::Order(top, bottom);
  }

  void SetSize(C inLeft, C inTop, C inRight, C inBottom) {
    *this = XRectT(inLeft, inTop, inRight, inBottom);
  }

  C GetLeft() const { return left; }
  C GetTop() const { return top; }
  C GetRight() const { return right; }
  C GetBottom() const { return bottom; }
  S GetWidth() const { return XRectMath::Extent<S>(left, right); }
  S GetHeight() const { return XRectMath::Extent<S>(top, bottom); }
  Point GetTopLeft() const { return Point(left, top); }
  Point GetBottomRight() const { return Point(right, bottom); }

  // An inverted rectangle is not empty by this test; IsEmptyOrInsideOut sees it.
  bool IsEmpty() const { return left == right || top == bottom; }
  bool IsEmptyOrInsideOut() const { return left >= right || top >= bottom; }

  bool Contains(C x, C y) const { return left <= x && x < right && top <= y && y < bottom; }
  // A point of the other coordinate type is converted first (float truncates).
  template <class U>
  bool Contains(const XPointT<U>& p) const {
    return Contains(static_cast<C>(p.x), static_cast<C>(p.y));
  }
  // Closed on all sides: a rectangle contains itself.
  bool Contains(const XRectT& r) const {
    return left <= r.left && r.right <= right && top <= r.top && r.bottom <= bottom;
  }

  // Each setter keeps its axis ordered against the value already there.
  void SetLeft(C v) {
    left = v;
    if (right < v) right = v;
  }
  void SetRight(C v) {
    right = v;
    if (left > v) left = v;
  }
  void SetTop(C v) {
    top = v;
    if (bottom < v) bottom = v;
  }
  void SetBottom(C v) {
    bottom = v;
    if (top > v) top = v;
  }
  void SetWidth(S w) {
    right = XRectMath::Add(left, static_cast<C>(w));
    if (left > right) left = right;
  }
  void SetHeight(S h) {
    bottom = XRectMath::Add(top, static_cast<C>(h));
    if (top > bottom) top = bottom;
  }
  void SetDimensions(S w, S h) {
    SetWidth(w);
    SetHeight(h);
  }
  // Moves the rectangle so that its top left corner is at the given place.
  void SetPosition(C inLeft, C inTop) { Offset(XRectMath::Sub(inLeft, left), XRectMath::Sub(inTop, top)); }
  void SetPosition(const Point& p) { SetPosition(p.x, p.y); }

  // Clamps every side into the other's interval; disjoint rectangles give an
  // empty rectangle on the near edge of the other. An axis left inverted
  // (only an inverted operand can do that) collapses to its middle unless
  // inRepair is false.
  XRectT& Sect(const XRectT& r, bool inRepair = true) {
    XRectT o = r;
    XRectMath::Clamp(left, o.left, o.right);
    XRectMath::Clamp(right, o.left, o.right);
    XRectMath::Clamp(top, o.top, o.bottom);
    XRectMath::Clamp(bottom, o.top, o.bottom);
    if (inRepair) RepairAxes();
    return *this;
  }
  XRectT& operator&=(const XRectT& r) { return Sect(r); }
  XRectT operator&(const XRectT& r) const { return XRectT(*this).Sect(r); }

  // No special case for empty operands: an empty rectangle still stretches
  // the union to its position.
  XRectT& Union(const XRectT& r) {
    left = std::min(left, r.left);
    top = std::min(top, r.top);
    right = std::max(right, r.right);
    bottom = std::max(bottom, r.bottom);
    return *this;
  }
  XRectT& operator|=(const XRectT& r) { return Union(r); }
  XRectT& operator+=(const XRectT& r) { return Union(r); }
  XRectT operator|(const XRectT& r) const { return XRectT(*this).Union(r); }

  void Grow(C dx, C dy, bool inRepair = true) {
    left = XRectMath::Sub(left, dx);
    right = XRectMath::Add(right, dx);
    top = XRectMath::Sub(top, dy);
    bottom = XRectMath::Add(bottom, dy);
    if (inRepair) RepairAxes();
  }
  void Shrink(C dx, C dy) { Grow(-dx, -dy, true); }

  void Offset(C dx, C dy) {
    left = XRectMath::Add(left, dx);
    right = XRectMath::Add(right, dx);
    top = XRectMath::Add(top, dy);
    bottom = XRectMath::Add(bottom, dy);
  }
  void Offset(const Point& d) { Offset(d.x, d.y); }

  // Integer: low + size / 2 with the size unsigned, so an inverted axis gives
  // a far-off value. Float: low + size * 0.5.
  C GetHCentre() const { return CentreOf(left, right); }
  C GetVCentre() const { return CentreOf(top, bottom); }
  Point GetCentre() const { return Point(GetHCentre(), GetVCentre()); }

  // Moves to the other's origin, then by half the difference of the sizes.
  void CentreH(const XRectT& r) {
    Offset(XRectMath::Sub(r.left, left), 0);
    Offset(XRectMath::HalfDifference<C>(r.GetWidth(), GetWidth()), 0);
  }
  void CentreV(const XRectT& r) {
    Offset(0, XRectMath::Sub(r.top, top));
    Offset(0, XRectMath::HalfDifference<C>(r.GetHeight(), GetHeight()));
  }
  void CentreOn(const XRectT& r) {
    XRectT o = r;
    CentreH(o);
    CentreV(o);
  }
  // Keeps the size; the half size is taken unsigned.
  void CentreOn(const Point& p) {
    S w = GetWidth(), h = GetHeight();
    left = XRectMath::Sub(p.x, static_cast<C>(w / 2));
    top = XRectMath::Sub(p.y, static_cast<C>(h / 2));
    right = XRectMath::Add(left, static_cast<C>(w));
    bottom = XRectMath::Add(top, static_cast<C>(h));
  }

  // Pushes the rectangle inside the other; on an axis where it is not
  // shorter than the other it is centred on it instead.
  void ConstrainWithin(const XRectT& r) {
    XRectT o = r;
    S w = GetWidth(), ow = o.GetWidth();
    if (w < ow) {
      if (left < o.left) Offset(XRectMath::Sub(o.left, left), 0);
      if (right > o.right) Offset(XRectMath::Sub(o.right, right), 0);
    } else {
      Offset(XRectMath::Sub(o.left, left), 0);
      Offset(XRectMath::HalfDifference<C>(ow, w), 0);
    }
    S h = GetHeight(), oh = o.GetHeight();
    if (h < oh) {
      if (top < o.top) Offset(0, XRectMath::Sub(o.top, top));
      if (bottom > o.bottom) Offset(0, XRectMath::Sub(o.bottom, bottom));
    } else {
      Offset(0, XRectMath::Sub(o.top, top));
      Offset(0, XRectMath::HalfDifference<C>(oh, h));
    }
  }

  // Clamps to [low, high - 1] on each axis; the float rectangle uses high - 1
  // too, to match the integer form.
  void ConstrainPoint(Point& ioPoint) const {
    XRectMath::Clamp(ioPoint.x, left, XRectMath::Sub(right, static_cast<C>(1)));
    XRectMath::Clamp(ioPoint.y, top, XRectMath::Sub(bottom, static_cast<C>(1)));
  }

  // Carries a point from one rectangle's frame to another's. The integer
  // form computes in unsigned 32 bits, as callers with points to the left of
  // inFrom have always seen.
  static Point MapPoint(const Point& p, const XRectT& inFrom, const XRectT& inTo) {
    if constexpr (std::is_integral_v<C>) {
      using U = std::make_unsigned_t<C>;
      U x = static_cast<U>(inTo.GetWidth()) * (static_cast<U>(p.x) - static_cast<U>(inFrom.left)) /
                static_cast<U>(inFrom.GetWidth()) +
            static_cast<U>(inTo.left);
      U y = static_cast<U>(inTo.GetHeight()) * (static_cast<U>(p.y) - static_cast<U>(inFrom.top)) /
                static_cast<U>(inFrom.GetHeight()) +
            static_cast<U>(inTo.top);
      return Point(static_cast<C>(x), static_cast<C>(y));
    } else {
      return Point(inTo.GetWidth() * (p.x - inFrom.left) / inFrom.GetWidth() + inTo.left,
                   inTo.GetHeight() * (p.y - inFrom.top) / inFrom.GetHeight() + inTo.top);
    }
  }

  // New sizes are truncated products; the centre stays where it was.
  void ScaleBy(Float64 sx, Float64 sy) {
    S w = GetWidth(), h = GetHeight();
    S nw = XRectMath::Truncate<S>(static_cast<Float64>(w) * sx);
    S nh = XRectMath::Truncate<S>(static_cast<Float64>(h) * sy);
    left = XRectMath::Add(left, XRectMath::HalfDifference<C>(w, nw));
    top = XRectMath::Add(top, XRectMath::HalfDifference<C>(h, nh));
    right = XRectMath::Add(left, static_cast<C>(nw));
    bottom = XRectMath::Add(top, static_cast<C>(nh));
  }

  // The largest rectangle of this aspect ratio centred in the other: first
  // at the other's full width, and at its full height if that is too tall.
  void ScaleTo(const XRectT& r) {
    XRectT o = r;
    Float64 aspect = static_cast<Float64>(GetWidth()) / static_cast<Float64>(GetHeight());
    *this = o;
    bottom = XRectMath::Add(top, XRectMath::Truncate<C>(static_cast<Float64>(GetWidth()) / aspect));
    CentreOn(o);
    if (top < o.top) {
      *this = o;
      right = XRectMath::Add(left, XRectMath::Truncate<C>(static_cast<Float64>(GetHeight()) * aspect));
      CentreOn(o);
    }
  }

  // Moves (never resizes) by the XRectAlignment flags.
  void Align(const XRectT& r, UInt32 inFlags) {
    XRectT o = r;
    if (inFlags & kAlignTop)
      Offset(0, XRectMath::Sub(o.top, top));
    else if (inFlags & kAlignBottom)
      Offset(0, XRectMath::Sub(o.bottom, bottom));
    else if (inFlags & kAlignVCentre)
      CentreV(o);
    if (inFlags & kAlignLeft)
      Offset(XRectMath::Sub(o.left, left), 0);
    else if (inFlags & kAlignRight)
      Offset(XRectMath::Sub(o.right, right), 0);
    else if (inFlags & kAlignHCentre)
      CentreH(o);
  }

  // Snaps the sides outwards to multiples of the steps. The remainder
  // truncates, so a negative left or top moves up rather than down.
  void AlignByValue(C inXStep, C inYStep) {
    static_assert(std::is_integral_v<C>, "integer rectangles only");
    left -= left % inXStep;
    top -= top % inYStep;
    C r = right % inXStep;
    if (r != 0) right += inXStep - r;
    r = bottom % inYStep;
    if (r != 0) bottom += inYStep - r;
    XRectMath::Order(left, right);
    XRectMath::Order(top, bottom);
  }

  void Inset(C inLeft, C inTop, C inRight, C inBottom) {
    SetLeft(XRectMath::Add(left, inLeft));
    SetTop(XRectMath::Add(top, inTop));
    SetRight(XRectMath::Sub(right, inRight));
    SetBottom(XRectMath::Sub(bottom, inBottom));
  }

  // Mirrors about the axis.
  void InvertX() {
    C l = XRectMath::Sub(static_cast<C>(0), right), r = XRectMath::Sub(static_cast<C>(0), left);
    left = l;
    right = r;
    XRectMath::Order(left, right);
  }
  void InvertY() {
    C t = XRectMath::Sub(static_cast<C>(0), bottom), b = XRectMath::Sub(static_cast<C>(0), top);
    top = t;
    bottom = b;
    XRectMath::Order(top, bottom);
  }

  // Row-major index of a point within the rectangle, and back.
  A GetLinearPos(const Point& p) const {
    return static_cast<A>(GetWidth()) * static_cast<A>(XRectMath::Sub(p.y, top)) +
           static_cast<A>(XRectMath::Sub(p.x, left));
  }
  Point GetPointFromLinearPos(A inPos) const {
    A w = static_cast<A>(GetWidth());
    if constexpr (std::is_integral_v<A>) {
      return Point(XRectMath::Add(left, static_cast<C>(inPos % w)),
                   XRectMath::Add(top, static_cast<C>(inPos / w)));
    } else {
      A row = std::floor(inPos / w);
      return Point(left + static_cast<C>(inPos - row * w), top + static_cast<C>(row));
    }
  }

  bool IsSameSizeAs(const XRectT& r) const {
    return GetWidth() == r.GetWidth() && GetHeight() == r.GetHeight();
  }
  // Compares height / width in the area type: for integers a truncated
  // quotient, so quite different shapes can compare equal, and a zero width
  // divides by zero.
  bool IsSameShapeAs(const XRectT& r) const {
    return static_cast<A>(GetHeight()) / static_cast<A>(GetWidth()) ==
           static_cast<A>(r.GetHeight()) / static_cast<A>(r.GetWidth());
  }

  A GetPerimeter() const {
    return static_cast<A>(2) * (static_cast<A>(GetWidth()) + static_cast<A>(GetHeight()));
  }
  A GetArea() const { return static_cast<A>(GetWidth()) * static_cast<A>(GetHeight()); }

  bool operator==(const XRectT& r) const {
    return left == r.left && top == r.top && right == r.right && bottom == r.bottom;
  }
  bool operator!=(const XRectT& r) const { return !(*this == r); }
  bool IsEqual(const XRectT& r) const { return *this == r; }

 private:
  static C CentreOf(C inLow, C inHigh) {
    if constexpr (std::is_integral_v<C>) {
      using U = std::make_unsigned_t<C>;
      return XRectMath::Add(inLow, static_cast<C>(XRectMath::Extent<U>(inLow, inHigh) / 2));
    } else {
      return inLow + (inHigh - inLow) * 0.5f;
    }
  }
  void RepairAxes() {
    XRectMath::Repair(left, right);
    XRectMath::Repair(top, bottom);
  }
};

using XRectBase = XRectT<SInt32, UInt32, UInt64>;
using XRectFBase = XRectT<Float32, Float32, Float32>;

class MIRELAN_EXPORT XRect : public XStorable, public XRectBase {
 public:
  static constexpr UInt16 kClassID = 34;
  static const XRect sEmptyRect;

  XRect() = default;
  XRect(SInt32 inLeft, SInt32 inTop, SInt32 inRight, SInt32 inBottom)
      : XRectBase(inLeft, inTop, inRight, inBottom) {}
  XRect(const XRectBase& r) : XRectBase(r) {}  // NOLINT: results of the base's operators
  // The XY bounds of a box.
  explicit XRect(const X3DRect& inBox);
  explicit XRect(XStream& inStream);
  XRect(const XRect&) = default;
  XRect& operator=(const XRect&) = default;

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XRect* Clone() const override { return new XRect(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  // This class's layer: its tag, checked, then its fields.
  void ReadStream2_XRect(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;
};

class MIRELAN_EXPORT XRectF : public XStorable, public XRectFBase {
 public:
  static constexpr UInt16 kClassID = 50;
  static const XRectF kEmptyRect;
  // Left and top minus infinity, right and bottom plus infinity.
  static const XRectF kInfiniteRect;

  XRectF() = default;
  XRectF(Float32 inLeft, Float32 inTop, Float32 inRight, Float32 inBottom)
      : XRectFBase(inLeft, inTop, inRight, inBottom) {}
  XRectF(const XRectFBase& r) : XRectFBase(r) {}  // NOLINT
  explicit XRectF(XStream& inStream);
  XRectF(const XRectF&) = default;
  XRectF& operator=(const XRectF&) = default;

  // All four sides to the nearest integer, halves up: floor(c + 0.5).
  XRectF& Round();
  // To the largest integer rectangle inside.
  XRectF& RoundIn();
  // To the smallest integer rectangle around.
  XRectF& RoundOut();

  static XVersion GetClassVersion() { return XVersion(kClassID, 0); }
  static XVersion GetSuperClassVersion() { return XStorable::GetClassVersion(); }
  XVersion GetVersion() const override { return GetClassVersion(); }
  XRectF* Clone() const override { return new XRectF(*this); }
  UInt64 GetStreamUsage() const override;
  void ReadStream2(XStream& inStream, XOptions inOptions = kReadAll) override;
  void WriteStream2(XStream& inStream, XOptions inOptions = kReadAll) const override;
  void ReadStream2_XRectF(XStream& inStream, XOptions inOptions = kReadAll);
  void ReadStreamSelf(XStream& inStream);
  void WriteStreamSelf(XStream& inStream) const;
};

}  // namespace mirelan
