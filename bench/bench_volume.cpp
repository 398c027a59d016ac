// Volume kernels at two sizes (in and out of cache), wall time: copies within
// a type, every conversion cell, whole-volume arithmetic, reductions and
// checksums. Items are voxels; "of_copy" is the share of a plain copy's rate.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>

#include "BenchSupport.h"

#include "volume/XColourVolumes.h"
#include "volume/XFPVolume.h"
#include "volume/XGrey16Volume.h"
#include "volume/XGrey32Volume.h"
#include "volume/XGrey8Volume.h"
#include "volume/XMaskVolume.h"

using namespace mirelan;
using namespace mirelan::bench;

namespace {

template <class V>
constexpr UInt32 kBytesOf = UInt32(sizeof(typename V::Voxel));

// A pattern every type can hold: the level runs over the type's range.
template <class V>
std::unique_ptr<V> MakeVolume(const X3DRect& inBox) {
  auto volume = std::make_unique<V>(inBox);
  XLock lock(*volume, kLockWrite);
  auto* voxel = volume->GetBaseVoxelPtr();
  const SInt64 voxels = SInt64(inBox.GetVolume());
  for (SInt64 i = 0; i < voxels; ++i) {
    const UInt32 level = UInt32(i * 2654435761u);
    using T = typename V::Voxel;
    if constexpr (std::is_same_v<T, Float32>)
      voxel[i] = Float32((level >> 8) & 0xFFFF) / 65535.0f;
    else if constexpr (std::is_same_v<T, XRGB48Colour>)
      voxel[i] = XRGB48Colour(UInt16(level), UInt16(level >> 8), UInt16(level >> 16));
    else if constexpr (XPixelTraits<T>::kIsColour)
      voxel[i] = T(UInt8(level >> 24), UInt8(level), UInt8(level >> 8), UInt8(level >> 16));
    else
      voxel[i] = T(level);
  }
  return volume;
}

// The box of a benchmark: the larger of the two types decides the size.
template <class S, class D>
X3DRect BoxFor(const benchmark::State& inState) {
  return BoxOf(inState.range(0), std::max(kBytesOf<S>, kBytesOf<D>));
}

template <class S, class D>
void BM_CopyOut(benchmark::State& state) {
  const X3DRect box = BoxFor<S, D>(state);
  auto source = MakeVolume<S>(box);
  auto dest = std::make_unique<D>(box);
  // The destination's pages are touched once, outside the timing: the peers
  // write into outputs they were given too.
  source->CopyOut(*dest, source->GetBounds(), dest->GetBounds(), nullptr);
  for (auto _ : state) {
    source->CopyOut(*dest, source->GetBounds(), dest->GetBounds(), nullptr);
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), box.GetVolume() * (kBytesOf<S> + kBytesOf<D>), box.GetVolume() * kBytesOf<S>);
}

#define XBENCH_ROW(S)                                                   \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XMaskVolume) MIRELAN_BOTH_SIZES;   \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XGrey8Volume) MIRELAN_BOTH_SIZES;  \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XGrey16Volume) MIRELAN_BOTH_SIZES; \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XARGB32Volume) MIRELAN_BOTH_SIZES; \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XBGRA32Volume) MIRELAN_BOTH_SIZES; \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XRGB48Volume) MIRELAN_BOTH_SIZES;  \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XFPVolume) MIRELAN_BOTH_SIZES;     \
  BENCHMARK_TEMPLATE(BM_CopyOut, S, XGrey32Volume) MIRELAN_BOTH_SIZES

XBENCH_ROW(XMaskVolume);
XBENCH_ROW(XGrey8Volume);
XBENCH_ROW(XGrey16Volume);
XBENCH_ROW(XARGB32Volume);
XBENCH_ROW(XBGRA32Volume);
XBENCH_ROW(XRGB48Volume);
XBENCH_ROW(XFPVolume);
XBENCH_ROW(XGrey32Volume);

