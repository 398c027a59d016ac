#include <gtest/gtest.h>

#include <cmath>

#include "geometry/X3DRect.h"
#include "geometry/XRect.h"

namespace {

// A rectangle with its fields set as given, inverted or not.
XRect RawRect(SInt32 l, SInt32 t, SInt32 r, SInt32 b) {
  XRect rect;
  rect.left = l;
  rect.top = t;
  rect.right = r;
  rect.bottom = b;
  return rect;
}

void ExpectRect(const XRectBase& r, SInt32 l, SInt32 t, SInt32 rt, SInt32 b) {
  EXPECT_EQ(r.left, l);
  EXPECT_EQ(r.top, t);
  EXPECT_EQ(r.right, rt);
  EXPECT_EQ(r.bottom, b);
}

}  // namespace

TEST(RectConstruction, AxesAreOrdered) {
  ExpectRect(XRect(10, 20, 0, 5), 0, 5, 10, 20);
  XRect r;
  r.SetSize(3, 9, 1, 2);
  ExpectRect(r, 1, 2, 3, 9);
}

TEST(RectSetters, WidthBeyondRangeWrapsAndLeftFollows) {
  XRect r(0, 0, 10, 20);
  r.SetWidth(0x80000000u);
  EXPECT_EQ(r.right, static_cast<SInt32>(0x80000000u));
  EXPECT_EQ(r.left, r.right);
}

TEST(RectFloat, InfiniteRectContainsEverything) {
  EXPECT_TRUE(XRectF::kInfiniteRect.Contains(XPointF(-1e30f, 1e30f)));
  EXPECT_TRUE(XRectF::kInfiniteRect.Contains(XRectF(-1e38f, -1e38f, 1e38f, 1e38f)));
}

TEST(RectEmptiness, InvertedIsOnlySeenByInsideOutTest) {
  EXPECT_TRUE(XRect(5, 0, 5, 10).IsEmpty());
  EXPECT_TRUE(XRect(0, 3, 10, 3).IsEmptyOrInsideOut());
  XRect inverted = RawRect(10, 0, 5, 10);
  EXPECT_FALSE(inverted.IsEmpty());
  EXPECT_TRUE(inverted.IsEmptyOrInsideOut());
  EXPECT_FALSE(XRect(0, 0, 1, 1).IsEmptyOrInsideOut());
}

TEST(RectContains, PointsAreHalfOpen) {
  XRect r(0, 0, 10, 10);
  EXPECT_TRUE(r.Contains(0, 0));
  EXPECT_TRUE(r.Contains(XPoint(9, 9)));
  EXPECT_FALSE(r.Contains(10, 5));
  EXPECT_FALSE(r.Contains(5, 10));
  EXPECT_FALSE(r.Contains(XPoint(-1, 0)));
}

TEST(RectContains, FloatPointIsTruncatedFirst) {
  XRect r(0, 0, 10, 10);
  EXPECT_TRUE(r.Contains(XPointF(9.9f, 9.9f)));
  // -0.5 truncates to 0, which is inside.
  EXPECT_TRUE(r.Contains(XPointF(-0.5f, 0.0f)));
  EXPECT_FALSE(r.Contains(XPointF(-1.0f, 0.0f)));
}

TEST(RectContains, RectanglesAreClosed) {
  XRect r(0, 0, 10, 10);
  EXPECT_TRUE(r.Contains(r));
  EXPECT_TRUE(r.Contains(XRect(10, 10, 10, 10)));
  EXPECT_FALSE(r.Contains(XRect(0, 0, 11, 10)));
  XRectF f(0.5f, 0.5f, 2.5f, 2.5f);
  EXPECT_TRUE(f.Contains(f));
  EXPECT_FALSE(f.Contains(XRectF(0.4f, 0.5f, 2.5f, 2.5f)));
}

TEST(RectSetters, KeepAxisOrderedAgainstExistingValue) {
  XRect r(0, 0, 10, 10);
  r.SetLeft(15);
  ExpectRect(r, 15, 0, 15, 10);
  r.SetRight(-3);
  ExpectRect(r, -3, 0, -3, 10);
  r.SetTop(12);
  ExpectRect(r, -3, 12, -3, 12);
  r.SetBottom(4);
  ExpectRect(r, -3, 4, -3, 4);
}

TEST(RectSect, DisjointGivesEmptyRectOnNearEdge) {
  XRect r(0, 0, 10, 10);
  r.Sect(XRect(20, 0, 30, 10));
  ExpectRect(r, 20, 0, 20, 10);
  XRect below(0, 50, 10, 60);
  below &= XRect(0, 0, 10, 10);
  ExpectRect(below, 0, 10, 10, 10);
}

TEST(RectSect, InvertedAxisCollapsesToTruncatedMiddleUnlessRepairIsOff) {
  XRect r = RawRect(8, 0, 2, 10);
  r.Sect(XRect(0, 0, 10, 10));
  ExpectRect(r, 5, 0, 5, 10);

  XRect n = RawRect(-3, 0, -8, 10);
  n.Sect(XRect(-10, 0, 10, 10));
  // (-3 + -8) / 2 truncates to -5, not -6.
  ExpectRect(n, -5, 0, -5, 10);

  XRect kept = RawRect(8, 0, 2, 10);
  kept.Sect(XRect(0, 0, 10, 10), false);
  ExpectRect(kept, 8, 0, 2, 10);
}

TEST(RectUnion, EmptyOperandStillStretchesTheResult) {
  XRect r(0, 0, 10, 10);
  r.Union(XRect(100, 100, 100, 100));
  ExpectRect(r, 0, 0, 100, 100);
  XRect a(100, 100, 100, 100);
  a |= XRect(0, 0, 10, 10);
  ExpectRect(a, 0, 0, 100, 100);
  XRect b(5, 5, 6, 6);
  b += XRect(-1, 2, 3, 4);
  ExpectRect(b, -1, 2, 6, 6);
}

TEST(RectGrow, NegativeGrowthRepairsToMiddle) {
  XRect r(0, 0, 10, 10);
  r.Grow(-6, 0);
  ExpectRect(r, 5, 0, 5, 10);
  XRect unrepaired(0, 0, 10, 10);
  unrepaired.Grow(-6, 0, false);
  ExpectRect(unrepaired, 6, 0, 4, 10);
  XRect s(0, 0, 10, 10);
  s.Shrink(6, 1);
  ExpectRect(s, 5, 1, 5, 9);
  XRect g(0, 0, 10, 10);
  g.Grow(2, 3);
  ExpectRect(g, -2, -3, 12, 13);
  g.Offset(XPoint(2, 3));
  ExpectRect(g, 0, 0, 14, 16);
}

TEST(RectCentre, IntegerHalvesTheSizeUnsigned) {
  EXPECT_EQ(XRect(0, 0, 10, 10).GetCentre(), XPoint(5, 5));
  EXPECT_EQ(XRect(1, -5, 4, 0).GetCentre(), XPoint(2, -3));
  // An inverted axis has a huge unsigned width: 10 + 0xFFFFFFFA / 2 wraps.
  XRect inverted = RawRect(10, 0, 4, 2);
  EXPECT_EQ(inverted.GetHCentre(), static_cast<SInt32>(10u + 0x7FFFFFFDu));
  EXPECT_EQ(inverted.GetVCentre(), 1);
}

TEST(RectCentre, FloatUsesHalfWidth) {
  XRectF f(1.0f, -2.0f, 4.0f, 3.0f);
  EXPECT_EQ(f.GetCentre(), XPointF(2.5f, 0.5f));
}

