// Hybrid median and the non-linear filter with its plug-ins: brute-force
// references for every served type, the border vector, target regions with
// masks, and worker counts.
#include <limits>

#include "FilterTestSupport.h"
#include "filters/XHybridMedianFilterVolumeTool.h"
#include "filters/XNonLinearFilterPlugin.h"
#include "filters/XNonLinearFilterVolumeTool.h"
#include "volume/X3DRegion.h"

using namespace filtertest;

namespace {

struct XStep {
  SInt32 dx, dy, dz;
};

// The lines and diagonals of the hybrid median as stated, in their order.
std::vector<std::vector<XStep>> HybridGroups(UInt32 inSize) {
  const SInt32 low = -SInt32(inSize / 2), high = SInt32(inSize) - 1 - SInt32(inSize / 2);
  auto line = [&](std::vector<XStep> inAxes) {
    std::vector<XStep> all;
    for (const XStep& a : inAxes)
      for (SInt32 o = low; o <= high; ++o) all.push_back({a.dx * o, a.dy * o, a.dz * o});
    return all;
  };
  auto diagonals = [&](std::vector<XStep> inDirections) {
    std::vector<XStep> all;
    for (size_t i = 0; i < inDirections.size(); ++i)
      for (SInt32 o = low; o <= high; ++o)
        if (i == 0 || o != 0) all.push_back({inDirections[i].dx * o, inDirections[i].dy * o, inDirections[i].dz * o});
    return all;
  };
  const XStep x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
  return {line({x, y}),
          line({x, z}),
          line({y, z}),
          line({x, y, z}),
          diagonals({{1, 1, 0}, {1, -1, 0}}),
          diagonals({{1, 0, 1}, {1, 0, -1}}),
          diagonals({{0, 1, 1}, {0, 1, -1}})};  // d4 takes no part
}

template <class V>
std::unique_ptr<V> ReferenceHybrid(const V& inSource, UInt32 inSize) {
  using T = typename V::Voxel;
  const XSnapshot<V> s(inSource);
  const auto groups = HybridGroups(inSize);
  return Expected(inSource, [&](SInt32 x, SInt32 y, SInt32 z, UInt32 c) {
    std::vector<Float64> medians;
    for (const auto& group : groups) {
      std::vector<Float64> values;
      for (const XStep& o : group)
        if (s.Contains(x + o.dx, y + o.dy, z + o.dz))
          values.push_back(XComponents<T>::Get(s.At(x + o.dx, y + o.dy, z + o.dz), c));
      medians.push_back(LowerMedian(values));
    }
    return LowerMedian(medians);
  });
}

// The non-linear walk as stated, serially: one vector for the whole walk,
// the clipped window written from its start, the plug-in on all of it.
template <class V>
std::unique_ptr<V> ReferenceNonLinear(const V& inSource, const V& inDest, const X3DPoint& inKernel,
                                      const XNonLinearFilterPlugin& inPlugin, const X3DRegion* inRegion) {
  using T = typename V::Voxel;
  const XSnapshot<V> s(inSource);
  const XSnapshot<V> d(inDest);
  XVector<Float32> pixels(size_t(inKernel.x) * inKernel.y * inKernel.z, 0.0f);
  std::vector<T> out = d.Voxels();
  X3DRect extent = inDest.GetBounds();
  extent.Sect(inSource.GetBounds());
  if (inRegion) extent.Sect(inRegion->GetBounds());
  std::unique_ptr<XLock> lock(inRegion ? new XLock(*inRegion, kLockRead) : nullptr);
  const X3DRect& b = inSource.GetBounds();
  for (SInt32 z = extent.front; z < extent.back; ++z)
    for (SInt32 y = extent.top; y < extent.bottom; ++y)
      for (SInt32 x = extent.left; x < extent.right; ++x) {
        if (inRegion && inRegion->IsComplex() && !inRegion->Contains(x, y, z)) continue;
        T& voxel = out[size_t(((z - d.Bounds().front) * SInt64(d.Bounds().GetHeight()) + (y - d.Bounds().top)) *
                                  d.Bounds().GetWidth() +
                              (x - d.Bounds().left))];
        for (UInt32 c : XComponents<T>::List()) {
          size_t i = 0;
          for (SInt32 sz = std::max(z - inKernel.z / 2, b.front); sz <= std::min(z + inKernel.z / 2, b.back - 1); ++sz)
            for (SInt32 sy = std::max(y - inKernel.y / 2, b.top); sy <= std::min(y + inKernel.y / 2, b.bottom - 1); ++sy)
              for (SInt32 sx = std::max(x - inKernel.x / 2, b.left); sx <= std::min(x + inKernel.x / 2, b.right - 1);
                   ++sx)
                pixels[i++] = Float32(XComponents<T>::Get(s.At(sx, sy, sz), c));
          const Float32 result =
              inPlugin.FilterKernelPixels(Float32(XComponents<T>::Get(s.At(x, y, z), c)), pixels);
          XComponents<T>::Set(voxel, c, std::is_same_v<T, Float32> ? Float64(result) : std::trunc(Float64(result)));
        }
      }
  auto result = std::make_unique<V>(inDest.GetBounds());
  size_t i = 0;
  FillWith(*result, [&](SInt32, SInt32, SInt32) { return out[i++]; });
  return result;
}

template <class V>
void ExpectHybridMatchesReference(UInt32 inLevels) {
  for (const X3DRect& box : {X3DRect(-3, 2, 1, 26, 15, 8), X3DRect(0, 0, 0, 40, 6, 1), X3DRect(5, 5, 5, 7, 20, 9)}) {
    const auto source = RandomVolume<V>(box, box.GetWidth() * 3 + 1, inLevels);
    for (UInt32 size : {1u, 2u, 3u, 5u}) {
      SCOPED_TRACE(testing::Message() << source->GetDescription() << " size " << size);
      XHybridMedianFilterVolumeTool tool(size);
      ExpectSameVoxels(*ReferenceHybrid(*source, size), *Filtered(tool, *source));
    }
  }
}

template <class V>
void ExpectNonLinearMatchesReference(UInt32 inLevels) {
  const XMedianFilterPlugin median;
  const XAntiMedianFilterPlugin antiMedian;
  const X3DRect box(-2, 1, 0, 23, 12, 6);
  const auto source = RandomVolume<V>(box, 21, inLevels);
  XMaskVolume mask(X3DRect(0, 2, 1, 23, 12, 6));
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8((x + 2 * y + 3 * z) % 4 ? 255 : 0); });
  const X3DRegion masked(mask);
  const X3DRegion boxOnly(X3DRect(3, 0, 2, 9, 9, 4));
  for (const XNonLinearFilterPlugin* plugin : {static_cast<const XNonLinearFilterPlugin*>(&median),
                                               static_cast<const XNonLinearFilterPlugin*>(&antiMedian)})
    for (const X3DPoint& kernel : {X3DPoint(3, 3, 3), X3DPoint(5, 1, 3), X3DPoint(1, 1, 1)})
      for (const X3DRegion* region : {static_cast<const X3DRegion*>(nullptr), &masked, &boxOnly}) {
        SCOPED_TRACE(testing::Message() << source->GetDescription() << " kernel " << kernel.x << kernel.y
                                        << kernel.z << " region " << (region ? region->IsComplex() + 1 : 0));
        XNonLinearFilterVolumeTool tool(kernel, plugin);
        if (region) tool.SetTargetRegion(*region);
        ExpectSameVoxels(*ReferenceNonLinear(*source, *source, kernel, *plugin, region), *Filtered(tool, *source));
      }
}

}  // namespace

