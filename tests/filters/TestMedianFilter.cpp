// Median filters: the lower median of the gathered window for every served
// pixel type against a brute-force reference, the edges of the window, the
// chunk form with zeros, the selection itself, and worker counts.
#include <algorithm>
#include <limits>

#include "FilterTestSupport.h"
#include "filters/XMedianFilterVolumeTool.h"
#include "filters/internal/XQuickSelect.h"
#include "filters/internal/XSelectionNetwork.h"

using namespace filtertest;

namespace {

// The median as stated: the cube from -size / 2 over size steps; positions
// outside the source dropped, or 0 when a total rectangle other than the
// source's bounds holds them.
template <class V>
std::unique_ptr<V> ReferenceMedian(const V& inSource, UInt32 inSize, const X3DRect* inTotal = nullptr) {
  using T = typename V::Voxel;
  const XSnapshot<V> s(inSource);
  const SInt32 low = -SInt32(inSize / 2), high = SInt32(inSize) - 1 - SInt32(inSize / 2);
  const bool zeros = inTotal && *inTotal != inSource.GetBounds();
  return Expected(inSource, [&](SInt32 x, SInt32 y, SInt32 z, UInt32 c) {
    std::vector<Float64> values;
    for (SInt32 dz = low; dz <= high; ++dz)
      for (SInt32 dy = low; dy <= high; ++dy)
        for (SInt32 dx = low; dx <= high; ++dx) {
          if (s.Contains(x + dx, y + dy, z + dz))
            values.push_back(XComponents<T>::Get(s.At(x + dx, y + dy, z + dz), c));
          else if (zeros && inTotal->Contains(X3DPoint(x + dx, y + dy, z + dz)))
            values.push_back(0.0);
        }
    return LowerMedian(values);
  });
}

template <class V>
void ExpectMedianMatchesReference(const X3DRect& inBox, UInt32 inLevels) {
  const auto source = RandomVolume<V>(inBox, 7 + inBox.GetWidth(), inLevels);
  for (UInt32 size : {1u, 2u, 3u, 4u, 5u}) {
    SCOPED_TRACE(testing::Message() << source->GetDescription() << " size " << size);
    XMedianFilterVolumeTool tool(size);
    ExpectSameVoxels(*ReferenceMedian(*source, size), *Filtered(tool, *source));
  }
}

template <class V>
void ExpectMedianMatchesReferenceOnShapes() {
  // Interior and edges, a single plane, a volume thinner than the window,
  // an origin away from 0, and few levels for ties.
  ExpectMedianMatchesReference<V>(X3DRect(-3, 5, 2, 37, 16, 8), 256);
  ExpectMedianMatchesReference<V>(X3DRect(0, 0, 0, 45, 13, 1), 5);
  ExpectMedianMatchesReference<V>(X3DRect(10, -4, -1, 13, 30, 5), 3);
}

}  // namespace

TEST_F(FilterTest, MedianIsTheLowerMedianOfTheClippedCubeForEveryServedType) {
  ExpectMedianMatchesReferenceOnShapes<XGrey8Volume>();
  ExpectMedianMatchesReferenceOnShapes<XGrey16Volume>();
  ExpectMedianMatchesReferenceOnShapes<XFPVolume>();
  ExpectMedianMatchesReferenceOnShapes<XARGB32Volume>();
  ExpectMedianMatchesReferenceOnShapes<XRGB48Volume>();
  // A mask is filtered as grey.
  const auto mask = RandomVolume<XMaskVolume>(X3DRect(0, 0, 0, 20, 9, 4), 3, 2);
  XMedianFilterVolumeTool tool(3);
  ExpectSameVoxels(*ReferenceMedian(*mask, 3), *Filtered(tool, *mask));
}