TEST(RectCentreOn, ShiftByHalfSizeDifferenceTruncatingTowardsZero) {
  XRect r(0, 0, 4, 5);
  r.CentreOn(XRect(10, 20, 20, 30));
  ExpectRect(r, 13, 22, 17, 27);
  // (4 - 9) / 2 is -2, not -3.
  XRect wide(50, 50, 59, 51);
  wide.CentreOn(XRect(0, 0, 4, 1));
  ExpectRect(wide, -2, 0, 7, 1);
  XRect h(0, 0, 4, 4);
  h.CentreH(XRect(10, 10, 20, 20));
  ExpectRect(h, 13, 0, 17, 4);
  XRect v(0, 0, 4, 4);
  v.CentreV(XRect(10, 10, 20, 20));
  ExpectRect(v, 0, 13, 4, 17);
}

TEST(RectCentreOn, PointKeepsSize) {
  XRect r(0, 0, 5, 4);
  r.CentreOn(XPoint(10, -10));
  ExpectRect(r, 8, -12, 13, -8);
}

TEST(RectConstrain, ShorterRectIsPushedInside) {
  XRect r(-3, 8, 2, 13);
  r.ConstrainWithin(XRect(0, 0, 10, 10));
  ExpectRect(r, 0, 5, 5, 10);
}

TEST(RectConstrain, LongerRectIsCentredOnTheOther) {
  XRect r(100, 0, 120, 10);
  r.ConstrainWithin(XRect(0, 0, 10, 10));
  ExpectRect(r, -5, 0, 15, 10);
  XRect odd(100, 100, 113, 105);
  odd.ConstrainWithin(XRect(0, 0, 10, 10));
  ExpectRect(odd, -1, 5, 12, 10);
}

TEST(RectConstrain, PointToLastCellAlsoForFloat) {
  XPoint p(-3, 7);
  XRect(0, 0, 10, 5).ConstrainPoint(p);
  EXPECT_EQ(p, XPoint(0, 4));
  XPointF f(9.5f, -1.0f);
  XRectF(0, 0, 10, 5).ConstrainPoint(f);
  EXPECT_EQ(f, XPointF(9.0f, 0.0f));
}

TEST(RectMapPoint, ScalesBetweenFrames) {
  XRect from(0, 0, 100, 100), to(20, 0, 40, 10);
  EXPECT_EQ(XRect::MapPoint(XPoint(55, 55), from, to), XPoint(31, 5));
  XPointF m = XRectF::MapPoint(XPointF(50, 25), XRectF(0, 0, 100, 100), XRectF(0, 0, 1, 1));
  EXPECT_EQ(m, XPointF(0.5f, 0.25f));
}

TEST(RectMapPoint, IntegerFormComputesUnsigned) {
  XRect from(0, 0, 100, 100), to(0, 0, 10, 10);
  // (10 * 0xFFFFFFF6 mod 2^32) / 100 = 4294967196 / 100.
  EXPECT_EQ(XRect::MapPoint(XPoint(-10, 0), from, to).x, 42949671);
}

TEST(RectScale, ScaleByTruncatesSizeAndKeepsCentre) {
  XRect r(0, 0, 10, 10);
  r.ScaleBy(0.55, 1.0);
  ExpectRect(r, 2, 0, 7, 10);
  XRect g(0, 0, 5, 10);
  g.ScaleBy(2.0, 2.0);
  ExpectRect(g, -2, -5, 8, 15);
}

TEST(RectScale, ScaleToFitsAspectIntoOther) {
  XRect landscape(0, 0, 20, 10);
  landscape.ScaleTo(XRect(0, 0, 100, 100));
  ExpectRect(landscape, 0, 25, 100, 75);
  XRect portrait(0, 0, 10, 20);
  portrait.ScaleTo(XRect(0, 0, 100, 100));
  ExpectRect(portrait, 25, 0, 75, 100);
  // 100 / 3 truncates to 33.
  XRect thin(5, 5, 8, 6);
  thin.ScaleTo(XRect(0, 0, 100, 100));
  ExpectRect(thin, 0, 33, 100, 66);
}

