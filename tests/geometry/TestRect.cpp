#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <string>
#include <tuple>
#include <vector>

#include "geometry/X3DRect.h"
#include "geometry/XRect.h"

using namespace mirelan;

namespace {

// Rectangles and boxes with their fields set as given, inverted or not.
XRect Raw(SInt32 l, SInt32 t, SInt32 r, SInt32 b) {
  XRect rect;
  std::tie(rect.left, rect.top, rect.right, rect.bottom) = std::tie(l, t, r, b);
  return rect;
}
X3DRect Raw(SInt32 l, SInt32 t, SInt32 f, SInt32 r, SInt32 b, SInt32 k) {
  X3DRect box;
  std::tie(box.left, box.top, box.front, box.right, box.bottom, box.back) =
      std::tie(l, t, f, r, b, k);
  return box;
}

std::array<SInt32, 4> Sides(const XRectBase& r) { return {r.left, r.top, r.right, r.bottom}; }
std::array<SInt32, 6> Sides(const X3DRect& b) {
  return {b.left, b.top, b.front, b.right, b.bottom, b.back};
}

// Each case: a start, an operation on it and the sides expected after it.
template <class T>
struct Case {
  T start;
  std::function<void(T&)> op;
  T want;
};

template <class T>
void CheckCases(const std::vector<Case<T>>& inCases) {
  for (size_t i = 0; i < inCases.size(); ++i) {
    SCOPED_TRACE("case " + std::to_string(i));
    T r = inCases[i].start;
    inCases[i].op(r);
    EXPECT_EQ(Sides(r), Sides(inCases[i].want));
  }
}

const XRect kTen(0, 0, 10, 10);
const X3DRect kBox(0, 0, 0, 10, 10, 10);
void Keep(X3DRect&) {}

}  // namespace

TEST(RectEdit, ConstructorSettersAndInsetKeepAxesOrdered) {
  CheckCases<XRect>({
      {XRect(10, 20, 0, 5), [](XRect&) {}, Raw(0, 5, 10, 20)},
      {XRect(), [](XRect& r) { r.SetSize(3, 9, 1, 2); }, Raw(1, 2, 3, 9)},
      {kTen, [](XRect& r) { r.SetLeft(15); }, Raw(15, 0, 15, 10)},
      {kTen, [](XRect& r) { r.SetRight(-3); }, Raw(-3, 0, -3, 10)},
      {kTen, [](XRect& r) { r.SetTop(12); }, Raw(0, 12, 10, 12)},
      {XRect(0, 12, 10, 12), [](XRect& r) { r.SetBottom(4); }, Raw(0, 4, 10, 4)},
      // A width beyond the signed range wraps the right side; the left follows it.
      {XRect(0, 0, 10, 20), [](XRect& r) { r.SetWidth(0x80000000u); },
       Raw(INT32_MIN, 0, INT32_MIN, 20)},
      {kTen, [](XRect& r) { r.Inset(2, 3, 4, 5); }, Raw(2, 3, 6, 5)},
      {kTen, [](XRect& r) { r.Inset(8, 0, 4, 0); }, Raw(6, 0, 6, 10)},
  });
}

TEST(RectSectUnion, DisjointInvertedAndEmptyOperands) {
  CheckCases<XRect>({
      // Disjoint: an empty rectangle on the near edge of the other.
      {kTen, [](XRect& r) { r.Sect(XRect(20, 0, 30, 10)); }, Raw(20, 0, 20, 10)},
      {XRect(0, 50, 10, 60), [](XRect& r) { r &= kTen; }, Raw(0, 10, 10, 10)},
      // An inverted axis collapses to (low + high) / 2, truncated: -5, not -6.
      {Raw(8, 0, 2, 10), [](XRect& r) { r.Sect(kTen); }, Raw(5, 0, 5, 10)},
      {Raw(-3, 0, -8, 10), [](XRect& r) { r.Sect(XRect(-10, 0, 10, 10)); }, Raw(-5, 0, -5, 10)},
      {Raw(8, 0, 2, 10), [](XRect& r) { r.Sect(kTen, false); }, Raw(8, 0, 2, 10)},
      // An empty operand still stretches a union.
      {kTen, [](XRect& r) { r.Union(XRect(100, 100, 100, 100)); }, Raw(0, 0, 100, 100)},
      {XRect(100, 100, 100, 100), [](XRect& r) { r |= kTen; }, Raw(0, 0, 100, 100)},
      {XRect(5, 5, 6, 6), [](XRect& r) { r += XRect(-1, 2, 3, 4); }, Raw(-1, 2, 6, 6)},
  });
}

