// Polylines, tracks, hierarchical polylines and selected points: editing the
// graph, lengths and hit tests, and every stored form.
#include <cmath>

#include "data/X3DHierarchicalPolyLine.h"
#include "data/X3DPolyLine.h"
#include "data/X3DSelectedPoint.h"
#include "data/X4DTrack.h"
#include "DataTestSupport.h"

using namespace datatest;

namespace {

class PolyLine : public DataTest {};

// Every line is listed in both its nodes, and every node's lines are lines of the polyline.
template <class P>
void ExpectConsistent(const P& inLine) {
  for (auto* line : inLine.GetLines()) {
    for (auto* node : {line->GetNode1(), line->GetNode2()}) {
      EXPECT_GE(inLine.LocateNode(node), 0);
      const auto& lines = node->GetLines();
      EXPECT_NE(std::find(lines.begin(), lines.end(), line), lines.end());
    }
  }
  for (auto* node : inLine.GetNodes())
    for (auto* line : node->GetLines())
      EXPECT_NE(std::find(inLine.GetLines().begin(), inLine.GetLines().end(), line), inLine.GetLines().end());
}

// Node positions and lines as node ID pairs, for comparing copies.
template <class P>
std::vector<std::pair<SInt32, SInt32>> LinePairs(const P& inLine) {
  std::vector<std::pair<SInt32, SInt32>> pairs;
  for (auto* line : inLine.GetLines()) pairs.emplace_back(line->GetNode1()->GetID(), line->GetNode2()->GetID());
  return pairs;
}

X3DPolyLine Branching() {
  X3DPolyLine line;
  line.AppendNode(X3DPoint(0, 0, 0));   // 0
  line.AppendNode(X3DPoint(3, 4, 0));   // 1, line 0-1
  line.AddNode(X3DPoint(3, 4, 12), 1);  // 2, line 1-2
  line.AddNode(X3DPoint(9, 4, 0), 1);   // 3, line 1-3
  line.AddUnconnectedNode(X3DPoint(-5, 7, 2), 10);
  line.SetColour(XARGB32Colour(200, 10, 20, 30));
  line.SetPopulationID(77);
  return line;
}

}  // namespace

TEST_F(PolyLine, EditingKeepsTheGraphConsistent) {
  X3DPolyLine line;
  EXPECT_TRUE(line.IsEmpty());
  line.AppendNode(X3DPoint(1, 1, 1));
  EXPECT_EQ(line.GetLines().size(), 0u);  // one node: no line yet
  line.AppendNode(X3DPoint(2, 2, 2));
  EXPECT_EQ(line.GetLines().size(), 1u);
  EXPECT_FALSE(line.IsBranching());

  X3DPolyLine tree = Branching();
  ExpectConsistent(tree);
  EXPECT_TRUE(tree.IsBranching());  // node 1 has three lines
  EXPECT_EQ(tree.GetLength(), 5u);
  EXPECT_EQ(tree.GetNextNodeID(), 11);  // continues above the given ID
  EXPECT_EQ(tree.GetPositionOfNode(2), X3DPoint(3, 4, 12));
  EXPECT_EQ(tree.FindNode(42), nullptr);
  EXPECT_EQ(tree.LocateNode(tree.GetNode(10)), 4);

  tree.DeleteLine(3, 1);  // either direction names the line
  EXPECT_FALSE(tree.IsBranching());
  tree.DeleteNode(1);
  ExpectConsistent(tree);
  EXPECT_EQ(tree.GetLength(), 4u);
  EXPECT_TRUE(tree.GetLines().empty());
  tree.MoveNode(3, X3DPoint(1, 2, 3));
  EXPECT_EQ(tree.GetPositionOfNode(3), X3DPoint(1, 2, 3));
  tree.Offset(1, 1, 1);
  EXPECT_EQ(tree.GetPositionOfNode(3), X3DPoint(2, 3, 4));

  // A line from a node to itself is listed twice there and goes once.
  tree.AddLine(3, 3);
  EXPECT_EQ(tree.GetNode(3)->GetLines().size(), 2u);
  tree.DeleteNode(3);
  EXPECT_TRUE(tree.GetLines().empty());
  ExpectConsistent(tree);
}

TEST_F(PolyLine, NodeIDsContinueAfterDeletion) {
  X3DPolyLine line;
  EXPECT_EQ(line.AddNode(X3DPoint(0, 0, 0)), 0);
  line.DeleteNode(0);
  EXPECT_EQ(line.AddNode(X3DPoint(0, 0, 0)), 1);
}

