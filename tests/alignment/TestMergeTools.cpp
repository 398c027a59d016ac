// Focus merging, projections, sums, stereo pairs and seam blending.
#include <algorithm>
#include <memory>
#include <random>
#include <set>

#include "AlignmentTestSupport.h"
#include "alignment/XBPMergeTool.h"
#include "alignment/XBestFocusMergeTool.h"
#include "alignment/XCombineMergeTool.h"
#include "alignment/XImageSeamBlendingTool.h"
#include "alignment/XRBStereoMergeTool.h"
#include "core/XException.h"
#include "core/XWorkerPool.h"

using namespace aligntest;
using volumetest::ErrorOf;
using volumetest::FillWith;
using volumetest::VoxelAt;

namespace {

class MergeTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() { volumetest::RegisterVolumeClasses(); }
};

template <class V>
V& As(XVolume& inVolume) {
  V* typed = dynamic_cast<V*>(&inVolume);
  EXPECT_NE(typed, nullptr);
  return *typed;
}

// ---- best focus

// The voxel value of plane z at (x, y) in each type, from a grey level.
template <class V>
typename V::Voxel Level(UInt32 inLevel) {
  using T = typename V::Voxel;
  if constexpr (std::is_same_v<T, XARGB32Colour>)
    return XARGB32Colour(UInt8(inLevel), UInt8(inLevel), UInt8(inLevel));
  else if constexpr (std::is_same_v<T, XRGB48Colour>)
    return XRGB48Colour(UInt16(inLevel * 200));
  else if constexpr (std::is_same_v<T, UInt16>)
    return UInt16(inLevel * 200);
  else
    return T(inLevel);
}

template <class V>
class BestFocusTest : public MergeTest {};
using FocusTypes = ::testing::Types<XGrey8Volume, XGrey16Volume, XFPVolume, XARGB32Volume, XRGB48Volume>;
TYPED_TEST_SUITE(BestFocusTest, FocusTypes);

TYPED_TEST(BestFocusTest, FlatStackTakesTheLastPlaneInside) {
  // Planes of different flat levels: every measure is 0, and ties go up.
  TypeParam stack(X3DRect(4, 2, 7, 20, 14, 12));
  FillWith(stack, [](SInt32, SInt32, SInt32 z) { return Level<TypeParam>(10 * UInt32(z - 7) + 5); });
  XBestFocusMergeTool tool;
  std::unique_ptr<XVolume> merged(tool.ApplyTool(stack));
  auto& plane = As<TypeParam>(*merged);
  EXPECT_EQ(plane.GetBounds(), X3DRect(4, 2, 7, 20, 14, 8));
  for (SInt32 y = 3; y < 13; ++y)
    for (SInt32 x = 5; x < 19; ++x) ASSERT_EQ(VoxelAt(plane, x, y, 7), Level<TypeParam>(45)) << x << " " << y;
  // The smoothing window is clipped at the border without renormalising, so
  // the truncated mean index falls there: a corner keeps 109 / 209 of plane 4.
  EXPECT_EQ(VoxelAt(plane, 4, 2, 7), Level<TypeParam>(25));
}

TEST_F(MergeTest, BestFocusIndexIsTruncatedAfterFloatSmoothing) {
  // The smoothing sums normalised float weights, and for some uniform
  // indices the sum lands just below the index: a flat stack of depth 4
  // keeps plane 2, not 3, inside as well.
  XGrey8Volume stack(8, 8, 4);
  FillWith(stack, [](SInt32, SInt32, SInt32 z) { return UInt8(10 * z); });
  XBestFocusMergeTool tool;
  std::unique_ptr<XVolume> merged(tool.ApplyTool(stack));
  EXPECT_EQ(VoxelAt(As<XGrey8Volume>(*merged), 4, 4, 0), 20);
}

