#include <gtest/gtest.h>

#include <vector>

#include "geometry/XRectIterator.h"

namespace {

std::vector<XPoint> Walk(XRectIterator& it, int inSteps, bool inForward = true) {
  std::vector<XPoint> points;
  for (int i = 0; i < inSteps; ++i) points.push_back(inForward ? it.GetNext() : it.GetPrevious());
  return points;
}

}  // namespace

TEST(RectIteratorWalk, RowsByDefaultAndStaysAtLastCell) {
  XRectIterator it(XRect(-1, 5, 2, 7));
  std::vector<XPoint> expected{XPoint(-1, 5), XPoint(0, 5), XPoint(1, 5), XPoint(-1, 6),
                               XPoint(0, 6),  XPoint(1, 6), XPoint(1, 6), XPoint(1, 6)};
  EXPECT_EQ(Walk(it, 8), expected);
}

TEST(RectIteratorWalk, AnyNonZeroModeWalksColumns) {
  XRectIterator it(XRect(0, 0, 3, 2), static_cast<XRectIteratorMode>(2));
  std::vector<XPoint> expected{XPoint(0, 0), XPoint(0, 1), XPoint(1, 0), XPoint(1, 1),
                               XPoint(2, 0), XPoint(2, 1), XPoint(2, 1)};
  EXPECT_EQ(Walk(it, 7), expected);
}

TEST(RectIteratorWalk, BackwardsStaysAtFirstCell) {
  XRectIterator rows(XRect(0, 0, 2, 2));
  rows.MoveToEnd();
  std::vector<XPoint> expected{XPoint(1, 1), XPoint(0, 1), XPoint(1, 0), XPoint(0, 0),
                               XPoint(0, 0)};
  EXPECT_EQ(Walk(rows, 5, false), expected);

  XRectIterator columns(XRect(0, 0, 2, 2), kRectIterateYFastest);
  columns.MoveToEnd();
  std::vector<XPoint> expectedColumns{XPoint(1, 1), XPoint(1, 0), XPoint(0, 1), XPoint(0, 0),
                                      XPoint(0, 0)};
  EXPECT_EQ(Walk(columns, 5, false), expectedColumns);
}

TEST(RectIteratorWalk, EmptyRectangleIsNotDetected) {
  XRectIterator it(XRect(5, 5, 5, 5));
  XPoint first = it.GetNext();
  EXPECT_EQ(first, XPoint(5, 5));
  EXPECT_NE(it.GetNext(), first);
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
