// The four kinds of ROI: regions rebuilt from their parameters, the box
// operations each kind allows, outline caches, plane copies and stored forms.
#include "core/XHandleStream.h"
#include "data/XCuboidROI.h"
#include "data/XEllipseROI.h"
#include "data/XIrregularROI.h"
#include "data/XPolygonROI.h"
#include "DataTestSupport.h"

using namespace datatest;

namespace {

class ROI : public DataTest {};

const XRectF kUnit(0, 0, 100, 100);
const XRectF kNoClip;

X3DRegion Ring() { return RegionFromRows({"####", "#..#", "####"}, 2, 3, 1); }

// An ellipse's one plane, as rows.
std::vector<std::string> EllipseRows(UInt32 w, UInt32 h) {
  const XEllipseROI ellipse(X3DRect(0, 0, 0, SInt32(w), SInt32(h), 1));
  return RowsOf(ellipse.GetRegion(), XRect(0, 0, SInt32(w), SInt32(h)));
}

}  // namespace

TEST_F(ROI, EllipsesFillTheirRectangle) {
  EXPECT_EQ(EllipseRows(5, 3), (std::vector<std::string>{".###.", "#####", ".###."}));
  EXPECT_EQ(EllipseRows(2, 2), (std::vector<std::string>{"##", "##"}));  // radii 1 and 1
  EXPECT_EQ(EllipseRows(1, 4), (std::vector<std::string>{"#", "#", "#", "#"}));  // a filled line
  EXPECT_TRUE(XEllipseROI(X3DRect(0, 0, 0, 6, 1, 3)).GetRegion().IsSimple());
  // Thin ellipses: the midpoint walk leaves a side untouched. Two wide, the
  // span at x = 0 of an even width is empty; long and flat, x stops short of
  // the radius when y reaches 0.
  EXPECT_EQ(EllipseRows(2, 7), (std::vector<std::string>{"..", "##", "##", "##", "##", "##", ".."}));
  EXPECT_EQ(EllipseRows(18, 3),
            (std::vector<std::string>{"..##############..", ".################.", "..##############.."}));
  for (UInt32 w = 3; w <= 24; w += 3)
    for (UInt32 h = 3; h <= 24; h += 5) {
      SCOPED_TRACE(testing::Message() << w << " x " << h);
      const std::vector<std::string> rows = EllipseRows(w, h);
      // Symmetric both ways, and, unless thin, touching all four sides.
      const XEllipseROI ellipse(X3DRect(0, 0, 0, SInt32(w), SInt32(h), 1));
      if (w <= 2 * h && h <= 2 * w) {
        EXPECT_EQ(ellipse.GetRegion().GetBounds(), X3DRect(0, 0, 0, SInt32(w), SInt32(h), 1));
      }
      for (UInt32 y = 0; y < h; ++y) {
        EXPECT_EQ(rows[y], std::string(rows[y].rbegin(), rows[y].rend()));
        EXPECT_EQ(rows[y], rows[h - 1 - y]);
      }
    }
}

TEST_F(ROI, EllipsesExtrudeAcrossTheirPlaneAndRebuildOnChange) {
  XEllipseROI ellipse(X3DRect(10, 20, 30, 15, 23, 34), kXZPlane);
  EXPECT_EQ(ellipse.GetEllipseRect(), XRect(10, 30, 15, 34));
  EXPECT_EQ(ellipse.GetRegion().GetBounds(), X3DRect(10, 20, 30, 15, 23, 34));
  // Every y holds the same XZ ellipse.
  for (SInt32 y = 21; y < 23; ++y) {
    X3DRegion slice = ellipse.GetRegion().XZPlaneToRegion(y);
    slice.Offset(0, 20 - y, 0);
    EXPECT_TRUE(slice.IsEqual(ellipse.GetRegion().XZPlaneToRegion(20)));
  }
  const XRefPtr<XROIPathCache> cache = ellipse.GetXYPathCache();
  ellipse.SetPlaneMode(kYZPlane);
  EXPECT_EQ(ellipse.GetEllipseRect(), XRect(30, 20, 34, 23));
  EXPECT_NE(ellipse.GetXYPathCache(), cache);
  ellipse.Offset(1, 0, 0);
  EXPECT_EQ(ellipse.GetRegion().GetBounds(), X3DRect(11, 20, 30, 16, 23, 34));
  ellipse.Grow(2, 0, 0);
  EXPECT_EQ(ellipse.GetBounds(), X3DRect(9, 20, 30, 18, 23, 34));
  ellipse.ClipToBounds(X3DRect(0, 0, 0, 100, 100, 32));
  EXPECT_EQ(ellipse.GetRegion().GetBounds().back, 32);
  EXPECT_FALSE(ellipse.IsSimple());
  EXPECT_TRUE(ellipse.IsResizeable());
}

