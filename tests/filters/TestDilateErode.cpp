// Dilation and erosion: offset lists, iterations, the edge flag, colours by
// brightness with ties, against a brute-force reference; worker counts.
#include "FilterTestSupport.h"
#include "filters/XDilateErodeFilterVolumeTools.h"

using namespace filtertest;

namespace {

template <class T>
Float64 Rank(const T& inVoxel) {
  if constexpr (std::is_same_v<T, XARGB32Colour>)
    return inVoxel.GetIntensity();
  else
    return Float64(inVoxel);
}

// The rule as stated, voxel by voxel, iteration by iteration.
template <class V>
std::unique_ptr<V> ReferenceMorphology(const V& inSource, bool inDilate, UInt32 inIterations,
                                       const std::vector<X3DPoint>& inOffsets, bool inEdgeFlag) {
  using T = typename V::Voxel;
  auto work = std::make_unique<V>(inSource);
  for (UInt32 i = 0; i < inIterations; ++i) {
    const XSnapshot<V> s(*work);
    auto next = std::make_unique<V>(inSource.GetBounds());
    FillWith(*next, [&](SInt32 x, SInt32 y, SInt32 z) {
      T best = s.At(x, y, z);
      for (const X3DPoint& o : inOffsets) {
        if (!s.Contains(SInt64(x) + o.x, SInt64(y) + o.y, SInt64(z) + o.z)) {
          if (inEdgeFlag) return T();
          continue;
        }
        const T& v = s.At(x + o.x, y + o.y, z + o.z);
        if (inDilate ? Rank(v) > Rank(best) : Rank(v) < Rank(best)) best = v;
      }
      return best;
    });
    work = std::move(next);
  }
  return work;
}

template <class V>
void ExpectMorphologyMatchesReference(UInt32 inLevels) {
  const auto source = RandomVolume<V>(X3DRect(-4, 0, 3, 30, 13, 9), 23, inLevels);
  const std::vector<std::vector<X3DPoint>> shapes{
      {},  // the six neighbours
      {X3DPoint(2, 0, 0), X3DPoint(-1, -1, 0), X3DPoint(0, 3, -2), X3DPoint(40, 0, 0)},
      {X3DPoint(1, 1, 1), X3DPoint(-1, 1, 0), X3DPoint(0, 0, 0)}};
  for (const auto& offsets : shapes)
    for (UInt32 iterations : {1u, 3u}) {
      XDilateFilterVolumeTool dilate(iterations, offsets);
      const auto& used = dilate.GetOffsets();
      SCOPED_TRACE(testing::Message() << source->GetDescription() << " offsets " << used.size() << " iterations "
                                      << iterations);
      ExpectSameVoxels(*ReferenceMorphology(*source, true, iterations, used, false), *Filtered(dilate, *source));
      for (bool edge : {false, true}) {
        XErodeFilterVolumeTool erode(iterations, offsets, edge);
        ExpectSameVoxels(*ReferenceMorphology(*source, false, iterations, used, edge), *Filtered(erode, *source));
      }
    }
}

}  // namespace

TEST_F(FilterTest, DilationAndErosionFollowTheOffsetsForEveryServedType) {
  ExpectMorphologyMatchesReference<XGrey8Volume>(256);
  ExpectMorphologyMatchesReference<XGrey16Volume>(6);
  ExpectMorphologyMatchesReference<XFPVolume>(100);
  ExpectMorphologyMatchesReference<XARGB32Volume>(3);  // many brightness ties
  const auto mask = RandomVolume<XMaskVolume>(X3DRect(0, 0, 0, 9, 9, 3), 2, 2);
  XDilateFilterVolumeTool dilate(1, {});
  ExpectSameVoxels(*ReferenceMorphology(*mask, true, 1, dilate.GetOffsets(), false), *Filtered(dilate, *mask));
}

TEST_F(FilterTest, MorphologyDefaultsEdgesTiesAndZeroIterations) {
  XDilateFilterVolumeTool six(1, {});
  EXPECT_EQ(six.GetOffsets(), (XVector<X3DPoint>{X3DPoint(-1, 0, 0), X3DPoint(1, 0, 0), X3DPoint(0, -1, 0),
                                                  X3DPoint(0, 1, 0), X3DPoint(0, 0, -1), X3DPoint(0, 0, 1)}));
  // The edge flag: everything within one step of the bounds becomes 0 at once.
  XGrey8Volume flat(5, 4, 3);
  flat.Fill(50);
  XErodeFilterVolumeTool edge(1, {}, true);
  const auto eroded = Filtered(edge, flat);
  for (SInt32 z = 0; z < 3; ++z)
    for (SInt32 y = 0; y < 4; ++y)
      for (SInt32 x = 0; x < 5; ++x)
        EXPECT_EQ(volumetest::VoxelAt(*eroded, x, y, z), x > 0 && x < 4 && y > 0 && y < 3 && z == 1 ? 50 : 0);
  // Colours: the brightest neighbour is copied whole, alpha too; on equal
  // brightness the earlier one stays.
  XARGB32Volume row(3, 1, 1);
  const std::vector<UInt32> words{0x0A00C800, 0x0BC80000, 0x0C0000C8};
  FillWith(row, [&](SInt32 x, SInt32, SInt32) {
    XARGB32Colour c;
    c.SetARGB(words[x]);
    return c;
  });
  XDilateFilterVolumeTool brighter(1, {X3DPoint(1, 0, 0)});
  const auto out = Filtered(brighter, row);
  EXPECT_EQ(volumetest::VoxelAt(*out, 0, 0, 0).GetARGB(), 0x0A00C800u);  // a tie keeps the centre
  XErodeFilterVolumeTool darker(1, {X3DPoint(1, 0, 0)}, false);
  XARGB32Colour dim;
  dim.SetARGB(0x0D101010);
  XARGB32Volume pair(2, 1, 1);
  FillWith(pair, [&](SInt32 x, SInt32, SInt32) { return x == 0 ? volumetest::VoxelAt(row, 1, 0, 0) : dim; });
  EXPECT_EQ(volumetest::VoxelAt(*Filtered(darker, pair), 0, 0, 0).GetARGB(), 0x0D101010u);
  // No iterations: the destination is left as it was made.
  XDilateFilterVolumeTool none(0, {});
  const auto random = RandomVolume<XGrey16Volume>(X3DRect(0, 0, 0, 6, 5, 2), 1);
  ExpectSameVoxels(*random, *Filtered(none, *random));
  // RGB48 and BGRA32 are not served.
  XRGB48Volume rgb(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(six.ApplyTool(rgb)); }), kErrNotForPixelType);
}

TEST_F(FilterTest, MorphologyResultsAreTheSameForOneTwoAndThreeWorkers) {
  const auto source = RandomVolume<XFPVolume>(X3DRect(0, 0, 0, 45, 30, 25), 12);
  XErodeFilterVolumeTool erode(2, {X3DPoint(1, 2, 0), X3DPoint(0, -1, 1), X3DPoint(-2, 0, 0)}, true);
  XWorkers one(1);
  const auto first = Filtered(erode, *source);
  for (UInt32 workers : {2u, 3u}) {
    XWorkers scope(workers);
    ExpectSameVoxels(*first, *Filtered(erode, *source));
  }
}
