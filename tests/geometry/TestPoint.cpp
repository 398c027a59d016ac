#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "geometry/X3DRect.h"
#include "geometry/XPoint.h"

namespace {
const Float64 kPi = std::acos(-1.0);
}

TEST(PointArithmetic, IntegerDivisionTruncatesTowardsZero) {
  EXPECT_EQ(XPoint(-7, 7) / 2, XPoint(-3, 3));
  EXPECT_EQ(XPoint(7, 9) / XPoint(2, -4), XPoint(3, -2));
  XPoint p(-9, 9);
  p /= 4;
  EXPECT_EQ(p, XPoint(-2, 2));
}

TEST(PointComparison, OrderIsLexicographic) {
  EXPECT_LT(XPoint(1, 50), XPoint(2, 0));
  EXPECT_GT(XPoint(1, 5), XPoint(1, 4));
  EXPECT_LE(XPoint(1, 5), XPoint(1, 5));
  EXPECT_GE(XPoint(1, 5), XPoint(1, 5));
  EXPECT_FALSE(XPoint(1, 5) < XPoint(1, 5));
  EXPECT_LT(X3DPoint(1, 2, 9), X3DPoint(1, 3, 0));
  EXPECT_LT(X3DPoint(1, 2, 3), X3DPoint(1, 2, 4));
  EXPECT_GT(X3DPoint(2, 0, 0), X3DPoint(1, 9, 9));
}

TEST(PointConversion, FloatToIntegerTruncates) {
  EXPECT_EQ(XPoint(XPointF(2.9f, -2.9f)), XPoint(2, -2));
  EXPECT_EQ(X3DPoint(X3DPointF(-0.5f, 0.5f, 7.99f)), X3DPoint(0, 0, 7));
  XPointF widened = XPoint(-3, 4);
  EXPECT_EQ(widened, XPointF(-3.0f, 4.0f));
}

TEST(PointDistance, ReturnTypesAndLargeCoordinates) {
  static_assert(std::is_same_v<decltype(XPoint().Distance(XPoint())), Float64>);
  static_assert(std::is_same_v<decltype(X3DPoint().Distance(X3DPoint())), Float32>);
  EXPECT_DOUBLE_EQ(XPoint(0, 0).Distance(XPoint(3, 4)), 5.0);
  EXPECT_FLOAT_EQ(X3DPoint(1, 1, 1).Distance(X3DPoint(3, 4, 7)), 7.0f);
  // The difference does not fit 32 bits.
  EXPECT_DOUBLE_EQ(XPoint(-2000000000, 0).Distance(XPoint(2000000000, 0)), 4e9);
}

TEST(PointRotate, IntegerResultsTruncateTowardsZero) {
  XPoint p(-10, 0);
  p.Rotate(kPi / 4);  // (-7.07, -7.07)
  EXPECT_EQ(p, XPoint(-7, -7));
  XPoint q(10, 0);
  q.Rotate(kPi / 4);
  EXPECT_EQ(q, XPoint(7, 7));
}

TEST(PointRotate, BothResultsUseTheOriginalCoordinates) {
  XPoint p(3, 4);
  p.Rotate(kPi / 2);
  EXPECT_EQ(p, XPoint(-4, 3));
  XPointF f(1.0f, 0.0f);
  f.Rotate(kPi);
  EXPECT_FLOAT_EQ(f.x, -1.0f);
  EXPECT_NEAR(f.y, 0.0f, 1e-6f);
}

TEST(PointInterpolate, EndPointsAreExcluded) {
  std::vector<XPointT<SInt32>> out{XPoint(99, 99)};
  XPointT<SInt32>::InterpolatePoints(XPoint(0, 0), XPoint(8, -4), 3, out);
  ASSERT_EQ(out.size(), 3u);
  EXPECT_EQ(out[0], XPoint(2, -1));
  EXPECT_EQ(out[1], XPoint(4, -2));
  EXPECT_EQ(out[2], XPoint(6, -3));
}

TEST(PointInterpolate, CountOneGivesTheMidpointAndZeroNothing) {
  std::vector<XPointF> out;
  XPointT<Float32>::InterpolatePoints(XPointF(1, 2), XPointF(4, 8), 1, out);
  ASSERT_EQ(out.size(), 1u);
  EXPECT_EQ(out[0], XPointF(2.5f, 5.0f));

  out.assign(4, XPointF());
  XPointT<Float32>::InterpolatePoints(XPointF(1, 2), XPointF(4, 8), 0, out);
  EXPECT_TRUE(out.empty());
}

TEST(PointInterpolate, IntegerPointsTruncateTheFloatPositions) {
  std::vector<XPoint> out;
  XPointT<SInt32>::InterpolatePoints(XPoint(0, 0), XPoint(10, -10), 2, out);
  ASSERT_EQ(out.size(), 2u);
  EXPECT_EQ(out[0], XPoint(3, -3));
  EXPECT_EQ(out[1], XPoint(6, -6));

  std::vector<X3DPoint> out3;
  X3DPointT<SInt32>::InterpolatePoints(X3DPoint(0, 0, 0), X3DPoint(4, 8, -12), 3, out3);
  ASSERT_EQ(out3.size(), 3u);
  EXPECT_EQ(out3[0], X3DPoint(1, 2, -3));
  EXPECT_EQ(out3[2], X3DPoint(3, 6, -9));
}

TEST(PointRounding, RoundHalvesGoUpAndResultIsReturned) {
  XPointF p(2.5f, -2.5f);
  XPointF r = p.Round();
  EXPECT_EQ(p, XPointF(3.0f, -2.0f));
  EXPECT_EQ(r, p);
  XPointF f(-1.5f, 1.5f);
  EXPECT_EQ(f.Floor(), XPointF(-2.0f, 1.0f));
  XPointF c(-1.5f, 1.5f);
  EXPECT_EQ(c.Ceil(), XPointF(-1.0f, 2.0f));
  EXPECT_EQ(c, XPointF(-1.0f, 2.0f));

  X3DPointF p3(0.5f, -0.5f, -1.49f);
  EXPECT_EQ(p3.Round(), X3DPointF(1.0f, 0.0f, -1.0f));
  X3DPointF f3(0.5f, -0.5f, 2.0f);
  EXPECT_EQ(f3.Floor(), X3DPointF(0.0f, -1.0f, 2.0f));
  X3DPointF c3(0.5f, -0.5f, 2.0f);
  EXPECT_EQ(c3.Ceil(), X3DPointF(1.0f, -0.0f, 2.0f));
}

TEST(PointNaN, AnyComponentCounts) {
  Float32 nan = std::numeric_limits<Float32>::quiet_NaN();
  EXPECT_FALSE(XPointF(1, 2).IsNaN());
  EXPECT_TRUE(XPointF(1, nan).IsNaN());
  EXPECT_TRUE(X3DPointF(1, 2, nan).IsNaN());
  EXPECT_FALSE(X3DPointF(1, 2, 3).IsNaN());
  EXPECT_FALSE(XPoint(1, 2).IsNaN());
}

TEST(Point3D, KeepWithinClampsToLastVoxel) {
  X3DRect box(0, 0, 0, 10, 20, 4);
  X3DPoint p(-5, 50, 3);
  p.KeepWithin(box);
  EXPECT_EQ(p, X3DPoint(0, 19, 3));
  X3DPoint q(10, 0, 4);
  q.KeepWithin(box);
  EXPECT_EQ(q, X3DPoint(9, 0, 3));
}
