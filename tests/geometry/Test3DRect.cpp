#include <gtest/gtest.h>

#include "geometry/X3DRect.h"

namespace {

X3DRect RawBox(SInt32 l, SInt32 t, SInt32 f, SInt32 r, SInt32 b, SInt32 k) {
  X3DRect box;
  box.left = l;
  box.top = t;
  box.front = f;
  box.right = r;
  box.bottom = b;
  box.back = k;
  return box;
}

void ExpectBox(const X3DRect& box, SInt32 l, SInt32 t, SInt32 f, SInt32 r, SInt32 b, SInt32 k) {
  EXPECT_EQ(box.left, l);
  EXPECT_EQ(box.top, t);
  EXPECT_EQ(box.front, f);
  EXPECT_EQ(box.right, r);
  EXPECT_EQ(box.bottom, b);
  EXPECT_EQ(box.back, k);
}

}  // namespace

TEST(BoxConstruction, ConstructorSwapsInvertedAxes) {
  ExpectBox(X3DRect(5, 0, 0, 2, 3, 4), 2, 0, 0, 5, 3, 4);
  ExpectBox(X3DRect(0, 9, 7, 1, 2, 3), 0, 2, 3, 1, 9, 7);
  ExpectBox(X3DRect(4u, 5u, 6u), 0, 0, 0, 4, 5, 6);
  ExpectBox(X3DRect::sEmptyRect, 0, 0, 0, 0, 0, 0);
  X3DRect box;
  box.SetSize(1, 1, 1, 0, 0, 0);
  ExpectBox(box, 0, 0, 0, 1, 1, 1);
}

TEST(BoxConstruction, FromRectangles) {
  ExpectBox(X3DRect(XRect(1, 2, 3, 4), 9, 5), 1, 2, 5, 3, 4, 9);
  // The float rectangle's sides truncate towards zero.
  ExpectBox(X3DRect(XRectF(-0.5f, 1.9f, 3.9f, 4.1f), 0, 1), 0, 1, 0, 3, 4, 1);
}

TEST(BoxSect, DisjointAndInverted) {
  X3DRect box(0, 0, 0, 10, 10, 10);
  box.Sect(X3DRect(20, 0, 0, 30, 10, 10));
  ExpectBox(box, 20, 0, 0, 20, 10, 10);
  X3DRect z(0, 0, 0, 10, 10, 10);
  z &= X3DRect(0, 0, -8, 10, 10, -4);
  ExpectBox(z, 0, 0, -4, 10, 10, -4);
  X3DRect inverted = RawBox(0, 0, -3, 10, 10, -8);
  inverted.Sect(X3DRect(0, 0, -10, 10, 10, 10));
  ExpectBox(inverted, 0, 0, -5, 10, 10, -5);
}

TEST(BoxUnion, EmptyOperandCounts) {
  X3DRect box(0, 0, 0, 10, 10, 10);
  box.Union(X3DRect(100, 100, 100, 100, 100, 100));
  ExpectBox(box, 0, 0, 0, 100, 100, 100);
  X3DRect b(0, 0, 0, 1, 1, 1);
  b |= X3DRect(-1, 0, 5, 0, 1, 6);
  ExpectBox(b, -1, 0, 0, 1, 1, 6);
}

TEST(BoxGrow, NegativeGrowthRepairsToMiddle) {
  X3DRect box(0, 0, 0, 10, 10, 10);
  box.Grow(-6, 0, 0);
  ExpectBox(box, 5, 0, 0, 5, 10, 10);
  X3DRect s(0, 0, 0, 10, 10, 10);
  s.Shrink(1, 2, 7);
  ExpectBox(s, 1, 2, 5, 9, 8, 5);
  s.Offset(X3DPoint(1, 1, 1));
  ExpectBox(s, 2, 3, 6, 10, 9, 6);
}

TEST(BoxCentre, SignedTruncatingMiddle) {
  // Unlike the rectangle's unsigned halving: (-5 + 0) / 2 is -2 here, -3 there.
  X3DRect box(-5, -5, 1, 0, 0, 4);
  EXPECT_EQ(box.GetCentre(), X3DPoint(-2, -2, 2));
  EXPECT_EQ(XRect(-5, -5, 0, 0).GetCentre(), XPoint(-3, -3));
  X3DRect inverted = RawBox(10, 0, 0, 4, 2, 2);
  EXPECT_EQ(inverted.GetHCentre(), 7);
}

TEST(BoxCentreOn, AllAxesOrOne) {
  X3DRect box(0, 0, 0, 4, 5, 9);
  box.CentreOn(X3DRect(10, 20, 0, 20, 30, 4));
  ExpectBox(box, 13, 22, -2, 17, 27, 7);
  X3DRect z(0, 0, 0, 4, 4, 4);
  z.CentreZ(X3DRect(10, 10, 10, 20, 20, 20));
  ExpectBox(z, 0, 0, 13, 4, 4, 17);
}

