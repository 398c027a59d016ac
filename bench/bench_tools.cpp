// The tool frame's kernels on Grey8 volumes, one thread, wall time:
// inversion (at two sizes, in and out of cache), a walk through a complex
// region, region union and cropping (256 x 256 x 64). Items are voxels.
#include <benchmark/benchmark.h>

#include "BenchSupport.h"
#include "tools/XInvertVolumeTool.h"
#include "tools/internal/XScanLoop.h"
#include "volume/X3DRegion.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

using namespace mirelan;

namespace {

constexpr UInt32 kWidth = 256, kHeight = 256, kDepth = 64;
constexpr int64_t kVoxels = int64_t(kWidth) * kHeight * kDepth;

template <class V, class Fn>
void FillWith(V& ioVolume, Fn inValueAt) {
  XLock lock(ioVolume, kLockReadWrite);
  const X3DRect& b = ioVolume.GetBounds();
  for (SInt32 z = b.front; z < b.back; ++z)
    for (SInt32 y = b.top; y < b.bottom; ++y)
      for (SInt32 x = b.left; x < b.right; ++x) ioVolume.SetVoxel(x, y, z, inValueAt(x, y, z));
}

// An ellipsoid filling the box, centred at (cx, cy, cz): complex, with every
// face of the box touched so that cropping keeps the box.
X3DRegion Ellipsoid(Float64 inCX, Float64 inCY, Float64 inCZ) {
  XMaskVolume mask(kWidth, kHeight, kDepth);
  FillWith(mask, [&](SInt32 x, SInt32 y, SInt32 z) {
    const Float64 dx = (x + 0.5 - inCX) / (kWidth / 2.0), dy = (y + 0.5 - inCY) / (kHeight / 2.0),
                  dz = (z + 0.5 - inCZ) / (kDepth / 2.0);
    return UInt8(dx * dx + dy * dy + dz * dz <= 1.0 ? 255 : 0);
  });
  return X3DRegion(mask);
}

XGrey8Volume MakeVolume() {
  XGrey8Volume volume(kWidth, kHeight, kDepth);
  FillWith(volume, [](SInt32 x, SInt32 y, SInt32 z) { return UInt8(x * 3 + y * 5 + z * 7); });
  return volume;
}

// In place, as numpy's subtract(255, v, out=v).
void BM_InvertGrey8(benchmark::State& state) {
  const X3DRect box = bench::BoxOf(state.range(0), 1);
  XGrey8Volume volume(box);
  volume.Fill(7);
  XInvertVolumeTool tool;
  for (auto _ : state) {
    tool.ApplyToolInPlace(volume);
    benchmark::ClobberMemory();
  }
  bench::Report(state, box.GetVolume(), 2 * box.GetVolume(), box.GetVolume());
}
BENCHMARK(BM_InvertGrey8) MIRELAN_BOTH_SIZES;

// Sums the voxels the walk is given: a read-only helper of the usual shape.
struct XSumHelper {
  UInt64 itsSum = 0;
  template <class V>
  void SetupForScan(V&) {
    itsSum = 0;
  }
  template <class V>
  void ScanPixel(const UInt8* inVoxel, V&, SInt32, SInt32, SInt32) {
    itsSum += *inVoxel;
  }
  template <class V>
  void FinishedScanning(V&) {}
};

void BM_ScanThroughComplexRegion(benchmark::State& state) {
  const XGrey8Volume volume = MakeVolume();
  const X3DRegion region = Ellipsoid(kWidth / 2.0, kHeight / 2.0, kDepth / 2.0);
  XSumHelper helper;
  for (auto _ : state) {
    XScanVolume(volume, &region, helper);
    benchmark::DoNotOptimize(helper.itsSum);
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK(BM_ScanThroughComplexRegion)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_ScanWholeBox(benchmark::State& state) {
  const XGrey8Volume volume = MakeVolume();
  XSumHelper helper;
  for (auto _ : state) {
    XScanVolume(volume, nullptr, helper);
    benchmark::DoNotOptimize(helper.itsSum);
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK(BM_ScanWholeBox)->Unit(benchmark::kMicrosecond)->UseRealTime();

// Two ellipsoids of the full box size, one shifted by a quarter of the width:
// the union box is 1.25 times the volume.
void BM_RegionUnion(benchmark::State& state) {
  const X3DRegion a = Ellipsoid(kWidth / 2.0, kHeight / 2.0, kDepth / 2.0);
  X3DRegion b = Ellipsoid(kWidth / 2.0, kHeight / 2.0, kDepth / 2.0);
  b.Offset(kWidth / 4, 0, 0);
  for (auto _ : state) {
    X3DRegion result(a);
    result.Union(b);
    benchmark::DoNotOptimize(result.GetBounds());
  }
  state.SetItemsProcessed(state.iterations() * int64_t(kWidth + kWidth / 4) * kHeight * kDepth);
}
BENCHMARK(BM_RegionUnion)->Unit(benchmark::kMicrosecond)->UseRealTime();

class XCropProbe : public X3DRegion {
 public:
  using X3DRegion::X3DRegion;
  using X3DRegion::CropToFitVolume;
};

// The scan that finds the tight box; the box is already tight, so nothing is cloned.
void BM_CropToFitVolume(benchmark::State& state) {
  XCropProbe region(Ellipsoid(kWidth / 2.0, kHeight / 2.0, kDepth / 2.0).GetMaskVolume());
  for (auto _ : state) {
    region.CropToFitVolume();
    benchmark::DoNotOptimize(region.GetBounds());
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK(BM_CropToFitVolume)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace
