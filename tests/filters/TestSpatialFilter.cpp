// Spatial filter: normalisation, the clipped window, the float accumulator
// rounded per step, bias and both result rules for every served type, regions
// with masks, and worker counts.
#include <cmath>

#include "FilterTestSupport.h"
#include "filters/XSpatialFilterVolumeTool.h"
#include "volume/X3DRegion.h"

using namespace filtertest;

namespace {

// The sum as stated: the window clipped to the source, plane, row, column,
// each step worked in double and rounded to float, then the bias and the store rule.
template <class V>
std::unique_ptr<V> ReferenceSpatial(const V& inSource, const XSpatialFilterVolumeTool& inTool) {
  using T = typename V::Voxel;
  const XSnapshot<V> s(inSource);
  const SInt32 w = SInt32(inTool.GetKernelWidth()), h = SInt32(inTool.GetKernelHeight()),
               d = SInt32(inTool.GetKernelDepth());
  const Float32* weights = inTool.GetWeights();
  return Expected(inSource, [&](SInt32 x, SInt32 y, SInt32 z, UInt32 c) {
    Float32 sum = 0.0f;
    for (SInt32 kz = 0; kz < d; ++kz)
      for (SInt32 ky = 0; ky < h; ++ky)
        for (SInt32 kx = 0; kx < w; ++kx) {
          const SInt32 sx = x - w / 2 + kx, sy = y - h / 2 + ky, sz = z - d / 2 + kz;
          if (!s.Contains(sx, sy, sz)) continue;
          sum = Float32(Float64(sum) + XComponents<T>::Get(s.At(sx, sy, sz), c) *
                                           Float64(weights[(kz * h + ky) * w + kx]));
        }
    const Float32 result = sum + inTool.GetBias();
    if (inTool.GetClamp() && !(result > 0.0f)) return 0.0;
    if constexpr (std::is_same_v<T, Float32>) {
      return Float64(result);
    } else {
      // Truncated, then kept in the channel's bits.
      const Float64 range = std::is_same_v<T, UInt16> || std::is_same_v<T, XRGB48Colour> ? 65536.0 : 256.0;
      const Float64 truncated = std::trunc(Float64(result));
      return truncated - range * std::floor(truncated / range);
    }
  });
}

std::vector<Float32> RandomWeights(size_t inCount, UInt32 inSeed, bool inNegative) {
  std::mt19937 random(inSeed);
  std::vector<Float32> weights(inCount);
  for (auto& v : weights) v = Float32(random() % 1000) / 97.0f - (inNegative ? 5.0f : 0.0f);
  return weights;
}

template <class V>
void ExpectSpatialMatchesReference(UInt32 inLevels) {
  const auto source = RandomVolume<V>(X3DRect(-2, 3, 1, 29, 17, 8), 17, inLevels);
  const auto plane = RandomVolume<V>(X3DRect(0, 0, 0, 23, 9, 1), 18, inLevels);
  struct XCase {
    UInt32 w, h, d;
    Float32 bias;
    bool clamp, negative;
  };
  for (const XCase& k : {XCase{3, 3, 3, 0.0f, false, false}, XCase{3, 3, 3, 1.5f, true, true},
                         XCase{5, 3, 1, -3.0f, true, false}, XCase{1, 1, 5, 0.25f, false, true},
                         XCase{7, 1, 1, 0.0f, false, false}}) {
    const auto weights = RandomWeights(size_t(k.w) * k.h * k.d, k.w * 31 + k.d, k.negative);
    const XSpatialFilterVolumeTool tool(weights.data(), k.w, k.h, k.d, k.bias, k.clamp);
    for (const V* volume : {source.get(), plane.get()}) {
      SCOPED_TRACE(testing::Message() << volume->GetDescription() << " " << k.w << "x" << k.h << "x" << k.d
                                      << " clamp " << k.clamp);
      XSpatialFilterVolumeTool copy(tool);
      ExpectSameVoxels(*ReferenceSpatial(*volume, tool), *Filtered(copy, *volume));
    }
  }
}

Float32 VoxelOf(const XVolume& inVolume, SInt32 x, SInt32 y, SInt32 z) {
  return volumetest::VoxelAt(dynamic_cast<const XFPVolume&>(inVolume), x, y, z);
}

}  // namespace

TEST_F(FilterTest, SpatialFilterSumsTheClippedWindowStepByStepForEveryServedType) {
  ExpectSpatialMatchesReference<XGrey8Volume>(256);
  ExpectSpatialMatchesReference<XGrey16Volume>(4000);
  ExpectSpatialMatchesReference<XFPVolume>(1000);
  ExpectSpatialMatchesReference<XARGB32Volume>(256);
  ExpectSpatialMatchesReference<XRGB48Volume>(60);
}

