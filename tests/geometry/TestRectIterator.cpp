#include <gtest/gtest.h>

#include <vector>

#include "geometry/XRectIterator.h"

using namespace mirelan;

namespace {

// The first inSteps points, forwards from the start or backwards from the end.
std::vector<XPoint> Walk(const XRect& inRect, XRectIteratorMode inMode, bool inForward,
                         size_t inSteps) {
  XRectIterator it(inRect, inMode);
  if (!inForward) it.MoveToEnd();
  std::vector<XPoint> points;
  while (points.size() < inSteps) points.push_back(inForward ? it.GetNext() : it.GetPrevious());
  return points;
}

using Points = std::vector<XPoint>;

}  // namespace

TEST(RectIteratorWalk, EachOrderStaysAtItsLastCell) {
  EXPECT_EQ(Walk(XRect(-1, 5, 2, 7), kRectIterateXFastest, true, 8),
            (Points{{-1, 5}, {0, 5}, {1, 5}, {-1, 6}, {0, 6}, {1, 6}, {1, 6}, {1, 6}}));
  // Any mode but 0 walks columns.
  EXPECT_EQ(Walk(XRect(0, 0, 3, 2), static_cast<XRectIteratorMode>(2), true, 7),
            (Points{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {2, 0}, {2, 1}, {2, 1}}));
  EXPECT_EQ(Walk(XRect(0, 0, 2, 2), kRectIterateXFastest, false, 5),
            (Points{{1, 1}, {0, 1}, {1, 0}, {0, 0}, {0, 0}}));
  EXPECT_EQ(Walk(XRect(0, 0, 2, 2), kRectIterateYFastest, false, 5),
            (Points{{1, 1}, {1, 0}, {0, 1}, {0, 0}, {0, 0}}));
  // An empty rectangle is not detected: the walk leaves it.
  Points empty = Walk(XRect(5, 5, 5, 5), kRectIterateXFastest, true, 2);
  EXPECT_EQ(empty[0], XPoint(5, 5));
  EXPECT_NE(empty[1], empty[0]);
}

TEST(RectIteratorPosition, CornersAndClampedMoves) {
  XRectIterator it(XRect(10, 20, 13, 24));
  EXPECT_EQ(it.GetFirst(), XPoint(10, 20));
  EXPECT_EQ(it.GetLast(), XPoint(12, 23));
  EXPECT_EQ(it.GetNext(), XPoint(10, 20));  // GetFirst and GetLast did not move it
  it.MoveTo(XPoint(100, -100));
  EXPECT_EQ(it.GetNext(), XPoint(12, 20));
  EXPECT_EQ(it.GetNext(), XPoint(10, 21));
  it.MoveTo(XPoint(11, 22));
  EXPECT_EQ(it.GetPrevious(), XPoint(11, 22));
  EXPECT_EQ(it.GetPrevious(), XPoint(10, 22));
  it.MoveToEnd();
  EXPECT_EQ(it.GetNext(), XPoint(12, 23));
  it.MoveToStart();
  EXPECT_EQ(it.GetPrevious(), XPoint(10, 20));
}