TEST_F(PolyLine, PreconditionsOfEditing) {
  X3DPolyLine line = Branching();
  EXPECT_THROW(line.AddNode(X3DPoint(), 99), XInternalError);
  EXPECT_THROW(line.AddUnconnectedNode(X3DPoint(), 2), XInternalError);
  EXPECT_THROW(line.AddLine(0, 99), XInternalError);
  EXPECT_THROW(line.DeleteLine(0, 2), XInternalError);  // no such line
  EXPECT_THROW(line.DeleteNode(99), XInternalError);
  EXPECT_THROW(line.MoveNode(99, X3DPoint()), XInternalError);
  X3DPolyLine other = Branching();
  EXPECT_THROW(line.LocateNode(other.GetNode(0)), XInternalError);
  EXPECT_EQ(line.GetLength(), 5u);  // nothing changed on the way
  EXPECT_THROW(X3DHierarchicalPolyLine::GetBranchOrderColour(14), XInternalError);
}

TEST_F(PolyLine, CopiesAreDeepAndEqualityIsByLineObjects) {
  const X3DPolyLine source = Branching();
  X3DPolyLine copy(source);
  ExpectConsistent(copy);
  EXPECT_EQ(LinePairs(copy), LinePairs(source));
  EXPECT_EQ(copy.GetNextNodeID(), source.GetNextNodeID());
  // Equal in every value, yet no line object is shared.
  EXPECT_FALSE(copy == source);
  EXPECT_TRUE(source == source);
  X3DPolyLine a, b;
  a.AddNode(X3DPoint(1, 1, 1));
  b.AddNode(X3DPoint(5, 5, 5));  // positions are not compared
  EXPECT_TRUE(a == b);
  b.SetColour(XARGB32Colour(0, 0, 0, 0));  // alpha is ignored, red, green and blue are not
  EXPECT_TRUE(a == b);
  b.SetPopulationID(1);
  EXPECT_FALSE(a == b);

  // Float and integer kinds convert, truncating towards zero.
  X3DPolyLineF floats(source);
  EXPECT_EQ(LinePairs(floats), LinePairs(source));
  floats.MoveNode(0, X3DPointF(1.75f, -2.5f, 0.5f));
  X3DPolyLine back(floats);
  EXPECT_EQ(back.GetPositionOfNode(0), X3DPoint(1, -2, 0));
  EXPECT_EQ(back.GetPopulationID(), 77u);
}

TEST_F(PolyLine, Lengths) {
  X3DPolyLine line = Branching();
  Float64 pixels = -1, calibrated = -1;
  line.CalculateLength(2.0, 1.0, 0.5, pixels, calibrated);
  // Lines 0-1 (3,4,0), 1-2 (0,0,12), 1-3 (6,0,0).
  EXPECT_DOUBLE_EQ(pixels, 5.0 + 12.0 + 6.0);
  EXPECT_DOUBLE_EQ(calibrated, std::sqrt(36.0 + 16.0) + 6.0 + 12.0);
  X3DPolyLine empty;
  empty.CalculateLength(1, 1, 1, pixels, calibrated);
  EXPECT_EQ(pixels, 0.0);
  EXPECT_EQ(calibrated, 0.0);
}

TEST_F(PolyLine, PointCloseToLine) {
  struct Case {
    XPoint point, end1, end2;
    bool close;
  };
  const Case cases[] = {
      {{-2, 5}, {0, 0}, {0, 10}, true},    // exactly 2.0 away, on the inclusive left side
      {{2, 5}, {0, 0}, {0, 10}, false},    // exactly 2.0 away, but x = max x + 2 is outside
      {{5, -2}, {0, 0}, {10, 0}, true},    // the top side is inclusive
      {{5, 2}, {0, 0}, {10, 0}, false},    // the bottom side is not
      {{8, 2}, {0, 0}, {10, 10}, false},   // in the rectangle, 4.24 away
      {{11, 0}, {0, 0}, {10, 0}, true},    // on the line past an end, within the widening
      {{12, 0}, {0, 0}, {10, 0}, false},
      {{-2, 0}, {0, 0}, {10, 0}, true},
      {{3, 3}, {3, 3}, {3, 3}, false},     // equal ends divide 0 by 0
      {{1, 0}, {0, 0}, {2, 2}, true},      // 0.71 away from the diagonal
  };
  for (const Case& c : cases)
    EXPECT_EQ(X3DPolyLine::IsPointCloseToLine(c.point, c.end1, c.end2), c.close)
        << c.point.x << "," << c.point.y;
}

