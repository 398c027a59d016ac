// Histograms and statistics, one thread, at the two sizes of BenchSupport.h
// (256 x 256 x 64 in cache; 1024 x 1024 and at least 128 MiB of voxels out
// of cache): the luminance histogram of Grey8 (random bytes) and Grey16
// (random 12-bit camera values, and random values over the whole 16-bit
// range), XVolumeStatsTool and XVolumeVarianceTool on the 12-bit Grey16.
// Items are voxels; "of_copy" is the share of a plain copy's bandwidth (the
// variance reads the volume twice). bench/peers/measure_peers.py times numpy
// and OpenCV on the same work in the same run and prints the ratios.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>

#include "BenchSupport.h"
#include "core/XLockable.h"
#include "measurement/XVolumeHistogramTool.h"
#include "measurement/XVolumeStatsTool.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;
using mirelan::bench::BoxOf;
using mirelan::bench::Report;

namespace {

// Random voxels from 0 to inTop, the same in every run.
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

template <class V>
void ReportReads(benchmark::State& ioState, const V& inVolume, UInt32 inPasses) {
  const UInt64 voxels = inVolume.GetBounds().GetVolume(), bytes = voxels * sizeof(typename V::Voxel);
  Report(ioState, voxels, inPasses * bytes, bytes);
}

template <class V>
void Histogram(benchmark::State& ioState, UInt32 inTop) {
  auto volume = RandomVolume<V>(ioState.range(0), inTop);
  auto once = [&] {
    XVolumeLuminanceTool tool;
    tool.ApplyTool(*volume, nullptr);
    benchmark::DoNotOptimize(tool.GetHistogramOne());
  };
  once();  // untimed, as the peers' warm-up
  for (auto _ : ioState) once();
  ReportReads(ioState, *volume, 1);
}

void BM_LuminanceHistogramGrey8(benchmark::State& ioState) { Histogram<XGrey8Volume>(ioState, 255); }
void BM_LuminanceHistogramGrey16(benchmark::State& ioState) { Histogram<XGrey16Volume>(ioState, 4095); }
void BM_LuminanceHistogramGrey16FullRange(benchmark::State& ioState) { Histogram<XGrey16Volume>(ioState, 65535); }

template <class Tool>
void Statistics(benchmark::State& ioState, UInt32 inPasses) {
  auto volume = RandomVolume<XGrey16Volume>(ioState.range(0), 4095);
  auto once = [&] {
    Tool tool(0);
    tool.ApplyTool(static_cast<const XVolume&>(*volume), nullptr);
    benchmark::DoNotOptimize(tool.GetMean(1));
  };
  once();  // untimed warm-up
  for (auto _ : ioState) once();
  ReportReads(ioState, *volume, inPasses);
}

void BM_StatsGrey16(benchmark::State& ioState) { Statistics<XVolumeStatsTool>(ioState, 1); }
void BM_VarianceGrey16(benchmark::State& ioState) { Statistics<XVolumeVarianceTool>(ioState, 2); }

BENCHMARK(BM_LuminanceHistogramGrey8) MIRELAN_BOTH_SIZES;
BENCHMARK(BM_LuminanceHistogramGrey16) MIRELAN_BOTH_SIZES;
BENCHMARK(BM_LuminanceHistogramGrey16FullRange) MIRELAN_BOTH_SIZES;
BENCHMARK(BM_StatsGrey16) MIRELAN_BOTH_SIZES;
BENCHMARK(BM_VarianceGrey16) MIRELAN_BOTH_SIZES;

}  // namespace
