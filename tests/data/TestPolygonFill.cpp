// Regions from points: the polygon rasteriser against a brute-force reading
// of its rule (outline pixels nearest to each edge, interior by even-odd),
// and extrusion of flat regions into 3-D.
#include <random>
#include <set>

#include "data/XROI.h"
#include "DataTestSupport.h"

using namespace datatest;

namespace {

class PolygonFill : public DataTest {};

using Pixel = std::pair<SInt64, SInt64>;

// The segment's pixels, found afresh: one per coordinate along the longer
// axis (x on a tie), on the other axis the integer nearest the exact line,
// the smaller of two equally near ones.
void ReferenceLine(const XPoint& a, const XPoint& b, std::set<Pixel>& ioPixels) {
  const SInt64 dx = SInt64(b.x) - a.x, dy = SInt64(b.y) - a.y;
  const bool xMajor = std::abs(dx) >= std::abs(dy);
  const SInt64 m0 = xMajor ? a.x : a.y, n0 = xMajor ? a.y : a.x;
  const SInt64 dm = xMajor ? dx : dy, dn = xMajor ? dy : dx;
  const SInt64 steps = std::abs(dm);
  for (SInt64 i = 0; i <= steps; ++i) {
    const SInt64 major = m0 + (dm < 0 ? -i : i);
    SInt64 minor = n0;
    if (steps > 0) {
      // Exact minor coordinate times 2 * steps: 2 (n0 steps + i dn).
      const SInt64 twice = 2 * (n0 * steps + i * dn);
      const SInt64 scale = 2 * steps;
      SInt64 best = 0, bestDistance = -1;
      const SInt64 base = (twice >= 0 ? twice / scale : -((-twice + scale - 1) / scale)) - 1;
      for (SInt64 c = base; c <= base + 3; ++c) {
        const SInt64 distance = std::abs(c * scale - twice);
        if (bestDistance < 0 || distance < bestDistance) best = c, bestDistance = distance;
      }
      minor = best;
    }
    ioPixels.insert(xMajor ? Pixel(major, minor) : Pixel(minor, major));
  }
}

// Even-odd with edges counted for min y <= y < max y and crossings right of
// the point, in exact integers.
bool ReferenceInside(const std::vector<XPoint>& inPoints, SInt64 px, SInt64 py) {
  bool inside = false;
  for (size_t i = 0, j = inPoints.size() - 1; i < inPoints.size(); j = i++) {
    const XPoint& a = inPoints[i];
    const XPoint& b = inPoints[j];
    if ((a.y > py) == (b.y > py)) continue;
    const SInt64 den = SInt64(b.y) - a.y;
    const SInt64 num = (py - a.y) * (SInt64(b.x) - a.x);
    const SInt64 lhs = (px - a.x) * den;
    if (den > 0 ? lhs < num : lhs > num) inside = !inside;
  }
  return inside;
}

void ExpectFillMatchesRule(const std::vector<XPoint>& inPoints, const XRect& inRect) {
  std::set<Pixel> outline;
  for (size_t i = 0; i < inPoints.size(); ++i) ReferenceLine(inPoints[i], inPoints[(i + 1) % inPoints.size()], outline);
  const X3DRegion region = XROI::Create2DRegionFromPoints(inPoints, inRect);
  ASSERT_TRUE(region.IsEmpty() || (region.GetBounds().front == 0 && region.GetBounds().back == 1));
  XLock lock(region, kLockRead);
  int wrong = 0;
  for (SInt32 y = inRect.top; y < inRect.bottom; ++y)
    for (SInt32 x = inRect.left; x < inRect.right; ++x) {
      const bool expected = outline.count(Pixel(x, y)) || ReferenceInside(inPoints, x, y);
      if (region.Contains(x, y, 0) != expected && ++wrong <= 3)
        ADD_FAILURE() << "voxel (" << x << ", " << y << ") should be " << (expected ? "in" : "out");
    }
}

std::vector<XPoint> RandomPolygon(std::mt19937& ioRandom, int inCount, SInt32 inLow, SInt32 inHigh) {
  std::uniform_int_distribution<SInt32> coordinate(inLow, inHigh);
  std::vector<XPoint> points;
  for (int i = 0; i < inCount; ++i) points.emplace_back(coordinate(ioRandom), coordinate(ioRandom));
  return points;
}

}  // namespace

TEST_F(PolygonFill, RandomPolygonsMatchTheRuleVoxelForVoxel) {
  std::mt19937 random(20240611);
  for (int trial = 0; trial < 300; ++trial) {
    SCOPED_TRACE(trial);
    // Self-crossing, with repeated points and lines along the axes, and
    // edges that leave the rectangle on every side.
    const int count = 2 + trial % 30;
    const std::vector<XPoint> points = RandomPolygon(random, count, -12, 52);
    ExpectFillMatchesRule(points, XRect(0, 0, 40, 40));
    if (trial % 10 == 0) ExpectFillMatchesRule(points, XRect(-20, -20, 70, 70));
  }
  // Few long edges far beyond a small rectangle.
  for (int trial = 0; trial < 40; ++trial) {
    SCOPED_TRACE(trial);
    ExpectFillMatchesRule(RandomPolygon(random, 3 + trial % 5, -3000, 3000), XRect(-16, -16, 16, 16));
  }
  // Shapes on a lattice: axis-parallel edges and 45-degree diagonals tie everywhere.
  ExpectFillMatchesRule({{0, 0}, {10, 0}, {10, 10}, {0, 10}}, XRect(-2, -2, 14, 14));
  ExpectFillMatchesRule({{5, 0}, {10, 5}, {5, 10}, {0, 5}}, XRect(-2, -2, 14, 14));
  ExpectFillMatchesRule({{0, 0}, {8, 3}, {0, 6}, {8, 9}, {0, 12}}, XRect(-2, -2, 14, 14));
}