TEST_F(FilterTest, SpatialFilterNormalisesUnlessTheWeightsSumToZero) {
  const Float32 five = 5.0f;
  XSpatialFilterVolumeTool single(&five, 1, 1, 1, 2.0f, false);
  EXPECT_EQ(single.GetWeights()[0], 1.0f);
  const auto row = volumetest::Row<XGrey8Volume>({0, 10, 200, 253});
  EXPECT_EQ(volumetest::Values(*Filtered(single, *row)), (std::vector<UInt8>{2, 12, 202, 255}));

  const Float32 edge[] = {-1.0f, 2.0f, -1.0f};
  XSpatialFilterVolumeTool detector(edge, 3, 1, 1, 0.0f, false);
  EXPECT_EQ(std::vector<Float32>(detector.GetWeights(), detector.GetWeights() + 3),
            (std::vector<Float32>{-1.0f, 2.0f, -1.0f}));
  // Copies hold weights of their own.
  XSpatialFilterVolumeTool copy(detector);
  XSpatialFilterVolumeTool assigned(&five, 1, 1, 1, 0.0f, true);
  assigned = detector;
  EXPECT_NE(copy.GetWeights(), detector.GetWeights());
  EXPECT_EQ(assigned.GetWeights()[1], 2.0f);
  EXPECT_EQ(assigned.GetKernelWidth(), 3u);
  EXPECT_FALSE(assigned.GetClamp());
  EXPECT_THROW(XSpatialFilterVolumeTool(nullptr, 1, 1, 1, 0.0f, false), XInternalError);
}

TEST_F(FilterTest, SpatialFilterDarkensTheBorderAndAppliesBothResultRules) {
  // A box of nine on a flat plane: the corner sees four weights, an edge six.
  const std::vector<Float32> box(9, 1.0f);
  XSpatialFilterVolumeTool smooth(box.data(), 3, 3, 1, 0.0f, false);
  XGrey8Volume flat(4, 4, 1);
  flat.Fill(90);
  const auto out = Filtered(smooth, flat);
  EXPECT_EQ(volumetest::VoxelAt(*out, 0, 0, 0), 40);
  EXPECT_EQ(volumetest::VoxelAt(*out, 1, 0, 0), 60);
  EXPECT_EQ(volumetest::VoxelAt(*out, 1, 1, 0), 90);

  // A bias of -1 on black: 0 with the clamp, truncated -1 wrapping to 255 without.
  const Float32 one = 1.0f;
  XGrey8Volume black(3, 2, 1);
  black.Fill(0);
  XSpatialFilterVolumeTool clamped(&one, 1, 1, 1, -1.0f, true), wrapped(&one, 1, 1, 1, -1.0f, false);
  EXPECT_EQ(volumetest::Values(*Filtered(clamped, black)), (std::vector<UInt8>(3, 0)));
  EXPECT_EQ(volumetest::Values(*Filtered(wrapped, black)), (std::vector<UInt8>(3, 255)));
  // Floats keep negative results without the clamp.
  const auto floats = volumetest::Row<XFPVolume>({0.5f, 2.0f});
  EXPECT_EQ(volumetest::Values(*Filtered(wrapped, *floats)), (std::vector<Float32>{-0.5f, 1.0f}));
  EXPECT_EQ(volumetest::Values(*Filtered(clamped, *floats)), (std::vector<Float32>{0.0f, 1.0f}));
}

TEST_F(FilterTest, SpatialFilterWritesOnlyTheIntersectionAndTheRegionsMask) {
  const Float32 kernel[] = {1.0f, 2.0f, 1.0f};
  XSpatialFilterVolumeTool tool(kernel, 3, 1, 1, 0.0f, false);
  const auto source = RandomVolume<XFPVolume>(X3DRect(2, 0, 0, 6, 3, 2), 4);
  XFPVolume dest(X3DRect(0, 0, 0, 8, 3, 2));
  dest.Fill(-7.0f);
  tool.ApplyToolInRegion(*source, dest, nullptr);
  const auto expected = ReferenceSpatial(*source, tool);
  for (SInt32 z = 0; z < 2; ++z)
    for (SInt32 y = 0; y < 3; ++y)
      for (SInt32 x = 0; x < 8; ++x)
        EXPECT_EQ(VoxelOf(dest, x, y, z), x >= 2 && x < 6 ? VoxelOf(*expected, x, y, z) : -7.0f) << x;

  // A region with a mask: only its set voxels change.
  const X3DRect box(0, 0, 0, 40, 7, 3);
  const auto volume = RandomVolume<XFPVolume>(box, 9);
  XMaskVolume mask(box);
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8((x * 7 + y * 3 + z) % 5 < 2 && x > 1 ? 255 : 0); });
  const X3DRegion region(mask);
  XFPVolume masked(*volume);
  tool.ApplyToolInRegion(*volume, masked, &region);
  const auto all = ReferenceSpatial(*volume, tool);
  XLock lock(region, kLockRead);
  for (SInt32 z = 0; z < 3; ++z)
    for (SInt32 y = 0; y < 7; ++y)
      for (SInt32 x = 0; x < 40; ++x)
        EXPECT_EQ(VoxelOf(masked, x, y, z), region.Contains(x, y, z) ? VoxelOf(*all, x, y, z) : VoxelOf(*volume, x, y, z))
            << x << " " << y << " " << z;
}

TEST_F(FilterTest, SpatialFilterResultsAreTheSameForOneTwoAndThreeWorkers) {
  const auto weights = RandomWeights(27, 5, true);
  XSpatialFilterVolumeTool tool(weights.data(), 3, 3, 3, 0.5f, false);
  const auto source = RandomVolume<XGrey16Volume>(X3DRect(0, 0, 0, 41, 30, 21), 8);
  XWorkers one(1);
  const auto first = Filtered(tool, *source);
  for (UInt32 workers : {2u, 3u}) {
    XWorkers scope(workers);
    ExpectSameVoxels(*first, *Filtered(tool, *source));
  }
}