TEST(BoxConstrain, PushInsideOrCentre) {
  X3DRect box(-3, 8, 100, 2, 13, 120);
  box.ConstrainWithin(X3DRect(0, 0, 0, 10, 10, 10));
  ExpectBox(box, 0, 5, -5, 5, 10, 15);
  X3DPoint p(10, -1, 5);
  X3DRect(0, 0, 0, 10, 10, 5).ConstrainPoint(p);
  EXPECT_EQ(p, X3DPoint(9, 0, 4));
}

TEST(BoxMap, RoundsEachSideWithFloor) {
  X3DRect box(10, -10, 0, 20, 15, 100);
  box.Map(X3DRect(0, 0, 0, 100, 100, 100), X3DRect(0, 0, 0, 30, 30, 10));
  // x: 3 and 6; y: floor(-3 + 0.5) = -3, floor(4.5 + 0.5) = 5; z: 0 and 10.
  ExpectBox(box, 3, -3, 0, 6, 5, 10);
  X3DRect moved(110, 0, 0, 120, 1, 1);
  moved.Map(X3DRect(100, 0, 0, 200, 1, 1), X3DRect(-50, 0, 0, -20, 1, 1));
  ExpectBox(moved, -47, 0, 0, -44, 1, 1);
}

TEST(BoxScale, ScaleByRoundsSize) {
  // The rectangle truncates 5.5 to 5; the box rounds it to 6.
  X3DRect box(0, 0, 0, 10, 10, 5);
  box.ScaleBy(0.55, 2.0, 1.0);
  ExpectBox(box, 2, -5, 0, 8, 15, 5);
}

TEST(BoxScale, ScaleToUsesTightestAxis) {
  X3DRect box(0, 0, 0, 10, 20, 5);
  box.ScaleTo(X3DRect(0, 0, 0, 100, 100, 100));
  ExpectBox(box, 25, 0, 37, 75, 100, 62);
  X3DRect thirds(0, 0, 0, 3, 3, 3);
  thirds.ScaleTo(X3DRect(0, 0, 0, 10, 100, 100));
  // s = 10 / 3; 3 * s truncates to 9 or 10 depending on rounding, both centred.
  EXPECT_EQ(thirds.GetWidth(), thirds.GetHeight());
  EXPECT_EQ(thirds.GetHeight(), thirds.GetDepth());
  EXPECT_TRUE(X3DRect(0, 0, 0, 10, 100, 100).Contains(thirds));
}

TEST(BoxLinearPos, XFastestThenYThenZ) {
  X3DRect box(10, 20, 30, 15, 24, 33);  // 5 x 4 x 3
  EXPECT_EQ(box.GetLinearPos(X3DPoint(12, 23, 31)), 20u + 15u + 2u);
  EXPECT_EQ(box.GetPointFromLinearPos(37), X3DPoint(12, 23, 31));
  EXPECT_EQ(box.GetPointFromLinearPos(59), X3DPoint(14, 23, 32));
}

TEST(BoxShape, SizeShapeAndVolume) {
  EXPECT_TRUE(X3DRect(0, 0, 0, 3, 4, 3).IsSameShapeAs(X3DRect(0, 0, 0, 4, 7, 4)));
  EXPECT_FALSE(X3DRect(0, 0, 0, 3, 4, 3).IsSameShapeAs(X3DRect(0, 0, 0, 4, 7, 8)));
  EXPECT_TRUE(X3DRect(0, 0, 0, 3, 4, 5).IsSameSizeAs(X3DRect(1, 1, 1, 4, 5, 6)));
  EXPECT_FALSE(X3DRect(0, 0, 0, 3, 4, 5).IsSameSizeAs(X3DRect(0, 0, 0, 3, 4, 6)));
  EXPECT_EQ(X3DRect(2000u, 2000u, 2000u).GetVolume(), 8000000000ull);
}

TEST(BoxPlanes, SlicesAndProjections) {
  X3DRect box(1, 2, 3, 4, 5, 6);
  ExpectBox(box.GetXYPlane(4), 1, 2, 4, 4, 5, 5);
  ExpectBox(box.GetXZPlane(3), 1, 3, 3, 4, 4, 6);
  ExpectBox(box.GetYZPlane(2), 2, 2, 3, 3, 5, 6);
  EXPECT_EQ(box.GetXYBounds(), XRect(1, 2, 4, 5));
  EXPECT_EQ(box.GetXZBounds(), XRect(1, 3, 4, 6));
  EXPECT_EQ(box.GetYZBounds(), XRect(3, 2, 6, 5));
}