TEST_F(ROI, CuboidsFollowTheirBounds) {
  XCuboidROI box(X3DRect(0, 0, 0, 10, 10, 2));
  EXPECT_TRUE(box.GetRegion().IsSimple());
  box.GetXYPaths(0, kUnit, kUnit, kNoClip);
  box.GetXZPaths(0, kUnit, kUnit, kNoClip);
  const XRefPtr<XROIPathCache> cache = box.GetXZPathCache();
  box.SetBounds(X3DRect(0, 0, 0, 10, 10, 2));  // equal bounds keep the caches
  EXPECT_EQ(box.GetXZPathCache(), cache);
  box.Offset(5, 0, 1);
  EXPECT_NE(box.GetXZPathCache(), cache);
  EXPECT_EQ(box.GetRegion().GetBounds(), X3DRect(5, 0, 1, 15, 10, 3));
  box.Map(X3DRect(0, 0, 0, 20, 20, 4), X3DRect(0, 0, 0, 40, 10, 4));
  EXPECT_EQ(box.GetBounds(), X3DRect(10, 0, 1, 30, 5, 3));
  box.Shrink(1, 1, 0);
  box.CentreOn(X3DRect(0, 0, 0, 20, 20, 2));
  EXPECT_EQ(box.GetRegion().GetBounds(), X3DRect(1, 8, 0, 19, 11, 2));
  box.ClipToBounds(X3DRect(0, 0, 0, 10, 10, 10));
  EXPECT_EQ(box.GetRegion().GetBounds(), X3DRect(1, 8, 0, 10, 10, 2));
  EXPECT_TRUE(box.IsSimple());
}

TEST_F(ROI, PolygonsIgnoreEditsOfTheirBox) {
  X3DPolyLine outline;
  for (auto p : {X3DPoint(2, 3, 1), X3DPoint(5, 3, 1), X3DPoint(5, 5, 1)}) outline.AppendNode(p);
  XPolygonROI polygon(outline, Ring());
  for (auto edit : std::vector<std::function<void(XROI&)>>{
           [](XROI& r) { r.Grow(2, 2, 2); }, [](XROI& r) { r.Shrink(1, 1, 0); },
           [](XROI& r) { r.Offset(3, 4, 0); }, [](XROI& r) { r.ClipToBounds(X3DRect(0, 0, 0, 3, 3, 3)); },
           [](XROI& r) { r.SetBounds(X3DRect(0, 0, 0, 1, 1, 1)); }, [](XROI& r) { r.CentreOn(X3DRect(50, 50, 50, 60, 60, 60)); },
           [](XROI& r) { r.Map(X3DRect(0, 0, 0, 1, 1, 1), X3DRect(0, 0, 0, 9, 9, 9)); }}) {
    edit(polygon);
    EXPECT_TRUE(polygon.GetRegion().IsEqual(Ring()));
  }
  polygon.SetPolyLine(X3DPolyLine());  // the outline alone: the region stays
  EXPECT_TRUE(polygon.GetRegion().IsEqual(Ring()));
  EXPECT_EQ(polygon.GetBounds(), Ring().GetBounds());
  EXPECT_FALSE(polygon.IsSimple());
}