TEST(RectResize, NegativeGrowthRepairsToMiddleAndScalingTruncates) {
  const XRect square(0, 0, 100, 100);
  CheckCases<XRect>({
      {kTen, [](XRect& r) { r.Grow(-6, 0); }, Raw(5, 0, 5, 10)},
      {kTen, [](XRect& r) { r.Grow(-6, 0, false); }, Raw(6, 0, 4, 10)},
      {kTen, [](XRect& r) { r.Shrink(6, 1); }, Raw(5, 1, 5, 9)},
      {kTen, [](XRect& r) { r.Grow(2, 3); }, Raw(-2, -3, 12, 13)},
      {kTen, [](XRect& r) { r.Offset(XPoint(2, -3)); }, Raw(2, -3, 12, 7)},
      // ScaleBy truncates the size and keeps the centre; ScaleTo fits the proportions inside.
      {kTen, [](XRect& r) { r.ScaleBy(0.55, 1.0); }, Raw(2, 0, 7, 10)},
      {XRect(0, 0, 5, 10), [](XRect& r) { r.ScaleBy(2.0, 2.0); }, Raw(-2, -5, 8, 15)},
      {XRect(0, 0, 20, 10), [&](XRect& r) { r.ScaleTo(square); }, Raw(0, 25, 100, 75)},
      {XRect(0, 0, 10, 20), [&](XRect& r) { r.ScaleTo(square); }, Raw(25, 0, 75, 100)},
      {XRect(5, 5, 8, 6), [&](XRect& r) { r.ScaleTo(square); }, Raw(0, 33, 100, 66)},  // 100 / 3
  });
}

TEST(RectPlacement, CentreConstrainAndAlign) {
  const XRect other(0, 0, 100, 100), tall(10, 10, 20, 30);
  const UInt32 allSides = kAlignTop | kAlignBottom | kAlignLeft | kAlignRight;
  const UInt32 farOrCentre = kAlignBottom | kAlignVCentre | kAlignRight | kAlignHCentre;
  CheckCases<XRect>({
      {XRect(0, 0, 4, 5), [](XRect& r) { r.CentreOn(XRect(10, 20, 20, 30)); }, Raw(13, 22, 17, 27)},
      // The shift (4 - 9) / 2 truncates to -2, not -3.
      {XRect(50, 50, 59, 51), [](XRect& r) { r.CentreOn(XRect(0, 0, 4, 1)); }, Raw(-2, 0, 7, 1)},
      {XRect(0, 0, 4, 4), [](XRect& r) { r.CentreH(XRect(10, 10, 20, 20)); }, Raw(13, 0, 17, 4)},
      {XRect(0, 0, 4, 4), [](XRect& r) { r.CentreV(XRect(10, 10, 20, 20)); }, Raw(0, 13, 4, 17)},
      {XRect(0, 0, 5, 4), [](XRect& r) { r.CentreOn(XPoint(10, -10)); }, Raw(8, -12, 13, -8)},
      // A shorter rectangle is pushed inside, a longer one centred on the other.
      {XRect(-3, 8, 2, 13), [](XRect& r) { r.ConstrainWithin(kTen); }, Raw(0, 5, 5, 10)},
      {XRect(100, 0, 120, 10), [](XRect& r) { r.ConstrainWithin(kTen); }, Raw(-5, 0, 15, 10)},
      {XRect(100, 100, 113, 105), [](XRect& r) { r.ConstrainWithin(kTen); }, Raw(-1, 5, 12, 10)},
      // One rule per axis: top, else bottom, else centre; left, else right, else centre.
      {tall, [&](XRect& r) { r.Align(other, allSides); }, Raw(0, 0, 10, 20)},
      {tall, [&](XRect& r) { r.Align(other, farOrCentre); }, Raw(90, 80, 100, 100)},
      {tall, [&](XRect& r) { r.Align(other, kAlignVCentre | kAlignHCentre); }, Raw(45, 40, 55, 60)},
      {tall, [&](XRect& r) { r.Align(other, 0); }, Raw(10, 10, 20, 30)},
      // Snaps outwards; -5 % 4 is -1, so the left side moves up to -4.
      {XRect(5, 6, 13, 12), [](XRect& r) { r.AlignByValue(4, 4); }, Raw(4, 4, 16, 12)},
      {XRect(-5, -6, 3, 3), [](XRect& r) { r.AlignByValue(4, 4); }, Raw(-4, -4, 4, 4)},
  });
  XPoint p(-3, 7);
  XRect(0, 0, 10, 5).ConstrainPoint(p);
  EXPECT_EQ(p, XPoint(0, 4));
  XPointF f(9.5f, -1.0f);
  XRectF(0, 0, 10, 5).ConstrainPoint(f);
  EXPECT_EQ(f, XPointF(9.0f, 0.0f));
}

