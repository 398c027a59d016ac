// Resampling a 512 x 512 x 64 Grey16 volume to half and to double size on
// every axis, with the bell filter and a caller's box filter, one thread unless
// the last argument says otherwise; items are source voxels per second of wall time, as the peers script
// measures them. The XY forms keep the depth, to set beside
// OpenCV's resize of each plane (bench/peers/resample_peers.py).
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>

#include "core/XLockable.h"
#include "core/XWorkerPool.h"
#include "tools/XResampleFilter.h"
#include "tools/XVolumeResampleTool.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;

namespace {

constexpr UInt32 kWidth = 512, kHeight = 512, kDepth = 64;
constexpr int64_t kVoxels = int64_t(kWidth) * kHeight * kDepth;

// The nearest source element alone: each destination averages the sources
// within half a step.
class XBoxFilter : public XResampleFilter {
 public:
  Float64 GetFilterSize() const override { return 0.5; }
  Float64 CalcFilterValue(Float64 inT) const override { return std::fabs(inT) <= 0.5 ? 1.0 : 0.0; }
};

const XGrey16Volume& Source() {
  static const std::unique_ptr<XGrey16Volume> sSource = [] {
    auto volume = std::make_unique<XGrey16Volume>(kWidth, kHeight, kDepth);
    XLock lock(*volume, kLockWrite);
    UInt16* p = volume->GetBaseVoxelPtr();
    UInt32 state = 1;
    for (int64_t i = 0; i < kVoxels; ++i) {
      state = state * 1664525u + 1013904223u;
      p[i] = UInt16(state >> 16);
    }
    return volume;
  }();
  return *sSource;
}

// Args: filter (3 bell, 6 box), destination size in eighths of the source
// (4 half, 16 double), whether the depth changes too, and the workers.
void BM_ResampleGrey16(benchmark::State& state) {
  XWorkerPool::SetWorkerCount(UInt32(state.range(3)));
  const XGrey16Volume& source = Source();
  const UInt32 eighths = UInt32(state.range(1));
  const bool depthToo = state.range(2) != 0;
  XGrey16Volume dest(kWidth * eighths / 8, kHeight * eighths / 8, depthToo ? kDepth * eighths / 8 : kDepth);
  dest.Clear();  // its pages touched once, outside the timing
  XVolumeResampleTool tool;
  if (state.range(0) == kFilterCaller)
    tool.SetFilter(kFilterCaller, new XBoxFilter);
  else
    tool.SetFilter(XFilterMode(state.range(0)));
  for (auto _ : state) {
    tool.ApplyTool(source, dest, source.GetBounds(), dest.GetBounds());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
  XWorkerPool::SetWorkerCount(0);
}
BENCHMARK(BM_ResampleGrey16)
    ->ArgNames({"filter", "eighths", "z", "workers"})
    ->Args({kFilterBell, 4, 1, 1})
    ->Args({kFilterBell, 16, 1, 1})
    ->Args({kFilterCaller, 4, 1, 1})
    ->Args({kFilterCaller, 16, 1, 1})
    ->Args({kFilterBell, 4, 0, 1})
    ->Args({kFilterBell, 16, 0, 1})
    ->Args({kFilterCaller, 4, 0, 1})
    ->Args({kFilterCaller, 16, 0, 1})
    ->Args({kFilterBell, 4, 1, 2})
    ->Args({kFilterBell, 16, 1, 2})
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