TEST_F(ROI, IrregularROIsAreTheirRegion) {
  XIrregularROI ring(Ring());
  EXPECT_FALSE(ring.IsSimple());
  EXPECT_FALSE(ring.IsResizeable());
  EXPECT_TRUE(XIrregularROI(X3DRegion(X3DRect(0, 0, 0, 2, 2, 2))).IsSimple());
  ring.SetBounds(X3DRect(0, 0, 0, 1, 1, 1));  // not resizeable: nothing happens
  EXPECT_TRUE(ring.GetRegion().IsEqual(Ring()));
  ring.ClipToBounds(X3DRect(0, 0, 0, 4, 10, 10));
  EXPECT_EQ(RowsOf(ring.GetRegion(), XRect(2, 3, 4, 6), 1), (std::vector<std::string>{"##", "#.", "##"}));
  ring.Grow(1, 0, 0);
  EXPECT_EQ(ring.GetBounds(), X3DRect(1, 3, 1, 5, 6, 2));

  // From points: the polygon of a plane extruded through the box.
  const XIrregularROI prism({{0, 0}, {6, 0}, {0, 6}}, kXYPlane, X3DRect(0, 0, 2, 10, 10, 5));
  EXPECT_EQ(prism.GetBounds(), X3DRect(0, 0, 2, 6, 6, 5));
  EXPECT_EQ(prism.GetRegion().GetVolume(), 3u * (6 + 6 + 5 + 4 + 3 + 2));  // the last column is cut
}

TEST_F(ROI, OutlineCachesAreKeptReplacedAndOffset) {
  XIrregularROI roi(Ring());
  const XROIPaths first = roi.GetXYPaths(1, kUnit, kUnit, kNoClip);
  ASSERT_EQ(first.size(), 1u);
  EXPECT_EQ(first[0].front(), XPoint(2, 3));
  EXPECT_TRUE(roi.GetXYPaths(0, kUnit, kUnit, kNoClip).empty());  // a plane outside the region
  EXPECT_TRUE(roi.GetXYPathCache()->IsValidFor(0, kUnit, kUnit, kNoClip));
  roi.GetXYPaths(1, kUnit, kUnit, kUnit);  // 1 to 1 and clipped alike: this cache can move
  const XRefPtr<XROIPathCache> xy = roi.GetXYPathCache();
  EXPECT_TRUE(xy->CanOffset());
  roi.GetXZPaths(3, kUnit, kUnit, kNoClip);
  const XRefPtr<XROIPathCache> xz = roi.GetXZPathCache();

  // A copy shares the caches until it draws for itself.
  XIrregularROI copy(roi);
  EXPECT_EQ(copy.GetXYPathCache(), xy);
  copy.GetXYPaths(1, kUnit, XRectF(0, 0, 200, 200), kNoClip);
  EXPECT_NE(copy.GetXYPathCache(), xy);
  EXPECT_TRUE(roi.GetXYPathCache()->IsValidFor(1, kUnit, kUnit, kUnit));

  // An offset within the XY plane moves the XY outline in place; the XZ
  // cache cannot follow a move in y and is replaced.
  const XRefPtr<XROIPathCache> keep = xy;
  roi.Offset(3, 4, 0);
  EXPECT_NE(roi.GetXYPathCache()->GetPaths(), keep->GetPaths());  // shared with `keep`: copied, then moved
  EXPECT_TRUE(roi.GetXYPathCache()->IsValidFor(1, kUnit, kUnit, kUnit));
  EXPECT_EQ(roi.GetXYPathCache()->GetPaths()[0].front(), XPoint(5, 7));
  EXPECT_NE(roi.GetXZPathCache(), xz);
  EXPECT_FALSE(roi.GetXZPathCache()->IsValidFor(3, kUnit, kUnit, kNoClip));
  // The next draw takes the moved outline without recomputing it.
  const XROIPathCache* moved = roi.GetXYPathCache().get();
  EXPECT_EQ(roi.GetXYPaths(1, kUnit, kUnit, kUnit)[0].front(), XPoint(5, 7));
  EXPECT_EQ(roi.GetXYPathCache().get(), moved);
  // A cache made for a zoomed drawing cannot move and is dropped.
  roi.GetXYPaths(1, kUnit, XRectF(0, 0, 200, 200), kNoClip);
  roi.Offset(1, 0, 0);
  EXPECT_FALSE(roi.GetXYPathCache()->IsValidFor(1, kUnit, XRectF(0, 0, 200, 200), kNoClip));
  // A move across the plane drops the XY cache.
  roi.GetXYPaths(1, kUnit, kUnit, kUnit);
  roi.Offset(0, 0, 1);
  EXPECT_FALSE(roi.GetXYPathCache()->IsValidFor(1, kUnit, kUnit, kUnit));
}