TEST_F(FilterTest, HybridMedianIsTheMedianOfSevenLineAndDiagonalMediansForEveryServedType) {
  ExpectHybridMatchesReference<XGrey8Volume>(256);
  ExpectHybridMatchesReference<XGrey16Volume>(9);
  ExpectHybridMatchesReference<XFPVolume>(1000);
  ExpectHybridMatchesReference<XARGB32Volume>(7);
  ExpectHybridMatchesReference<XRGB48Volume>(65536);
}

TEST_F(FilterTest, HybridMedianKeepsAThinLineThatACubeMedianRemoves) {
  XGrey8Volume plane(7, 7, 1);
  FillWith(plane, [](SInt32 x, SInt32 y, SInt32) { return UInt8(x == 3 ? 200 : 10); });
  XHybridMedianFilterVolumeTool tool(3);
  const auto out = Filtered(tool, plane);
  EXPECT_EQ(volumetest::VoxelAt(*out, 3, 3, 0), 200);
  EXPECT_EQ(volumetest::VoxelAt(*out, 2, 3, 0), 10);
  XHybridMedianFilterVolumeTool one(1);
  ExpectSameVoxels(plane, *Filtered(one, plane));
  EXPECT_THROW(XHybridMedianFilterVolumeTool(0), XInternalError);
}

