// The neighbourhood filters on 256 x 256 x 64 (in cache) and 1024 x 1024 x 64
// (out of cache) volumes of random voxels, with one worker and with every
// core: median of size 3 (Grey8, Grey16) and 5 (Grey8), hybrid median of
// size 3, dilation with the six neighbours, a 3 x 3 x 3 spatial filter, and
// a plain copy of the same bytes for the machine's bandwidth. Items are
// voxels. bench/peers/filter_peers.py times scipy and OpenCV on the same work.
//
// Arguments: the volume (0 small, 1 large) and the workers (0: every core).
// The destination is kept between runs (page faults of a new block are no
// part of a filter). Times are real; the CPU column is the whole process's,
// so its ratio between one worker and all shows the cost of splitting.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <vector>

#include "core/XWorkerPool.h"
#include "filters/XDilateErodeFilterVolumeTools.h"
#include "filters/XHybridMedianFilterVolumeTool.h"
#include "filters/XMedianFilterVolumeTool.h"
#include "filters/XSpatialFilterVolumeTool.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;

namespace {

X3DRect Box(int64_t inSize) {
  const SInt32 side = inSize == 0 ? 256 : 1024;
  return X3DRect(0, 0, 0, side, side, 64);
}

template <class V>
std::unique_ptr<V> RandomVolume(const X3DRect& inBox) {
  auto volume = std::make_unique<V>(inBox);
  XLock lock(*volume, kLockWrite);
  std::mt19937 random(1);
  auto* voxel = volume->GetBaseVoxelPtr();
  for (UInt64 i = 0; i < volume->GetVolumeVoxels(); ++i) voxel[i] = typename V::Voxel(random());
  return volume;
}

// The tool with its destination kept from one run to the next, so that the
// figures are the filter's and not the kernel's page faults on a new block.
template <class Tool>
class XReusing : public Tool {
 public:
  using Tool::Tool;
  std::unique_ptr<XVolume> itsDest;

 protected:
  XVolume* MakeDestVolume(const XVolume& inSource) override {
    return itsDest ? itsDest.release() : inSource.CloneWithoutCopy();
  }
};

template <class V, class Tool>
void RunTool(benchmark::State& state, XReusing<Tool>& ioTool) {
  const auto source = RandomVolume<V>(Box(state.range(0)));
  const UInt32 old = XWorkerPool::GetWorkerCount();
  XWorkerPool::SetWorkerCount(UInt32(state.range(1)));
  state.counters["workers"] = XWorkerPool::GetWorkerCount();
  for (auto _ : state) ioTool.itsDest.reset(ioTool.ApplyTool(*source));
  XWorkerPool::SetWorkerCount(old);
  state.SetItemsProcessed(state.iterations() * int64_t(source->GetBounds().GetVolume()));
}

void BM_Median3Grey8(benchmark::State& state) {
  XReusing<XMedianFilterVolumeTool> tool(3);
  RunTool<XGrey8Volume>(state, tool);
}
void BM_Median3Grey16(benchmark::State& state) {
  XReusing<XMedianFilterVolumeTool> tool(3);
  RunTool<XGrey16Volume>(state, tool);
}
void BM_Median5Grey8(benchmark::State& state) {
  XReusing<XMedianFilterVolumeTool> tool(5);
  RunTool<XGrey8Volume>(state, tool);
}
void BM_HybridMedian3Grey8(benchmark::State& state) {
  XReusing<XHybridMedianFilterVolumeTool> tool(3);
  RunTool<XGrey8Volume>(state, tool);
}
void BM_Dilate6Grey8(benchmark::State& state) {
  XReusing<XDilateFilterVolumeTool> tool(1, XVector<X3DPoint>());
  RunTool<XGrey8Volume>(state, tool);
}
void BM_Spatial333Grey8(benchmark::State& state) {
  const std::vector<Float32> box(27, 1.0f);
  XReusing<XSpatialFilterVolumeTool> tool(box.data(), 3, 3, 3, 0.0f, false);
  RunTool<XGrey8Volume>(state, tool);
}

// The bandwidth yardstick: reading the volume and writing another.
void BM_CopyGrey8(benchmark::State& state) {
  const size_t bytes = size_t(Box(state.range(0)).GetVolume());
  std::vector<UInt8> from(bytes, 1), to(bytes, 0);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), bytes);
    benchmark::DoNotOptimize(to.data());
  }
  state.SetItemsProcessed(state.iterations() * int64_t(bytes));
}

void Sizes(benchmark::internal::Benchmark* b) {
  for (int64_t size : {0, 1})
    for (int64_t workers : {1, 0}) b->Args({size, workers});
  // CPU time of the whole process: with several workers, the sum over them.
  b->Unit(benchmark::kMillisecond)->UseRealTime()->MeasureProcessCPUTime();
}

}  // namespace

BENCHMARK(BM_Median3Grey8)->Apply(Sizes);
BENCHMARK(BM_Median3Grey16)->Apply(Sizes);
BENCHMARK(BM_Median5Grey8)->Apply(Sizes);
BENCHMARK(BM_HybridMedian3Grey8)->Apply(Sizes);
BENCHMARK(BM_Dilate6Grey8)->Apply(Sizes);
BENCHMARK(BM_Spatial333Grey8)->Apply(Sizes);
BENCHMARK(BM_CopyGrey8)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseRealTime();