TEST_F(PolygonFill, FewPointsAndTheBoundsOfPoints) {
  EXPECT_TRUE(XROI::Create2DRegionFromPoints({}).IsEmpty());
  EXPECT_EQ(XROI::GetBoundsOfPoints({}), XRect());
  // One point: that voxel, whatever the rectangle.
  const X3DRegion one = XROI::Create2DRegionFromPoints({XPoint(7, -3)}, XRect(0, 0, 1, 1));
  EXPECT_TRUE(one.IsSimple());
  EXPECT_EQ(one.GetBounds(), X3DRect(7, -3, 0, 8, -2, 1));

  // Two points: a line of pixels from the pen, the same whichever way it is drawn.
  const std::vector<std::string> line = {"##...", "..##.", "....#"};
  EXPECT_EQ(RowsOf(XROI::Create2DRegionFromPoints({XPoint(0, 0), XPoint(4, 2)}, XRect(0, 0, 5, 3)),
                   XRect(0, 0, 5, 3)),
            line);
  EXPECT_EQ(RowsOf(XROI::Create2DRegionFromPoints({XPoint(4, 2), XPoint(0, 0)}, XRect(0, 0, 5, 3)),
                   XRect(0, 0, 5, 3)),
            line);

  // The bounds of the points are not widened: the outline on the right and
  // bottom edges is cut off, and a 5 x 5 drawn square comes out 4 x 4.
  const std::vector<XPoint> square = {{0, 0}, {4, 0}, {4, 4}, {0, 4}};
  EXPECT_EQ(XROI::GetBoundsOfPoints(square), XRect(0, 0, 4, 4));
  const X3DRegion cut = XROI::Create2DRegionFromPoints(square);
  EXPECT_TRUE(cut.IsSimple());
  EXPECT_EQ(cut.GetBounds(), X3DRect(0, 0, 0, 4, 4, 1));
  EXPECT_EQ(XROI::Create2DRegionFromPoints(square, XRect(0, 0, 5, 5)).GetBounds(), X3DRect(0, 0, 0, 5, 5, 1));

  // A triangle whose slanted edge leaves some voxels of its box out.
  EXPECT_EQ(RowsOf(XROI::Create2DRegionFromPoints({{0, 0}, {6, 0}, {0, 6}}, XRect(0, 0, 7, 7)), XRect(0, 0, 7, 7)),
            (std::vector<std::string>{"#######", "######.", "#####..", "####...", "###....", "##.....",
                                      "#......"}));
}

TEST_F(PolygonFill, FlatRegionsExtrudeAcrossTheirPlane) {
  const X3DRegion flat = RegionFromRows({"#..", "##.", "###"}, 10, 20);  // (x, y) of the flat region
  const X3DRect box(0, 0, 0, 100, 100, 100);
  // XY: through front .. back.
  const X3DRegion xy = XROI::Create3DRegionFrom2DRegion(flat, kXYPlane, X3DRect(0, 0, 4, 1, 1, 7));
  EXPECT_EQ(xy.GetBounds(), X3DRect(10, 20, 4, 13, 23, 7));
  EXPECT_EQ(RowsOf(xy, XRect(10, 20, 13, 23), 6), (std::vector<std::string>{"#..", "##.", "###"}));
  // XZ: the flat y is z, extruded from top to bottom.
  const X3DRegion xz = XROI::Create3DRegionFrom2DRegion(flat, kXZPlane, X3DRect(0, 5, 0, 1, 8, 1));
  EXPECT_EQ(xz.GetBounds(), X3DRect(10, 5, 20, 13, 8, 23));
  {
    XLock lock(xz, kLockRead);
    EXPECT_TRUE(xz.Contains(10, 7, 20));
    EXPECT_FALSE(xz.Contains(11, 7, 20));
    EXPECT_TRUE(xz.Contains(12, 5, 22));
  }
  // YZ: the flat x is z, extruded from left to right.
  const X3DRegion yz = XROI::Create3DRegionFrom2DRegion(flat, kYZPlane, X3DRect(2, 0, 0, 4, 1, 1));
  EXPECT_EQ(yz.GetBounds(), X3DRect(2, 20, 10, 4, 23, 13));
  {
    XLock lock(yz, kLockRead);
    EXPECT_TRUE(yz.Contains(3, 20, 10));
    EXPECT_FALSE(yz.Contains(3, 20, 11));
    EXPECT_TRUE(yz.Contains(2, 22, 12));
  }
  // A flat region held uncropped (under a crop lock) still extrudes to its tight box.
  XMaskVolume bordered(X3DRect(0, 0, 0, 5, 5, 1));
  bordered.Clear();
  {
    XLock lock(bordered, kLockReadWrite);
    bordered.SetVoxel(1, 2, 0, 255);
    bordered.SetVoxel(3, 2, 0, 255);
  }
  X3DRegion loose;
  loose.LockCrop();
  loose = bordered;
  EXPECT_EQ(XROI::Create3DRegionFrom2DRegion(loose, kXYPlane, X3DRect(0, 0, 0, 1, 1, 2)).GetBounds(),
            X3DRect(1, 2, 0, 4, 3, 2));
  // A box stays a box; other modes and empty regions give nothing.
  EXPECT_TRUE(XROI::Create3DRegionFrom2DRegion(X3DRegion(X3DRect(1, 1, 0, 3, 3, 1)), kXYPlane, box).IsSimple());
  EXPECT_TRUE(XROI::Create3DRegionFrom2DRegion(flat, XPlaneMode(3), box).IsEmpty());
  EXPECT_TRUE(XROI::Create3DRegionFrom2DRegion(X3DRegion(), kXYPlane, box).IsEmpty());
}
