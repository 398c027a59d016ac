// ROI collections: building, deleting with the selection kept in step,
// combined regions, hit tests, comparisons and the stored form.
#include "data/XCuboidROI.h"
#include "data/XEllipseROI.h"
#include "data/XIrregularROI.h"
#include "data/XROICollection.h"
#include "DataTestSupport.h"

using namespace datatest;

namespace {

class ROICollection : public DataTest {};

X3DRegion Diagonal() { return RegionFromRows({"#..", ".#.", "..#"}, 10, 10, 0); }

// Boxes 0..n-1, those in inEmpty with no voxels.
XROICollection Boxes(UInt32 inCount, const std::set<UInt32>& inEmpty) {
  XROICollection rois;
  for (UInt32 i = 0; i < inCount; ++i)
    rois.AttachROI(new XCuboidROI(inEmpty.count(i) ? X3DRect() : X3DRect(SInt32(i), 0, 0, SInt32(i) + 1, 1, 1)));
  return rois;
}

}  // namespace

TEST_F(ROICollection, FromRegions) {
  const XROICollection none{X3DRegion()};
  EXPECT_EQ(none.GetROICount(), 0u);
  EXPECT_TRUE(none.IsSimple());
  EXPECT_TRUE(none.AreAllEmpty());

  const XROICollection box{X3DRegion(X3DRect(0, 0, 0, 4, 4, 1))};
  ASSERT_EQ(box.GetROICount(), 1u);
  EXPECT_TRUE(dynamic_cast<const XCuboidROI*>(&box.GetROI(0)));
  EXPECT_TRUE(box.IsSimple());

  const XROICollection irregular{Diagonal()};
  EXPECT_TRUE(dynamic_cast<const XIrregularROI*>(&irregular.GetROI(0)));
  EXPECT_FALSE(irregular.IsSimple());

  const XROICollection several(XVector<X3DRegion>{Diagonal(), X3DRegion(X3DRect(0, 0, 0, 1, 1, 1)), X3DRegion()});
  EXPECT_EQ(several.GetROICount(), 3u);
  EXPECT_FALSE(several.AreAllEmpty());
  EXPECT_EQ(several.GetROIRegions().size(), 3u);
  EXPECT_TRUE(several.GetROIRegions()[0].IsEqual(Diagonal()));
  EXPECT_THROW(several.GetROI(3), XInternalError);
}

TEST_F(ROICollection, SimpleAnd3D) {
  XROICollection rois;
  rois.AddROI(XEllipseROI(X3DRect(0, 0, 0, 5, 5, 1)));
  EXPECT_FALSE(rois.IsSimple());  // one ellipse
  rois.DeleteAllROIs();
  rois.AddROI(XCuboidROI(X3DRect(0, 0, 0, 5, 5, 1)));
  EXPECT_TRUE(rois.IsSimple());  // one cuboid
  EXPECT_FALSE(rois.Has3DROIs());
  rois.AddROI(XCuboidROI(X3DRect(0, 0, 0, 5, 5, 2)));
  EXPECT_FALSE(rois.IsSimple());  // two cuboids
  EXPECT_TRUE(rois.Has3DROIs());
}

TEST_F(ROICollection, DeletingEmptyROIsKeepsTheSelectionInStep) {
  XROICollection rois = Boxes(3, {1});
  EXPECT_EQ(rois.DeleteEmptyROIsAndReSynchSelection({0, 2}), (XSet<UInt32>{0, 1}));
  ASSERT_EQ(rois.GetROICount(), 2u);
  EXPECT_EQ(rois.GetROI(1).GetBounds().left, 2);

  // Selected ROIs that go leave the selection; the rest move down past
  // every gap before them; indices beyond the count are dropped.
  XROICollection many = Boxes(8, {0, 3, 4, 7});
  EXPECT_EQ(many.DeleteEmptyROIsAndReSynchSelection({0, 1, 3, 5, 6, 7, 8, 100}), (XSet<UInt32>{0, 2, 3}));
  ASSERT_EQ(many.GetROICount(), 4u);
  for (UInt32 i = 0; i < 4; ++i) EXPECT_EQ(many.GetROI(i).GetBounds().left, SInt32(std::vector<int>{1, 2, 5, 6}[i]));

  XROICollection allEmpty = Boxes(3, {0, 1, 2});
  EXPECT_TRUE(allEmpty.AreAllEmpty());
  EXPECT_TRUE(allEmpty.DeleteEmptyROIsAndReSynchSelection({0, 1, 2}).empty());
  EXPECT_EQ(allEmpty.GetROICount(), 0u);
}