TEST_F(FilterTest, MedianWindowEdgesCornersAndEvenSizes) {
  // Corner of a single plane, size 3: four values, the result is rank 1.
  XGrey8Volume plane(3, 3, 1);
  FillWith(plane, [](SInt32 x, SInt32 y, SInt32) { return UInt8(std::vector<int>{9, 7, 1, 3, 8, 1, 1, 1, 1}[y * 3 + x]); });
  XMedianFilterVolumeTool three(3);
  std::unique_ptr<XVolume> out(three.ApplyTool(plane));
  EXPECT_EQ(volumetest::VoxelAt(static_cast<XGrey8Volume&>(*out), 0, 0, 0), 7);  // {9, 7, 3, 8}

  // Size 1 copies; size 2 reaches one step back and none forward, and takes
  // the lower of two.
  const auto row = volumetest::Row<XGrey16Volume>({1, 5, 3, 3, 9});
  XMedianFilterVolumeTool one(1), two(2);
  ExpectSameVoxels(*row, *Filtered(one, *row));
  EXPECT_EQ(volumetest::Values(*Filtered(two, *row)), (std::vector<UInt16>{1, 1, 3, 3, 3}));
}

TEST_F(FilterTest, MedianOfAChunkCountsTheLargerVolumeOutsideTheChunkAsZero) {
  const X3DRect chunkBox(4, 3, 2, 30, 12, 7);
  const auto chunk = RandomVolume<XGrey8Volume>(chunkBox, 11);
  // Larger on some sides only, and on one side smaller than the chunk.
  const X3DRect total(0, 3, 0, 40, 20, 6);
  for (UInt32 size : {2u, 3u, 5u}) {
    SCOPED_TRACE(size);
    XMedianFilterMaskTool tool(size, total);
    ExpectSameVoxels(*ReferenceMedian(*chunk, size, &total), *Filtered(tool, *chunk));
  }
  // Zeros take part in the rank: an all-255 row in a total box two rows
  // high sees as many zeros as values, and the lower median is 0.
  XGrey8Volume bright(X3DRect(0, 0, 0, 6, 1, 1));
  bright.Fill(255);
  const X3DRect tall(0, 0, 0, 6, 2, 1);
  XMedianFilterMaskTool masked(3, tall);
  EXPECT_EQ(volumetest::Values(*Filtered(masked, bright)), (std::vector<UInt8>(6, 0)));
  // With the total rectangle equal to the source nothing counts as 0.
  XMedianFilterMaskTool same(3, bright.GetBounds());
  EXPECT_EQ(volumetest::Values(*Filtered(same, bright)), (std::vector<UInt8>(6, 255)));
  EXPECT_FALSE(same.ShouldCheckBounds());
  EXPECT_EQ(same.GetTotalVolumeRect(bright), bright.GetBounds());
}

TEST_F(FilterTest, ColourMedianSelectsEachChannelApartAndLeavesAlpha) {
  XARGB32Volume row(3, 1, 1);
  const std::vector<UInt32> words{0x11FF0000, 0x2200FF00, 0x330000FF};
  FillWith(row, [&](SInt32 x, SInt32, SInt32) {
    XARGB32Colour c;
    c.SetARGB(words[x]);
    return c;
  });
  XMedianFilterVolumeTool tool(3);
  const auto out = Filtered(tool, row);
  // Each channel of the middle voxel is the median of (255, 0, 0): a colour no neighbour has.
  EXPECT_EQ(volumetest::VoxelAt(*out, 1, 0, 0).GetARGB(), 0x22000000u);
  EXPECT_EQ(volumetest::VoxelAt(*out, 0, 0, 0).GetARGB(), 0x11000000u);
}

TEST_F(FilterTest, MedianResultsAreTheSameForOneTwoAndThreeWorkers) {
  const auto grey = RandomVolume<XGrey8Volume>(X3DRect(0, 0, 0, 67, 41, 19), 5);
  const auto fp = RandomVolume<XFPVolume>(X3DRect(0, 0, 0, 40, 30, 40), 6);
  std::unique_ptr<XGrey8Volume> greyOne;
  std::unique_ptr<XFPVolume> fpOne;
  for (UInt32 workers : {1u, 2u, 3u}) {
    XWorkers scope(workers);
    XMedianFilterVolumeTool tool(3);
    auto g = Filtered(tool, *grey);
    auto f = Filtered(tool, *fp);
    if (workers == 1) {
      greyOne = std::move(g);
      fpOne = std::move(f);
      continue;
    }
    ExpectSameVoxels(*greyOne, *g);
    ExpectSameVoxels(*fpOne, *f);
  }
}