TEST(RectQueries, EmptinessAndContainment) {
  EXPECT_TRUE(XRect(5, 0, 5, 10).IsEmpty());
  EXPECT_TRUE(XRect(0, 3, 10, 3).IsEmptyOrInsideOut());
  EXPECT_FALSE(Raw(10, 0, 5, 10).IsEmpty());  // inverted is only seen by the inside-out test
  EXPECT_TRUE(Raw(10, 0, 5, 10).IsEmptyOrInsideOut());
  EXPECT_FALSE(XRect(0, 0, 1, 1).IsEmptyOrInsideOut());

  // Points are half-open; a float point is truncated first (-0.5 becomes 0).
  EXPECT_TRUE(kTen.Contains(0, 0) && kTen.Contains(XPoint(9, 9)));
  EXPECT_FALSE(kTen.Contains(10, 5) || kTen.Contains(5, 10) || kTen.Contains(XPoint(-1, 0)));
  EXPECT_TRUE(kTen.Contains(XPointF(9.9f, 9.9f)) && kTen.Contains(XPointF(-0.5f, 0.0f)));
  EXPECT_FALSE(kTen.Contains(XPointF(-1.0f, 0.0f)));
  // Rectangles are closed.
  EXPECT_TRUE(kTen.Contains(kTen) && kTen.Contains(XRect(10, 10, 10, 10)));
  EXPECT_FALSE(kTen.Contains(XRect(0, 0, 11, 10)));
  EXPECT_TRUE(XRectF::kInfiniteRect.Contains(XRectF(-1e38f, -1e38f, 1e38f, 1e38f)));
}

TEST(RectQueries, CentreHalvesTheSizeUnsigned) {
  EXPECT_EQ(XRect(1, -5, 4, 0).GetCentre(), XPoint(2, -3));
  // An inverted axis has a huge unsigned width: 10 + 0xFFFFFFFA / 2 wraps.
  XRect inverted = Raw(10, 0, 4, 2);
  EXPECT_EQ(inverted.GetHCentre(), static_cast<SInt32>(10u + 0x7FFFFFFDu));
  EXPECT_EQ(inverted.GetVCentre(), 1);
  EXPECT_EQ(XRectF(1.0f, -2.0f, 4.0f, 3.0f).GetCentre(), XPointF(2.5f, 0.5f));
}

TEST(RectQueries, MapPointLinearPosShapeAndMeasures) {
  XRect from(0, 0, 100, 100);
  EXPECT_EQ(XRect::MapPoint(XPoint(55, 55), from, XRect(20, 0, 40, 10)), XPoint(31, 5));
  // Integers compute unsigned: (10 * 0xFFFFFFF6 mod 2^32) / 100.
  EXPECT_EQ(XRect::MapPoint(XPoint(-10, 0), from, kTen).x, 42949671);
  EXPECT_EQ(XRectF::MapPoint(XPointF(50, 25), XRectF(0, 0, 100, 100), XRectF(0, 0, 1, 1)),
            XPointF(0.5f, 0.25f));

  XRect r(10, 20, 15, 30);
  EXPECT_EQ(r.GetLinearPos(XPoint(12, 23)), 17u);
  EXPECT_EQ(r.GetPointFromLinearPos(49), XPoint(14, 29));

  // Same shape compares integer quotients: 4 / 3 and 7 / 4 are both 1.
  EXPECT_TRUE(XRect(0, 0, 3, 4).IsSameShapeAs(XRect(0, 0, 4, 7)));
  EXPECT_FALSE(XRect(0, 0, 3, 4).IsSameShapeAs(XRect(0, 0, 4, 9)));
  EXPECT_TRUE(XRect(0, 0, 3, 4).IsSameSizeAs(XRect(7, 7, 10, 11)));
  EXPECT_FALSE(XRect(0, 0, 3, 4).IsSameSizeAs(XRect(0, 0, 4, 3)));

  XRect huge(-2000000000, -2000000000, 2000000000, 2000000000);
  EXPECT_EQ(huge.GetPerimeter(), 16000000000ull);
  EXPECT_EQ(huge.GetArea(), 16000000000000000000ull);
}

