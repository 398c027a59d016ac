// The simple tools on a 256 x 256 x 64 volume, one thread; items are voxels.
// Volume arithmetic on Grey8 (operator 0) should pass 1 Gvoxel/s; the other
// figures are for reference.
#include <benchmark/benchmark.h>

#include <memory>

#include "core/XLockable.h"
#include "tools/XFlipVolumeTools.h"
#include "tools/XImageOffsetTool.h"
#include "tools/XRotateVolumeTools.h"
#include "tools/XVolumeArithmeticTool.h"
#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey8Volume.h"

using namespace mirelan;

namespace {

constexpr UInt32 kWidth = 256, kHeight = 256, kDepth = 64;
constexpr int64_t kVoxels = int64_t(kWidth) * kHeight * kDepth;

template <class V>
std::unique_ptr<V> MakeVolume(UInt32 inSeed) {
  auto volume = std::make_unique<V>(kWidth, kHeight, kDepth);
  XLock lock(*volume, kLockWrite);
  typename V::Voxel* p = volume->GetBaseVoxelPtr();
  UInt32 state = inSeed;
  for (int64_t i = 0; i < kVoxels; ++i) {
    state = state * 1664525u + 1013904223u;
    p[i] = typename V::Voxel(state >> 24);
  }
  return volume;
}

template <class V, XVolumeArithmeticTool::XOperator kOp>
void BM_Arithmetic(benchmark::State& state) {
  auto a = MakeVolume<V>(1);
  auto b = MakeVolume<V>(2);
  XVolumeArithmeticTool tool;
  for (auto _ : state) {
    tool.ApplyTool(*a, *b, kOp);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kAdd)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kSubtract)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kSubtractOffset)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kAbsoluteDifference)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kMultiply)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kDivideByOneMore)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey16Volume, XVolumeArithmeticTool::kAdd)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XFPVolume, XVolumeArithmeticTool::kAdd)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Arithmetic, XFPVolume, XVolumeArithmeticTool::kDivideByOneMore)->Unit(benchmark::kMicrosecond);

// Source to a destination made once, so that the figures leave out allocation.
template <class Tool>
class XOpenTool : public Tool {
 public:
  using Tool::ApplyToolSelf;
  using Tool::MakeDestVolume;
};

template <class V, class Tool>
void BM_Move(benchmark::State& state) {
  auto source = MakeVolume<V>(3);
  XOpenTool<Tool> tool;
  std::unique_ptr<XVolume> dest(tool.MakeDestVolume(*source));
  for (auto _ : state) {
    tool.ApplyToolSelf(*source, *dest);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XFlipHVolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XFlipVVolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XRotate90CWVolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XRotate180VolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XGrey16Volume, XFlipHVolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XGrey16Volume, XRotate90CWVolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XFPVolume, XFlipHVolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XFPVolume, XRotate90CWVolumeTool)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_Move, XFPVolume, XRotate90CCWVolumeTool)->Unit(benchmark::kMicrosecond);

// In place: a scan-loop tool for comparison with the flat arithmetic loop.
template <class V>
void BM_OffsetInPlace(benchmark::State& state) {
  auto volume = MakeVolume<V>(4);
  XImageOffsetTool tool(0.0f);
  for (auto _ : state) {
    tool.ApplyToolInPlace(*volume);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kVoxels);
}
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XGrey8Volume)->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XFPVolume)->Unit(benchmark::kMicrosecond);

}  // namespace