TEST(RectAlign, FlagsChooseOneRulePerAxisWithPriority) {
  XRect other(0, 0, 100, 100);
  XRect r(10, 10, 20, 30);
  r.Align(other, kAlignTop | kAlignBottom | kAlignLeft | kAlignRight);
  ExpectRect(r, 0, 0, 10, 20);
  r.Align(other, kAlignBottom | kAlignVCentre | kAlignRight | kAlignHCentre);
  ExpectRect(r, 90, 80, 100, 100);
  r.Align(other, kAlignVCentre | kAlignHCentre);
  ExpectRect(r, 45, 40, 55, 60);
  r.Align(other, 0);
  ExpectRect(r, 45, 40, 55, 60);
}

TEST(RectAlign, AlignByValueSnapsOutwards) {
  XRect r(5, 6, 13, 12);
  r.AlignByValue(4, 4);
  ExpectRect(r, 4, 4, 16, 12);
  // -5 % 4 is -1: left moves up to -4.
  XRect n(-5, -6, 3, 3);
  n.AlignByValue(4, 4);
  ExpectRect(n, -4, -4, 4, 4);
}

TEST(RectInset, SidesMoveAndStayOrdered) {
  XRect r(0, 0, 10, 10);
  r.Inset(2, 3, 4, 5);
  ExpectRect(r, 2, 3, 6, 5);
  XRect over(0, 0, 10, 10);
  over.Inset(8, 0, 4, 0);
  ExpectRect(over, 6, 0, 6, 10);
}

TEST(RectLinearPos, RowMajorAndInverse) {
  XRect r(10, 20, 15, 30);
  EXPECT_EQ(r.GetLinearPos(XPoint(12, 23)), 17u);
  EXPECT_EQ(r.GetPointFromLinearPos(17), XPoint(12, 23));
  EXPECT_EQ(r.GetPointFromLinearPos(0), XPoint(10, 20));
  EXPECT_EQ(r.GetPointFromLinearPos(49), XPoint(14, 29));
}

TEST(RectShape, SameShapeComparesIntegerQuotients) {
  EXPECT_TRUE(XRect(0, 0, 3, 4).IsSameShapeAs(XRect(0, 0, 4, 7)));
  EXPECT_FALSE(XRect(0, 0, 3, 4).IsSameShapeAs(XRect(0, 0, 4, 9)));
  EXPECT_TRUE(XRect(0, 0, 3, 4).IsSameSizeAs(XRect(7, 7, 10, 11)));
  EXPECT_FALSE(XRect(0, 0, 3, 4).IsSameSizeAs(XRect(0, 0, 4, 3)));
}

TEST(RectMeasures, PerimeterAndAreaUse64Bits) {
  XRect r(-2000000000, -2000000000, 2000000000, 2000000000);
  EXPECT_EQ(r.GetWidth(), 4000000000u);
  EXPECT_EQ(r.GetPerimeter(), 16000000000ull);
  EXPECT_EQ(r.GetArea(), 16000000000000000000ull);
  EXPECT_EQ(XRect(0, 0, 3, 4).GetPerimeter(), 14u);
}

TEST(RectFloat, RoundingModes) {
  XRectF r(0.5f, -0.5f, 2.5f, 1.5f);
  r.Round();
  EXPECT_EQ(r, XRectF(1.0f, 0.0f, 3.0f, 2.0f));
  XRectF in(0.2f, 0.2f, 2.8f, 2.8f);
  in.RoundIn();
  EXPECT_EQ(in, XRectF(1.0f, 1.0f, 2.0f, 2.0f));
  XRectF out(0.2f, 0.2f, 2.8f, 2.8f);
  out.RoundOut();
  EXPECT_EQ(out, XRectF(0.0f, 0.0f, 3.0f, 3.0f));
}