TYPED_TEST(BestFocusTest, SharpPlaneWinsWithASmoothedBorder) {
  // Plane 2 of 5 carries a fine checkerboard in the square 8..24; the others are flat.
  TypeParam stack(32, 32, 5);
  FillWith(stack, [](SInt32 x, SInt32 y, SInt32 z) {
    const bool textured = z == 2 && x >= 8 && x < 24 && y >= 8 && y < 24;
    return Level<TypeParam>(textured ? ((x + y) % 2 ? 250 : 20) : 40 + 10 * UInt32(z));
  });
  XBestFocusMergeTool tool;
  std::unique_ptr<XVolume> merged(tool.ApplyTool(stack));
  auto& plane = As<TypeParam>(*merged);
  EXPECT_EQ(VoxelAt(plane, 15, 15, 0), VoxelAt(stack, 15, 15, 2));
  EXPECT_EQ(VoxelAt(plane, 12, 20, 0), VoxelAt(stack, 12, 20, 2));
  EXPECT_EQ(VoxelAt(plane, 28, 16, 0), Level<TypeParam>(80));
  // Across the square's edge the smoothed index passes through plane 3.
  std::set<UInt32> seen;
  for (SInt32 x = 4; x < 8; ++x) {
    const auto v = VoxelAt(plane, x, 16, 0);
    for (UInt32 z = 0; z < 5; ++z)
      if (v == VoxelAt(stack, 0, 0, SInt32(z))) seen.insert(z);
  }
  EXPECT_TRUE(seen.count(3)) << "no voxel from the neighbouring plane";
}

TEST_F(MergeTest, BestFocusOfOnePlaneAndUnservedTypes) {
  XGrey8Volume single(X3DRect(1, 1, 3, 9, 6, 4));
  FillWith(single, [](SInt32 x, SInt32 y, SInt32) { return UInt8(x * 9 + y); });
  XBestFocusMergeTool tool;
  std::unique_ptr<XVolume> merged(tool.ApplyTool(single));
  EXPECT_TRUE(*merged == single);

  XGrey32Volume labels(4, 4, 2);
  labels.Clear();
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(tool.ApplyTool(labels)); }), kErrNotForPixelType);
}

// ---- brightest point, sums and averages

TEST_F(MergeTest, BrightestPointAlongEachAxis) {
  XGrey8Volume stack(X3DRect(10, 20, 30, 14, 23, 32));  // 4 x 3 x 2
  FillWith(stack, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(z == 30 ? 10 * (x - 10) : 5 * (y - 20) + 1); });
  XBPMergeTool tool;
  std::unique_ptr<XVolume> xy(tool.MergeVolumeToXYPlane(stack));
  auto& planeXY = As<XGrey8Volume>(*xy);
  EXPECT_EQ(planeXY.GetBounds(), X3DRect(10, 20, 30, 14, 23, 31));
  EXPECT_EQ(VoxelAt(planeXY, 10, 22, 30), 11);  // max(0, 11)
  EXPECT_EQ(VoxelAt(planeXY, 13, 21, 30), 30);  // max(30, 6)

  std::unique_ptr<XVolume> xz(tool.MergeVolumeToXZPlane(stack));
  auto& planeXZ = As<XGrey8Volume>(*xz);
  EXPECT_EQ(planeXZ.GetBounds(), X3DRect(10, 30, 20, 14, 32, 21));
  EXPECT_EQ(VoxelAt(planeXZ, 12, 30, 20), 20);  // plane 30: 10 * 2 on every row
  EXPECT_EQ(VoxelAt(planeXZ, 12, 31, 20), 11);  // plane 31: rows give 1, 6, 11

  std::unique_ptr<XVolume> yz(tool.MergeVolumeToYZPlane(stack));
  auto& planeYZ = As<XGrey8Volume>(*yz);
  EXPECT_EQ(planeYZ.GetBounds(), X3DRect(30, 20, 10, 32, 23, 11));
  EXPECT_EQ(VoxelAt(planeYZ, 30, 21, 10), 30);
  EXPECT_EQ(VoxelAt(planeYZ, 31, 21, 10), 6);

  // Colour: each byte takes its own maximum, alpha too.
  XARGB32Volume colours(2, 1, 2);
  FillWith(colours, [](SInt32 x, SInt32, SInt32 z) {
    return z == 0 ? XARGB32Colour(UInt8(9), UInt8(200), UInt8(3), UInt8(x)) : XARGB32Colour(UInt8(7), UInt8(1), UInt8(90), UInt8(50));
  });
  std::unique_ptr<XVolume> projected(tool.MergeVolumeToPlane(colours));
  const XARGB32Colour c = VoxelAt(As<XARGB32Volume>(*projected), 1, 0, 0);
  EXPECT_EQ(c.alpha, 9);
  EXPECT_EQ(c.red, 200);
  EXPECT_EQ(c.green, 90);
  EXPECT_EQ(c.blue, 50);

  XGrey16Volume single(3, 3, 1);
  FillWith(single, [](SInt32 x, SInt32 y, SInt32) { return UInt16(x * 1000 + y); });
  std::unique_ptr<XVolume> clone(tool.MergeVolumeToPlane(single));
  EXPECT_TRUE(*clone == single);
}