// A same-type copy that cannot take the row path: half the size in x, so
// every voxel goes through the nearest-choice table.
template <class V>
void BM_CopyOutResampled(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto source = MakeVolume<V>(box);
  auto dest = std::make_unique<V>(box.GetWidth() / 2, box.GetHeight(), box.GetDepth());
  source->CopyOut(*dest, source->GetBounds(), dest->GetBounds(), nullptr);
  for (auto _ : state) {
    source->CopyOut(*dest, source->GetBounds(), dest->GetBounds(), nullptr);
    benchmark::ClobberMemory();
  }
  const UInt64 voxels = dest->GetBounds().GetVolume();
  Report(state, voxels, voxels * 3 * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_CopyOutResampled, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_CopyOutResampled, XGrey16Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_CopyOutResampled, XARGB32Volume) MIRELAN_BOTH_SIZES;

template <class V>
void BM_AddValue(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto volume = MakeVolume<V>(box);
  for (auto _ : state) {
    *volume += typename V::Voxel(3);
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), 2 * box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_AddValue, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_AddValue, XGrey16Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_AddValue, XGrey32Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_AddValue, XFPVolume) MIRELAN_BOTH_SIZES;

template <class V>
void BM_MultiplyValue(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto volume = MakeVolume<V>(box);
  for (auto _ : state) {
    *volume *= typename V::Voxel(3);
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), 2 * box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_MultiplyValue, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_MultiplyValue, XGrey16Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_MultiplyValue, XGrey32Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_MultiplyValue, XFPVolume) MIRELAN_BOTH_SIZES;

template <class V>
void BM_AddVolume(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto volume = MakeVolume<V>(box);
  auto other = MakeVolume<V>(box);
  for (auto _ : state) {
    *volume += *other;
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), 3 * box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_AddVolume, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_AddVolume, XGrey16Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_AddVolume, XFPVolume) MIRELAN_BOTH_SIZES;

template <class V>
void BM_MultiplyVolume(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto volume = MakeVolume<V>(box);
  auto other = MakeVolume<V>(box);
  for (auto _ : state) {
    *volume *= *other;
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), 3 * box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_MultiplyVolume, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_MultiplyVolume, XGrey16Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_MultiplyVolume, XFPVolume) MIRELAN_BOTH_SIZES;

template <class V>
void BM_FindMinMax(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto volume = MakeVolume<V>(box);
  for (auto _ : state) {
    typename V::Voxel low, high;
    volume->FindMinMax(low, high);
    benchmark::DoNotOptimize(low);
    benchmark::DoNotOptimize(high);
  }
  Report(state, box.GetVolume(), box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_FindMinMax, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_FindMinMax, XGrey16Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_FindMinMax, XGrey32Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_FindMinMax, XFPVolume) MIRELAN_BOTH_SIZES;

template <class V>
void BM_FindSum(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto volume = MakeVolume<V>(box);
  for (auto _ : state) benchmark::DoNotOptimize(volume->FindSum());
  Report(state, box.GetVolume(), box.GetVolume() * kBytesOf<V>, box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_FindSum, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_FindSum, XGrey16Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_FindSum, XFPVolume) MIRELAN_BOTH_SIZES;

// The checksum covers as many bytes as there are voxels.
template <class V>
void BM_CalculateCRC(benchmark::State& state) {
  const X3DRect box = BoxFor<V, V>(state);
  auto volume = MakeVolume<V>(box);
  for (auto _ : state) benchmark::DoNotOptimize(volume->CalculateCRC());
  Report(state, box.GetVolume(), box.GetVolume(), box.GetVolume() * kBytesOf<V>);
}
BENCHMARK_TEMPLATE(BM_CalculateCRC, XGrey8Volume) MIRELAN_BOTH_SIZES;
BENCHMARK_TEMPLATE(BM_CalculateCRC, XGrey16Volume) MIRELAN_BOTH_SIZES;

void BM_Fill(benchmark::State& state) {
  const X3DRect box = BoxFor<XGrey16Volume, XGrey16Volume>(state);
  auto volume = MakeVolume<XGrey16Volume>(box);
  for (auto _ : state) {
    volume->Fill(7);
    benchmark::ClobberMemory();
  }
  Report(state, box.GetVolume(), box.GetVolume() * 2, box.GetVolume() * 2);
}
BENCHMARK(BM_Fill) MIRELAN_BOTH_SIZES;

}  // namespace
