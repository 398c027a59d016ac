// Thresholds, one thread, at the two sizes of BenchSupport.h (256 x 256 x 64
// in cache; 1024 x 1024 and at least 128 MiB of voxels out of cache), on
// random 12-bit values (random bytes for Grey8): the intensity threshold into
// a region (the mask pass and the region made from it) on Grey16 and Grey8,
// the standard-deviation threshold (variance, then the pass), and the
// in-place XVolumeThresholdTool. Items are voxels; "of_copy" is the share of
// a plain copy's bandwidth for the voxels read and the mask bytes written.
// bench/peers/measure_peers.py times the same band test in numpy and OpenCV.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>

#include "BenchSupport.h"
#include "core/XLockable.h"
#include "segmentation/XIntensityThresholdTool.h"
#include "segmentation/XStandardDeviationThresholdTool.h"
#include "segmentation/XVolumeThresholdTool.h"
#include "volume/X3DRegion.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;
using mirelan::bench::BoxOf;
using mirelan::bench::Report;

namespace {

template <class V>
std::unique_ptr<V> RandomVolume(SInt64 inSize, UInt32 inTop) {
  auto volume = std::make_unique<V>(BoxOf(inSize, sizeof(typename V::Voxel)));
  XLock lock(*volume, kLockWrite);
  std::mt19937 random(1);
  auto* voxels = volume->GetBaseVoxelPtr();
  const UInt64 count = volume->GetVolumeVoxels();
  for (UInt64 i = 0; i < count; ++i) voxels[i] = typename V::Voxel(random() % (inTop + 1));
  return volume;
}

// inReads passes over the voxels, and inMaskWrites of a byte per voxel.
template <class V>
void ReportPasses(benchmark::State& ioState, const V& inVolume, UInt32 inReads, UInt32 inMaskWrites) {
  const UInt64 voxels = inVolume.GetBounds().GetVolume(), bytes = voxels * sizeof(typename V::Voxel);
  Report(ioState, voxels, inReads * bytes + inMaskWrites * voxels, bytes);
}

// The band is the second quarter of the range: a quarter of the voxels, spread everywhere.
template <class V>
void Intensity(benchmark::State& ioState, UInt32 inTop) {
  auto volume = RandomVolume<V>(ioState.range(0), inTop);
  XIntensityThresholdTool tool;
  auto once = [&] {
    X3DRegion region;
    tool.ApplyThreshold(region, *volume, Float32(inTop / 4), Float32(inTop / 2), false);
    benchmark::DoNotOptimize(region.GetBounds());
  };
  once();  // untimed, as the peers' warm-up: the first call also pays for the process's first pages
  for (auto _ : ioState) once();
  ReportPasses(ioState, *volume, 1, 1);
}

void BM_IntensityThresholdGrey16(benchmark::State& ioState) { Intensity<XGrey16Volume>(ioState, 4095); }
void BM_IntensityThresholdGrey8(benchmark::State& ioState) { Intensity<XGrey8Volume>(ioState, 255); }

void BM_StandardDeviationThresholdGrey16(benchmark::State& ioState) {
  auto volume = RandomVolume<XGrey16Volume>(ioState.range(0), 4095);
  XStandardDeviationThresholdTool tool;
  auto once = [&] {
    X3DRegion region;
    tool.ApplyThreshold(region, *volume, -1.0f, 1.0f, false);
    benchmark::DoNotOptimize(region.GetBounds());
  };
  once();  // untimed warm-up
  for (auto _ : ioState) once();
  ReportPasses(ioState, *volume, 3, 1);
}

// In place: after the first run the volume holds only the band and black,
// so later runs rewrite the same values.
void BM_VolumeThresholdGrey16(benchmark::State& ioState) {
  auto volume = RandomVolume<XGrey16Volume>(ioState.range(0), 4095);
  XVolumeThresholdTool tool;
  tool.SetMinThreshold(1000);
  tool.SetMaxThreshold(3000);
  tool.ApplyTool(*volume, nullptr);  // untimed warm-up
  for (auto _ : ioState) {
    tool.ApplyTool(*volume, nullptr);
    benchmark::ClobberMemory();
  }
  ReportPasses(ioState, *volume, 2, 0);
}

BENCHMARK(BM_IntensityThresholdGrey16) MIRELAN_BOTH_SIZES;
BENCHMARK(BM_IntensityThresholdGrey8) MIRELAN_BOTH_SIZES;
BENCHMARK(BM_StandardDeviationThresholdGrey16) MIRELAN_BOTH_SIZES;
BENCHMARK(BM_VolumeThresholdGrey16) MIRELAN_BOTH_SIZES;

}  // namespace