TEST_F(MergeTest, ListFormsWeighAndSaturate) {
  auto grey = [](UInt8 inValue) {
    auto v = new XGrey8Volume(3, 2, 1);
    v->Fill(inValue);
    return v;
  };
  XBPMergeTool bp;
  {
    XPtrVector<XVolume> sources;
    sources.push_back(grey(255));
    sources.push_back(grey(100));
    std::unique_ptr<XVolume> half(bp.MergeVolumesToVolume(sources, {0.5, 1.0}));
    EXPECT_EQ(VoxelAt(As<XGrey8Volume>(*half), 2, 1, 0), 127);
    std::unique_ptr<XVolume> loud(bp.MergeVolumesToVolume(sources, {0.1, 3.0}));
    EXPECT_EQ(VoxelAt(As<XGrey8Volume>(*loud), 0, 0, 0), 255);
  }
  XCombineMergeTool combine;
  XAverageMergeTool average;
  {
    XPtrVector<XVolume> sources;
    sources.push_back(grey(200));
    sources.push_back(grey(200));
    std::unique_ptr<XVolume> sum(combine.CombineVolumesToVolume(sources, {1.0, 1.0}));
    EXPECT_EQ(VoxelAt(As<XGrey8Volume>(*sum), 1, 1, 0), 255);
    std::unique_ptr<XVolume> weighted(combine.CombineVolumesToVolume(sources, {0.25, 0.3}));
    EXPECT_EQ(VoxelAt(As<XGrey8Volume>(*weighted), 1, 1, 0), 110);  // 50, then 50 + 60
    std::unique_ptr<XVolume> mean(average.AverageVolumesToVolume(sources, {1.0, 1.0}));
    EXPECT_EQ(VoxelAt(As<XGrey8Volume>(*mean), 1, 1, 0), 200);
  }
  // The stack forms of both sum and saturate alike.
  XGrey8Volume stack(2, 2, 2);
  stack.Fill(200);
  std::unique_ptr<XVolume> stackSum(combine.CombineVolumeToPlane(stack));
  std::unique_ptr<XVolume> stackMean(average.AverageVolumeToPlane(stack));
  EXPECT_EQ(VoxelAt(As<XGrey8Volume>(*stackSum), 0, 0, 0), 255);
  EXPECT_TRUE(*stackSum == *stackMean);

  // Floats do not saturate; RGB48 components do, each on its own.
  XPtrVector<XVolume> floats;
  for (int i = 0; i < 2; ++i) {
    auto v = new XFPVolume(2, 1, 1);
    v->Fill(1e6f);
    floats.push_back(v);
  }
  std::unique_ptr<XVolume> bigSum(combine.CombineVolumesToVolume(floats, {1.0, 2.0}));
  EXPECT_EQ(VoxelAt(As<XFPVolume>(*bigSum), 1, 0, 0), 3e6f);
  XRGB48Volume colour(1, 1, 2);
  FillWith(colour, [](SInt32, SInt32, SInt32) { return XRGB48Colour(40000, 100, 30000); });
  std::unique_ptr<XVolume> colourSum(combine.CombineVolumeToPlane(colour));
  EXPECT_EQ(VoxelAt(As<XRGB48Volume>(*colourSum), 0, 0, 0), XRGB48Colour(65535, 200, 60000));
}

TEST_F(MergeTest, ListFormPreconditionsAndTypes) {
  XBPMergeTool bp;
  XCombineMergeTool combine;
  XPtrVector<XVolume> sources;
  sources.push_back(new XGrey8Volume(3, 2, 1));
  sources.push_back(new XGrey8Volume(X3DRect(1, 0, 0, 4, 2, 1)));
  sources[0]->Clear();
  sources[1]->Clear();
  EXPECT_THROW(bp.MergeVolumesToVolume(sources, {1.0}), XInternalError);
  EXPECT_THROW(bp.MergeVolumesToVolume(sources, {1.0, 1.0}), XInternalError);
  EXPECT_THROW(combine.CombineVolumesToVolume(sources, {1.0, 1.0}), XInternalError);

  XGrey32Volume labels(2, 2, 2);
  labels.Clear();
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(bp.MergeVolumeToPlane(labels)); }), kErrNotForPixelType);
  XBGRA32Volume bgra(2, 2, 2);
  bgra.Clear();
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(combine.CombineVolumeToPlane(bgra)); }), kErrNotForPixelType);
}