TEST(RectFloat, RoundingModes) {
  XRectF r(0.5f, -0.5f, 2.5f, 1.5f), in(0.2f, 0.2f, 2.8f, 2.8f), out = in;
  r.Round();
  in.RoundIn();
  out.RoundOut();
  EXPECT_EQ(r, XRectF(1.0f, 0.0f, 3.0f, 2.0f));
  EXPECT_EQ(in, XRectF(1.0f, 1.0f, 2.0f, 2.0f));
  EXPECT_EQ(out, XRectF(0.0f, 0.0f, 3.0f, 3.0f));
}

TEST(BoxEdit, ConstructSectUnionGrowPlaceMapAndScale) {
  CheckCases<X3DRect>({
      // Construction swaps inverted axes into order.
      {X3DRect(5, 0, 0, 2, 3, 4), Keep, Raw(2, 0, 0, 5, 3, 4)},
      {X3DRect(0, 9, 7, 1, 2, 3), Keep, Raw(0, 2, 3, 1, 9, 7)},
      {X3DRect(4u, 5u, 6u), Keep, Raw(0, 0, 0, 4, 5, 6)},
      {X3DRect(), [](X3DRect& b) { b.SetSize(1, 1, 1, 0, 0, 0); }, Raw(0, 0, 0, 1, 1, 1)},
      {X3DRect(XRect(1, 2, 3, 4), 9, 5), Keep, Raw(1, 2, 5, 3, 4, 9)},
      // The float rectangle's sides truncate towards zero.
      {X3DRect(XRectF(-0.5f, 1.9f, 3.9f, 4.1f), 0, 1), Keep, Raw(0, 1, 0, 3, 4, 1)},
      {kBox, [](X3DRect& b) { b.Sect(X3DRect(20, 0, 0, 30, 10, 10)); }, Raw(20, 0, 0, 20, 10, 10)},
      {kBox, [](X3DRect& b) { b &= X3DRect(0, 0, -8, 10, 10, -4); }, Raw(0, 0, -4, 10, 10, -4)},
      {Raw(0, 0, -3, 10, 10, -8), [](X3DRect& b) { b.Sect(X3DRect(0, 0, -10, 10, 10, 10)); },
       Raw(0, 0, -5, 10, 10, -5)},
      // An empty operand still stretches a union.
      {kBox, [](X3DRect& b) { b.Union(X3DRect(100, 100, 100, 100, 100, 100)); },
       Raw(0, 0, 0, 100, 100, 100)},
      {X3DRect(0, 0, 0, 1, 1, 1), [](X3DRect& b) { b |= X3DRect(-1, 0, 5, 0, 1, 6); },
       Raw(-1, 0, 0, 1, 1, 6)},
      {kBox, [](X3DRect& b) { b.Grow(-6, 0, 0); }, Raw(5, 0, 0, 5, 10, 10)},
      {kBox, [](X3DRect& b) { b.Shrink(1, 2, 7); }, Raw(1, 2, 5, 9, 8, 5)},
      {X3DRect(0, 0, 0, 4, 5, 9), [](X3DRect& b) { b.CentreOn(X3DRect(10, 20, 0, 20, 30, 4)); },
       Raw(13, 22, -2, 17, 27, 7)},
      {X3DRect(0, 0, 0, 4, 4, 4), [](X3DRect& b) { b.CentreZ(X3DRect(9, 9, 9, 20, 20, 20)); },
       Raw(0, 0, 12, 4, 4, 16)},
      {X3DRect(-3, 8, 100, 2, 13, 120), [](X3DRect& b) { b.ConstrainWithin(kBox); },
       Raw(0, 5, -5, 5, 10, 15)},
      // y: floor(-3 + 0.5) = -3 and floor(4.5 + 0.5) = 5.
      {X3DRect(10, -10, 0, 20, 15, 100),
       [](X3DRect& b) { b.Map(X3DRect(0, 0, 0, 100, 100, 100), X3DRect(0, 0, 0, 30, 30, 10)); },
       Raw(3, -3, 0, 6, 5, 10)},
      {X3DRect(110, 0, 0, 120, 1, 1),
       [](X3DRect& b) { b.Map(X3DRect(100, 0, 0, 200, 1, 1), X3DRect(-50, 0, 0, -20, 1, 1)); },
       Raw(-47, 0, 0, -44, 1, 1)},
      // The rectangle truncates 5.5 to 5; the box rounds it to 6.
      {X3DRect(0, 0, 0, 10, 10, 5), [](X3DRect& b) { b.ScaleBy(0.55, 2.0, 1.0); },
       Raw(2, -5, 0, 8, 15, 5)},
      {X3DRect(0, 0, 0, 10, 20, 5), [](X3DRect& b) { b.ScaleTo(X3DRect(0, 0, 0, 100, 100, 100)); },
       Raw(25, 0, 37, 75, 100, 62)},
  });
  // 3 * (10 / 3) may round either way, but the same on every axis.
  X3DRect thirds(0, 0, 0, 3, 3, 3);
  thirds.ScaleTo(X3DRect(0, 0, 0, 10, 100, 100));
  EXPECT_TRUE(thirds.GetWidth() == thirds.GetHeight() && thirds.GetHeight() == thirds.GetDepth());
  EXPECT_TRUE(X3DRect(0, 0, 0, 10, 100, 100).Contains(thirds));
  X3DPoint p(10, -1, 5);
  X3DRect(0, 0, 0, 10, 10, 5).ConstrainPoint(p);
  EXPECT_EQ(p, X3DPoint(9, 0, 4));
}