TEST_F(ROI, OutlinesMapAndClip) {
  const XCuboidROI box(X3DRect(1, 1, 0, 3, 4, 2));
  // The cuboid draws its box directly, mapped from source to target.
  EXPECT_EQ(box.GetXYPaths(1, XRectF(0, 0, 10, 10), XRectF(0, 0, 20, 20), kNoClip),
            (XROIPaths{{{2, 2}, {6, 2}, {6, 8}, {2, 8}, {2, 2}}}));
  EXPECT_EQ(box.GetXYPaths(1, XRectF(0, 0, 10, 10), XRectF(0, 0, 20, 20), XRectF(0, 0, 4, 20)),
            (XROIPaths{{{2, 2}, {4, 2}, {4, 8}, {2, 8}, {2, 2}}}));
  EXPECT_TRUE(box.GetXYPaths(2, kUnit, kUnit, kNoClip).empty());
  // Others map their region's plane.
  const XIrregularROI same(X3DRegion(X3DRect(1, 1, 0, 3, 4, 2)));
  EXPECT_EQ(same.GetXYPaths(1, XRectF(0, 0, 10, 10), XRectF(0, 0, 20, 20), kNoClip),
            (XROIPaths{{{2, 2}, {6, 2}, {6, 8}, {2, 8}, {2, 2}}}));
  // XZ outlines are in (x, z), YZ outlines in (z, y).
  EXPECT_EQ(same.GetXZPaths(2, kUnit, kUnit, kNoClip), (XROIPaths{{{1, 0}, {3, 0}, {3, 2}, {1, 2}, {1, 0}}}));
  EXPECT_EQ(same.GetYZPaths(1, kUnit, kUnit, kNoClip), (XROIPaths{{{0, 1}, {2, 1}, {2, 4}, {0, 4}, {0, 1}}}));
  EXPECT_EQ(same.GetXYMergePaths(kUnit, kUnit, kNoClip).size(), 1u);
}

TEST_F(ROI, PlaneCopies) {
  const XCuboidROI box(X3DRect(0, 0, 2, 4, 5, 6));
  std::unique_ptr<XROI> slice(box.XYPlaneToROICopy(3));
  ASSERT_TRUE(dynamic_cast<XCuboidROI*>(slice.get()));
  EXPECT_EQ(slice->GetBounds(), X3DRect(0, 0, 3, 4, 5, 4));
  slice.reset(box.XZPlaneToROICopy(7));  // outside: an empty cuboid
  EXPECT_TRUE(slice->GetRegion().IsEmpty());
  slice.reset(box.XYMergeToROICopy());
  EXPECT_EQ(slice->GetBounds(), X3DRect(0, 0, 0, 4, 5, 1));

  const XEllipseROI ellipse(X3DRect(0, 0, 0, 9, 7, 4), kXYPlane);
  slice.reset(ellipse.XYPlaneToROICopy(2));  // in its own plane: still an ellipse
  ASSERT_TRUE(dynamic_cast<XEllipseROI*>(slice.get()));
  EXPECT_TRUE(slice->GetRegion().IsEqual(ellipse.GetRegion().XYPlaneToRegion(2)));
  slice.reset(ellipse.XZPlaneToROICopy(3));  // across: an irregular slice
  ASSERT_TRUE(dynamic_cast<XIrregularROI*>(slice.get()));
  EXPECT_TRUE(slice->GetRegion().IsEqual(ellipse.GetRegion().XZPlaneToRegion(3)));
  slice.reset(ellipse.XYMergeToROICopy());
  ASSERT_TRUE(dynamic_cast<XEllipseROI*>(slice.get()));
  EXPECT_EQ(slice->GetBounds(), X3DRect(0, 0, 0, 9, 7, 1));

  const XPolygonROI polygon(X3DPolyLine(), Ring());
  slice.reset(polygon.YZPlaneToROICopy(2));
  ASSERT_TRUE(dynamic_cast<XIrregularROI*>(slice.get()));
  EXPECT_TRUE(slice->GetRegion().IsEqual(Ring().YZPlaneToRegion(2)));
  slice.reset(XIrregularROI(Ring()).XYPlaneToROICopy(0));
  EXPECT_TRUE(slice->GetRegion().IsEmpty());
}

