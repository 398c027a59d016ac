#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <type_traits>
#include <vector>

#include "geometry/X3DRect.h"
#include "geometry/XPoint.h"

using namespace mirelan;

TEST(PointArithmetic, DivisionAndConversionTruncateTowardsZero) {
  EXPECT_EQ(XPoint(-7, 7) / 2, XPoint(-3, 3));
  EXPECT_EQ(XPoint(7, 9) / XPoint(2, -4), XPoint(3, -2));
  XPoint p(-9, 9);
  p /= 4;
  EXPECT_EQ(p, XPoint(-2, 2));
  EXPECT_EQ(XPoint(XPointF(2.9f, -2.9f)), XPoint(2, -2));
  EXPECT_EQ(X3DPoint(X3DPointF(-0.5f, 0.5f, 7.99f)), X3DPoint(0, 0, 7));
}

TEST(PointComparison, OrderIsLexicographic) {
  EXPECT_LT(XPoint(1, 50), XPoint(2, 0));
  EXPECT_GT(XPoint(1, 5), XPoint(1, 4));
  EXPECT_FALSE(XPoint(1, 5) < XPoint(1, 5));
  EXPECT_TRUE(XPoint(1, 5) <= XPoint(1, 5) && XPoint(1, 5) >= XPoint(1, 5));
  EXPECT_LT(X3DPoint(1, 2, 9), X3DPoint(1, 3, 0));
  EXPECT_LT(X3DPoint(1, 2, 3), X3DPoint(1, 2, 4));
  EXPECT_GT(X3DPoint(2, 0, 0), X3DPoint(1, 9, 9));
}

TEST(PointDistance, ReturnTypesAndLargeCoordinates) {
  static_assert(std::is_same_v<decltype(XPoint().Distance(XPoint())), Float64>);
  static_assert(std::is_same_v<decltype(X3DPoint().Distance(X3DPoint())), Float32>);
  EXPECT_FLOAT_EQ(X3DPoint(1, 1, 1).Distance(X3DPoint(3, 4, 7)), 7.0f);
  // The difference does not fit 32 bits.
  EXPECT_DOUBLE_EQ(XPoint(-2000000000, 0).Distance(XPoint(2000000000, 0)), 4e9);
}

TEST(PointRotate, UsesTheOriginalCoordinatesAndTruncates) {
  const Float64 pi = std::acos(-1.0);
  auto rotated = [](XPoint p, Float64 inAngle) { p.Rotate(inAngle); return p; };
  EXPECT_EQ(rotated(XPoint(-10, 0), pi / 4), XPoint(-7, -7));  // -7.07 truncates towards zero
  EXPECT_EQ(rotated(XPoint(10, 0), pi / 4), XPoint(7, 7));
  EXPECT_EQ(rotated(XPoint(3, 4), pi / 2), XPoint(-4, 3));
}

TEST(PointInterpolate, EndPointsExcludedAndIntegersTruncated) {
  std::vector<XPoint> out{XPoint(99, 99)};  // replaced, not appended to
  XPoint::InterpolatePoints(XPoint(0, 0), XPoint(10, -10), 2, out);
  EXPECT_EQ(out, (std::vector<XPoint>{XPoint(3, -3), XPoint(6, -6)}));

  std::vector<XPointF> midpoint;
  XPointF::InterpolatePoints(XPointF(1, 2), XPointF(4, 8), 1, midpoint);
  EXPECT_EQ(midpoint, std::vector<XPointF>{XPointF(2.5f, 5.0f)});
  XPointF::InterpolatePoints(XPointF(1, 2), XPointF(4, 8), 0, midpoint);
  EXPECT_TRUE(midpoint.empty());

  std::vector<X3DPoint> out3;
  X3DPoint::InterpolatePoints(X3DPoint(0, 0, 0), X3DPoint(4, 8, -12), 3, out3);
  EXPECT_EQ(out3, (std::vector<X3DPoint>{{1, 2, -3}, {2, 4, -6}, {3, 6, -9}}));
}

TEST(PointRounding, HalvesGoUpAndTheResultIsReturned) {
  XPointF p(2.5f, -2.5f), f(-1.5f, 1.5f), c(-1.5f, 1.5f);
  EXPECT_EQ(p.Round(), XPointF(3.0f, -2.0f));
  EXPECT_EQ(p, XPointF(3.0f, -2.0f));
  EXPECT_EQ(f.Floor(), XPointF(-2.0f, 1.0f));
  EXPECT_EQ(c.Ceil(), XPointF(-1.0f, 2.0f));
  X3DPointF p3(0.5f, -0.5f, -1.49f), f3(0.5f, -0.5f, 2.0f), c3 = f3;
  EXPECT_EQ(p3.Round(), X3DPointF(1.0f, 0.0f, -1.0f));
  EXPECT_EQ(f3.Floor(), X3DPointF(0.0f, -1.0f, 2.0f));
  EXPECT_EQ(c3.Ceil(), X3DPointF(1.0f, -0.0f, 2.0f));

  Float32 nan = std::numeric_limits<Float32>::quiet_NaN();
  EXPECT_TRUE(XPointF(1, nan).IsNaN() && X3DPointF(1, 2, nan).IsNaN());
  EXPECT_FALSE(XPointF(1, 2).IsNaN() || X3DPointF(1, 2, 3).IsNaN() || XPoint(1, 2).IsNaN());
}

TEST(Point3D, KeepWithinClampsToLastVoxel) {
  X3DRect box(0, 0, 0, 10, 20, 4);
  auto kept = [&](X3DPoint p) { p.KeepWithin(box); return p; };
  EXPECT_EQ(kept(X3DPoint(-5, 50, 3)), X3DPoint(0, 19, 3));
  EXPECT_EQ(kept(X3DPoint(10, 0, 4)), X3DPoint(9, 0, 3));
}