TEST(BoxQueries, CentreLinearPosShapeAndPlanes) {
  // Signed truncating middle, unlike the rectangle's unsigned halving: (-5 + 0) / 2 is -2.
  EXPECT_EQ(X3DRect(-5, -5, 1, 0, 0, 4).GetCentre(), X3DPoint(-2, -2, 2));
  EXPECT_EQ(Raw(10, 0, 0, 4, 2, 2).GetHCentre(), 7);

  X3DRect box(10, 20, 30, 15, 24, 33);  // 5 x 4 x 3, x fastest
  EXPECT_EQ(box.GetLinearPos(X3DPoint(12, 23, 31)), 37u);
  EXPECT_EQ(box.GetPointFromLinearPos(37), X3DPoint(12, 23, 31));
  EXPECT_EQ(box.GetPointFromLinearPos(59), X3DPoint(14, 23, 32));

  EXPECT_TRUE(X3DRect(0, 0, 0, 3, 4, 3).IsSameShapeAs(X3DRect(0, 0, 0, 4, 7, 4)));
  EXPECT_FALSE(X3DRect(0, 0, 0, 3, 4, 3).IsSameShapeAs(X3DRect(0, 0, 0, 4, 7, 8)));
  EXPECT_TRUE(X3DRect(0, 0, 0, 3, 4, 5).IsSameSizeAs(X3DRect(1, 1, 1, 4, 5, 6)));
  EXPECT_FALSE(X3DRect(0, 0, 0, 3, 4, 5).IsSameSizeAs(X3DRect(0, 0, 0, 3, 4, 6)));
  EXPECT_EQ(X3DRect(2000u, 2000u, 2000u).GetVolume(), 8000000000ull);

  X3DRect planes(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(Sides(planes.GetXYPlane(4)), Sides(Raw(1, 2, 4, 4, 5, 5)));
  EXPECT_EQ(Sides(planes.GetXZPlane(3)), Sides(Raw(1, 3, 3, 4, 4, 6)));
  EXPECT_EQ(Sides(planes.GetYZPlane(2)), Sides(Raw(2, 2, 3, 3, 5, 6)));
  EXPECT_EQ(planes.GetXZBounds(), XRect(1, 3, 4, 6));
  EXPECT_EQ(planes.GetYZBounds(), XRect(3, 2, 6, 5));
}