TEST_F(PolyLine, RemapScalesAboutZeroAndTruncates) {
  X3DPolyLine line;
  line.AppendNode(X3DPoint(10, 10, 3));
  line.AppendNode(X3DPoint(-7, 5, 1));
  const X3DPolyLine mapped =
      line.RemapToRect(X3DRect(100, 100, 0, 120, 130, 4), X3DRect(0, 0, 0, 30, 10, 2));
  EXPECT_EQ(mapped.GetPositionOfNode(0), X3DPoint(15, 3, 1));   // 10*1.5, 10/3 = 3.33, 3*0.5 = 1.5
  EXPECT_EQ(mapped.GetPositionOfNode(1), X3DPoint(-10, 1, 0));  // -10.5 truncates towards zero
  EXPECT_EQ(mapped.GetLines().size(), 1u);
  EXPECT_EQ(line.GetPositionOfNode(0), X3DPoint(10, 10, 3));  // the source stays
}

TEST_F(PolyLine, StoredFormsRoundTrip) {
  const X3DPolyLine line = Branching();
  ExpectRoundTrip<X3DPolyLine>(line, [&](const X3DPolyLine& copy) {
    EXPECT_EQ(copy.GetLength(), 5u);
    EXPECT_EQ(LinePairs(copy), (std::vector<std::pair<SInt32, SInt32>>{{0, 1}, {1, 2}, {1, 3}}));
    EXPECT_EQ(copy.GetPositionOfNode(4), X3DPoint(-5, 7, 2));  // IDs are renumbered in order
    EXPECT_EQ(copy.GetColour().GetARGB(), line.GetColour().GetARGB());
    EXPECT_EQ(copy.GetPopulationID(), 77u);
    EXPECT_EQ(copy.GetNextNodeID(), 5);
  });
  EXPECT_EQ(WriteToBytes(line).size(), 4 + line.GetStreamUsage());

  X3DPolyLineF floats(line);
  floats.MoveNode(2, X3DPointF(0.25f, -1.5f, 1e30f));
  ExpectRoundTrip<X3DPolyLineF>(floats, [](const X3DPolyLineF& copy) {
    EXPECT_EQ(copy.GetPositionOfNode(2), X3DPointF(0.25f, -1.5f, 1e30f));
  });
  EXPECT_EQ(WriteToBytes(floats).size(), 4 + floats.GetStreamUsage());

  X4DTrack track(12);
  track.AppendNode(X3DPointF(1, 2, 3));
  track.AppendNode(X3DPointF(4, 5, 6));
  ExpectRoundTrip<X4DTrack>(track, [](const X4DTrack& copy) {
    EXPECT_EQ(copy.GetFirstTimepoint(), 12u);
    EXPECT_EQ(copy.GetLines().size(), 1u);
  });

  X3DSelectedPoint point(XPointT<Float32>(3.9f, -4.2f), 7);
  EXPECT_EQ(point, X3DPoint(3, -4, 7));
  EXPECT_EQ(point.GetColour().GetARGB(), 0xFF000000u);  // opaque black
  point.SetColour(XARGB32Colour(128, 1, 2, 3));
  point.SetPopulationID(5);
  point.SetPopulationIndex(9);
  ExpectRoundTrip<X3DSelectedPoint>(point, [](const X3DSelectedPoint& copy) {
    EXPECT_EQ(copy, X3DPoint(3, -4, 7));
    EXPECT_EQ(copy.GetColour().GetARGB(), 0x80010203u);
    EXPECT_EQ(copy.GetPopulationID(), 5u);
    EXPECT_EQ(copy.GetPopulationIndex(), 9u);
  });
}

TEST_F(PolyLine, HierarchicalPolyLinesKeepDiametersAndTypes) {
  X3DHierarchicalPolyLine tree;
  tree.AddNode(X3DPointF(0, 0, 0), 4.5f, 1, -1, 0);  // a root: no line
  tree.AddNode(X3DPointF(1, 0, 0), 3.0f, 2, 1, 3);
  tree.AddNode(X3DPointF(2, 1, 0), 2.0f, 7, 2, 4);
  tree.AppendNode(X3DPointF(3, 3, 3));  // plain editing makes the richer kinds too
  static_cast<XPolyNodeWithDiameter*>(tree.GetNode(8))->SetNumber(-6);
  EXPECT_THROW(tree.AddNode(X3DPointF(), 1.0f, 9, 42, 0), XInternalError);
  const X3DHierarchicalPolyLine copy(tree);
  ExpectConsistent(copy);
  auto check = [](const X3DHierarchicalPolyLine& t) {
    ASSERT_EQ(t.GetLength(), 4u);
    ASSERT_EQ(t.GetLines().size(), 3u);
    const auto* node = dynamic_cast<const XPolyNodeWithDiameter*>(t.GetNodes()[1]);
    ASSERT_TRUE(node);
    EXPECT_EQ(node->GetDiameter(), 3.0f);
    EXPECT_EQ(dynamic_cast<const XPolyNodeWithDiameter*>(t.GetNodes()[3])->GetNumber(), -6);
    const auto* line = dynamic_cast<const XPolyLineWithType*>(t.GetLines()[1]);
    ASSERT_TRUE(line);
    EXPECT_EQ(line->GetType(), 4u);
  };
  check(copy);
  ExpectRoundTrip<X3DHierarchicalPolyLine>(tree, check);
  EXPECT_EQ(WriteToBytes(tree).size(), 4 + tree.GetStreamUsage());

  const UInt8 expected[][3] = {{0, 0, 255}, {255, 255, 0}, {255, 255, 255}, {255, 0, 255}, {0, 255, 0},
                               {0, 255, 255}, {192, 220, 192}, {128, 128, 0}, {128, 0, 128}, {0, 128, 128},
                               {100, 100, 100}, {166, 202, 240}, {128, 0, 0}, {0, 128, 0}};
  for (UInt32 order = 0; order < 14; ++order) {
    const XARGB32Colour c = X3DHierarchicalPolyLine::GetBranchOrderColour(order);
    EXPECT_EQ(c.GetARGB(), XARGB32Colour(expected[order][0], expected[order][1], expected[order][2]).GetARGB());
    EXPECT_EQ(c.GetAlpha(), 255);
  }
}