TEST_F(FilterTest, MedianRefusesUnservedTypesAndSizeZero) {
  XMedianFilterVolumeTool tool(3);
  XBGRA32Volume bgra(2, 2, 1);
  XGrey32Volume labels(2, 2, 1);
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(tool.ApplyTool(bgra)); }), kErrNotForPixelType);
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(tool.ApplyTool(labels)); }), kErrNotForPixelType);
  EXPECT_THROW(XMedianFilterVolumeTool(0), XInternalError);
  // A window that cannot be held is refused before anything is allocated.
  const X3DRect huge(-5000, -5000, -5000, 5000, 5000, 5000);
  XMedianFilterMaskTool wide(2001, huge);
  XGrey8Volume small(3, 3, 3);
  small.Fill(1);
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(wide.ApplyTool(small)); }), kErrImpossibleSize);
}

TEST(QuickSelect, GivesTheLowerMedianAndFollowsItsSteps) {
  // Every arrangement of a few values with ties, against sorting.
  std::vector<int> values{4, 1, 3, 3, 0, 1, 2};
  for (size_t n = 1; n <= values.size(); ++n) {
    std::vector<int> base(values.begin(), values.begin() + n);
    std::sort(base.begin(), base.end());
    std::vector<int> perm = base;
    do {
      std::vector<int> work = perm;
      EXPECT_EQ(XQuickSelect(work.data(), work.size()), base[(n - 1) / 2]);
      std::vector<int> sorted = work;
      std::sort(sorted.begin(), sorted.end());
      EXPECT_EQ(sorted, base);  // only reordered
    } while (std::next_permutation(perm.begin(), perm.end()));
  }
  // Zeros of both signs compare equal; which one comes back follows from the
  // exchanges, and float medians keep it.
  std::vector<Float32> zeros{0.0f, -0.0f, 1.0f};
  EXPECT_FALSE(std::signbit(XQuickSelect(zeros.data(), 3)));
  std::vector<Float32> swapped{-0.0f, 0.0f, 1.0f};
  EXPECT_TRUE(std::signbit(XQuickSelect(swapped.data(), 3)));
  XFPVolume row(3, 1, 1);
  FillWith(row, [](SInt32 x, SInt32, SInt32) { return std::vector<Float32>{-0.0f, 0.0f, 1.0f}[x]; });
  XMedianFilterVolumeTool tool(3);
  EXPECT_TRUE(std::signbit(volumetest::VoxelAt(*Filtered(tool, row), 1, 0, 0)));
}

TEST(SelectionNetwork, LeavesTheRankInItsOutputSlotForEveryLane) {
  std::mt19937 random(3);
  constexpr UInt32 kLanes = XSelectionNetwork::kLanes;
  for (UInt32 count : {1u, 2u, 5u, 9u, 18u, 27u, 33u, 125u}) {
    for (UInt32 rank : {0u, (count - 1) / 2, count - 1}) {
      const XSelectionNetwork& net = XSelectionNetwork::Get(count, rank);
      std::vector<UInt16> wide(size_t(net.GetSlots()) * kLanes);
      for (auto& v : wide) v = UInt16(random() % 7 * 9000);
      std::vector<UInt8> narrow(wide.size());
      for (size_t i = 0; i < wide.size(); ++i) narrow[i] = UInt8(wide[i] / 257);
      std::vector<std::vector<UInt16>> lanes(kLanes);
      for (UInt32 l = 0; l < kLanes; ++l)
        for (UInt32 s = 0; s < count; ++s) lanes[l].push_back(wide[size_t(s) * kLanes + l]);
      // Both instruction sets, both widths.
      auto wideSSE2 = wide;
      auto narrowSSE2 = narrow;
      net.Run(wide.data());
      net.RunWithoutAVX2(wideSSE2.data());
      net.Run(narrow.data());
      net.RunWithoutAVX2(narrowSSE2.data());
      const size_t out = size_t(net.GetOutput()) * kLanes;
      for (UInt32 l = 0; l < kLanes; ++l) {
        std::sort(lanes[l].begin(), lanes[l].end());
        EXPECT_EQ(wide[out + l], lanes[l][rank]) << count << " " << rank;
        EXPECT_EQ(wideSSE2[out + l], lanes[l][rank]) << count << " " << rank;
        EXPECT_EQ(narrow[out + l], lanes[l][rank] / 257) << count << " " << rank;
        EXPECT_EQ(narrowSSE2[out + l], lanes[l][rank] / 257) << count << " " << rank;
      }
    }
  }
}