template <class V>
class StackMergeTest : public MergeTest {};
using MergeTypes = ::testing::Types<XMaskVolume, XGrey8Volume, XGrey16Volume, XFPVolume, XARGB32Volume, XRGB48Volume>;
TYPED_TEST_SUITE(StackMergeTest, MergeTypes);

TYPED_TEST(StackMergeTest, ProjectionsAndSumsOfEveryServedType) {
  // Two planes: a low level on the left half and a high one on the right,
  // swapped in the second plane; the sum of the two levels saturates in the
  // 8-bit types only.
  TypeParam stack(4, 2, 2);
  FillWith(stack, [](SInt32 x, SInt32, SInt32 z) { return Level<TypeParam>((x < 2) == (z == 0) ? 100 : 200); });
  XBPMergeTool bp;
  std::unique_ptr<XVolume> brightest(bp.MergeVolumeToPlane(stack));
  auto& top = As<TypeParam>(*brightest);
  EXPECT_EQ(VoxelAt(top, 0, 1, 0), Level<TypeParam>(200));
  EXPECT_EQ(VoxelAt(top, 3, 0, 0), Level<TypeParam>(200));

  XCombineMergeTool combine;
  std::unique_ptr<XVolume> sum(combine.CombineVolumeToPlane(stack));
  using T = typename TypeParam::Voxel;
  T expected = Level<TypeParam>(300);
  if constexpr (std::is_same_v<T, UInt8>) expected = 255;
  if constexpr (std::is_same_v<T, XARGB32Colour>) expected = XARGB32Colour(UInt8(255), UInt8(255), UInt8(255), UInt8(255));
  EXPECT_EQ(VoxelAt(As<TypeParam>(*sum), 1, 1, 0), expected);

  // The list form of the average halves each weight: the mean of the planes.
  XPtrVector<XVolume> planes;
  for (UInt32 z = 0; z < 2; ++z) {
    auto plane = new TypeParam(4, 2, 1);
    FillWith(*plane, [&](SInt32 x, SInt32 y, SInt32) { return VoxelAt(stack, x, y, SInt32(z)); });
    planes.push_back(plane);
  }
  XAverageMergeTool average;
  std::unique_ptr<XVolume> mean(average.AverageVolumesToVolume(planes, {1.0, 1.0}));
  T half = Level<TypeParam>(150);
  // Alpha, a byte like the others: 255 * 0.5 truncates to 127, and 127 + 127.5 to 254.
  if constexpr (std::is_same_v<T, XARGB32Colour>) half.alpha = 254;
  EXPECT_EQ(VoxelAt(As<TypeParam>(*mean), 2, 0, 0), half);
}

TEST_F(MergeTest, BandedMergesAreTheSameForEveryWorkerCount) {
  // Wide enough rows that the stack splits into several bands of rows.
  XGrey16Volume stack(1024, 100, 3);
  std::mt19937 engine(9);
  std::uniform_int_distribution<int> noise(0, 65535);
  FillWith(stack, [&](SInt32, SInt32, SInt32) { return UInt16(noise(engine)); });
  XBestFocusMergeTool focus;
  XBPMergeTool bp;
  XWorkerPool::SetWorkerCount(1);
  std::unique_ptr<XVolume> focusAlone(focus.ApplyTool(stack));
  std::unique_ptr<XVolume> brightestAlone(bp.MergeVolumeToPlane(stack));
  XWorkerPool::SetWorkerCount(3);
  std::unique_ptr<XVolume> focusShared(focus.ApplyTool(stack));
  std::unique_ptr<XVolume> brightestShared(bp.MergeVolumeToPlane(stack));
  XWorkerPool::SetWorkerCount(0);
  EXPECT_TRUE(*focusAlone == *focusShared);
  EXPECT_TRUE(*brightestAlone == *brightestShared);
  const UInt16 expected = std::max({VoxelAt(stack, 700, 90, 0), VoxelAt(stack, 700, 90, 1), VoxelAt(stack, 700, 90, 2)});
  EXPECT_EQ(VoxelAt(As<XGrey16Volume>(*brightestShared), 700, 90, 0), expected);
}

// ---- stereo and seams