TEST_F(ROICollection, AddingAttachingAndDeleting) {
  XROICollection rois;
  const XCuboidROI box(X3DRect(0, 0, 0, 2, 2, 2));
  rois.AddROI(box);
  EXPECT_NE(&rois.GetROI(0), &box);  // a clone
  XROI* attached = new XIrregularROI(Diagonal());
  rois.AttachROI(attached);
  EXPECT_EQ(&rois.GetROI(1), attached);  // the object itself
  EXPECT_THROW(rois.AttachROI(nullptr), XInternalError);

  XPtrVector<XROI> more;
  more.push_back(new XCuboidROI(X3DRect(5, 5, 0, 6, 6, 1)));
  more.push_back(new XCuboidROI(X3DRect(7, 7, 0, 8, 8, 1)));
  rois.AttachROIs(more);
  EXPECT_TRUE(more.empty());
  EXPECT_EQ(rois.GetROICount(), 4u);

  XROICollection copy(rois);
  copy.AddROIs(rois);
  EXPECT_EQ(copy.GetROICount(), 8u);
  EXPECT_NE(&copy.GetROI(1), attached);
  copy.DeleteROI(0);
  EXPECT_EQ(copy.GetROI(0).GetBounds(), Diagonal().GetBounds());  // the gap closes
  EXPECT_THROW(copy.DeleteROI(7), XInternalError);
  copy = rois;
  EXPECT_TRUE(copy.IsEqualTo(rois));
  copy.ClipToBounds(X3DRect(0, 0, 0, 6, 6, 1));
  EXPECT_EQ(copy.GetROI(0).GetBounds(), X3DRect(0, 0, 0, 2, 2, 1));
  EXPECT_TRUE(copy.GetROI(3).GetRegion().IsEmpty());
  copy.Map(X3DRect(0, 0, 0, 10, 10, 1), X3DRect(0, 0, 0, 20, 20, 1));
  EXPECT_EQ(copy.GetROI(0).GetBounds(), X3DRect(0, 0, 0, 4, 4, 1));
}

TEST_F(ROICollection, CombinedRegionsAndHitTests) {
  EXPECT_TRUE(XROICollection().GetCombinedRegion().IsEmpty());
  const XROICollection one{Diagonal()};
  EXPECT_TRUE(one.GetCombinedRegion().IsEqual(Diagonal()));

  // Two boxes that together form a box end as a plain box.
  XROICollection halves;
  halves.AddROI(XCuboidROI(X3DRect(0, 0, 0, 2, 4, 1)));
  halves.AddROI(XCuboidROI(X3DRect(2, 0, 0, 4, 4, 1)));
  halves.AddROI(XCuboidROI(X3DRect()));  // empty: does not stretch the union
  const X3DRegion joined = halves.GetCombinedRegion();
  EXPECT_TRUE(joined.IsSimple());
  EXPECT_EQ(joined.GetBounds(), X3DRect(0, 0, 0, 4, 4, 1));

  XROICollection mixed;
  mixed.AddROI(XIrregularROI(Diagonal()));
  mixed.AddROI(XCuboidROI(X3DRect(10, 12, 0, 11, 13, 1)));
  X3DRegion expected = Diagonal();
  expected.Union(X3DRegion(X3DRect(10, 12, 0, 11, 13, 1)));
  EXPECT_TRUE(mixed.GetCombinedRegion().IsEqual(expected));
  EXPECT_EQ(mixed.GetROIsContaining(X3DPoint(11, 11, 0)), (XVector<UInt32>{0}));
  EXPECT_TRUE(mixed.GetROIsContaining(X3DPoint(11, 10, 0)).empty());  // in the box, not in the mask
  EXPECT_EQ(mixed.GetROIsContaining(X3DPoint(10, 12, 0)), (XVector<UInt32>{1}));
}