TEST_F(FilterTest, NonLinearFilterKeepsTheBorderVectorForEveryServedTypeAndRegion) {
  ExpectNonLinearMatchesReference<XGrey8Volume>(256);
  ExpectNonLinearMatchesReference<XGrey16Volume>(5);
  ExpectNonLinearMatchesReference<XFPVolume>(50);
  ExpectNonLinearMatchesReference<XARGB32Volume>(256);
  ExpectNonLinearMatchesReference<XRGB48Volume>(300);
}

TEST_F(FilterTest, HybridMedianIsTheSameForOneTwoAndThreeWorkers) {
  const auto volume = RandomVolume<XRGB48Volume>(X3DRect(0, 0, 0, 50, 31, 19), 4, 9);
  XHybridMedianFilterVolumeTool tool(3);
  XWorkers one(1);
  const auto first = Filtered(tool, *volume);
  for (UInt32 workers : {2u, 3u}) {
    XWorkers scope(workers);
    ExpectSameVoxels(*first, *Filtered(tool, *volume));
  }
}

TEST_F(FilterTest, NonLinearFilterIsTheSameForOneTwoAndThreeWorkers) {
  // Slabs start after voxels with whole windows; a single plane under a
  // kernel three deep has none, so its walk stays one chain.
  const XMedianFilterPlugin median;
  const XAntiMedianFilterPlugin antiMedian;
  const auto volume = RandomVolume<XGrey8Volume>(X3DRect(0, 0, 0, 60, 37, 23), 2);
  const auto plane = RandomVolume<XFPVolume>(X3DRect(0, 0, 0, 300, 120, 1), 3);
  XMaskVolume mask(volume->GetBounds());
  FillWith(mask, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x < 2 || (y + z) % 5 == 0 ? 255 : 0); });
  const X3DRegion region(mask);
  for (const XNonLinearFilterPlugin* plugin : {static_cast<const XNonLinearFilterPlugin*>(&median),
                                               static_cast<const XNonLinearFilterPlugin*>(&antiMedian)}) {
    XNonLinearFilterVolumeTool tool(X3DPoint(3, 5, 3), plugin);
    XNonLinearFilterVolumeTool regional(X3DPoint(3, 3, 3), plugin);
    regional.SetTargetRegion(region);
    XWorkers one(1);
    const auto first = Filtered(tool, *volume);
    const auto firstPlane = Filtered(tool, *plane);
    const auto firstRegional = Filtered(regional, *volume);
    ExpectSameVoxels(*ReferenceNonLinear(*volume, *volume, X3DPoint(3, 5, 3), *plugin, nullptr), *first);
    for (UInt32 workers : {2u, 3u}) {
      XWorkers scope(workers);
      ExpectSameVoxels(*first, *Filtered(tool, *volume));
      ExpectSameVoxels(*firstPlane, *Filtered(tool, *plane));
      ExpectSameVoxels(*firstRegional, *Filtered(regional, *volume));
    }
  }
}

TEST_F(FilterTest, NonLinearPluginsAndPreconditions) {
  const XAntiMedianFilterPlugin antiMedian;
  XVector<Float32> pixels{2.0f, 8.0f, 4.0f};
  EXPECT_EQ(antiMedian.FilterKernelPixels(5.0f, pixels), 8.0f);  // exactly between: hi
  EXPECT_EQ(antiMedian.FilterKernelPixels(6.0f, pixels), 8.0f);
  EXPECT_EQ(antiMedian.FilterKernelPixels(4.0f, pixels), 2.0f);
  EXPECT_EQ(pixels, (XVector<Float32>{2.0f, 8.0f, 4.0f}));
  const XMedianFilterPlugin median;
  XVector<Float32> values{5.0f, 1.0f, 4.0f, 2.0f};
  EXPECT_EQ(median.FilterKernelPixels(0.0f, values), 2.0f);

  EXPECT_THROW(XNonLinearFilterVolumeTool(X3DPoint(3, 3, 3), nullptr), XInternalError);
  EXPECT_THROW(XNonLinearFilterVolumeTool(X3DPoint(2, 3, 3), &median), XInternalError);
  EXPECT_THROW(XNonLinearFilterVolumeTool(X3DPoint(3, 3, -1), &median), XInternalError);
  XNonLinearFilterVolumeTool huge(X3DPoint(1001, 1001, 1001), &median);
  XGrey8Volume small(2, 2, 1);
  small.Fill(1);
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(huge.ApplyTool(small)); }), kErrImpossibleSize);
  XBGRA32Volume bgra(2, 2, 1);
  XNonLinearFilterVolumeTool tool(X3DPoint(3, 3, 1), &median);
  EXPECT_EQ(ErrorOf([&] { std::unique_ptr<XVolume>(tool.ApplyTool(bgra)); }), kErrNotForPixelType);
}