TEST_F(MergeTest, StereoPairTakesRedFromTheRightAndBlueFromTheLeft) {
  XARGB32Volume left(X3DRect(0, 0, 0, 4, 3, 1)), right(X3DRect(2, 1, 0, 6, 3, 1));
  left.Fill(XARGB32Colour(UInt8(255), UInt8(11), UInt8(22), UInt8(33)));
  right.Fill(XARGB32Colour(UInt8(255), UInt8(44), UInt8(55), UInt8(66)));
  XRBStereoMergeTool tool;
  std::unique_ptr<XARGB32Volume> merged(tool.MergeImages(left, right));
  EXPECT_EQ(merged->GetBounds(), X3DRect(0, 0, 0, 6, 3, 1));
  const XARGB32Colour both = VoxelAt(*merged, 3, 2, 0);
  EXPECT_EQ(both, XARGB32Colour(UInt8(0), UInt8(44), UInt8(33), UInt8(33)));
  EXPECT_EQ(VoxelAt(*merged, 0, 0, 0), XARGB32Colour(UInt8(255), UInt8(11), UInt8(22), UInt8(33)));
  EXPECT_EQ(VoxelAt(*merged, 5, 1, 0), XARGB32Colour(UInt8(0), UInt8(44), UInt8(0), UInt8(0)));

  XARGB32Volume deeper(X3DRect(0, 0, 1, 4, 3, 2));
  deeper.Clear();
  EXPECT_THROW(tool.MergeImages(left, deeper), XInternalError);
}

TEST_F(MergeTest, SeamBlendRampsAcrossTheOverlapInBothTiles) {
  XImageSeamBlendingTool tool;
  // Side by side: tiles of 10 columns, the second placed 6 to the right.
  XGrey8Volume first(10, 6, 1), second(10, 6, 1);
  first.Fill(0);
  second.Fill(200);
  tool.ApplyTool(first, second, X3DRect(0, 0, 0, 10, 6, 1), X3DRect(6, 0, 0, 16, 6, 1));
  const UInt8 ramp[4] = {0, 50, 100, 150};
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(VoxelAt(first, 6 + i, 3, 0), ramp[i]) << i;
    EXPECT_EQ(VoxelAt(second, i, 3, 0), ramp[i]) << i;
  }
  EXPECT_EQ(VoxelAt(first, 5, 3, 0), 0);
  EXPECT_EQ(VoxelAt(second, 4, 3, 0), 200);

  // Stacked vertically, the first below: the ramp runs along Y from the second.
  XGrey16Volume upper(X3DRect(100, 100, 0, 108, 108, 1)), lower(8, 8, 1);
  upper.Fill(1000);
  lower.Fill(3000);
  tool.ApplyTool(lower, upper, X3DRect(0, 6, 0, 8, 14, 1), X3DRect(0, 0, 0, 8, 8, 1));
  EXPECT_EQ(VoxelAt(upper, 103, 106, 0), 1000);
  EXPECT_EQ(VoxelAt(upper, 103, 107, 0), 2000);
  EXPECT_EQ(VoxelAt(lower, 3, 1, 0), 2000);
  EXPECT_EQ(VoxelAt(lower, 3, 2, 0), 3000);

  // Colour: three components blend, each tile keeps its alpha.
  XARGB32Volume a(4, 2, 1), b(4, 2, 1);
  a.Fill(XARGB32Colour(UInt8(10), UInt8(0), UInt8(100), UInt8(200)));
  b.Fill(XARGB32Colour(UInt8(20), UInt8(100), UInt8(0), UInt8(200)));
  tool.ApplyTool(a, b, X3DRect(0, 0, 0, 4, 2, 1), X3DRect(2, 0, 0, 6, 2, 1));
  EXPECT_EQ(VoxelAt(a, 3, 0, 0), XARGB32Colour(UInt8(10), UInt8(50), UInt8(50), UInt8(200)));
  EXPECT_EQ(VoxelAt(b, 1, 0, 0), XARGB32Colour(UInt8(20), UInt8(50), UInt8(50), UInt8(200)));

  XGrey8Volume grey(4, 2, 1);
  grey.Clear();
  EXPECT_THROW(tool.ApplyTool(grey, a, X3DRect(4, 2, 1), X3DRect(4, 2, 1)), XInternalError);
  XGrey32Volume labelsA(4, 2, 1), labelsB(4, 2, 1);
  labelsA.Clear();
  labelsB.Clear();
  EXPECT_EQ(ErrorOf([&] { tool.ApplyTool(labelsA, labelsB, X3DRect(4, 2, 1), X3DRect(4, 2, 1)); }),
            kErrNotForPixelType);
}

}  // namespace