TEST_F(PolyLine, OlderVersionsRead) {
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    // Version 0: no line list; the nodes are chained in order.
    Bytes v0(order);
    v0.U32(110).U32(110).U32(3).U32(1).U32(2).U32(3).U32(4).U32(5).U32(6).U32(UInt32(-7)).U32(8).U32(9);
    v0.U8(10).U8(20).U8(30).U8(40);
    auto chain = ReadFromBytes<X3DPolyLine>(v0.Get(), order);
    EXPECT_EQ(LinePairs(*chain), (std::vector<std::pair<SInt32, SInt32>>{{0, 1}, {1, 2}}));
    EXPECT_EQ(chain->GetPositionOfNode(2), X3DPoint(-7, 8, 9));
    EXPECT_EQ(chain->GetColour().GetARGB(), XARGB32Colour(40, 10, 20, 30).GetARGB());

    // Version 1: lines by node index, no population ID.
    Bytes v1(order);
    v1.U32(0x0001006E).U32(0x0001006E).U32(2).U32(0).U32(0).U32(0).U32(1).U32(1).U32(1);
    v1.U32(1).U32(1).U32(0).U8(1).U8(2).U8(3).U8(4);
    auto lines = ReadFromBytes<X3DPolyLine>(v1.Get(), order);
    EXPECT_EQ(LinePairs(*lines), (std::vector<std::pair<SInt32, SInt32>>{{1, 0}}));
    EXPECT_EQ(lines->GetPopulationID(), 0u);
  }
}

TEST_F(PolyLine, DamagedStreamsFailCleanly) {
  // Versions above the known ones, and lines naming nodes that are not there.
  Bytes newer;
  newer.U32(0x0003006E).U32(0x0003006E).U32(0).U32(0).U8(0).U8(0).U8(0).U8(0).U32(0);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DPolyLine>(newer.Get()); }), kErrNewerVersion);
  Bytes badIndex;
  badIndex.U32(0x0002006E).U32(0x0002006E).U32(1).U32(0).U32(0).U32(0).U32(1).U32(0).U32(1);
  badIndex.U8(0).U8(0).U8(0).U8(0).U32(0);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DPolyLine>(badIndex.Get()); }), kErrBadStreamSize);
  Bytes hugeCount;
  hugeCount.U32(0x0002006E).U32(0x0002006E).U32(0x40000000);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DPolyLine>(hugeCount.Get()); }), kErrBadStreamSize);
  // The wrong class at a layer's tag.
  Bytes wrong;
  wrong.U32(119).U32(110);
  EXPECT_EQ(ErrorOf([&] { ReadFromBytes<X3DPolyLineF>(wrong.Get()); }), kErrWrongClass);

  X3DHierarchicalPolyLine tree;
  tree.AddNode(X3DPointF(0, 0, 0), 1.0f, 0, -1, 0);
  tree.AddNode(X3DPointF(1, 1, 1), 1.0f, 1, 0, 2);
  X4DTrack track(3);
  track.AppendNode(X3DPointF(1, 2, 3));
  track.AppendNode(X3DPointF(2, 2, 3));
  for (XByteOrder order : {kLittleEndian, kBigEndian}) {
    ExpectDamageRefused(WriteToBytes(Branching(), order), order);
    ExpectDamageRefused(WriteToBytes(tree, order), order);
    ExpectDamageRefused(WriteToBytes(track, order), order);
    ExpectDamageRefused(WriteToBytes(X3DSelectedPoint(1, 2, 3), order), order);
  }
}