TEST_F(ROICollection, Equality) {
  XROICollection a, b;
  a.AddROI(XIrregularROI(Diagonal()));
  b.AddROI(XIrregularROI(Diagonal()));
  EXPECT_TRUE(a.IsEqualTo(b));
  EXPECT_FALSE(a.FastButInaccurateIsEqualTo(b));  // two complex regions are never looked at
  a.AddROI(XCuboidROI(X3DRect(0, 0, 0, 1, 1, 1)));
  EXPECT_FALSE(a.IsEqualTo(b));
  b.AddROI(XCuboidROI(X3DRect(0, 0, 0, 1, 1, 1)));
  EXPECT_TRUE(a.IsEqualTo(b));
  // Order counts.
  XROICollection c;
  c.AddROI(a.GetROI(1));
  c.AddROI(a.GetROI(0));
  EXPECT_FALSE(a.IsEqualTo(c));
}

TEST_F(ROICollection, StoredForm) {
  XROICollection rois;
  rois.AddROI(XCuboidROI(X3DRect(0, 0, 0, 3, 3, 3)));
  rois.AddROI(XEllipseROI(X3DRect(1, 1, 0, 8, 6, 2), kYZPlane));
  rois.AddROI(XIrregularROI(Diagonal()));
  ExpectRoundTrip<XROICollection>(rois, [&](const XROICollection& copy) {
    EXPECT_TRUE(copy.IsEqualTo(rois));
    EXPECT_TRUE(dynamic_cast<const XEllipseROI*>(&copy.GetROI(1)));
  });
  ExpectRoundTrip<XROICollection>(XROICollection());

  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    // A null entry is kept as null, counts as empty, and is written back as one.
    Bytes withNull(order);
    withNull.U32(127).U32(127).U32(2).U32(0);
    withNull.Raw(std::vector<UInt8>(WriteToBytes(XCuboidROI(X3DRect(0, 0, 0, 1, 1, 1)), order)));
    std::unique_ptr<XROICollection> read = ReadFromBytes<XROICollection>(withNull.Get(), order);
    EXPECT_EQ(read->GetROICount(), 2u);
    EXPECT_FALSE(read->AreAllEmpty());
    EXPECT_EQ(WriteToBytes(*read, order), withNull.Get());
    EXPECT_THROW(read->GetROI(0), XInternalError);
    EXPECT_EQ(read->DeleteEmptyROIsAndReSynchSelection({1}), (XSet<UInt32>{0}));
    EXPECT_EQ(read->GetROICount(), 1u);
  }

  // An entry of another class, and a count beyond the stream.
  XMemoryStream other;
  other.Write32(127);
  other.Write32(127);
  other.Write32(1);
  other.WriteObject(X3DRect());
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XROICollection>(other.GetBytes()); }), kErrWrongClass);
  Bytes tooMany;
  tooMany.U32(127).U32(127).U32(0x10000000);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XROICollection>(tooMany.Get()); }), kErrBadStreamSize);
  // A collection is no ROI, so a stream cannot nest collections.
  Bytes nested;
  for (int i = 0; i < 200; ++i) nested.U32(127).U32(127).U32(1);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<XROICollection>(nested.Get()); }), kErrWrongClass);

  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    XROICollection small;
    small.AddROI(XCuboidROI(X3DRect(0, 0, 0, 2, 2, 1)));
    small.AddROI(XIrregularROI(RegionFromRows({"#.", "##"})));
    ExpectDamageRefused(WriteToBytes(small, order), order);
  }
}
