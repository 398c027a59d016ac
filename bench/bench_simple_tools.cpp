// The simple tools at two sizes (in and out of cache), one thread, wall
// time. Items are voxels; "of_copy" is the share of a plain copy's rate.
#include <benchmark/benchmark.h>

#include <memory>

#include "BenchSupport.h"
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
using namespace mirelan::bench;

namespace {

template <class V>
constexpr UInt32 kBytesOf = UInt32(sizeof(typename V::Voxel));

template <class V>
X3DRect BoxFor(const benchmark::State& inState) {
  return BoxOf(inState.range(0), kBytesOf<V>);
}

template <class V>
std::unique_ptr<V> MakeVolume(const X3DRect& inBox, UInt32 inSeed) {
  auto volume = std::make_unique<V>(inBox);
  XLock lock(*volume, kLockWrite);
  typename V::Voxel* p = volume->GetBaseVoxelPtr();
  UInt32 state = inSeed;
  const SInt64 voxels = SInt64(inBox.GetVolume());
  for (SInt64 i = 0; i < voxels; ++i) {
    state = state * 1664525u + 1013904223u;
    p[i] = typename V::Voxel(state >> 24);
  }
  return volume;
}

// a op= b: two volumes read, one written.
template <class V, XVolumeArithmeticTool::XOperator kOp>
void BM_Arithmetic(benchmark::State& state) {
  const X3DRect box = BoxFor<V>(state);
  auto a = MakeVolume<V>(box, 1);
  auto b = MakeVolume<V>(box, 2);
  XVolumeArithmeticTool tool;
  for (auto _ : state) {
    tool.ApplyTool(*a, *b, kOp);
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), 3 * box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kAdd) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kSubtract) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kSubtractOffset) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kAbsoluteDifference) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kMultiply) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey8Volume, XVolumeArithmeticTool::kDivideByOneMore) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XGrey16Volume, XVolumeArithmeticTool::kAdd) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XFPVolume, XVolumeArithmeticTool::kAdd) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Arithmetic, XFPVolume, XVolumeArithmeticTool::kDivideByOneMore) MIRELAN_BOTH_SIZES;

// Source to a destination made once, so that the figures leave out allocation.
template <class Tool>
class XOpenTool : public Tool {
 public:
  using Tool::ApplyToolSelf;
  using Tool::MakeDestVolume;
};

template <class V, class Tool>
void BM_Move(benchmark::State& state) {
  const X3DRect box = BoxFor<V>(state);
  auto source = MakeVolume<V>(box, 3);
  XOpenTool<Tool> tool;
  std::unique_ptr<XVolume> dest(tool.MakeDestVolume(*source));
  tool.ApplyToolSelf(*source, *dest);  // the destination's pages are touched once, outside the timing
  for (auto _ : state) {
    tool.ApplyToolSelf(*source, *dest);
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), 2 * box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XFlipHVolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XFlipVVolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XRotate90CWVolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XGrey8Volume, XRotate180VolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XGrey16Volume, XFlipHVolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XGrey16Volume, XRotate90CWVolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XFPVolume, XFlipHVolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XFPVolume, XRotate90CWVolumeTool) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_Move, XFPVolume, XRotate90CCWVolumeTool) MIRELAN_BOTH_SIZES;

// A constant taken off in place: -3 adds 3, kept within the type (OpenCV's
// cv2.add(a, 3, dst=a) for the integer types); 2.5 goes through the table.
template <class V, int kTenths>
void BM_OffsetInPlace(benchmark::State& state) {
  const X3DRect box = BoxFor<V>(state);
  auto volume = MakeVolume<V>(box, 4);
  XImageOffsetTool tool{Float32(kTenths) / 10.0f};
  for (auto _ : state) {
    tool.ApplyToolInPlace(*volume);
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), 2 * box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XGrey8Volume, -30) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XGrey8Volume, 25) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XGrey16Volume, -30) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XGrey16Volume, 25) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XARGB32Volume, -30) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_OffsetInPlace, XFPVolume, -30) MIRELAN_BOTH_SIZES;

}  // namespace