TEST_F(ROI, StoredFormsRoundTrip) {
  auto sameRegion = [](const X3DRegion& inRegion) {
    return [inRegion](const XROI& copy) { EXPECT_TRUE(copy.GetRegion().IsEqual(inRegion)); };
  };
  const XCuboidROI box(X3DRect(-1, 2, 3, 7, 8, 9));
  ExpectRoundTrip<XROI>(box, [&](const XROI& copy) {
    EXPECT_EQ(dynamic_cast<const XCuboidROI&>(copy).GetBounds(), box.GetBounds());
    sameRegion(box.GetRegion())(copy);
  });
  const XEllipseROI ellipse(X3DRect(0, 0, 0, 13, 9, 2), kXZPlane);
  ExpectRoundTrip<XROI>(ellipse, [&](const XROI& copy) {
    EXPECT_EQ(dynamic_cast<const XEllipseROI&>(copy).GetPlaneMode(), kXZPlane);
    sameRegion(ellipse.GetRegion())(copy);
  });
  X3DPolyLine outline;
  outline.AppendNode(X3DPoint(1, 2, 3));
  outline.AppendNode(X3DPoint(4, 5, 6));
  const XPolygonROI polygon(outline, Ring());
  ExpectRoundTrip<XROI>(polygon, [&](const XROI& copy) {
    EXPECT_EQ(dynamic_cast<const XPolygonROI&>(copy).GetPolyLine().GetLength(), 2u);
    sameRegion(Ring())(copy);
  });
  ExpectRoundTrip<XROI>(XIrregularROI(Ring()), sameRegion(Ring()));
  ExpectRoundTrip<XROI>(XIrregularROI(), sameRegion(X3DRegion()));
}

TEST_F(ROI, OlderAndDamagedForms) {
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    // Version 0 of the ROI block holds the region object directly.
    XMemoryStream v0(order);
    v0.Write32(131);
    v0.Write32(126);
    v0.WriteObject(Ring());
    v0.Write32(131);
    v0.WriteObject(X3DRect(0, 0, 0, 5, 5, 5));
    std::unique_ptr<XCuboidROI> old = ReadFromBytes<XCuboidROI>(v0.GetBytes(), order);
    EXPECT_TRUE(old->GetRegion().IsEqual(Ring()));  // as stored, not rebuilt from the bounds
    EXPECT_EQ(old->GetBounds(), X3DRect(0, 0, 0, 5, 5, 5));
  }
  // A newer ROI block, and an ROI block whose compressed object is no region.
  Bytes newer;
  newer.U32(128).U32(0x0002007E);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XROI>(newer.Get()); }), kErrNewerVersion);
  XMemoryStream wrong;
  wrong.Write32(128);
  wrong.Write32(0x0001007E);
  wrong.WriteObject(X3DRect());  // a box where the region block belongs
  wrong.Write32(128);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XROI>(wrong.GetBytes()); }), kErrWrongClass);
  XMemoryStream region0;
  region0.Write32(128);
  region0.Write32(126);
  region0.Write32(0);  // a null region
  region0.Write32(128);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XROI>(region0.GetBytes()); }), kErrWrongClass);

  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    ExpectDamageRefused(WriteToBytes(XIrregularROI(Ring()), order), order);
    ExpectDamageRefused(WriteToBytes(XEllipseROI(X3DRect(0, 0, 0, 4, 3, 1)), order), order);
  }
  X3DPolyLine outline;
  outline.AppendNode(X3DPoint(1, 2, 3));
  ExpectDamageRefused(WriteToBytes(XPolygonROI(outline, X3DRegion(X3DRect(0, 0, 0, 2, 2, 1)))));
  ExpectDamageRefused(WriteToBytes(XCuboidROI(X3DRect(0, 0, 0, 2, 2, 1))));
}
